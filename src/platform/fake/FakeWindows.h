#pragma once

#include "platform/Appearance.h"
#include "platform/WindowActivation.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// How windows look on the desktop, and which of them are in front.
class FakeWindows final
    : public Appearance
    , public WindowActivation {
public:
    explicit FakeWindows(std::vector<std::string>& calls)
        : calls(calls)
    {
    }

    void setAppearance(ColorScheme newScheme, Motion newMotion, std::optional<AccentColor> newAccent);

    const std::vector<NativeWindow>& activatedWindows() const { return activated; }

    ColorScheme colorScheme() const override { return scheme; }
    Motion motion() const override { return motionWanted; }
    std::optional<AccentColor> accent() const override { return accentWanted; }
    Observers::Subscription observe(std::function<void()> changed) override;
    void activate(NativeWindow window) override;

private:
    std::vector<std::string>& calls;
    ColorScheme scheme = ColorScheme::Light;
    Motion motionWanted = Motion::Full;
    std::optional<AccentColor> accentWanted;
    Observers observers;
    std::vector<NativeWindow> activated;
};
