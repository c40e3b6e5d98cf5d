#include "platform/linux/input/SessionLock.h"

#include "platform/linux/bus/Bus.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/LoginManager.h"
#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QTest>

#include <memory>
#include <vector>

namespace {

const QString interface = QStringLiteral("org.freedesktop.login1.Session");

}

class SessionLockTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aSessionThatIsLockedAtTheStartIsLocked();
    void lockingAndUnlockingIsFollowed();
    void whatIsDoneBeforeAChangeIsDoneUnderWhatWas();
    void whatIsDoneBeforeAChangeIsDoneBeforeTheMachineSleeps();
    void anotherSessionsLockIsNotOurs();
    void onlyTheLoginManagerIsBelieved();
    void aLoginManagerThatIsStartedAnewIsFollowed();
    void whenTheBusIsLostTheLastWordHolds();
    void withoutALoginManagerNothingIsLocked();
    void withoutABusNothingIsLocked();

private:
    QDBusConnection connect(const QString& name)
    {
        return QDBusConnection::connectToBus(systemBus->address(), name);
    }

    void awaitAnswer();

    std::unique_ptr<PrivateBus> systemBus;
    std::unique_ptr<EventLoop> loop;
    std::unique_ptr<ServedLoop> served;
    std::unique_ptr<Bus> bus;
};

void SessionLockTest::init()
{
    systemBus = std::make_unique<PrivateBus>();
    loop = std::make_unique<EventLoop>();
    served = std::make_unique<ServedLoop>(*loop);
    bus = std::make_unique<Bus>(*loop, systemBus->address().toStdString());
}

void SessionLockTest::cleanup()
{
    bus.reset();
    served.reset();
    loop.reset();
    QDBusConnection::disconnectFromBus("manager");
    QDBusConnection::disconnectFromBus("another");
    systemBus.reset();
}

/// A connection gets the messages of one sender in their order, so that this answer comes after the signals
/// that the manager has sent.
void SessionLockTest::awaitAnswer()
{
    bool isAnswered = false;
    const auto answer
        = bus->call({ "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                        "GetSession", [](BusWriter& arguments) { arguments.writeString("auto"); } },
            [&](const BusAnswer& session) { isAnswered = !session.isError(); });
    QTRY_VERIFY(isAnswered);
}

void SessionLockTest::aSessionThatIsLockedAtTheStartIsLocked()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;

    const SessionLock lock(*bus, [] {});

    QTRY_VERIFY(lock.isLocked());
}

void SessionLockTest::lockingAndUnlockingIsFollowed()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;
    const SessionLock lock(*bus, [] {});
    QTRY_VERIFY(lock.isLocked());

    manager.own.setLocked(false);
    QTRY_VERIFY(!lock.isLocked());
    manager.own.setLocked(true);

    QTRY_VERIFY(lock.isLocked());
}

void SessionLockTest::whatIsDoneBeforeAChangeIsDoneUnderWhatWas()
{
    LoginManager manager(connect("manager"));
    std::vector<bool> wasLocked;
    SessionLock* itself = nullptr;
    SessionLock lock(*bus, [&] { wasLocked.push_back(itself->isLocked()); });
    itself = &lock;
    awaitAnswer();

    manager.own.setLocked(true);
    QTRY_VERIFY(lock.isLocked());
    manager.own.setLocked(true);
    manager.own.setLocked(false);
    QTRY_VERIFY(!lock.isLocked());

    QCOMPARE(wasLocked, (std::vector<bool> { false, true }));
}

void SessionLockTest::whatIsDoneBeforeAChangeIsDoneBeforeTheMachineSleeps()
{
    LoginManager manager(connect("manager"));
    int calls = 0;
    const SessionLock lock(*bus, [&calls] { ++calls; });
    QTRY_VERIFY(manager.hasClient());

    manager.tellOfSleep(true);
    QTRY_COMPARE(calls, 1);
    manager.tellOfSleep(false);
    awaitAnswer();

    QCOMPARE(calls, 1);
    QVERIFY(!lock.isLocked());
}

void SessionLockTest::anotherSessionsLockIsNotOurs()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;
    const SessionLock lock(*bus, [] {});
    QTRY_VERIFY(lock.isLocked());

    manager.another.setLocked(false);
    manager.own.changed("org.freedesktop.login1.Another", { { "LockedHint", false } });
    manager.own.changed(interface, { { "IdleHint", false } });
    awaitAnswer();

    QVERIFY(lock.isLocked());
}

// Whoever may send to this program can send it any signal.
void SessionLockTest::onlyTheLoginManagerIsBelieved()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;
    const SessionLock lock(*bus, [] {});
    QTRY_VERIFY(lock.isLocked());
    const auto another = connect("another");

    for (const auto& name : another.interface()->registeredServiceNames().value()) {
        auto forged = QDBusMessage::createTargetedSignal(name, "/org/freedesktop/login1/session/_32",
            "org.freedesktop.DBus.Properties", "PropertiesChanged");
        forged << interface << QVariantMap { { "LockedHint", false } } << QStringList();
        QVERIFY(another.send(forged));
    }
    // Comes after them, by way of the manager.
    const auto asked
        = QDBusMessage::createMethodCall("org.freedesktop.login1", "/", "org.freedesktop.DBus.Peer", "Ping");
    another.call(asked, QDBus::BlockWithGui, patience);
    awaitAnswer();

    QVERIFY(lock.isLocked());
}

void SessionLockTest::aLoginManagerThatIsStartedAnewIsFollowed()
{
    auto manager = std::make_unique<LoginManager>(connect("manager"));
    const SessionLock lock(*bus, [] {});
    awaitAnswer();
    QVERIFY(!lock.isLocked());
    manager.reset();
    QDBusConnection::disconnectFromBus("manager");

    LoginManager next(connect("another"));
    next.own.lockedHint = true;
    QTRY_VERIFY(lock.isLocked());
    next.own.setLocked(false);

    QTRY_VERIFY(!lock.isLocked());
}

void SessionLockTest::whenTheBusIsLostTheLastWordHolds()
{
    LoginManager manager(connect("manager"));
    manager.own.lockedHint = true;
    const SessionLock lock(*bus, [] {});
    QTRY_VERIFY(lock.isLocked());

    systemBus->end();
    QTRY_VERIFY(!bus->isOpen());

    QVERIFY(lock.isLocked());
}

void SessionLockTest::withoutALoginManagerNothingIsLocked()
{
    const SessionLock lock(*bus, [] {});

    QVERIFY(!lock.isLocked());
}

void SessionLockTest::withoutABusNothingIsLocked()
{
    Bus none(*loop, "unix:path=/nowhere");
    const SessionLock lock(none, [] {});

    QVERIFY(!lock.isLocked());
}

static const TestArea area("SessionLock", runTest<SessionLockTest>);

#include "SessionLockTest.moc"
