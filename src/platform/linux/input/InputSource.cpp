#include "platform/linux/input/InputSource.h"

#include "platform/linux/input/WaylandTap.h"
#include "platform/linux/input/X11Input.h"
#include "platform/linux/process/Session.h"

#include <utility>

InputSource::InputSource(X11Input& x11, WaylandTap& wayland, std::function<bool()> isLocked)
    : isLocked(std::move(isLocked))
    , x11(x11)
    , wayland(wayland)
    , source(isWaylandSession() ? static_cast<EventTap&>(wayland) : x11.eventTap())
{
}

void InputSource::receive()
{
    wayland.receive();
    x11.drain();
}

void InputSource::drain()
{
    wayland.drain();
    x11.drain();
}

bool InputSource::create(std::function<void(const TapEvent&)> handler)
{
    return source.create([this, handler = std::move(handler)](const TapEvent& event) {
        if (event.kind == TapEvent::Kind::Disabled || !isLocked())
            handler(event);
    });
}
