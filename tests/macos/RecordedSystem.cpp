#include "macos/RecordedSystem.h"

#include "platform/macos/GlobalMonitor.h"

#include <dispatch/dispatch.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

struct __CGEvent {
    CGEventType type;
    std::int64_t autorepeat;

    bool operator==(const __CGEvent&) const = default;
};

struct __CFRunLoopTimer {
    double due;
    double interval;
    CFRunLoopTimerCallBack callback;
    void* info;
    bool isScheduled;
    bool isValid;
};

struct GlobalMonitor { };

namespace {

RecordedSystem* current = nullptr;

// Objects of which only the address counts.
char port;
char source;
char proxy;
char mainLoop;
char mainQueue;
char defaultMode;
char commonModes;
GlobalMonitor monitorToken;

/// What the program under test must not break.
void require(bool holds)
{
    if (!holds)
        std::abort();
}

std::string modeName(CFRunLoopMode mode)
{
    return mode == kCFRunLoopCommonModes ? "common modes" : "default mode";
}

}

/// What the functions below do.
struct SystemCalls {
    template <typename... Parts>
    static void note(const Parts&... parts)
    {
        std::ostringstream line;
        (line << ... << parts);
        current->calls.push_back(line.str());
    }

    static CFMachPortRef createTap(CGEventTapLocation location, CGEventTapPlacement placement,
        CGEventTapOptions options, CGEventMask mask, CGEventTapCallBack callback, void* owner)
    {
        note("create tap: location ", location, ", placement ", placement, ", options ", options, ", mask 0x",
            std::hex, mask);
        if (current->tapRefused)
            return nullptr;
        current->tapMask = mask;
        current->callback = callback;
        current->tapOwner = owner;
        ++current->held;
        return reinterpret_cast<CFMachPortRef>(&port);
    }

    static void enableTap(CFMachPortRef tap, bool enable)
    {
        require(tap == reinterpret_cast<CFMachPortRef>(&port));
        note(enable ? "enable tap" : "disable tap");
        current->tapEnabled = enable;
    }

    static CFRunLoopSourceRef createSource(CFAllocatorRef allocator, CFMachPortRef tap, CFIndex order)
    {
        require(tap == reinterpret_cast<CFMachPortRef>(&port));
        note("create source: ", allocator ? "an allocator" : "default allocator", ", order ", order);
        ++current->held;
        return reinterpret_cast<CFRunLoopSourceRef>(&source);
    }

    static void addSource(CFRunLoopRef loop, CFRunLoopSourceRef added, CFRunLoopMode mode)
    {
        require(added == reinterpret_cast<CFRunLoopSourceRef>(&source));
        const bool isMain = loop == reinterpret_cast<CFRunLoopRef>(&mainLoop);
        note("add source: ", isMain ? "main loop" : "another loop", ", ", modeName(mode));
        current->sourceAdded = isMain;
    }

    static std::int64_t readField(CGEventRef event, CGEventField field)
    {
        current->fields.push_back(field);
        return field == kCGKeyboardEventAutorepeat ? event->autorepeat : 0;
    }

    static bool preflight()
    {
        note("preflight");
        return current->accessGranted;
    }

    static bool request()
    {
        note("request");
        return current->accessGranted;
    }

    static double now() { return current->now; }

    static CFRunLoopTimerRef createTimer(double due, double interval, CFIndex order,
        CFRunLoopTimerCallBack callback, const CFRunLoopTimerContext& context)
    {
        note("create timer: in ", due - current->now, " s, every ", interval, " s, order ", order);
        ++current->held;
        return new __CFRunLoopTimer { due, interval, callback, context.info, false, true };
    }

    static void addTimer(CFRunLoopRef loop, CFRunLoopTimerRef timer, CFRunLoopMode mode)
    {
        const bool isMain = loop == reinterpret_cast<CFRunLoopRef>(&mainLoop);
        note("add timer: ", isMain ? "main loop" : "another loop", ", ", modeName(mode));
        timer->isScheduled = isMain;
        current->timers.push_back(timer);
    }

    static void invalidateTimer(CFRunLoopTimerRef timer)
    {
        note("invalidate timer");
        timer->isValid = false;
    }

    /// Timers are freed with the test: one may be released from within its own tick.
    static void release()
    {
        if (current)
            --current->held;
    }

    static void queue(std::function<void()> call) { current->mainQueue.push_back(std::move(call)); }

    static GlobalMonitor* addMonitor(std::uint64_t mask, std::function<void()> handler)
    {
        note("add monitor: mask 0x", std::hex, mask);
        if (current->monitorRefused)
            return nullptr;
        require(!current->monitor);
        current->monitor = { mask, std::move(handler) };
        return &monitorToken;
    }

    static void removeMonitor(GlobalMonitor* monitor)
    {
        require(monitor == &monitorToken);
        note("remove monitor");
        current->monitor.reset();
    }
};

RecordedSystem::RecordedSystem()
{
    require(!current);
    current = this;
}

RecordedSystem::~RecordedSystem()
{
    for (const auto timer : timers)
        delete timer;
    current = nullptr;
}

void RecordedSystem::send(CGEventType type, std::int64_t autorepeat)
{
    if (!tapEnabled || !sourceAdded || !(tapMask & CGEventMaskBit(type)))
        return;
    __CGEvent event { type, autorepeat };
    const auto before = event;
    const auto* const returned = callTap(type, &event, tapOwner);
    eventsUnchanged = eventsUnchanged && returned == &event && event == before;
}

void RecordedSystem::click(CGEventType type)
{
    send(type);
    if (!monitor || !(monitor->mask & CGEventMaskBit(type)))
        return;
    // A copy, since the handler may remove the monitor.
    const auto handler = monitor->handler;
    handler();
}

void RecordedSystem::disableTap(CGEventType notice)
{
    require(tapEnabled);
    tapEnabled = false;
    __CGEvent event { notice, 0 };
    eventsUnchanged = callTap(notice, &event, tapOwner) == &event && eventsUnchanged;
}

void RecordedSystem::sendWithoutOwner()
{
    __CGEvent event { kCGEventKeyDown, 0 };
    callTap(kCGEventKeyDown, &event, nullptr);
}

void RecordedSystem::pass(double seconds)
{
    const auto end = now + seconds;
    for (;;) {
        CFRunLoopTimerRef next = nullptr;
        for (const auto timer : timers) {
            if (timer->isScheduled && timer->isValid && timer->due <= end
                && (!next || timer->due < next->due))
                next = timer;
        }
        if (!next)
            break;
        now = next->due;
        next->due += next->interval;
        next->callback(next, next->info);
    }
    now = end;
}

void RecordedSystem::runMainQueue()
{
    while (!mainQueue.empty()) {
        const auto call = std::move(mainQueue.front());
        mainQueue.pop_front();
        call();
    }
}

CGEventRef RecordedSystem::callTap(CGEventType type, CGEventRef event, void* owner)
{
    return callback(reinterpret_cast<CGEventTapProxy>(&proxy), type, event, owner);
}

GlobalMonitor* addGlobalMonitor(std::uint64_t mask, std::function<void()> handler)
{
    return SystemCalls::addMonitor(mask, std::move(handler));
}

void removeGlobalMonitor(GlobalMonitor* monitor) { SystemCalls::removeMonitor(monitor); }

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFRunLoopMode kCFRunLoopDefaultMode = reinterpret_cast<CFRunLoopMode>(&defaultMode);
const CFRunLoopMode kCFRunLoopCommonModes = reinterpret_cast<CFRunLoopMode>(&commonModes);

void CFRelease(CFTypeRef) { SystemCalls::release(); }

CFAbsoluteTime CFAbsoluteTimeGetCurrent() { return SystemCalls::now(); }

CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef allocator, CFMachPortRef tap, CFIndex order)
{
    return SystemCalls::createSource(allocator, tap, order);
}

CFRunLoopRef CFRunLoopGetMain() { return reinterpret_cast<CFRunLoopRef>(&mainLoop); }

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef added, CFRunLoopMode mode)
{
    SystemCalls::addSource(loop, added, mode);
}

void CFRunLoopAddTimer(CFRunLoopRef loop, CFRunLoopTimerRef timer, CFRunLoopMode mode)
{
    SystemCalls::addTimer(loop, timer, mode);
}

CFRunLoopTimerRef CFRunLoopTimerCreate(CFAllocatorRef, CFAbsoluteTime due, CFTimeInterval interval,
    CFOptionFlags, CFIndex order, CFRunLoopTimerCallBack callback, CFRunLoopTimerContext* context)
{
    return SystemCalls::createTimer(due, interval, order, callback, *context);
}

void CFRunLoopTimerInvalidate(CFRunLoopTimerRef timer) { SystemCalls::invalidateTimer(timer); }

CFMachPortRef CGEventTapCreate(CGEventTapLocation location, CGEventTapPlacement placement,
    CGEventTapOptions options, CGEventMask mask, CGEventTapCallBack callback, void* owner)
{
    return SystemCalls::createTap(location, placement, options, mask, callback, owner);
}

void CGEventTapEnable(CFMachPortRef tap, bool enable) { SystemCalls::enableTap(tap, enable); }

std::int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field)
{
    return SystemCalls::readField(event, field);
}

bool CGPreflightListenEventAccess() { return SystemCalls::preflight(); }

bool CGRequestListenEventAccess() { return SystemCalls::request(); }

dispatch_queue_t dispatch_get_main_queue() { return reinterpret_cast<dispatch_queue_t>(&mainQueue); }

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    require(queue == dispatch_get_main_queue());
    SystemCalls::queue([context, work] { work(context); });
}
}
