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
class QDBusPendingCallWatcher;
struct DbusInterface;

/// Whether there is the part of a desktop with which items register. Bars that understand such items bring
/// one along.
enum class WatcherState { Present, Absent };

/// The menu-bar item as an org.kde.StatusNotifierItem of the session bus, which every desktop with a tray
/// understands. It registers with each watcher that appears, at once and without asking whether a host is
/// there: the bar often starts later than the program, and restarts. Without a bus it does nothing.
class StatusNotifierItem final : public MenuBarItem {
public:
    /// `watcherSeen` hears of the watcher that is there or not at first, and of each change.
    explicit StatusNotifierItem(
        const QDBusConnection& bus, std::function<void(WatcherState)> watcherSeen = [](WatcherState) {});
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;
    ~StatusNotifierItem() override;

    void install(std::function<void(ScreenPoint)> activated, std::vector<MenuBarCommand> commands) override;
    void setLabel(const MenuBarLabel& label) override;
    bool isShown() const override { return watcher == WatcherState::Present; }

private:
    DbusInterface description();
    QString label() const;
    void showLabelAgain();
    void announceLabel(const QString& text);
    void lookForWatcher();
    void watcherIs(WatcherState state);
    void watcherAppeared(uint processId);
    void activate(QPoint reported);
    ScreenPoint panelPlace(QPoint reported);

    QDBusConnection bus;
    std::function<void(WatcherState)> watcherSeen;
    WatcherState watcher = WatcherState::Absent;
    QDBusServiceWatcher owner;
    std::unique_ptr<QDBusPendingCallWatcher> question;
    /// The process of the bar that was there last.
    QString bar;
    MenuBarLabel current;
    QList<IconPixmap> pixmaps;
    std::function<void(ScreenPoint)> activated;
    std::optional<ScreenPoint> lastPlace;
    std::unique_ptr<DbusMenu> menu;
    std::unique_ptr<DbusObject> object;
};
