#pragma once

#include <functional>
#include <string>
#include <vector>

/// A place on the screens, in points (device-independent pixels), origin at the top left of the first screen.
struct ScreenPoint {
    int x = 0;
    int y = 0;

    bool operator==(const ScreenPoint&) const = default;
};

/// What stands in the menu bar beside the icon, and what a hover shows. Empty text means the icon alone.
struct MenuBarLabel {
    std::string text;
    std::string toolTip;

    bool operator==(const MenuBarLabel&) const = default;
};

struct MenuBarCommand {
    std::string title;
    /// Receives a place beside which a window of the program should open.
    std::function<void(ScreenPoint)> action;
};

/// The program's icon in the menu bar. Where the desktop offers no such place, or not yet, the item waits for
/// one.
class MenuBarItem {
public:
    virtual ~MenuBarItem() = default;

    /// Puts the item into the menu bar. `activated` is called at each click on it, with a place beside which
    /// the panel should open. The commands form the item's context menu.
    virtual void install(std::function<void(ScreenPoint)> activated, std::vector<MenuBarCommand> commands)
        = 0;
    /// Cheap, and silent towards the desktop, when the label is as it was.
    virtual void setLabel(const MenuBarLabel& label) = 0;
    /// Whether there is a menu bar with the item in it, as far as can be known.
    virtual bool isShown() const = 0;
};
