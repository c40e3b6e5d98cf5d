#pragma once

#include "platform/EventTap.h"
#include "platform/linux/WaylandTap.h"

#include <functional>

class X11Input;

/// Where the presses of this session come from: the X server, or in a Wayland session knucklet-tap. An X
/// server that is there as well serves the mouse monitor only. While the session is locked nothing is
/// reported: what is typed then is a password.
class InputSource final : private EventTap {
public:
    /// The X server's input must outlive it.
    InputSource(X11Input& x11, const QString& tapProgram, std::function<bool()> isLocked);

    EventTap& eventTap() { return *this; }

    /// Delivers all presses so far. For the moment before the last save.
    void drain();

private:
    std::optional<EventTapId> create(
        const EventTapParameters& parameters, TapCallback callback, void* userInfo) override;
    RunLoopSourceId makeRunLoopSource(EventTapId id) override { return source.makeRunLoopSource(id); }
    void addToMainRunLoop(RunLoopSourceId id) override { source.addToMainRunLoop(id); }
    void enable(EventTapId id) override { source.enable(id); }

    static const TapEvent* report(EventType type, const TapEvent* event, void* userInfo);

    std::function<bool()> isLocked;
    X11Input& x11;
    WaylandTap wayland;
    EventTap& source;
    TapCallback callback = nullptr;
    void* callbackUserInfo = nullptr;
};
