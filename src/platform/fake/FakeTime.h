#pragma once

#include "platform/Clock.h"
#include "platform/Timers.h"

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// A clock that is moved by hand, and what is due by it.
class FakeTime final
    : public Clock
    , public Timers {
public:
    FakeTime(std::vector<std::string>& calls, Moment start)
        : wallClock(start)
        , calls(calls)
    {
    }

    void advance(std::chrono::milliseconds time);
    void runDeferred();

    std::vector<std::chrono::milliseconds> runningTimers() const;

    Moment now() const override;
    TimerId scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick) override;
    void invalidate(TimerId timer) override;
    void callLater(std::function<void()> call) override;

    Moment wallClock;

private:
    struct RunningTimer {
        std::chrono::milliseconds interval;
        std::chrono::milliseconds due;
        std::function<void()> tick;
    };

    std::vector<std::string>& calls;
    std::chrono::milliseconds uptime {};
    std::uint64_t nextTimer = 1;
    std::map<std::uint64_t, RunningTimer> timersRunning;
    std::deque<std::function<void()>> deferred;
};
