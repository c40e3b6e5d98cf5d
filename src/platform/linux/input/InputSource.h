#pragma once

#include "platform/EventTap.h"

#include <functional>

class WaylandTap;
class X11Input;

/// Where the presses of this session come from: the X server, or in a Wayland session knucklet-tap. An X
/// server that is there as well serves the mouse monitor only. While the session is locked nothing is
/// reported: what is typed then is a password.
class InputSource final : private EventTap {
public:
    /// Both sources must outlive it.
    InputSource(X11Input& x11, WaylandTap& wayland, std::function<bool()> isLocked);

    EventTap& eventTap() { return *this; }

    /// Delivers what has been pressed so far, but for the tenth of a second that a helper may hold back.
    void receive();
    /// Delivers all presses so far, and no more of a helper. For the moment before the last save.
    void drain();

private:
    bool create(std::function<void(const TapEvent&)> handler) override;
    void enable() override { source.enable(); }

    std::function<bool()> isLocked;
    X11Input& x11;
    WaylandTap& wayland;
    EventTap& source;
};
