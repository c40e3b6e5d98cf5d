#pragma once

#include "platform/MenuBarItem.h"
#include "platform/PanelHost.h"

#include <memory>
#include <vector>

class QMenu;

/// The item's menu where the bar has none of its own to show it in. It is made at each showing.
class CommandMenu final {
public:
    CommandMenu();
    CommandMenu(const CommandMenu&) = delete;
    CommandMenu& operator=(const CommandMenu&) = delete;
    ~CommandMenu();

    /// Beside a point of the screens, until a command is chosen or the user turns to something else. The
    /// command that is chosen is told `place`.
    void show(
        const std::vector<MenuBarCommand>& commands, ScreenPoint point, std::optional<ScreenPixel> place);

private:
    std::unique_ptr<QMenu> menu;
};
