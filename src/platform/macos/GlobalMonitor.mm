#include "platform/macos/GlobalMonitor.h"

#include "platform/macos/ClickMonitor.h"

#import <AppKit/AppKit.h>

static_assert(NSEventMaskLeftMouseDown == 1 << 1);
static_assert(NSEventMaskRightMouseDown == 1 << 3);
static_assert(NSEventMaskOtherMouseDown == 1 << 25);
static_assert(
    (NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown | NSEventMaskOtherMouseDown) == mouseDowns);

GlobalMonitor* addGlobalMonitor(std::uint64_t mask, std::function<void()> handler)
{
    const id token = [NSEvent addGlobalMonitorForEventsMatchingMask:static_cast<NSEventMask>(mask)
                                                            handler:^(NSEvent*) { handler(); }];
    return static_cast<GlobalMonitor*>(const_cast<void*>(CFBridgingRetain(token)));
}

void removeGlobalMonitor(GlobalMonitor* monitor)
{
    const id token = CFBridgingRelease(monitor);
    [NSEvent removeMonitor:token];
}
