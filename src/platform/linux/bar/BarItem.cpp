#include "platform/linux/bar/BarItem.h"

#include "platform/linux/bar/TrayIcon.h"

#include <utility>

namespace {

using namespace std::chrono_literals;

/// How long a watcher may take to come, or to come back.
constexpr auto watcherPatience = 3s;

}

BarItem::BarItem(
    EventLoop& loop, Bus& bus, ItemSurroundings surroundings, std::function<bool()> serverIsStuck)
    : loop(loop)
    , serverIsStuck(std::move(serverIsStuck))
    , patience(loop, [this] { showTrayIcon(); })
    , item(loop, bus, std::move(surroundings), [this](WatcherState watcher) { watcherSeen(watcher); })
{
}

BarItem::~BarItem() = default;

void BarItem::install(MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu showMenu)
{
    this->activated = activated;
    this->commands = commands;
    this->showMenu = std::move(showMenu);
    patience.start(watcherPatience);
    item.install(std::move(activated), std::move(commands));
}

void BarItem::setLabel(const MenuBarLabel& label)
{
    this->label = label;
    item.setLabel(label);
    if (trayIcon)
        trayIcon->setToolTip(label.toolTip);
}

bool BarItem::isShown() const { return item.isShown() || (trayIcon && trayIcon->isShown()); }

void BarItem::watcherSeen(WatcherState watcher)
{
    if (watcher == WatcherState::Present) {
        patience.stop();
        trayIcon.reset();
    } else if (!trayIcon && !patience.isRunning()) {
        // A bar that restarts is back before the time is over.
        patience.start(watcherPatience);
    }
}

void BarItem::showTrayIcon()
{
    if (serverIsStuck()) {
        patience.start(watcherPatience);
        return;
    }
    const auto menuWanted = [this](std::optional<ScreenPixel> place) { showMenu(commands, place); };
    trayIcon = std::make_unique<TrayIcon>(loop, activated, menuWanted);
    trayIcon->setToolTip(label.toolTip);
}
