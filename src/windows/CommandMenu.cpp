#include "windows/CommandMenu.h"

#include <QMenu>

namespace {

/// An ampersand marks the access key of an entry, unless there are two.
QString menuText(const std::string& title) { return QString::fromStdString(title).replace("&", "&&"); }

}

CommandMenu::CommandMenu() = default;

CommandMenu::~CommandMenu() = default;

void CommandMenu::show(
    const std::vector<MenuBarCommand>& commands, ScreenPoint point, std::optional<ScreenPixel> place)
{
    menu = std::make_unique<QMenu>();
    for (const MenuBarCommand& command : commands)
        menu->addAction(menuText(command.title), [action = command.action, place] { action(place); });
    menu->popup({ point.x, point.y });
}
