#pragma once

#include "platform/MenuBarItem.h"
#include "platform/linux/MenuBarIcon.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QPoint>

#include <memory>
#include <optional>

class DbusMenu;
class DbusObject;
struct DbusInterface;

/// The menu-bar item as an org.kde.StatusNotifierItem of the session bus, which every desktop with a tray
/// understands. It registers with each watcher that appears, at once and without asking whether a host is
/// there: the bar often starts later than the program, and restarts. Without a bus it does nothing.
class StatusNotifierItem final : public MenuBarItem {
public:
    explicit StatusNotifierItem(const QDBusConnection& bus);
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;
    ~StatusNotifierItem() override;

    void install(std::function<void(ScreenPoint)> activated, std::vector<MenuBarCommand> commands) override;
    void setLabel(const MenuBarLabel& label) override;

private:
    DbusInterface description();
    void registerWithWatcher();
    void activate(QPoint reported);
    ScreenPoint panelPlace(QPoint reported);

    QDBusConnection bus;
    QDBusServiceWatcher watcher;
    MenuBarLabel current;
    QList<IconPixmap> pixmaps;
    std::function<void(ScreenPoint)> activated;
    std::optional<ScreenPoint> lastPlace;
    std::unique_ptr<DbusMenu> menu;
    std::unique_ptr<DbusObject> object;
};
