#include "platform/linux/LinuxMenuBarItem.h"

#include "platform/linux/TrayIcon.h"

using namespace std::chrono_literals;

LinuxMenuBarItem::LinuxMenuBarItem(const QDBusConnection& bus)
    : item(bus, [this](WatcherState watcher) { watcherSeen(watcher); })
{
    patience.setSingleShot(true);
    patience.setInterval(3s);
    QObject::connect(&patience, &QTimer::timeout, &patience, [this] { showTrayIcon(); });
}

LinuxMenuBarItem::~LinuxMenuBarItem() = default;

void LinuxMenuBarItem::install(
    std::function<void(ScreenPoint)> activated, std::vector<MenuBarCommand> commands)
{
    this->activated = activated;
    this->commands = commands;
    patience.start();
    item.install(std::move(activated), std::move(commands));
}

void LinuxMenuBarItem::setLabel(const MenuBarLabel& label)
{
    this->label = label;
    item.setLabel(label);
    if (trayIcon)
        trayIcon->setToolTip(label.toolTip);
}

bool LinuxMenuBarItem::isShown() const { return item.isShown() || (trayIcon && trayIcon->isShown()); }

void LinuxMenuBarItem::watcherSeen(WatcherState watcher)
{
    if (watcher == WatcherState::Present) {
        patience.stop();
        trayIcon.reset();
    } else if (!trayIcon && !patience.isActive()) {
        // A bar that restarts is back before the time is over.
        patience.start();
    }
}

// Qt chooses here between its own status-notifier item and a window in the tray, and finds no watcher for the
// former.
void LinuxMenuBarItem::showTrayIcon()
{
    trayIcon = std::make_unique<TrayIcon>(activated, commands);
    trayIcon->setToolTip(label.toolTip);
}
