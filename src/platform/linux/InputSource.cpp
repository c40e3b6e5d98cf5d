#include "platform/linux/InputSource.h"

#include "platform/linux/Session.h"
#include "platform/linux/X11Input.h"

#include <utility>

InputSource::InputSource(X11Input& x11, const QString& tapProgram, std::function<bool()> isLocked)
    : isLocked(std::move(isLocked))
    , x11(x11)
    , wayland(tapProgram)
    , source(isWaylandSession() ? wayland : x11.eventTap())
{
}

void InputSource::drain()
{
    wayland.drain();
    x11.drain();
}

std::optional<EventTapId> InputSource::create(
    const EventTapParameters& parameters, TapCallback callback, void* userInfo)
{
    this->callback = callback;
    callbackUserInfo = userInfo;
    return source.create(parameters, report, this);
}

const TapEvent* InputSource::report(EventType type, const TapEvent* event, void* userInfo)
{
    const auto& self = *static_cast<const InputSource*>(userInfo);
    const bool isNotice
        = type == EventType::TapDisabledByTimeout || type == EventType::TapDisabledByUserInput;
    if (!isNotice && self.isLocked())
        return event;
    return self.callback(type, event, self.callbackUserInfo);
}
