#include "platform/fake/FakeInput.h"

#include <cassert>
#include <utility>

void FakeInput::press(std::optional<Moment> moment)
{
    sendToTap({ .kind = TapEvent::Kind::Key, .moment = moment });
}

void FakeInput::hold(int repeats)
{
    press();
    for (int i = 0; i < repeats; ++i)
        sendToTap({ .kind = TapEvent::Kind::RepeatedKey });
}

void FakeInput::click(std::optional<Moment> moment)
{
    sendToTap({ .kind = TapEvent::Kind::Click, .moment = moment });
    if (monitor)
        monitor(moment);
}

void FakeInput::disableTap()
{
    if (!tapEnabled)
        return;
    tapEnabled = false;
    tapHandler({ .kind = TapEvent::Kind::Disabled });
}

bool FakeInput::create(std::function<void(const TapEvent&)> handler)
{
    calls.emplace_back("create tap");
    if (tapRefused)
        return false;
    tapHandler = std::move(handler);
    return true;
}

void FakeInput::enable()
{
    assert(tapHandler);
    calls.emplace_back("enable tap");
    tapEnabled = true;
}

bool FakeInput::start(std::function<void(std::optional<Moment>)> handler)
{
    calls.emplace_back("start monitor");
    if (mouseMonitorRefused)
        return false;
    assert(!monitor);
    monitor = std::move(handler);
    return true;
}

void FakeInput::stop()
{
    assert(monitor);
    calls.emplace_back("stop monitor");
    monitor = nullptr;
}

bool FakeInput::preflight()
{
    calls.emplace_back("preflight");
    return accessGranted;
}

void FakeInput::request() { calls.emplace_back("request access"); }

void FakeInput::sendToTap(const TapEvent& event)
{
    if (tapEnabled)
        tapHandler(event);
}
