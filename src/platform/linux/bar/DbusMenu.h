#pragma once

#include "platform/MenuBarItem.h"
#include "platform/linux/bus/BusObject.h"
#include "support/Lifetime.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The item's context menu for hosts that draw menus themselves: one flat list of commands that never
/// changes, as the interface com.canonical.dbusmenu.
class DbusMenu final {
public:
    /// `place` is asked at each choice for the place that the command is told.
    DbusMenu(EventLoop& loop, Bus& bus, const std::string& path, std::vector<MenuBarCommand> commands,
        std::function<std::optional<ScreenPixel>()> place);
    DbusMenu(const DbusMenu&) = delete;
    DbusMenu& operator=(const DbusMenu&) = delete;

private:
    using Properties = std::map<std::string, std::string>;

    BusInterface description();
    bool getLayout(BusReader& arguments, BusWriter& results) const;
    bool getGroupProperties(BusReader& arguments, BusWriter& results) const;
    bool getProperty(BusReader& arguments, BusWriter& results) const;
    bool event(BusReader& arguments, BusWriter& results);
    bool eventGroup(BusReader& arguments, BusWriter& results);
    bool aboutToShow(BusReader& arguments, BusWriter& results) const;
    bool aboutToShowGroup(BusReader& arguments, BusWriter& results) const;

    // The entry 0 is the menu itself; the commands follow from 1.
    bool hasEntry(std::int32_t id) const;
    Properties allProperties(std::int32_t id) const;
    /// Those of the given names, or all when there are none.
    Properties properties(std::int32_t id, const std::vector<std::string>& names) const;
    void handleEvent(std::int32_t id, const std::string& name);

    EventLoop& loop;
    std::vector<MenuBarCommand> commands;
    std::function<std::optional<ScreenPixel>()> place;
    BusObject object;
    Lifetime lifetime;
};
