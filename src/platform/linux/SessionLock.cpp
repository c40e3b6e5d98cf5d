#include "platform/linux/SessionLock.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {

const QString service = QStringLiteral("org.freedesktop.login1");
const QString sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString lockedHint = QStringLiteral("LockedHint");

}

SessionLock::SessionLock(const QDBusConnection& systemBus)
    : bus(systemBus)
{
    if (!bus.isConnected())
        return;
    // The session that this process belongs to; for one that the user's service manager has started, the
    // session with the display. Asked for by name because signals come from the object of that name only.
    auto call = QDBusMessage::createMethodCall(
        service, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "GetSession");
    call << "auto";
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &SessionLock::sessionFound);
}

void SessionLock::propertiesChanged(
    const QString& interface, const QVariantMap& changed, const QStringList& /*invalidated*/)
{
    if (interface == sessionInterface && changed.contains(lockedHint))
        locked = changed.value(lockedHint).toBool();
}

void SessionLock::sessionFound(QDBusPendingCallWatcher* call)
{
    call->deleteLater();
    const QDBusPendingReply<QDBusObjectPath> session = *call;
    if (session.isError())
        return;
    bus.connect(service, session.value().path(), propertiesInterface, "PropertiesChanged", this,
        SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    auto question
        = QDBusMessage::createMethodCall(service, session.value().path(), propertiesInterface, "Get");
    question << sessionInterface << lockedHint;
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &SessionLock::answered);
}

void SessionLock::answered(QDBusPendingCallWatcher* call)
{
    call->deleteLater();
    const QDBusPendingReply<QDBusVariant> answer = *call;
    if (answer.isValid())
        locked = answer.value().variant().toBool();
}
