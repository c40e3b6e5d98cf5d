#include "platform/linux/portal/PortalAppearance.h"

#include "platform/linux/portal/Portal.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QTimer>

#include <functional>
#include <utility>

namespace {

const QString settings = QStringLiteral("Settings");

const QString sharedGroup = QStringLiteral("org.freedesktop.appearance");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString plasmaGroup = QStringLiteral("org.kde.kdeglobals.KDE");

/// Many times what portals send. More is not looked at: anybody in the session may pass for a portal.
constexpr int mostSettings = 256;
constexpr qsizetype longestText = 1024;

/// Some portals wrap a value once more.
QVariant unwrapped(QVariant value)
{
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

/// What counts is a number. It may be written as a text.
bool isLongText(const QVariant& value)
{
    return value.metaType().id() == QMetaType::QString && value.toString().size() > longestText;
}

/// Calls for each setting of "a{sa{sv}}".
void forEachSetting(const QDBusArgument& groups,
    const std::function<void(const QString& group, const QString& key, const QVariant& value)>& call)
{
    int left = mostSettings;
    groups.beginMap();
    while (!groups.atEnd() && left > 0) {
        QString group;
        groups.beginMapEntry();
        groups >> group;
        groups.beginMap();
        for (; !groups.atEnd() && left > 0; --left) {
            QString key;
            QDBusVariant value;
            groups.beginMapEntry();
            groups >> key >> value;
            groups.endMapEntry();
            call(group, key, value.variant());
        }
        groups.endMap();
        groups.endMapEntry();
        --left;
    }
    groups.endMap();
}

/// "(ddd)": red, green and blue. Out of their range they mean that none was chosen.
std::optional<AccentColor> accentIn(const QVariant& value)
{
    if (!value.canConvert<QDBusArgument>())
        return {};
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != "(ddd)")
        return {};
    AccentColor color;
    argument.beginStructure();
    argument >> color.red >> color.green >> color.blue;
    argument.endStructure();
    const auto isInRange = [](double part) { return part >= 0 && part <= 1; };
    const bool isColor = isInRange(color.red) && isInRange(color.green) && isInRange(color.blue);
    return isColor ? std::optional(color) : std::nullopt;
}

}

PortalAppearance::PortalAppearance(const QDBusConnection& bus)
    : bus(bus)
    , portal(portalService, bus, QDBusServiceWatcher::WatchForRegistration)
{
    if (!bus.isConnected())
        return;
    // QtDBus knows the type, but it looks up the arguments of a slot by their names, and connects to nothing
    // when it finds none.
    qRegisterMetaType<QDBusVariant>();
    this->bus.connect(portalService, portalPath, portalInterface(settings), "SettingChanged", this,
        SLOT(settingChanged(QString, QString, QDBusVariant)));
    // At login the portal may come after this program.
    connect(&portal, &QDBusServiceWatcher::serviceRegistered, this, &PortalAppearance::read);
    read();
}

void PortalAppearance::awaitAnswer(std::chrono::milliseconds patience)
{
    if (hasAnswered || !bus.isConnected())
        return;
    QEventLoop loop;
    connect(this, &PortalAppearance::answerCame, &loop, &QEventLoop::quit);
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

Motion PortalAppearance::motion() const
{
    const bool isReduced
        = current.reducesMotion || current.switchesAnimationsOff || current.cutsAnimationsToNothing;
    return isReduced ? Motion::Reduced : Motion::Full;
}

Observers::Subscription PortalAppearance::observe(std::function<void()> changed)
{
    return observers.add(std::move(changed));
}

void PortalAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    Wishes wishes = current;
    apply(wishes, group, key, value.variant());
    become(wishes);
}

void PortalAppearance::read()
{
    auto call = portalMessage(settings, "ReadAll");
    call << QStringList { sharedGroup, gnomeGroup, plasmaGroup };
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &PortalAppearance::answered);
}

void PortalAppearance::answered(QDBusPendingCallWatcher* call)
{
    call->deleteLater();
    hasAnswered = true;
    emit answerCame();
    const QDBusMessage answer = call->reply();
    if (answer.type() == QDBusMessage::ErrorMessage || answer.signature() != "a{sa{sv}}")
        return;
    Wishes wishes;
    forEachSetting(answer.arguments().constFirst().value<QDBusArgument>(),
        [&](const QString& group, const QString& key, const QVariant& value) {
            apply(wishes, group, key, value);
        });
    become(wishes);
}

void PortalAppearance::apply(
    Wishes& wishes, const QString& group, const QString& key, const QVariant& wrapped)
{
    const QVariant value = unwrapped(wrapped);
    if (isLongText(value))
        return;
    if (group == sharedGroup && key == "color-scheme") {
        wishes.colorScheme = value.toUInt() == 1 ? ColorScheme::Dark : ColorScheme::Light;
    } else if (group == sharedGroup && key == "accent-color") {
        wishes.accent = accentIn(value);
    } else if (group == sharedGroup && key == "reduced-motion") {
        wishes.reducesMotion = value.toUInt() == 1;
    } else if (group == gnomeGroup && key == "enable-animations") {
        wishes.switchesAnimationsOff = !value.toBool();
    } else if (group == plasmaGroup && key == "AnimationDurationFactor") {
        bool isNumber = false;
        const double factor = value.toDouble(&isNumber);
        wishes.cutsAnimationsToNothing = isNumber && factor <= 0;
    }
}

void PortalAppearance::become(const Wishes& wishes)
{
    if (std::exchange(current, wishes) == wishes)
        return;
    observers.notify();
}
