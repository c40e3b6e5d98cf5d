#include "support/SettingsPortal.h"

#include "support/VirtualDesktop.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QTest>
#include <QUuid>

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString sharedGroup = QStringLiteral("org.freedesktop.appearance");
const QString schemeKey = QStringLiteral("color-scheme");

}

SettingsPortal::SettingsPortal(const VirtualDesktop& desktop, Look look)
    : bus(QDBusConnection::connectToBus(desktop.busAddress(), QUuid::createUuid().toString()))
    , look(look)
{
    qDBusRegisterMetaType<SettingGroups>();
    QVERIFY(bus.registerObject(path, this, QDBusConnection::ExportScriptableSlots));
    QVERIFY(bus.registerService(service));
}

SettingsPortal::~SettingsPortal() { QDBusConnection::disconnectFromBus(bus.name()); }

void SettingsPortal::setLook(Look newLook)
{
    look = newLook;
    auto changed = QDBusMessage::createSignal(path, "org.freedesktop.portal.Settings", "SettingChanged");
    changed << sharedGroup << schemeKey << QVariant::fromValue(QDBusVariant(static_cast<uint>(look)));
    QVERIFY(bus.send(changed));
}

SettingGroups SettingsPortal::ReadAll(const QStringList& groups) const
{
    if (!groups.contains(sharedGroup))
        return {};
    return { { sharedGroup, { { schemeKey, static_cast<uint>(look) } } } };
}
