#pragma once

#include "platform/MenuBarItem.h"
#include "platform/WindowActivation.h"

#include <functional>
#include <optional>

/// A place on the screens, in points (device-independent pixels), origin at the top left of the first screen.
struct ScreenPoint {
    int x = 0;
    int y = 0;

    bool operator==(const ScreenPoint&) const = default;
};

/// Part of the screens, in points, with the origin of `ScreenPoint`.
struct ScreenArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const ScreenArea&) const = default;
};

/// What the panel under the menu-bar item needs of its desktop besides a window.
class PanelHost {
public:
    virtual ~PanelHost() = default;

    /// The point beside which the panel opens after something that happened there. Where that is not known,
    /// or on no screen, it is the last one that was, and before there was any, where most menu bars have
    /// their items.
    virtual ScreenPoint pointAt(std::optional<ScreenPixel> place) = 0;
    /// The part of the screen with that place, or of the first screen, that no bar covers. Asked for anew at
    /// every opening: screens and bars come and go.
    virtual ScreenArea workArea(ScreenPoint place) const = 0;
    /// Before every showing: keeps the panel above other windows and out of task bars and pagers.
    virtual void prepare(NativeWindow panel) = 0;
    /// While the panel is open: calls at each press of a mouse button outside every window of the program.
    virtual void watchPressesOutside(std::function<void()> pressed) = 0;
    /// The panel has closed, for whatever reason.
    virtual void stopWatching() = 0;
    /// Whether a click on the menu-bar item that is reported now began with the very press that has closed
    /// the panel. Such a click is spent: it must not open the panel again.
    virtual bool isClickSpent() const = 0;
};
