#pragma once

#include "platform/linux/StatusNotifierItem.h"

#include <QTimer>

class TrayIcon;

/// The menu-bar item in whatever bar there is: a status-notifier item wherever a watcher for those runs, else
/// a tray icon. A watcher is given some seconds to come, because desktops start it after the programs of the
/// session.
class LinuxMenuBarItem final : public MenuBarItem {
public:
    explicit LinuxMenuBarItem(const QDBusConnection& bus);
    LinuxMenuBarItem(const LinuxMenuBarItem&) = delete;
    LinuxMenuBarItem& operator=(const LinuxMenuBarItem&) = delete;
    ~LinuxMenuBarItem() override;

    void install(std::function<void(ScreenPoint)> activated, std::vector<MenuBarCommand> commands) override;
    void setLabel(const MenuBarLabel& label) override;
    bool isShown() const override;

private:
    void watcherSeen(WatcherState watcher);
    void showTrayIcon();

    std::function<void(ScreenPoint)> activated;
    std::vector<MenuBarCommand> commands;
    MenuBarLabel label;
    QTimer patience;
    std::unique_ptr<TrayIcon> trayIcon;
    StatusNotifierItem item;
};
