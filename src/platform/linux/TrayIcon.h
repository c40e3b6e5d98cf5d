#pragma once

#include "platform/MenuBarItem.h"

#include <QMenu>
#include <QSystemTrayIcon>

/// The menu-bar item for bars of the older kind, which take in small windows of other programs. It shows the
/// icon alone; the counts are in its tooltip. Nothing is to be seen while no such bar is there.
class TrayIcon final {
public:
    TrayIcon(std::function<void(ScreenPoint)> activated, const std::vector<MenuBarCommand>& commands);
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    void setToolTip(const std::string& toolTip);
    bool isShown() const;

private:
    ScreenPoint place() const;

    QMenu menu;
    QSystemTrayIcon icon;
};
