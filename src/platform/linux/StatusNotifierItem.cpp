#include "platform/linux/StatusNotifierItem.h"

#include "platform/linux/DbusMenu.h"
#include "platform/linux/DbusObject.h"
#include "platform/linux/Quirks.h"
#include "platform/linux/Session.h"
#include "platform/linux/X11Windows.h"

#include <QCoreApplication>
#include <QCursor>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QScreen>

namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString noOwner = QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner");
const QString menuPath = QStringLiteral("/MenuBar");

QString itemName()
{
    return QString("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid());
}

/// "(sa(iiay)ss)": an icon, a title in bold and a text below it.
struct ToolTip {
    QString iconName;
    QList<IconPixmap> iconPixmaps;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip)
{
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.iconPixmaps << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip)
{
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.iconPixmaps >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

void registerTypes()
{
    qDBusRegisterMetaType<IconPixmap>();
    qDBusRegisterMetaType<QList<IconPixmap>>();
    qDBusRegisterMetaType<ToolTip>();
}

/// A window of Wayland comes to the front with such a token only, which the toolkit uses up for the next one
/// that it activates. One of X needs none; the desktop only has to hear that it need not wait.
std::optional<QVariantList> takeActivationToken(const QVariantList& arguments)
{
    const auto token = arguments[0].toString().toUtf8();
    if (QGuiApplication::platformName() == "wayland")
        qputenv("XDG_ACTIVATION_TOKEN", token);
    else
        endStartup(token);
    return QVariantList();
}

std::optional<QVariantList> nothingToDo(const QVariantList&) { return QVariantList(); }

/// The point of the screens that hosts call by these physical pixels; nothing when they lie outside every
/// screen, and for the corner that hosts name when they do not know.
std::optional<ScreenPoint> logicalPoint(QPoint physical)
{
    if (physical.isNull())
        return {};
    for (const QScreen* screen : QGuiApplication::screens()) {
        // Screens keep their place when they are scaled; only their extent shrinks.
        const QPoint origin = screen->geometry().topLeft();
        const qreal ratio = screen->devicePixelRatio();
        if (!QRectF(origin, QSizeF(screen->geometry().size()) * ratio).contains(physical))
            continue;
        const QPoint logical = origin + (QPointF(physical - origin) / ratio).toPoint();
        return ScreenPoint { logical.x(), logical.y() };
    }
    return {};
}

ScreenPoint topRight()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return {};
    const QPoint corner = screen->availableGeometry().topRight();
    return { corner.x(), corner.y() };
}

}

StatusNotifierItem::StatusNotifierItem(
    const QDBusConnection& bus, std::function<void(WatcherState)> watcherSeen)
    : bus(bus)
    , watcherSeen(std::move(watcherSeen))
{
}

StatusNotifierItem::~StatusNotifierItem() = default;

void StatusNotifierItem::install(
    std::function<void(ScreenPoint)> activated, std::vector<MenuBarCommand> commands)
{
    this->activated = std::move(activated);
    if (!bus.isConnected())
        return;

    // All there is to see stands before anybody hears of it.
    menu = std::make_unique<DbusMenu>(bus, menuPath, std::move(commands), [this] { return panelPlace({}); });
    object = std::make_unique<DbusObject>(bus, "/StatusNotifierItem", description());
    bus.registerService(itemName());

    owner.setConnection(bus);
    // Not only the name's coming and going: it may pass from one watcher straight to the next.
    owner.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    owner.addWatchedService(watcherName);
    QObject::connect(&owner, &QDBusServiceWatcher::serviceOwnerChanged, &owner, [this] { lookForWatcher(); });
    lookForWatcher();
}

void StatusNotifierItem::setLabel(const MenuBarLabel& label)
{
    const MenuBarLabel previous = std::exchange(current, label);
    if (!object)
        return;
    if (current.text != previous.text) {
        if (takesTextInTheIconOnly(bar)) {
            pixmaps.clear();
            object->emitSignal("NewIcon");
        } else {
            announceLabel(this->label());
        }
    }
    if (current.toolTip != previous.toolTip)
        object->emitSignal("NewToolTip");
}

QString StatusNotifierItem::label() const { return QString::fromStdString(current.text); }

DbusInterface StatusNotifierItem::description()
{
    registerTypes();
    const auto activation = [this](const QVariantList& arguments) {
        activate({ arguments[0].toInt(), arguments[1].toInt() });
        return QVariantList();
    };
    const std::vector<DbusArgument> place = { { "x", "i" }, { "y", "i" } };
    DbusInterface description;
    description.name = "org.kde.StatusNotifierItem";
    description.methods = {
        { "Activate", place, {}, activation },
        { "SecondaryActivate", place, {}, activation },
        // The host draws the menu, and scrolling over the item means nothing.
        { "ContextMenu", place, {}, nothingToDo },
        { "Scroll", { { "delta", "i" }, { "orientation", "s" } }, {}, nothingToDo },
        { "ProvideXdgActivationToken", { { "token", "s" } }, {}, takeActivationToken },
    };
    description.properties = {
        { "Category", "s", [] { return QString("ApplicationStatus"); } },
        { "Id", "s", [] { return QString("org.knucklet.Knucklet"); } },
        { "Title", "s", [] { return QString("Knucklet"); } },
        { "Status", "s", [] { return QString("Active"); } },
        { "WindowId", "i", [] { return 0; } },
        { "IconName", "s", [this] { return drawsNamedIconsUncolored(bar) ? "" : menuBarIconName(); } },
        { "IconThemePath", "s", menuBarIconThemePath },
        { "IconPixmap", "a(iiay)",
            [this] {
                if (pixmaps.isEmpty())
                    pixmaps = menuBarIconPixmaps(takesTextInTheIconOnly(bar) ? label() : QString());
                return QVariant::fromValue(pixmaps);
            } },
        // In the title, because some hosts show nothing else.
        { "ToolTip", "(sa(iiay)ss)",
            [this] {
                return QVariant::fromValue(ToolTip { {}, {}, QString::fromStdString(current.toolTip), {} });
            } },
        { "ItemIsMenu", "b", [] { return false; } },
        { "Menu", "o", [] { return QVariant::fromValue(QDBusObjectPath(menuPath)); } },
        { "XAyatanaLabel", "s",
            [this] { return takesTextInTheIconOnly(bar) ? QVariant() : QVariant(label()); } },
        { "XAyatanaLabelGuide", "s",
            [this] { return takesTextInTheIconOnly(bar) ? QVariant() : QVariant(""); } },
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
    const auto announce = [this] {
        announceLabel("");
        announceLabel(label());
    };
    QMetaObject::invokeMethod(object.get(), announce, Qt::QueuedConnection);
}

void StatusNotifierItem::announceLabel(const QString& text)
{
    object->emitSignal("XAyatanaNewLabel", { text, QString("") });
}

/// A new question takes the place of the last, so that the newest watcher is the one that counts.
void StatusNotifierItem::lookForWatcher()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        busName, "/org/freedesktop/DBus", busName, "GetConnectionUnixProcessID");
    call.setArguments({ watcherName });
    question = std::make_unique<QDBusPendingCallWatcher>(bus.asyncCall(call));
    QObject::connect(question.get(), &QDBusPendingCallWatcher::finished, question.get(), [this] {
        const QDBusPendingReply<uint> processId = *question;
        if (processId.isError() && processId.error().name() == noOwner)
            watcherIs(WatcherState::Absent);
        else
            watcherAppeared(processId);
    });
}

/// A refusal to register needs no answer of ours: the next watcher is heard of.
void StatusNotifierItem::watcherAppeared(uint processId)
{
    bar = processName(processId);
    pixmaps.clear();

    QDBusMessage call = QDBusMessage::createMethodCall(
        watcherName, "/StatusNotifierWatcher", watcherName, "RegisterStatusNotifierItem");
    call.setAutoStartService(false);
    call.setArguments({ itemName() });
    bus.send(call);
    watcherIs(WatcherState::Present);
}

void StatusNotifierItem::watcherIs(WatcherState state)
{
    watcher = state;
    watcherSeen(state);
}

/// Later, so that the host has its answer first. The place is taken at once: the pointer may move on.
void StatusNotifierItem::activate(QPoint reported)
{
    const ScreenPoint place = panelPlace(reported);
    QMetaObject::invokeMethod(
        object.get(), [this, place] { activated(place); }, Qt::QueuedConnection);
}

ScreenPoint StatusNotifierItem::panelPlace(QPoint reported)
{
    // On a real X server, where the pointer stands is more certain than what any host says.
    if (QGuiApplication::platformName() == "xcb" && !isWaylandSession()) {
        const QPoint pointer = QCursor::pos();
        return { pointer.x(), pointer.y() };
    }
    const auto place = countsPlacesFromTheIcon(bar) ? std::nullopt : logicalPoint(reported);
    if (place)
        lastPlace = place;
    return lastPlace.value_or(topRight());
}
