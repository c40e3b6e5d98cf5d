#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

class QDBusPendingCallWatcher;

/// Whether the user's session is locked, as far as the screen locker tells the login manager. Without a login
/// manager, and until it has answered, no session is locked.
class SessionLock final : public QObject {
    Q_OBJECT

public:
    explicit SessionLock(const QDBusConnection& systemBus);

    bool isLocked() const { return locked; }

private slots:
    void propertiesChanged(
        const QString& interface, const QVariantMap& changed, const QStringList& invalidated);

private:
    void sessionFound(QDBusPendingCallWatcher* call);
    void answered(QDBusPendingCallWatcher* call);

    QDBusConnection bus;
    bool locked = false;
};
