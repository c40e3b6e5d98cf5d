#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A place on the screens as the menu bar counts them: in the system's own pixels, origin at the top left.
struct ScreenPixel {
    int x = 0;
    int y = 0;

    bool operator==(const ScreenPixel&) const = default;
};

/// What the user did with the item, and where that was, as far as it is known.
using MenuBarAction = std::function<void(std::optional<ScreenPixel>)>;

/// What stands in the menu bar beside the icon, and what a hover shows. Empty text means the icon alone.
struct MenuBarLabel {
    std::string text;
    std::string toolTip;

    bool operator==(const MenuBarLabel&) const = default;
};

struct MenuBarCommand {
    std::string title;
    MenuBarAction action;
};

/// Shows commands as a menu at a place.
using ShowMenu = std::function<void(const std::vector<MenuBarCommand>&, std::optional<ScreenPixel>)>;

/// The program's icon in the menu bar. Where the desktop offers no such place, or not yet, the item waits for
/// one.
class MenuBarItem {
public:
    virtual ~MenuBarItem() = default;

    /// Puts the item into the menu bar. `activated` is called at each click on it. The commands form the
    /// item's context menu; a bar that draws no menus has it shown with `showMenu`.
    virtual void install(MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu showMenu)
        = 0;
    /// Cheap, and silent towards the desktop, when the label is as it was.
    virtual void setLabel(const MenuBarLabel& label) = 0;
    /// Whether there is a menu bar with the item in it, as far as can be known.
    virtual bool isShown() const = 0;
};
