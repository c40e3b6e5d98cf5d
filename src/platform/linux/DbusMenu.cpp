#include "platform/linux/DbusMenu.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QLocale>

#include <functional>

namespace {

// The menu never changes, and so stays in its first revision.
constexpr uint revision = 1;

/// An entry with its properties: "(ia{sv})".
struct Entry {
    int id = 0;
    QVariantMap properties;
};

/// An entry with its properties and the layouts of its children: "(ia{sv}av)".
struct Layout {
    int id = 0;
    QVariantMap properties;
    QList<QDBusVariant> children;
};

/// Something that happened to an entry: "(isvu)".
struct Event {
    int id = 0;
    QString name;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Entry& entry)
{
    argument.beginStructure();
    argument << entry.id << entry.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Entry& entry)
{
    argument.beginStructure();
    argument >> entry.id >> entry.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Layout& layout)
{
    argument.beginStructure();
    argument << layout.id << layout.properties << layout.children;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Layout& layout)
{
    argument.beginStructure();
    argument >> layout.id >> layout.properties >> layout.children;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Event& event)
{
    argument.beginStructure();
    argument << event.id << event.name << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Event& event)
{
    argument.beginStructure();
    argument >> event.id >> event.name >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

void registerTypes()
{
    qDBusRegisterMetaType<Entry>();
    qDBusRegisterMetaType<QList<Entry>>();
    qDBusRegisterMetaType<Layout>();
    qDBusRegisterMetaType<Event>();
    qDBusRegisterMetaType<QList<Event>>();
}

/// An underscore marks the access key of an entry, unless there are two.
QString menuLabel(const std::string& title) { return QString::fromStdString(title).replace("_", "__"); }

}

DbusMenu::DbusMenu(const QDBusConnection& bus, const QString& path, std::vector<MenuBarCommand> commands,
    std::function<ScreenPoint()> place)
    : commands(std::move(commands))
    , place(std::move(place))
    , object(bus, path, description())
{
}

DbusInterface DbusMenu::description()
{
    registerTypes();
    DbusInterface description;
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
        { "Version", "u", [] { return QVariant(3U); } },
        { "TextDirection", "s",
            [] { return QString(QLocale().textDirection() == Qt::RightToLeft ? "rtl" : "ltr"); } },
        { "Status", "s", [] { return QString("normal"); } },
        { "IconThemePath", "as", [] { return QStringList(); } },
    };
    description.emits = {
        { "ItemsPropertiesUpdated",
            { { "updatedProperties", "a(ia{sv})" }, { "removedProperties", "a(ias)" } } },
        { "LayoutUpdated", { { "revision", "u" }, { "parent", "i" } } },
        { "ItemActivationRequested", { { "id", "i" }, { "timestamp", "u" } } },
    };
    return description;
}

DbusMenu::Results DbusMenu::getLayout(const QVariantList& arguments) const
{
    const int parent = arguments[0].toInt();
    const int depth = arguments[1].toInt();
    const QStringList names = arguments[2].toStringList();
    if (!hasEntry(parent))
        return {};

    Layout layout { parent, properties(parent, names), {} };
    // A negative depth means all there is.
    if (parent == 0 && depth != 0) {
        for (int id = 1; hasEntry(id); ++id) {
            const Layout child { id, properties(id, names), {} };
            layout.children.append(QDBusVariant(QVariant::fromValue(child)));
        }
    }
    return QVariantList { revision, QVariant::fromValue(layout) };
}

DbusMenu::Results DbusMenu::getGroupProperties(const QVariantList& arguments) const
{
    auto ids = qdbus_cast<QList<int>>(arguments[0]);
    const QStringList names = arguments[1].toStringList();
    if (ids.isEmpty()) {
        for (int id = 0; hasEntry(id); ++id)
            ids.append(id);
    }

    QList<Entry> entries;
    for (const int id : ids) {
        if (hasEntry(id))
            entries.append({ id, properties(id, names) });
    }
    return QVariantList { QVariant::fromValue(entries) };
}

DbusMenu::Results DbusMenu::getProperty(const QVariantList& arguments) const
{
    const QVariant value = allProperties(arguments[0].toInt()).value(arguments[1].toString());
    if (!value.isValid())
        return {};
    return QVariantList { QVariant::fromValue(QDBusVariant(value)) };
}

DbusMenu::Results DbusMenu::event(const QVariantList& arguments)
{
    const int id = arguments[0].toInt();
    if (!hasEntry(id))
        return {};
    handleEvent(id, arguments[1].toString());
    return QVariantList();
}

DbusMenu::Results DbusMenu::eventGroup(const QVariantList& arguments)
{
    const auto events = qdbus_cast<QList<Event>>(arguments[0]);
    QList<int> unknown;
    for (const Event& event : events) {
        if (hasEntry(event.id)) {
            handleEvent(event.id, event.name);
        } else {
            unknown.append(event.id);
        }
    }
    if (!events.isEmpty() && unknown.size() == events.size())
        return {};
    return QVariantList { QVariant::fromValue(unknown) };
}

DbusMenu::Results DbusMenu::aboutToShow(const QVariantList& arguments) const
{
    if (!hasEntry(arguments[0].toInt()))
        return {};
    return QVariantList { false };
}

DbusMenu::Results DbusMenu::aboutToShowGroup(const QVariantList& arguments) const
{
    const auto ids = qdbus_cast<QList<int>>(arguments[0]);
    QList<int> unknown;
    for (const int id : ids) {
        if (!hasEntry(id))
            unknown.append(id);
    }
    if (!ids.isEmpty() && unknown.size() == ids.size())
        return {};
    return QVariantList { QVariant::fromValue(QList<int>()), QVariant::fromValue(unknown) };
}

bool DbusMenu::hasEntry(int id) const { return 0 <= id && id <= static_cast<int>(commands.size()); }

QVariantMap DbusMenu::allProperties(int id) const
{
    if (id == 0)
        return { { "children-display", "submenu" } };
    if (hasEntry(id))
        return { { "label", menuLabel(commands[static_cast<std::size_t>(id - 1)].title) } };
    return {};
}

QVariantMap DbusMenu::properties(int id, const QStringList& names) const
{
    QVariantMap properties = allProperties(id);
    if (!names.isEmpty())
        properties.removeIf([&](const auto& property) { return !names.contains(property.key()); });
    return properties;
}

void DbusMenu::handleEvent(int id, const QString& name)
{
    if (id == 0 || name != "clicked")
        return;
    // Later, so that the host has its answer first: the command may end the program.
    const auto& action = commands[static_cast<std::size_t>(id - 1)].action;
    QMetaObject::invokeMethod(
        &object, [action, place = place()] { action(place); }, Qt::QueuedConnection);
}
