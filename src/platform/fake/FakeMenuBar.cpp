#include "platform/fake/FakeMenuBar.h"

#include <algorithm>
#include <utility>

void FakeMenuBar::chooseCommand(const std::string& title, std::optional<ScreenPixel> place)
{
    const auto command = std::ranges::find(menu, title, &MenuBarCommand::title);
    if (command != menu.end())
        command->action(place);
}

void FakeMenuBar::pressOutside()
{
    pressHeld = true;
    if (const auto tell = pressedOutside)
        tell();
}

std::vector<std::string> FakeMenuBar::commands() const
{
    std::vector<std::string> titles;
    for (const auto& command : menu)
        titles.push_back(command.title);
    return titles;
}

void FakeMenuBar::install(
    MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu /*showMenu*/)
{
    calls.emplace_back("install menu-bar item");
    itemActivated = std::move(activated);
    menu = std::move(commands);
}

void FakeMenuBar::setLabel(const MenuBarLabel& newLabel)
{
    calls.emplace_back("set label");
    label = newLabel;
}

// A pixel is a point here.
ScreenPoint FakeMenuBar::pointAt(std::optional<ScreenPixel> place)
{
    if (place)
        return { place->x, place->y };
    return { freeArea.x + freeArea.width - 1, freeArea.y };
}

void FakeMenuBar::watchPressesOutside(std::function<void()> pressed)
{
    calls.emplace_back("watch presses");
    pressedOutside = std::move(pressed);
}

void FakeMenuBar::stopWatching()
{
    calls.emplace_back("stop watching presses");
    pressedOutside = nullptr;
}
