#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

enum class TimerId : std::uint64_t {};

/// Calls back on the main thread, from its event loop.
class Timers {
public:
    virtual ~Timers() = default;

    /// The first tick comes one interval from now. One of a second and more may be off by 5%, so that the
    /// ticks of several timers fall together. Runs until it is invalidated.
    virtual TimerId scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick) = 0;
    /// May be called from within the timer's own tick.
    virtual void invalidate(TimerId timer) = 0;
    /// Calls once, after everything that is running now has returned.
    virtual void callLater(std::function<void()> call) = 0;
};
