#include "platform/linux/SessionLock.h"

#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QTest>

#include <memory>

namespace {

const QString interface = QStringLiteral("org.freedesktop.login1.Session");

/// A session as the login manager shows it.
class Session final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Session")
    Q_PROPERTY(bool LockedHint MEMBER lockedHint)

public:
    Session(const QDBusConnection& bus, const QString& path)
        : bus(bus)
        , path(path)
    {
        this->bus.registerObject(path, this, QDBusConnection::ExportAllProperties);
    }

    void setLocked(bool isLocked)
    {
        lockedHint = isLocked;
        changed(interface, { { "LockedHint", isLocked } });
    }

    void changed(const QString& changedInterface, const QVariantMap& properties)
    {
        auto signal
            = QDBusMessage::createSignal(path, "org.freedesktop.DBus.Properties", "PropertiesChanged");
        signal << changedInterface << properties << QStringList();
        bus.send(signal);
    }

    bool lockedHint = false;

private:
    QDBusConnection bus;
    QString path;
};

/// The login manager, with the session of this process and another one.
class LoginManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    explicit LoginManager(const QDBusConnection& bus)
        : own(bus, "/org/freedesktop/login1/session/_32")
        , another(bus, "/org/freedesktop/login1/session/_33")
        , bus(bus)
    {
        this->bus.registerObject("/org/freedesktop/login1", this, QDBusConnection::ExportAllSlots);
        this->bus.registerService("org.freedesktop.login1");
    }

    Session own;
    Session another;

public slots:
    QDBusObjectPath GetSession(const QString& name) // NOLINT(readability-identifier-naming)
    {
        return QDBusObjectPath("/org/freedesktop/login1/session/" + QString(name == "auto" ? "_32" : "_33"));
    }

private:
    QDBusConnection bus;
};

}

class SessionLockTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aSessionThatIsLockedAtTheStartIsLocked();
    void lockingAndUnlockingIsFollowed();
    void anotherSessionsLockIsNotOurs();
    void withoutALoginManagerNothingIsLocked();
    void withoutABusNothingIsLocked();

private:
    QDBusConnection connect(const QString& name)
    {
        return QDBusConnection::connectToBus(systemBus->address(), name);
    }

    std::unique_ptr<PrivateBus> systemBus;
};

void SessionLockTest::init() { systemBus = std::make_unique<PrivateBus>(); }

void SessionLockTest::cleanup()
{
    QDBusConnection::disconnectFromBus("manager");
    QDBusConnection::disconnectFromBus("program");
    systemBus.reset();
}

void SessionLockTest::aSessionThatIsLockedAtTheStartIsLocked()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;

    const SessionLock lock(connect("program"));

    QTRY_VERIFY(lock.isLocked());
}

void SessionLockTest::lockingAndUnlockingIsFollowed()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;
    const SessionLock lock(connect("program"));
    QTRY_VERIFY(lock.isLocked());

    manager.own.setLocked(false);
    QTRY_VERIFY(!lock.isLocked());
    manager.own.setLocked(true);

    QTRY_VERIFY(lock.isLocked());
}

void SessionLockTest::anotherSessionsLockIsNotOurs()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;
    const SessionLock lock(connect("program"));
    QTRY_VERIFY(lock.isLocked());

    manager.another.setLocked(false);
    manager.own.changed("org.freedesktop.login1.Another", { { "LockedHint", false } });
    manager.own.changed(interface, { { "IdleHint", false } });
    // A connection gets the messages of one sender in their order, so that this answer comes after the
    // signals.
    auto question = QDBusMessage::createMethodCall(
        "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "GetSession");
    question << "auto";
    const QDBusPendingCallWatcher answer(QDBusConnection("program").asyncCall(question));
    QTRY_VERIFY(answer.isFinished());

    QVERIFY(answer.isValid());
    QVERIFY(lock.isLocked());
}

void SessionLockTest::withoutALoginManagerNothingIsLocked()
{
    const SessionLock lock(connect("program"));

    QVERIFY(!lock.isLocked());
}

void SessionLockTest::withoutABusNothingIsLocked()
{
    const SessionLock lock(QDBusConnection("none"));

    QVERIFY(!lock.isLocked());
}

static const TestArea area("SessionLock", runTest<SessionLockTest>);

#include "SessionLockTest.moc"
