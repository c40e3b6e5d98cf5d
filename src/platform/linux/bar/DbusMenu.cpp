#include "platform/linux/bar/DbusMenu.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <utility>

namespace {

// The menu never changes, and so stays in its first revision.
constexpr std::uint32_t revision = 1;

// The languages that are written from right to left, by their codes.
constexpr std::array<std::string_view, 14> rightToLeft { "ar", "ckb", "dv", "fa", "he", "iw", "ks", "nqo",
    "ps", "sd", "syr", "ug", "ur", "yi" };

/// Whether the desktop's texts are written from right to left.
bool isRightToLeft()
{
    for (const char* variable : { "LC_ALL", "LC_MESSAGES", "LANG" }) {
        const char* value = std::getenv(variable);
        const std::string_view locale = value ? value : "";
        if (locale.empty())
            continue;
        return std::ranges::find(rightToLeft, locale.substr(0, locale.find_first_of("_.@")))
            != rightToLeft.end();
    }
    return false;
}

/// An underscore marks the access key of an entry, unless there are two.
std::string menuLabel(const std::string& title)
{
    std::string label;
    for (const char character : title)
        label += character == '_' ? "__" : std::string(1, character);
    return label;
}

void writeProperties(BusWriter& results, const std::map<std::string, std::string>& properties)
{
    results.writeArray("{sv}", [&] {
        for (const auto& property : properties)
            results.writeEntry(property.first, "s", [&] { results.writeString(property.second); });
    });
}

}

DbusMenu::DbusMenu(EventLoop& loop, Bus& bus, const std::string& path, std::vector<MenuBarCommand> commands,
    std::function<std::optional<ScreenPixel>()> place)
    : loop(loop)
    , commands(std::move(commands))
    , place(std::move(place))
    , object(bus, path, description())
{
}

BusInterface DbusMenu::description()
{
    BusInterface description;
    description.name = "com.canonical.dbusmenu";
    description.methods = {
        { "GetLayout", { { "parentId", "i" }, { "recursionDepth", "i" }, { "propertyNames", "as" } },
            { { "revision", "u" }, { "layout", "(ia{sv}av)" } },
            std::bind_front(&DbusMenu::getLayout, this) },
        { "GetGroupProperties", { { "ids", "ai" }, { "propertyNames", "as" } },
            { { "properties", "a(ia{sv})" } }, std::bind_front(&DbusMenu::getGroupProperties, this) },
        { "GetProperty", { { "id", "i" }, { "name", "s" } }, { { "value", "v" } },
            std::bind_front(&DbusMenu::getProperty, this) },
        { "Event", { { "id", "i" }, { "eventId", "s" }, { "data", "v" }, { "timestamp", "u" } }, {},
            std::bind_front(&DbusMenu::event, this) },
        { "EventGroup", { { "events", "a(isvu)" } }, { { "idErrors", "ai" } },
            std::bind_front(&DbusMenu::eventGroup, this) },
        { "AboutToShow", { { "id", "i" } }, { { "needUpdate", "b" } },
            std::bind_front(&DbusMenu::aboutToShow, this) },
        { "AboutToShowGroup", { { "ids", "ai" } }, { { "updatesNeeded", "ai" }, { "idErrors", "ai" } },
            std::bind_front(&DbusMenu::aboutToShowGroup, this) },
    };
    description.properties = {
        { "Version", "u", [](BusWriter& value) { value.writeUint32(3); } },
        { "TextDirection", "s",
            [](BusWriter& value) { value.writeString(isRightToLeft() ? "rtl" : "ltr"); } },
        { "Status", "s", [](BusWriter& value) { value.writeString("normal"); } },
        { "IconThemePath", "as", [](BusWriter& value) { value.writeStrings({}); } },
    };
    description.emits = {
        { "ItemsPropertiesUpdated",
            { { "updatedProperties", "a(ia{sv})" }, { "removedProperties", "a(ias)" } } },
        { "LayoutUpdated", { { "revision", "u" }, { "parent", "i" } } },
        { "ItemActivationRequested", { { "id", "i" }, { "timestamp", "u" } } },
    };
    return description;
}

bool DbusMenu::getLayout(BusReader& arguments, BusWriter& results) const
{
    const auto parent = arguments.readInt32();
    const auto depth = arguments.readInt32();
    const auto names = arguments.readStrings();
    if (!hasEntry(parent))
        return false;

    const auto writeLayout = [&](std::int32_t id, const std::function<void()>& children) {
        results.writeStruct("ia{sv}av", [&] {
            results.writeInt32(id);
            writeProperties(results, properties(id, names));
            results.writeArray("v", children);
        });
    };
    results.writeUint32(revision);
    writeLayout(parent, [&] {
        // A negative depth means all there is.
        if (parent != 0 || depth == 0)
            return;
        for (std::int32_t id = 1; hasEntry(id); ++id)
            results.writeVariant("(ia{sv}av)", [&] { writeLayout(id, [] {}); });
    });
    return true;
}

bool DbusMenu::getGroupProperties(BusReader& arguments, BusWriter& results) const
{
    auto ids = arguments.readInt32s();
    const auto names = arguments.readStrings();
    if (ids.empty()) {
        for (std::int32_t id = 0; hasEntry(id); ++id)
            ids.push_back(id);
    }

    results.writeArray("(ia{sv})", [&] {
        for (const auto id : ids) {
            if (!hasEntry(id))
                continue;
            results.writeStruct("ia{sv}", [&] {
                results.writeInt32(id);
                writeProperties(results, properties(id, names));
            });
        }
    });
    return true;
}

bool DbusMenu::getProperty(BusReader& arguments, BusWriter& results) const
{
    const auto all = allProperties(arguments.readInt32());
    const auto property = all.find(arguments.readString());
    if (property == all.end())
        return false;
    results.writeVariant("s", [&] { results.writeString(property->second); });
    return true;
}

// Neither the data nor the time is looked at, and so not read either.
bool DbusMenu::event(BusReader& arguments, BusWriter&)
{
    const auto id = arguments.readInt32();
    const auto name = arguments.readString();
    if (!arguments.isGood() || !hasEntry(id))
        return false;
    handleEvent(id, name);
    return true;
}

bool DbusMenu::eventGroup(BusReader& arguments, BusWriter& results)
{
    std::vector<std::pair<std::int32_t, std::string>> events;
    std::vector<std::int32_t> unknown;
    arguments.forEachStruct("isvu", [&] {
        const auto id = arguments.readInt32();
        const auto name = arguments.readString();
        arguments.skipSingleVariant();
        arguments.readUint32();
        if (hasEntry(id))
            events.emplace_back(id, name);
        else
            unknown.push_back(id);
    });
    if (!arguments.isGood() || (events.empty() && !unknown.empty()))
        return false;
    for (const auto& event : events)
        handleEvent(event.first, event.second);
    results.writeInt32s(unknown);
    return true;
}

bool DbusMenu::aboutToShow(BusReader& arguments, BusWriter& results) const
{
    if (!hasEntry(arguments.readInt32()))
        return false;
    results.writeBoolean(false);
    return true;
}

bool DbusMenu::aboutToShowGroup(BusReader& arguments, BusWriter& results) const
{
    const auto ids = arguments.readInt32s();
    std::vector<std::int32_t> unknown;
    std::ranges::copy_if(ids, std::back_inserter(unknown), [this](auto id) { return !hasEntry(id); });
    if (!ids.empty() && unknown.size() == ids.size())
        return false;
    results.writeInt32s({});
    results.writeInt32s(unknown);
    return true;
}

bool DbusMenu::hasEntry(std::int32_t id) const
{
    return 0 <= id && id <= static_cast<std::int32_t>(commands.size());
}

DbusMenu::Properties DbusMenu::allProperties(std::int32_t id) const
{
    if (id == 0)
        return { { "children-display", "submenu" } };
    if (hasEntry(id))
        return { { "label", menuLabel(commands[static_cast<std::size_t>(id - 1)].title) } };
    return {};
}

DbusMenu::Properties DbusMenu::properties(std::int32_t id, const std::vector<std::string>& names) const
{
    auto properties = allProperties(id);
    if (!names.empty()) {
        std::erase_if(properties,
            [&](const auto& property) { return std::ranges::find(names, property.first) == names.end(); });
    }
    return properties;
}

void DbusMenu::handleEvent(std::int32_t id, const std::string& name)
{
    if (id == 0 || name != "clicked")
        return;
    // Later, so that the host has its answer first: the command may end the program.
    const auto& action = commands[static_cast<std::size_t>(id - 1)].action;
    loop.callLater(lifetime.guard([action, place = place()] { action(place); }));
}
