#pragma once

#include "platform/linux/process/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

class DescriptorWatch;
class LoopTimer;

/// The loop of the main thread: descriptors, timers and calls for later. It has itself a descriptor, so that
/// the loop of a toolkit that comes later can serve it. Everything may be called from within anything that it
/// calls.
class EventLoop final {
public:
    using Clock = std::chrono::steady_clock;

    /// Another loop, which serves this one from some moment on.
    struct Host {
        /// Returns what the process is to end with.
        std::function<int()> run;
        /// Makes `run` return.
        std::function<void(int)> quit;
    };

    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;
    ~EventLoop();

    /// Waits and calls until `quit`, in the end inside the host's loop where there is one.
    int run();
    /// Before `run` it makes that return at once.
    void quit(int exitCode);
    /// Once what is being called now has returned, the host's loop runs instead of this one.
    void handOver(Host host);

    /// Calls once, after everything that is running now has returned.
    void callLater(std::function<void()> call);

    /// Readable whenever `dispatch` has something to do.
    int descriptor() const { return poll.get(); }
    /// Calls for everything that is ready, and does not wait.
    void dispatch();

private:
    friend class DescriptorWatch;
    friend class LoopTimer;

    using Deadlines = std::multimap<Clock::time_point, LoopTimer*>;

    void serve(int timeoutMilliseconds);
    void callElapsed();
    void setAlarm();

    FileDescriptor poll;
    FileDescriptor alarm;
    FileDescriptor wakeUp;
    std::unordered_map<std::uint64_t, DescriptorWatch*> watches;
    std::uint64_t lastWatch = 0;
    Deadlines deadlines;
    std::optional<Clock::time_point> alarmTime;
    std::vector<std::function<void()>> pending;
    bool isServing = false;
    std::optional<Host> host;
    std::optional<int> exitCode;
};

/// Calls whenever a descriptor is ready, for as long as it lives. The descriptor belongs to somebody else,
/// who keeps it open meanwhile.
class DescriptorWatch final {
public:
    enum class For { Reading, ReadingAndWriting, Nothing };

    /// Begins with reading. The loop must outlive it. An error or the other side's end makes the descriptor
    /// ready, unless it is watched for nothing.
    DescriptorWatch(EventLoop& loop, int descriptor, std::function<void()> ready);
    DescriptorWatch(const DescriptorWatch&) = delete;
    DescriptorWatch& operator=(const DescriptorWatch&) = delete;
    ~DescriptorWatch();

    /// Costs nothing when it is already so.
    void watch(For readiness);

private:
    friend class EventLoop;

    EventLoop& loop;
    int descriptor;
    std::uint64_t id;
    For current = For::Nothing;
    std::function<void()> ready;
};

/// Calls when a time has passed, for as long as it lives. Goes by a clock that stands still while the machine
/// sleeps.
class LoopTimer final {
public:
    /// Not started. The loop must outlive it.
    LoopTimer(EventLoop& loop, std::function<void()> elapsed);
    LoopTimer(const LoopTimer&) = delete;
    LoopTimer& operator=(const LoopTimer&) = delete;
    ~LoopTimer();

    /// Once. Takes the place of a start before.
    void start(std::chrono::milliseconds delay);
    /// Again and again, the first time one interval from now; an interval is never 0. Intervals of a second
    /// and more may be off by 5%: their ticks fall together with those of others, so that the machine wakes
    /// up once for all of them.
    void repeat(std::chrono::milliseconds interval);
    void stop();
    bool isRunning() const { return place.has_value(); }

private:
    friend class EventLoop;

    void schedule(EventLoop::Clock::time_point deadline);

    EventLoop& loop;
    std::function<void()> elapsed;
    std::optional<std::chrono::milliseconds> interval;
    std::optional<EventLoop::Deadlines::iterator> place;
};
