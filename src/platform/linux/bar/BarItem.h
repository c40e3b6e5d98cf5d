#pragma once

#include "platform/linux/bar/StatusNotifierItem.h"
#include "platform/linux/process/EventLoop.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class TrayIcon;

/// The menu-bar item in whatever bar there is: a status-notifier item wherever a watcher for those runs, else
/// a tray icon. A watcher is given some seconds to come, because desktops start it after the programs of the
/// session.
class BarItem final : public MenuBarItem {
public:
    /// While the display's server is stuck, no tray icon is made, which would wait for it.
    BarItem(EventLoop& loop, Bus& bus, ItemSurroundings surroundings, std::function<bool()> serverIsStuck);
    BarItem(const BarItem&) = delete;
    BarItem& operator=(const BarItem&) = delete;
    ~BarItem() override;

    void install(MenuBarAction activated, std::vector<MenuBarCommand> commands, ShowMenu showMenu) override;
    void setLabel(const MenuBarLabel& label) override;
    bool isShown() const override;

private:
    void watcherSeen(WatcherState watcher);
    void showTrayIcon();

    EventLoop& loop;
    std::function<bool()> serverIsStuck;
    MenuBarAction activated;
    std::vector<MenuBarCommand> commands;
    ShowMenu showMenu;
    MenuBarLabel label;
    LoopTimer patience;
    std::unique_ptr<TrayIcon> trayIcon;
    StatusNotifierItem item;
};
