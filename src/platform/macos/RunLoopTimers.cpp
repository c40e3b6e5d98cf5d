#include "platform/macos/RunLoopTimers.h"

#include <dispatch/dispatch.h>

#include <utility>

namespace {

// A copy is called, since a tick may invalidate its own timer.
void tickOnce(CFRunLoopTimerRef, void* function)
{
    const auto tick = *static_cast<const std::function<void()>*>(function);
    tick();
}

void callOnce(void* function)
{
    const std::unique_ptr<std::function<void()>> call(static_cast<std::function<void()>*>(function));
    (*call)();
}

}

RunLoopTimers::~RunLoopTimers()
{
    for (const auto& [id, entry] : running)
        CFRunLoopTimerInvalidate(entry.timer.get());
}

TimerId RunLoopTimers::scheduleRepeating(std::chrono::milliseconds interval, std::function<void()> tick)
{
    const TimerId id { ++lastId };
    auto& entry = running[id];
    entry.tick = std::move(tick);
    CFRunLoopTimerContext context {};
    context.info = &entry.tick;
    const CFTimeInterval seconds = std::chrono::duration<double>(interval).count();
    entry.timer.reset(CFRunLoopTimerCreate(
        kCFAllocatorDefault, CFAbsoluteTimeGetCurrent() + seconds, seconds, 0, 0, tickOnce, &context));
    CFRunLoopAddTimer(CFRunLoopGetMain(), entry.timer.get(), kCFRunLoopDefaultMode);
    return id;
}

void RunLoopTimers::invalidate(TimerId timer)
{
    const auto found = running.find(timer);
    if (found == running.end())
        return;
    CFRunLoopTimerInvalidate(found->second.timer.get());
    running.erase(found);
}

void RunLoopTimers::callLater(std::function<void()> call)
{
    dispatch_async_f(dispatch_get_main_queue(),
        std::make_unique<std::function<void()>>(std::move(call)).release(), callOnce);
}
