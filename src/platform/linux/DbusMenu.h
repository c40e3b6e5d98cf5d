#pragma once

#include "platform/MenuBarItem.h"
#include "platform/linux/DbusObject.h"

#include <vector>

/// The item's context menu for hosts that draw menus themselves: one flat list of commands that never
/// changes, as the interface com.canonical.dbusmenu.
class DbusMenu final {
public:
    /// `place` is asked at each choice for the point that the command is told.
    DbusMenu(const QDBusConnection& bus, const QString& path, std::vector<MenuBarCommand> commands,
        std::function<ScreenPoint()> place);
    DbusMenu(const DbusMenu&) = delete;
    DbusMenu& operator=(const DbusMenu&) = delete;

private:
    using Results = std::optional<QVariantList>;

    DbusInterface description();
    Results getLayout(const QVariantList& arguments) const;
    Results getGroupProperties(const QVariantList& arguments) const;
    Results getProperty(const QVariantList& arguments) const;
    Results event(const QVariantList& arguments);
    Results eventGroup(const QVariantList& arguments);
    Results aboutToShow(const QVariantList& arguments) const;
    Results aboutToShowGroup(const QVariantList& arguments) const;

    // The entry 0 is the menu itself; the commands follow from 1.
    bool hasEntry(int id) const;
    QVariantMap allProperties(int id) const;
    /// Those of the given names, or all when there are none.
    QVariantMap properties(int id, const QStringList& names) const;
    void handleEvent(int id, const QString& name);

    std::vector<MenuBarCommand> commands;
    std::function<ScreenPoint()> place;
    DbusObject object;
};
