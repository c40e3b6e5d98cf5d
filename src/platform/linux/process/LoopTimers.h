#pragma once

#include "platform/Timers.h"
#include "platform/linux/process/EventLoop.h"
#include "support/Lifetime.h"

#include <unordered_map>

class LoopTimers final : public Timers {
public:
    explicit LoopTimers(EventLoop& loop);

    TimerId scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick) override;
    void invalidate(TimerId timer) override;
    void callLater(std::function<void()> call) override;

private:
    EventLoop& loop;
    std::unordered_map<TimerId, LoopTimer> timers;
    std::uint64_t lastId = 0;
    Lifetime lifetime;
};
