#include "platform/macos/SessionTap.h"

#include "support/Fatal.h"

#include <utility>

namespace {

constexpr CGEventMask keyAndMouseDowns = CGEventMaskBit(kCGEventKeyDown)
    | CGEventMaskBit(kCGEventLeftMouseDown) | CGEventMaskBit(kCGEventRightMouseDown)
    | CGEventMaskBit(kCGEventOtherMouseDown);
static_assert(keyAndMouseDowns == 0x0200040A);

static_assert(kCGSessionEventTap == 1);
static_assert(kCGHeadInsertEventTap == 0);
static_assert(kCGEventTapOptionListenOnly == 1);
static_assert(kCGEventLeftMouseDown == 1);
static_assert(kCGEventRightMouseDown == 3);
static_assert(kCGEventKeyDown == 10);
static_assert(kCGEventOtherMouseDown == 25);
static_assert(kCGEventTapDisabledByTimeout == 0xFFFFFFFE);
static_assert(kCGEventTapDisabledByUserInput == 0xFFFFFFFF);
static_assert(kCGKeyboardEventAutorepeat == 8);

}

bool SessionTap::create(std::function<void(const TapEvent&)> newHandler)
{
    handler = std::move(newHandler);
    port.reset(CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionListenOnly,
        keyAndMouseDowns, observe, this));
    return port != nullptr;
}

void SessionTap::enable()
{
    if (!port)
        return;
    if (!source) {
        source.reset(CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port.get(), 0));
        // The common modes are also those of an open menu.
        CFRunLoopAddSource(CFRunLoopGetMain(), source.get(), kCFRunLoopCommonModes);
    }
    CGEventTapEnable(port.get(), true);
}

// The system switches off a tap that is slow: nothing here may wait or write.
CGEventRef SessionTap::observe(CGEventTapProxy, CGEventType type, CGEventRef event, void* tap)
{
    if (!tap)
        fatal();
    static_cast<const SessionTap*>(tap)->handle(type, event);
    return event;
}

void SessionTap::handle(CGEventType type, CGEventRef event) const
{
    switch (type) {
    case kCGEventLeftMouseDown:
    case kCGEventRightMouseDown:
    case kCGEventOtherMouseDown:
        handler({ .kind = TapEvent::Kind::Click });
        break;
    case kCGEventTapDisabledByTimeout:
    case kCGEventTapDisabledByUserInput:
        handler({ .kind = TapEvent::Kind::Disabled });
        break;
    case kCGEventKeyDown:
        if (CGEventGetIntegerValueField(event, kCGKeyboardEventAutorepeat) == 0)
            handler({ .kind = TapEvent::Kind::Key });
        else
            handler({ .kind = TapEvent::Kind::RepeatedKey });
        break;
    default:
        break;
    }
}
