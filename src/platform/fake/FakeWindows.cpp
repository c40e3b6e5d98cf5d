#include "platform/fake/FakeWindows.h"

#include <utility>

void FakeWindows::setAppearance(ColorScheme newScheme, Motion newMotion, std::optional<AccentColor> newAccent)
{
    scheme = newScheme;
    motionWanted = newMotion;
    accentWanted = newAccent;
    observers.notify();
}

Observers::Subscription FakeWindows::observe(std::function<void()> changed)
{
    return observers.add(std::move(changed));
}

void FakeWindows::activate(NativeWindow window)
{
    calls.emplace_back("activate window");
    activated.push_back(window);
}

void FakeWindows::setEdge(WindowEdge newEdge)
{
    edgeAllowed = newEdge;
    observers.notify();
}

void FakeWindows::setShadow(NativeWindow window, const WindowShadow& shadow) { shadows[window] = shadow; }

WindowShadow FakeWindows::shadowOf(NativeWindow window) const
{
    const auto found = shadows.find(window);
    return found == shadows.end() ? WindowShadow {} : found->second;
}
