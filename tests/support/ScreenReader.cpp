#include "support/ScreenReader.h"

#include "support/Patience.h"
#include "support/VirtualDesktop.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QSettings>
#include <QTest>
#include <QUuid>

namespace {

const QString launcherService = QStringLiteral("org.a11y.Bus");
const QString launcherPath = QStringLiteral("/org/a11y/bus");
const QString accessibleInterface = QStringLiteral("org.a11y.atspi.Accessible");
const QString componentInterface = QStringLiteral("org.a11y.atspi.Component");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

// Bits of the states of AT-SPI.
constexpr int checkedBit = 4;
constexpr int focusedBit = 12;

}

const Accessible* Accessible::find(const QString& wanted) const
{
    if (name == wanted)
        return this;
    for (const auto& child : children) {
        if (const auto* found = child.find(wanted))
            return found;
    }
    return nullptr;
}

const Accessible* Accessible::focused() const
{
    for (const auto& child : children) {
        if (const auto* found = child.focused())
            return found;
    }
    return isFocused ? this : nullptr;
}

QList<Accessible> Accessible::elements() const
{
    if (children.isEmpty())
        return { *this };
    QList<Accessible> all;
    for (const auto& child : children)
        all << child.elements();
    return all;
}

ScreenReader::ScreenReader(const VirtualDesktop& desktop)
    : desktop(desktop)
    , sessionName(QUuid::createUuid().toString())
    , busName(QUuid::createUuid().toString())
{
}

ScreenReader::~ScreenReader()
{
    QDBusConnection::disconnectFromBus(busName);
    QDBusConnection::disconnectFromBus(sessionName);
    if (launcher) {
        launcher->terminate();
        launcher->waitForFinished(patience);
    }
}

bool ScreenReader::start()
{
    // That somebody reads is kept in the user's settings, of which this desktop has none.
    QProcessEnvironment additions;
    additions.insert("GSETTINGS_BACKEND", "memory");
    const QSettings service("/usr/share/dbus-1/services/org.a11y.Bus.service", QSettings::IniFormat);
    launcher = desktop.launch(service.value("D-BUS Service/Exec").toString(), { "--launch-immediately" },
        { .channels = QProcess::MergedChannels, .additions = additions });
    auto session = QDBusConnection::connectToBus(desktop.busAddress(), sessionName);
    if (!QTest::qWaitFor(
            [&] { return session.interface()->isServiceRegistered(launcherService).value(); }, patience))
        return false;

    auto enable = QDBusMessage::createMethodCall(launcherService, launcherPath, propertiesInterface, "Set");
    enable << "org.a11y.Status"
           << "IsEnabled" << QVariant::fromValue(QDBusVariant(true));
    const QDBusReply<void> enabled = session.call(enable);
    const auto ask
        = QDBusMessage::createMethodCall(launcherService, launcherPath, launcherService, "GetAddress");
    const QDBusReply<QString> address = session.call(ask);
    return enabled.isValid() && address.isValid()
        && QDBusConnection::connectToBus(address, busName).isConnected();
}

std::optional<Accessible> ScreenReader::window(const QString& name) const
{
    const Accessible desk { .service = "org.a11y.atspi.Registry", .path = "/org/a11y/atspi/accessible/root" };
    for (const auto& program : children(desk)) {
        for (auto window : children(program)) {
            if (property(window, "Name").toString() != name)
                continue;
            readInside(window);
            return window;
        }
    }
    return {};
}

bool ScreenReader::press(const Accessible& control) const
{
    auto call
        = QDBusMessage::createMethodCall(control.service, control.path, "org.a11y.atspi.Action", "DoAction");
    call << 0;
    const QDBusReply<bool> reply = QDBusConnection(busName).call(call);
    return reply.isValid() && reply.value();
}

void ScreenReader::describe(Accessible& accessible) const
{
    const auto ask = [&](const QString& interface, const QString& method, const QVariantList& arguments) {
        auto call = QDBusMessage::createMethodCall(accessible.service, accessible.path, interface, method);
        call.setArguments(arguments);
        return QDBusConnection(busName).call(call).arguments().value(0);
    };
    accessible.name = property(accessible, "Name").toString();
    accessible.role = ask(accessibleInterface, "GetRoleName", {}).toString();

    const auto states = qdbus_cast<QList<uint>>(ask(accessibleInterface, "GetState", {}));
    const auto has = [&](int bit) { return (states.value(0) >> bit & 1) == 1; };
    accessible.isChecked = has(checkedBit);
    accessible.isFocused = has(focusedBit);

    constexpr uint relativeToScreen = 0;
    const auto extents = ask(componentInterface, "GetExtents", { relativeToScreen }).value<QDBusArgument>();
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    extents.beginStructure();
    extents >> x >> y >> width >> height;
    extents.endStructure();
    accessible.area = { x, y, width, height };
}

void ScreenReader::readInside(Accessible& parent) const
{
    describe(parent);
    parent.children = children(parent);
    for (auto& child : parent.children)
        readInside(child);
}

QList<Accessible> ScreenReader::children(const Accessible& parent) const
{
    const auto call
        = QDBusMessage::createMethodCall(parent.service, parent.path, accessibleInterface, "GetChildren");
    const auto reply = QDBusConnection(busName).call(call);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return {};
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    QList<Accessible> children;
    argument.beginArray();
    while (!argument.atEnd()) {
        Accessible child;
        QDBusObjectPath path;
        argument.beginStructure();
        argument >> child.service >> path;
        argument.endStructure();
        child.path = path.path();
        children << child;
    }
    argument.endArray();
    return children;
}

QVariant ScreenReader::property(const Accessible& accessible, const QString& name) const
{
    auto call
        = QDBusMessage::createMethodCall(accessible.service, accessible.path, propertiesInterface, "Get");
    call << accessibleInterface << name;
    const QDBusReply<QDBusVariant> reply = QDBusConnection(busName).call(call);
    return reply.isValid() ? reply.value().variant() : QVariant();
}
