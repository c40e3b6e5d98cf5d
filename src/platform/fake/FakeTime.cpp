#include "platform/fake/FakeTime.h"

#include <algorithm>
#include <utility>

void FakeTime::advance(std::chrono::milliseconds time)
{
    const auto end = uptime + time;
    for (;;) {
        const auto next
            = std::ranges::min_element(timersRunning, {}, [](const auto& entry) { return entry.second.due; });
        if (next == timersRunning.end() || next->second.due > end)
            break;
        auto& [interval, due, tick] = next->second;
        wallClock += due - uptime;
        uptime = due;
        due += interval;
        // A copy, since a tick may invalidate its own timer.
        const auto call = tick;
        call();
    }
    wallClock += end - uptime;
    uptime = end;
}

void FakeTime::runDeferred()
{
    while (!deferred.empty()) {
        const auto call = std::move(deferred.front());
        deferred.pop_front();
        call();
    }
}

std::vector<std::chrono::milliseconds> FakeTime::runningTimers() const
{
    std::vector<std::chrono::milliseconds> intervals;
    for (const auto& [id, timer] : timersRunning)
        intervals.push_back(timer.interval);
    return intervals;
}

Moment FakeTime::now() const
{
    calls.emplace_back("read clock");
    return wallClock;
}

TimerId FakeTime::scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick)
{
    calls.push_back("schedule every " + std::to_string(interval.count()) + " ms");
    timersRunning.emplace(nextTimer, RunningTimer { interval, uptime + interval, std::move(tick) });
    return TimerId { nextTimer++ };
}

void FakeTime::invalidate(TimerId timer)
{
    calls.emplace_back("invalidate timer");
    timersRunning.erase(static_cast<std::uint64_t>(timer));
}

void FakeTime::callLater(std::function<void()> call)
{
    calls.emplace_back("call later");
    deferred.push_back(std::move(call));
}
