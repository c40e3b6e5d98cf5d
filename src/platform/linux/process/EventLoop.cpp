#include "platform/linux/process/EventLoop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace {

using namespace std::chrono_literals;

// What the loop's own descriptors are known by. Watches count from 1.
constexpr std::uint64_t alarmId = ~std::uint64_t { 0 };
constexpr std::uint64_t wakeUpId = alarmId - 1;

/// Ticks of intervals from here on may wait for company.
constexpr auto coarse = 1s;

/// Without descriptors of its own nothing can run. Nothing has been counted yet, and a core file helps
/// nobody.
void add(int poll, int descriptor, std::uint64_t id)
{
    epoll_event event { .events = EPOLLIN, .data = { .u64 = id } };
    if (epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event) != 0)
        std::_Exit(1);
}

}

EventLoop::EventLoop()
    : poll(epoll_create1(EPOLL_CLOEXEC))
    , alarm(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
    , wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    add(poll.get(), alarm.get(), alarmId);
    add(poll.get(), wakeUp.get(), wakeUpId);
}

EventLoop::~EventLoop() = default;

int EventLoop::run()
{
    while (!exitCode) {
        if (host)
            return host->run();
        serve(-1);
    }
    return *exitCode;
}

void EventLoop::quit(int code)
{
    exitCode = code;
    if (host)
        host->quit(code);
}

void EventLoop::handOver(Host newHost)
{
    host = std::move(newHost);
    // The wait that is going on, if any, has to end.
    callLater([] {});
}

void EventLoop::callLater(std::function<void()> call)
{
    pending.push_back(std::move(call));
    // The turn that is going on ends with it. Not so where a toolkit has the turns: within a call it may run
    // a loop of its own, as for a menu.
    const bool isSeenAnyway = isServing && !host;
    if (!isSeenAnyway)
        eventfd_write(wakeUp.get(), 1);
}

void EventLoop::dispatch() { serve(0); }

void EventLoop::serve(int timeoutMilliseconds)
{
    std::array<epoll_event, 16> events;
    const int ready
        = epoll_wait(poll.get(), events.data(), static_cast<int>(events.size()), timeoutMilliseconds);
    isServing = true;
    for (int i = 0; i < ready; ++i) {
        const auto id = events[static_cast<std::size_t>(i)].data.u64;
        if (id == alarmId) {
            callElapsed();
        } else if (id == wakeUpId) {
            eventfd_t count = 0;
            eventfd_read(wakeUp.get(), &count);
        } else if (const auto watch = watches.find(id); watch != watches.end()) {
            // A copy: the watch may end from within its call.
            const auto call = watch->second->ready;
            call();
        }
    }
    isServing = false;
    // What is added from here on is for the next turn.
    for (const auto& call : std::exchange(pending, {}))
        call();
}

void EventLoop::callElapsed()
{
    std::uint64_t count = 0;
    std::ignore = read(alarm.get(), &count, sizeof count);
    alarmTime.reset();
    const auto now = Clock::now();
    while (!deadlines.empty() && deadlines.begin()->first <= now) {
        auto& timer = *deadlines.begin()->second;
        const auto due = deadlines.begin()->first;
        deadlines.erase(deadlines.begin());
        timer.place.reset();
        // Without making up for ticks that were missed, as while the process was stopped.
        if (timer.interval)
            timer.schedule(due + *timer.interval > now ? due + *timer.interval : now + *timer.interval);
        // A copy: the timer may end from within its call.
        const auto call = timer.elapsed;
        call();
    }
    setAlarm();
}

void EventLoop::setAlarm()
{
    const auto next = deadlines.empty() ? std::optional<Clock::time_point>() : deadlines.begin()->first;
    if (next == alarmTime)
        return;
    alarmTime = next;
    itimerspec time {};
    if (next) {
        // From now on and not at a time: who runs the program on a clock of his own choice (faketime) has
        // times of any clock moved. None at all would stop the alarm.
        const auto left = std::max<std::chrono::nanoseconds>(*next - Clock::now(), 1ns);
        time.it_value.tv_sec = left / 1s;
        time.it_value.tv_nsec = (left % 1s).count();
    }
    timerfd_settime(alarm.get(), 0, &time, nullptr);
}

DescriptorWatch::DescriptorWatch(EventLoop& loop, int descriptor, std::function<void()> ready)
    : loop(loop)
    , descriptor(descriptor)
    , id(++loop.lastWatch)
    , ready(std::move(ready))
{
    loop.watches.emplace(id, this);
    watch(For::Reading);
}

DescriptorWatch::~DescriptorWatch()
{
    watch(For::Nothing);
    loop.watches.erase(id);
}

void DescriptorWatch::watch(For readiness)
{
    if (readiness == current)
        return;
    const auto previous = std::exchange(current, readiness);
    epoll_event event {
        .events = readiness == For::ReadingAndWriting ? EPOLLIN | EPOLLOUT : std::uint32_t { EPOLLIN },
        .data = { .u64 = id },
    };
    // Removed and not only watched for no event: the end of the other side is always told.
    const int operation = readiness == For::Nothing ? EPOLL_CTL_DEL
        : previous == For::Nothing                  ? EPOLL_CTL_ADD
                                                    : EPOLL_CTL_MOD;
    // Fails for a plain file only, which is never waited for.
    std::ignore = epoll_ctl(loop.poll.get(), operation, descriptor, &event);
}

LoopTimer::LoopTimer(EventLoop& loop, std::function<void()> elapsed)
    : loop(loop)
    , elapsed(std::move(elapsed))
{
}

LoopTimer::~LoopTimer() { stop(); }

void LoopTimer::start(std::chrono::milliseconds delay)
{
    stop();
    schedule(EventLoop::Clock::now() + delay);
    loop.setAlarm();
}

void LoopTimer::repeat(std::chrono::milliseconds newInterval)
{
    stop();
    interval = newInterval;
    schedule(EventLoop::Clock::now() + newInterval);
    loop.setAlarm();
}

void LoopTimer::stop()
{
    interval.reset();
    if (const auto previous = std::exchange(place, std::nullopt)) {
        loop.deadlines.erase(*previous);
        loop.setAlarm();
    }
}

void LoopTimer::schedule(EventLoop::Clock::time_point deadline)
{
    if (interval && *interval >= coarse) {
        const EventLoop::Clock::duration grid = *interval / 20;
        deadline += grid / 2;
        deadline -= deadline.time_since_epoch() % grid;
    }
    place = loop.deadlines.emplace(deadline, this);
}
