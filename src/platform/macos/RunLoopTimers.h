#pragma once

#include "platform/Timers.h"
#include "platform/macos/Released.h"

#include <map>
#include <memory>

/// Timers of the main thread's run loop in its default mode, in which none ticks while a menu is open. Each
/// of the program's ticks does all that is due, so that one that comes late loses nothing.
class RunLoopTimers final : public Timers {
public:
    RunLoopTimers() = default;
    RunLoopTimers(const RunLoopTimers&) = delete;
    RunLoopTimers& operator=(const RunLoopTimers&) = delete;
    ~RunLoopTimers() override;

    TimerId scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick) override;
    void invalidate(TimerId timer) override;
    void callLater(std::function<void()> call) override;

private:
    struct Running {
        std::function<void()> tick;
        Released<CFRunLoopTimerRef> timer;
    };

    std::map<TimerId, Running> running;
    std::uint64_t lastId = 0;
};
