#include "platform/linux/process/LoopTimers.h"

#include <utility>

LoopTimers::LoopTimers(EventLoop& loop)
    : loop(loop)
{
}

TimerId LoopTimers::scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick)
{
    const TimerId id { ++lastId };
    const auto timer = timers.try_emplace(id, loop, std::move(tick)).first;
    timer->second.repeat(interval);
    return id;
}

void LoopTimers::invalidate(TimerId timer) { timers.erase(timer); }

void LoopTimers::callLater(std::function<void()> call) { loop.callLater(lifetime.guard(std::move(call))); }
