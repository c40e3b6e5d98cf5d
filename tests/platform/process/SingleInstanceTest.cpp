#include "platform/linux/process/SingleInstance.h"

#include "platform/linux/bus/Bus.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/OneFolder.h"
#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

/// One start of the program, with files of its own.
struct Start {
    Start(EventLoop& loop, const QString& address)
        : bus(loop, address.toStdString())
        , instance(loop, bus, folders)
    {
        instance.onStartedAgain([this] { ++startedAgain; });
    }

    QTemporaryDir files;
    OneFolder folders { files.path().toStdString() };
    Bus bus;
    SingleInstance instance;
    int startedAgain = 0;
};

const QString nowhere = QStringLiteral("unix:path=/nowhere");

}

class SingleInstanceTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void withoutABusThePipeIsThePlace();
    void whoMakesWayLeavesThePlaceToTheNext_data();
    void whoMakesWayLeavesThePlaceToTheNext();
    void whoHasMadeWayIsNotToldOfStarts();
    void aLargeActivationIsAnActivation();
    void aBusThatGoesAwayLeavesTheInstanceRunning();
    void aBusThatHangsIsDoneWithout();
    void aBusThatHangsKeepsNobodyFromMakingWay();

private:
    std::unique_ptr<QTemporaryDir> runtime;
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<EventLoop> loop;
    std::unique_ptr<ServedLoop> served;
};

void SingleInstanceTest::init()
{
    runtime = std::make_unique<QTemporaryDir>();
    qputenv("XDG_RUNTIME_DIR", runtime->path().toLocal8Bit());
    bus = std::make_unique<PrivateBus>();
    QVERIFY(!bus->address().isEmpty());
    loop = std::make_unique<EventLoop>();
    served = std::make_unique<ServedLoop>(*loop);
}

void SingleInstanceTest::cleanup()
{
    served.reset();
    loop.reset();
    QDBusConnection::disconnectFromBus("desktop");
    bus.reset();
    qunsetenv("XDG_RUNTIME_DIR");
}

void SingleInstanceTest::withoutABusThePipeIsThePlace()
{
    Start first(*loop, nowhere);
    Start second(*loop, nowhere);

    QVERIFY(first.instance.claim());
    QVERIFY(!second.instance.claim());
    QTRY_VERIFY(first.startedAgain > 0);

    QCOMPARE(first.startedAgain, 1);
    QCOMPARE(second.startedAgain, 0);
}

void SingleInstanceTest::whoMakesWayLeavesThePlaceToTheNext_data()
{
    QTest::addColumn<bool>("hasBus");

    QTest::newRow("by the session bus") << true;
    QTest::newRow("without a bus") << false;
}

void SingleInstanceTest::whoMakesWayLeavesThePlaceToTheNext()
{
    QFETCH(const bool, hasBus);
    const QString address = hasBus ? bus->address() : nowhere;
    Start first(*loop, address);
    QVERIFY(first.instance.claim());

    first.instance.makeWay();
    Start second(*loop, address);

    QVERIFY(second.instance.claim());
}

void SingleInstanceTest::whoHasMadeWayIsNotToldOfStarts()
{
    Start first(*loop, nowhere);
    QVERIFY(first.instance.claim());
    first.instance.makeWay();
    Start second(*loop, nowhere);
    QVERIFY(second.instance.claim());

    Start third(*loop, nowhere);
    QVERIFY(!third.instance.claim());
    QTRY_COMPARE(second.startedAgain, 1);

    QCOMPARE(first.startedAgain, 0);
}

void SingleInstanceTest::aLargeActivationIsAnActivation()
{
    Start start(*loop, bus->address());
    QVERIFY(start.instance.claim());
    const auto desktop = QDBusConnection::connectToBus(bus->address(), "desktop");
    auto call = QDBusMessage::createMethodCall(
        "org.knucklet.Knucklet", "/org/knucklet/Knucklet", "org.freedesktop.Application", "Activate");
    call << QVariantMap { { "activation-token", QString(20'000'000, 'x') } };

    const QDBusPendingCallWatcher answer(desktop.asyncCall(call, patience));
    QTRY_VERIFY(answer.isFinished());

    QVERIFY(answer.isValid());
    QTRY_COMPARE(start.startedAgain, 1);
}

void SingleInstanceTest::aBusThatGoesAwayLeavesTheInstanceRunning()
{
    Start start(*loop, bus->address());
    QVERIFY(start.instance.claim());

    bus->end();
    QTRY_VERIFY(!start.bus.isOpen());

    start.instance.makeWay();
    QCOMPARE(start.startedAgain, 0);
}

void SingleInstanceTest::aBusThatHangsIsDoneWithout()
{
    bus->hang();
    Start first(*loop, bus->address());

    QVERIFY(first.instance.claim());

    Start second(*loop, nowhere);
    QVERIFY(!second.instance.claim());
    QTRY_COMPARE(first.startedAgain, 1);
}

void SingleInstanceTest::aBusThatHangsKeepsNobodyFromMakingWay()
{
    Start start(*loop, bus->address());
    QVERIFY(start.instance.claim());
    bus->hang();
    const auto before = std::chrono::steady_clock::now();

    start.instance.makeWay();

    QVERIFY(std::chrono::steady_clock::now() - before < std::chrono::seconds(20));
    bus->goOn();
    const auto desktop = QDBusConnection::connectToBus(bus->address(), "desktop");
    QTRY_VERIFY(!desktop.interface()->isServiceRegistered("org.knucklet.Knucklet").value());
}

static const TestArea area("SingleInstance", runTest<SingleInstanceTest>);

#include "SingleInstanceTest.moc"
