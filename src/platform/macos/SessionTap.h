#pragma once

#include "platform/EventTap.h"
#include "platform/macos/Released.h"

#include <CoreGraphics/CoreGraphics.h>

/// A listen-only event tap at the head of the session's taps. Of an event it looks at the type, and of a key
/// press at whether it is a repeat; it never asks which key.
class SessionTap final : public EventTap {
public:
    SessionTap() = default;
    SessionTap(const SessionTap&) = delete;
    SessionTap& operator=(const SessionTap&) = delete;

    bool create(std::function<void(const TapEvent&)> newHandler) override;
    void enable() override;

private:
    static CGEventRef observe(CGEventTapProxy proxy, CGEventType type, CGEventRef event, void* tap);
    void handle(CGEventType type, CGEventRef event) const;

    std::function<void(const TapEvent&)> handler;
    Released<CFMachPortRef> port;
    Released<CFRunLoopSourceRef> source;
};
