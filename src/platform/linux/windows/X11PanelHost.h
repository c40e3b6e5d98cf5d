#pragma once

#include "platform/PanelHost.h"

#include <QElapsedTimer>

class X11Input;

/// The panel on a Linux desktop. The window manager's deactivation alone does not tell when to close it: a
/// press on the bar itself, and on the bare desktop of some, activates nothing. So presses are watched on the
/// input's own connection.
class X11PanelHost final : public PanelHost {
public:
    explicit X11PanelHost(X11Input& input);

    ScreenPoint pointAt(std::optional<ScreenPixel> pixel) override;
    ScreenArea workArea(ScreenPoint place) const override;
    void prepare(NativeWindow panel) override;
    void watchPressesOutside(std::function<void()> pressed) override;
    void stopWatching() override;
    bool isClickSpent() const override;

private:
    void buttonPressed();
    void buttonReleased();

    X11Input& input;
    std::optional<ScreenPoint> lastPlace;
    std::function<void()> pressedOutside;
    bool isPressHeld = false;
    QElapsedTimer sinceRelease;
};
