#pragma once

#include "platform/Appearance.h"
#include "platform/WindowActivation.h"
#include "platform/WindowEdges.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// How windows look on the desktop, how they may end, and which of them are in front.
class FakeWindows final
    : public Appearance
    , public WindowActivation
    , public WindowEdges {
public:
    explicit FakeWindows(std::vector<std::string>& calls)
        : calls(calls)
    {
    }

    void setAppearance(ColorScheme newScheme, Motion newMotion, std::optional<AccentColor> newAccent);

    void setEdge(WindowEdge newEdge);

    const std::vector<NativeWindow>& activatedWindows() const { return activated; }
    WindowShadow shadowOf(NativeWindow window) const;

    ColorScheme colorScheme() const override { return scheme; }
    Motion motion() const override { return motionWanted; }
    std::optional<AccentColor> accent() const override { return accentWanted; }
    Observers::Subscription observe(std::function<void()> changed) override;
    void activate(NativeWindow window) override;
    WindowEdge edge() const override { return edgeAllowed; }
    void setShadow(NativeWindow window, const WindowShadow& shadow) override;
    bool isHeld() const override { return true; }

private:
    std::vector<std::string>& calls;
    ColorScheme scheme = ColorScheme::Light;
    Motion motionWanted = Motion::Full;
    std::optional<AccentColor> accentWanted;
    WindowEdge edgeAllowed = WindowEdge::Square;
    Observers observers;
    std::vector<NativeWindow> activated;
    std::map<NativeWindow, WindowShadow> shadows;
};
