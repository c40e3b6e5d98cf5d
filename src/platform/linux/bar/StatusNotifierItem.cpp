#include "platform/linux/bar/StatusNotifierItem.h"

#include "platform/linux/bar/DbusMenu.h"
#include "platform/linux/bar/Quirks.h"
#include "platform/linux/bus/BusObject.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <utility>

namespace {

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";
constexpr const char* unknownProcess = "org.freedesktop.DBus.Error.UnixProcessIdUnknown";
constexpr const char* itemPath = "/StatusNotifierItem";
constexpr const char* menuPath = "/MenuBar";

/// A name of its own that nobody else waits for.
constexpr std::uint32_t doNotQueue = 4;

void writePixmaps(BusWriter& value, const std::vector<IconPixmap>& pixmaps)
{
    value.writeArray("(iiay)", [&] {
        for (const auto& pixmap : pixmaps) {
            value.writeStruct("iiay", [&] {
                value.writeInt32(pixmap.width);
                value.writeInt32(pixmap.height);
                value.writeBytes(pixmap.pixels);
            });
        }
    });
}

/// An icon, a title in bold and a text below it. The text stands in the title, because some hosts show
/// nothing else.
void writeToolTip(BusWriter& value, const std::string& text)
{
    value.writeStruct("sa(iiay)ss", [&] {
        value.writeString("");
        writePixmaps(value, {});
        value.writeString(text);
        value.writeString("");
    });
}

BusProperty text(const std::string& name, const std::string& value)
{
    return { name, "s", [value](BusWriter& writer) { writer.writeString(value); } };
}

bool doNothing(BusReader&, BusWriter&) { return true; }

constexpr std::chrono::seconds toolTipInterval { 1 };

/// A host that sees an item reads it at once: mate-panel within milliseconds of its registration.
constexpr std::chrono::seconds hostPatience { 2 };

/// No icon reaches so far from its own corner, in pixels, nor where a point has two of them.
constexpr int iconReach = 64;

bool mayBeWithinIcon(ScreenPixel place) { return place.x < iconReach && place.y < iconReach; }

}

StatusNotifierItem::StatusNotifierItem(
    EventLoop& loop, Bus& bus, ItemSurroundings surroundings, std::function<void(WatcherState)> watcherSeen)
    : loop(loop)
    , bus(bus)
    , surroundings(std::move(surroundings))
    , watcherSeen(std::move(watcherSeen))
    , timeToRead(loop, [this] { registerAgainUnlessRead(); })
    , toolTipPause(loop, [this] { toolTipPauseOver(); })
{
}

StatusNotifierItem::~StatusNotifierItem() = default;

void StatusNotifierItem::install(MenuBarAction activated, std::vector<MenuBarCommand> commands)
{
    this->activated = std::move(activated);
    if (!bus.isOpen())
        return;

    // All there is to see stands before anybody hears of it.
    menu = std::make_unique<DbusMenu>(loop, bus, menuPath, std::move(commands), [this] { return place({}); });
    object = std::make_unique<BusObject>(bus, itemPath, description());
    takeName();
    bus.onLost(lifetime.guard([this] { watcherIs(WatcherState::Absent); }));

    // Not only the name's coming and going: it may pass from one watcher straight to the next.
    owners = bus.listen({ .sender = busName,
                            .path = busPath,
                            .interface = busName,
                            .member = "NameOwnerChanged",
                            .firstValue = watcherName },
        [this](BusReader) { lookForWatcher(); });
    lookForWatcher();
}

void StatusNotifierItem::setLabel(const MenuBarLabel& label)
{
    const MenuBarLabel previous = std::exchange(current, label);
    if (current.text.empty() != previous.text.empty())
        surroundings.textShown(!current.text.empty());
    if (!object)
        return;
    if (current.text != previous.text) {
        if (takesTextInTheIconOnly(bar)) {
            pixmaps.clear();
            object->emitSignal("NewIcon");
        } else {
            announceLabel(current.text);
        }
    }
    if (current.toolTip != previous.toolTip)
        announceToolTip();
}

/// Once a second at most, the last one included: nobody reads faster, and each costs the bar a question.
void StatusNotifierItem::announceToolTip()
{
    toolTipIsBehind = toolTipPause.isRunning();
    if (toolTipIsBehind)
        return;
    object->emitSignal("NewToolTip");
    toolTipPause.start(toolTipInterval);
}

void StatusNotifierItem::toolTipPauseOver()
{
    if (toolTipIsBehind)
        announceToolTip();
}

BusInterface StatusNotifierItem::description()
{
    const auto activation = [this](BusReader& arguments, BusWriter&) {
        const auto x = arguments.readInt32();
        activate({ x, arguments.readInt32() });
        return true;
    };
    const auto takeToken = [this](BusReader& arguments, BusWriter&) {
        const auto token = arguments.readString();
        if (arguments.isGood())
            surroundings.tokenCame(token);
        return true;
    };
    const auto hasLabel = [this] { return !takesTextInTheIconOnly(bar); };
    const std::vector<BusArgument> place = { { "x", "i" }, { "y", "i" } };
    BusInterface description;
    description.name = "org.kde.StatusNotifierItem";
    description.methods = {
        { "Activate", place, {}, activation },
        { "SecondaryActivate", place, {}, activation },
        // The host draws the menu, and scrolling over the item means nothing.
        { "ContextMenu", place, {}, doNothing },
        { "Scroll", { { "delta", "i" }, { "orientation", "s" } }, {}, doNothing },
        { "ProvideXdgActivationToken", { { "token", "s" } }, {}, takeToken },
    };
    description.properties = {
        text("Category", "ApplicationStatus"),
        text("Id", "org.knucklet.Knucklet"),
        text("Title", "Knucklet"),
        { "Status", "s",
            [this](BusWriter& value) {
                isRead = true;
                value.writeString("Active");
            } },
        { "WindowId", "i", [](BusWriter& value) { value.writeInt32(0); } },
        { "IconName", "s",
            [this](BusWriter& value) {
                value.writeString(drawsNamedIconsUncolored(bar) ? "" : menuBarIconName());
            } },
        { "IconThemePath", "s", [](BusWriter& value) { value.writeString(menuBarIconThemePath()); } },
        { "IconPixmap", "a(iiay)",
            [this](BusWriter& value) {
                if (pixmaps.empty())
                    pixmaps = menuBarIconPixmaps(takesTextInTheIconOnly(bar) ? current.text : "");
                writePixmaps(value, pixmaps);
            } },
        { "ToolTip", "(sa(iiay)ss)", [this](BusWriter& value) { writeToolTip(value, current.toolTip); } },
        { "ItemIsMenu", "b", [](BusWriter& value) { value.writeBoolean(false); } },
        { "Menu", "o", [](BusWriter& value) { value.writeObjectPath(menuPath); } },
        { "XAyatanaLabel", "s", [this](BusWriter& value) { value.writeString(current.text); }, hasLabel },
        { "XAyatanaLabelGuide", "s", [](BusWriter& value) { value.writeString(""); }, hasLabel },
    };
    description.emits = {
        { "NewTitle", {} },
        { "NewIcon", {} },
        { "NewToolTip", {} },
        { "NewStatus", { { "status", "s" } } },
        { "XAyatanaNewLabel", { { "label", "s" }, { "guide", "s" } } },
    };
    description.introspected = [this] { showLabelAgain(); };
    return description;
}

/// Later, so that the host has its answer first.
void StatusNotifierItem::showLabelAgain()
{
    if (!readsLabelTooEarly(bar) || current.text.empty())
        return;
    loop.callLater(lifetime.guard([this] {
        announceLabel("");
        announceLabel(current.text);
    }));
}

void StatusNotifierItem::announceLabel(const std::string& text)
{
    object->emitSignal("XAyatanaNewLabel", [&](BusWriter& values) {
        values.writeString(text);
        values.writeString("");
    });
}

std::string StatusNotifierItem::name() const
{
    return "org.kde.StatusNotifierItem-" + std::to_string(getpid()) + '-' + std::to_string(number);
}

void StatusNotifierItem::takeName()
{
    bus.send({ busName, busPath, busName, "RequestName", [this](BusWriter& arguments) {
                  arguments.writeString(name());
                  arguments.writeUint32(doNotQueue);
              } });
}

/// A new question takes the place of the last, so that the newest watcher is the one that counts. A bus that
/// hangs or refuses to say has none: the tray icon is to be seen all the same.
void StatusNotifierItem::lookForWatcher()
{
    question = bus.call({ busName, busPath, busName, "GetConnectionUnixProcessID",
                            [](BusWriter& arguments) { arguments.writeString(watcherName); } },
        [this](const BusAnswer& answer) {
            if (answer.isError(unknownProcess))
                watcherAppeared("");
            else if (answer.isError())
                watcherIs(WatcherState::Absent);
            else
                watcherAppeared(processName(answer.values().readUint32()));
        });
}

void StatusNotifierItem::watcherAppeared(const std::string& process)
{
    bar = process;
    pixmaps.clear();
    registerItem();
    watcherIs(WatcherState::Present);
}

/// A refusal needs no answer of ours: the next watcher is heard of.
void StatusNotifierItem::registerItem()
{
    isRead = false;
    timeToRead.stop();
    registration
        = bus.call({ watcherName, "/StatusNotifierWatcher", watcherName, "RegisterStatusNotifierItem",
                       [this](BusWriter& arguments) {
                           arguments.writeString(losesItemsWithNames(bar) ? itemPath : name());
                       } },
            [this](const BusAnswer& answer) {
                if (!answer.isError() && missesItemsOfItsStart(bar))
                    timeToRead.start(hostPatience);
            });
}

/// By another name: the one that it had is known, and would be passed over.
void StatusNotifierItem::registerAgainUnlessRead()
{
    if (isRead)
        return;
    bus.send({ busName, busPath, busName, "ReleaseName",
        [this](BusWriter& arguments) { arguments.writeString(name()); } });
    ++number;
    takeName();
    registerItem();
}

void StatusNotifierItem::watcherIs(WatcherState state)
{
    watcher = state;
    watcherSeen(state);
}

/// Later, so that the host has its answer first. The place is taken at once: the pointer may move on.
void StatusNotifierItem::activate(ScreenPixel reported)
{
    loop.callLater(lifetime.guard([this, place = place(reported)] { activated(place); }));
}

/// A host that does not know the place names the corner of all screens. What lies beside that corner is more
/// often a place within the icon than that of an icon that stands there.
std::optional<ScreenPixel> StatusNotifierItem::place(ScreenPixel reported) const
{
    if (const auto pointer = surroundings.pointer())
        return pointer;
    if (reported == ScreenPixel {} || countsPlacesFromTheIcon(bar))
        return {};
    if (mayBeWithinIcon(reported) && !knowsItsPlace(bar))
        return {};
    return reported;
}
