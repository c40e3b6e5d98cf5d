#include "platform/linux/bus/Bus.h"

#include "platform/linux/bus/BusObject.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/Patience.h"
#include "support/PrivateBus.h"
#include "support/TestArea.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/un.h>

#include <memory>

using namespace std::chrono_literals;

namespace {

const QString path = QStringLiteral("/Object");
const QString interface = QStringLiteral("org.example.Interface");

const BusCall whoIsThere { "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId" };

/// Takes connections and never reads from them.
class DeafBus final {
public:
    DeafBus()
        : socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const auto name = folder.filePath("bus").toStdString();
        sockaddr_un place { .sun_family = AF_UNIX, .sun_path = {} };
        name.copy(place.sun_path, sizeof place.sun_path - 1);
        std::ignore = bind(socket.get(), reinterpret_cast<const sockaddr*>(&place), sizeof place);
        std::ignore = listen(socket.get(), 1);
        address = "unix:path=" + name;
    }

    std::string address;

private:
    QTemporaryDir folder;
    FileDescriptor socket;
};

}

class BusTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aCallIsAnswered();
    void aCallThatIsRefusedIsAnsweredWithAnError();
    void aCallThatIsForgottenIsNotAnswered();
    void whatIsSentBeforeTheConnectionStandsArrives();
    void anAddressThatLeadsNowhereIsPassedOver();
    void waitingForAnAnswerHoldsBackNothingForGood();

    void whatCannotBeReachedIsAnEmptyBus_data();
    void whatCannotBeReachedIsAnEmptyBus();
    void aBusThatGoesAwayIsToldOfOnce();
    void aBusThatGoesAwayAnswersNothing();
    void aBusThatHangsHoldsUpNobody();
    void aBusThatHangsIsNotHeardOfForEver();
    void aBusThatNeverAnswersAtAllHoldsUpNobody();

    void signalsAreHeardFromTheirSenderOnly();
    void onlySignalsOfTheFirstValueAreHeard();
    void whatIsNoUtf8IsReplaced();

    void longStringsAreRefusedAtOnce_data();
    void longStringsAreRefusedAtOnce();
    void stringsUpToTheBoundArrive();
    void longListsAreRefusedAtOnce();
    void listsUpToTheBoundArrive();

public slots:
    void hear(const QString& what) { said << what; }

private:
    Bus& connect();
    QDBusMessage call(const QString& member, const QVariantList& arguments);

    std::unique_ptr<PrivateBus> daemon;
    std::unique_ptr<QDBusConnection> peer;
    std::unique_ptr<EventLoop> loop;
    std::unique_ptr<ServedLoop> served;
    std::unique_ptr<Bus> bus;
    std::unique_ptr<BusObject> object;
    QString name;
    QStringList said;
    std::vector<std::string> received;
    std::size_t numbers = 0;
};

void BusTest::init()
{
    daemon = std::make_unique<PrivateBus>();
    QVERIFY(!daemon->address().isEmpty());
    peer = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(daemon->address(), "peer"));
    loop = std::make_unique<EventLoop>();
    served = std::make_unique<ServedLoop>(*loop);
    said.clear();
    received.clear();
    numbers = 0;
}

void BusTest::cleanup()
{
    object.reset();
    bus.reset();
    served.reset();
    loop.reset();
    peer.reset();
    QDBusConnection::disconnectFromBus("peer");
    daemon.reset();
}

/// A connection with an object that writes down what it is called with.
Bus& BusTest::connect()
{
    bus = std::make_unique<Bus>(*loop, daemon->address().toStdString());
    object = std::make_unique<BusObject>(*bus, path.toStdString(),
        BusInterface {
            .name = interface.toStdString(),
            .methods = { { "Text", { { "text", "s" } }, {},
                             [this](BusReader& arguments, BusWriter&) {
                                 received.push_back(arguments.readString());
                                 return true;
                             } },
                { "Texts", { { "texts", "as" } }, {},
                    [this](BusReader& arguments, BusWriter&) {
                        received = arguments.readStrings();
                        return true;
                    } },
                { "Numbers", { { "numbers", "ai" } }, {},
                    [this](BusReader& arguments, BusWriter&) {
                        numbers = arguments.readInt32s().size();
                        return true;
                    } } },
            .properties = {},
            .emits = { { "Said", { { "what", "s" } } } },
        });
    const auto id = bus->callAndWait(
        { "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            [](BusWriter& arguments) {
                arguments.writeString("org.example.Name");
                arguments.writeUint32(0);
            } },
        std::chrono::milliseconds(patience));
    name = id ? "org.example.Name" : "";
    return *bus;
}

QDBusMessage BusTest::call(const QString& member, const QVariantList& arguments)
{
    auto message = QDBusMessage::createMethodCall(name, path, interface, member);
    message.setArguments(arguments);
    const QDBusPendingCallWatcher pending(peer->asyncCall(message, patience));
    QSignalSpy finished(&pending, &QDBusPendingCallWatcher::finished);
    if (!pending.isFinished())
        finished.wait(patience);
    return pending.reply();
}

void BusTest::aCallIsAnswered()
{
    std::string id;
    auto& connection = connect();

    const auto pending
        = connection.call(whoIsThere, [&](const BusAnswer& answer) { id = answer.values().readString(); });
    QTRY_VERIFY(!id.empty());

    QCOMPARE(id.size(), std::size_t { 32 });
}

void BusTest::aCallThatIsRefusedIsAnsweredWithAnError()
{
    int answers = 0;
    auto& connection = connect();

    const BusCall nobody { "org.example.Nobody", "/", "org.example.Interface", "Method" };
    const auto pending = connection.call(nobody, [&](const BusAnswer& answer) {
        answers += answer.isError("org.freedesktop.DBus.Error.NameHasNoOwner") ? 1 : 100;
        QVERIFY(answer.isError());
    });
    QTRY_VERIFY(answers > 0);

    QCOMPARE(answers, 1);
    QVERIFY(!connection.callAndWait(nobody, std::chrono::milliseconds(patience)));
}

void BusTest::aCallThatIsForgottenIsNotAnswered()
{
    bool isForgotten = true;
    auto& connection = connect();

    auto forgotten = connection.call(whoIsThere, [&](const BusAnswer&) { isForgotten = false; });
    bool isAnswered = false;
    const auto other = connection.call(whoIsThere, [&](const BusAnswer&) { isAnswered = true; });
    forgotten.reset();
    QTRY_VERIFY(isAnswered);

    QVERIFY(isForgotten);
}

void BusTest::whatIsSentBeforeTheConnectionStandsArrives()
{
    Bus connection(*loop, daemon->address().toStdString());
    int answers = 0;
    std::vector<std::unique_ptr<BusSubscription>> calls(1000);

    for (auto& each : calls)
        each = connection.call(
            whoIsThere, [&](const BusAnswer& answer) { answers += answer.isError() ? 0 : 1; });

    QTRY_COMPARE(answers, 1000);
}

void BusTest::anAddressThatLeadsNowhereIsPassedOver()
{
    // Of a socket in the file system that would show at once.
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    const auto nowhere = "tcp:host=127.0.0.1,port=" + std::to_string(closed.serverPort());
    closed.close();
    Bus connection(*loop, nowhere + ';' + daemon->address().toStdString());
    std::string id;

    const auto pending
        = connection.call(whoIsThere, [&](const BusAnswer& answer) { id = answer.values().readString(); });

    QTRY_VERIFY(!id.empty());
}

void BusTest::waitingForAnAnswerHoldsBackNothingForGood()
{
    auto& connection = connect();
    auto message = QDBusMessage::createMethodCall(name, path, interface, "Text");
    message << "first";
    QVERIFY(peer->send(message));
    // Once the peer has this answer, the bus has passed on what it sent before.
    QVERIFY(peer->interface()->isServiceRegistered(name).value());

    QVERIFY(connection.callAndWait(
        { "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Peer", "Ping" },
        std::chrono::milliseconds(patience)));

    QTRY_COMPARE(received, std::vector<std::string> { "first" });
}

void BusTest::whatCannotBeReachedIsAnEmptyBus_data()
{
    QTest::addColumn<QString>("address");

    QTest::newRow("nothing there") << "unix:path=/nowhere";
    QTest::newRow("nobody listens") << "unix:abstract=nobody-listens-here";
    QTest::newRow("no address") << "";
    QTest::newRow("no words of an address") << "nonsense";
}

void BusTest::whatCannotBeReachedIsAnEmptyBus()
{
    QFETCH(const QString, address);
    int calls = 0;

    Bus empty(*loop, address.toStdString());
    empty.onLost([&] { ++calls; });
    BusObject onIt(
        empty, "/Object", { .name = "org.example.Interface", .methods = {}, .properties = {}, .emits = {} });
    onIt.emitSignal("Said");
    empty.send(whoIsThere);
    const auto pending = empty.call(whoIsThere, [&](const BusAnswer&) { ++calls; });
    const auto heard
        = empty.listen({ "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameOwnerChanged" },
            [&](BusReader) { ++calls; });
    const auto answer = empty.callAndWait(whoIsThere, std::chrono::milliseconds(patience));
    loop->dispatch();

    QVERIFY(!empty.isOpen());
    QVERIFY(!answer);
    QCOMPARE(calls, 0);
}

void BusTest::aBusThatGoesAwayIsToldOfOnce()
{
    auto& connection = connect();
    int losses = 0;
    connection.onLost([&] { ++losses; });

    daemon->end();
    QTRY_VERIFY(losses > 0);
    object->emitSignal("Said", [](BusWriter& values) { values.writeString("nothing"); });
    connection.send(whoIsThere);
    loop->dispatch();

    QCOMPARE(losses, 1);
    QVERIFY(!connection.isOpen());
}

void BusTest::aBusThatGoesAwayAnswersNothing()
{
    auto& connection = connect();
    bool isLost = false;
    bool isAnswered = false;
    connection.onLost([&] { isLost = true; });
    daemon->hang();
    const auto pending = connection.call(whoIsThere, [&](const BusAnswer&) { isAnswered = true; });

    daemon->end();
    QTRY_VERIFY(isLost);

    QVERIFY(!isAnswered);
}

void BusTest::aBusThatHangsHoldsUpNobody()
{
    auto& connection = connect();
    daemon->hang();
    QElapsedTimer time;
    time.start();

    const auto answer = connection.callAndWait(whoIsThere, 200ms);

    QVERIFY(!answer);
    QCOMPARE_LT(time.elapsed(), 5'000);
    daemon->goOn();
    QVERIFY(connection.callAndWait(whoIsThere, std::chrono::milliseconds(patience)));
}

// A day's presses while the bus is stopped would fill the memory.
void BusTest::aBusThatHangsIsNotHeardOfForEver()
{
    connect();
    QVERIFY(peer->connect(name, path, interface, "Said", this, SLOT(hear(QString))));
    // The peer's wish to hear of it has arrived.
    QCOMPARE(call("Text", { "x" }).type(), QDBusMessage::ReplyMessage);
    daemon->hang();
    const std::string text(1'000, 'x');

    for (int i = 0; i < 50'000; ++i)
        object->emitSignal("Said", [&](BusWriter& values) { values.writeString(text + std::to_string(i)); });
    daemon->goOn();
    // Comes after them.
    QCOMPARE(call("Text", { "y" }).type(), QDBusMessage::ReplyMessage);

    QCOMPARE_GE(said.size(), 1'000);
    QCOMPARE_LT(said.size(), 10'000);
    object->emitSignal("Said", [&](BusWriter& values) { values.writeString("the last"); });
    QTRY_COMPARE(said.value(said.size() - 1), "the last");
}

void BusTest::aBusThatNeverAnswersAtAllHoldsUpNobody()
{
    const DeafBus deaf;
    QElapsedTimer time;
    time.start();

    auto connection = std::make_unique<Bus>(*loop, deaf.address);
    connection->send(whoIsThere);
    QVERIFY(connection->isOpen());
    QVERIFY(!connection->callAndWait(whoIsThere, 200ms));
    connection.reset();

    QCOMPARE_LT(time.elapsed(), 5'000);
}

void BusTest::signalsAreHeardFromTheirSenderOnly()
{
    auto& connection = connect();
    int heard = 0;
    const auto changes = connection.listen(
        { "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged" },
        [&](BusReader) { ++heard; });
    QVERIFY(connection.callAndWait(whoIsThere, std::chrono::milliseconds(patience)));
    heard = 0;

    // Sent to this connection alone, for which nobody has to have asked.
    auto forged = QDBusMessage::createTargetedSignal(
        name, "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged");
    forged << "org.example.Other"
           << ":1.1"
           << ":1.2";
    QVERIFY(peer->send(forged));
    call("Text", { "x" });
    QCOMPARE(heard, 0);
    QVERIFY(peer->registerService("org.example.Other"));

    QTRY_COMPARE(heard, 1);
}

void BusTest::onlySignalsOfTheFirstValueAreHeard()
{
    auto& connection = connect();
    std::vector<std::string> names;
    const auto changes
        = connection.listen({ "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                "NameOwnerChanged", "org.example.Second" },
            [&](BusReader values) { names.push_back(values.readString()); });
    QVERIFY(connection.callAndWait(whoIsThere, std::chrono::milliseconds(patience)));

    QVERIFY(peer->registerService("org.example.First"));
    QVERIFY(peer->registerService("org.example.Second"));
    QTRY_VERIFY(!names.empty());

    QCOMPARE(names, std::vector<std::string> { "org.example.Second" });
}

void BusTest::whatIsNoUtf8IsReplaced()
{
    connect();
    QVERIFY(peer->connect(name, path, interface, "Said", this, SLOT(hear(QString))));
    call("Text", { "x" });

    object->emitSignal("Said", [](BusWriter& values) {
        values.writeString("\xc3\xa4 \xe4 \xe2\x82 \xf0\x9f\x98\x80 \xed\xa0\x80|\xc0\x80|\xf5\x80\x80\x80");
    });

    const QString replaced(QChar::ReplacementCharacter);
    QTRY_VERIFY(said.value(said.size() - 1).endsWith(replaced));
    QCOMPARE(said.value(said.size() - 1),
        QString::fromUtf8("\xc3\xa4 ") + replaced + " " + replaced + replaced
            + QString::fromUtf8(" \xf0\x9f\x98\x80 ") + replaced.repeated(3) + "|" + replaced.repeated(2)
            + "|" + replaced.repeated(4));
    QVERIFY(bus->isOpen());
}

void BusTest::longStringsAreRefusedAtOnce_data()
{
    QTest::addColumn<QString>("member");
    QTest::addColumn<QVariantList>("arguments");

    const QString tooLong(1025, 'x');
    const QString huge(20'000'000, 'x');
    QTest::newRow("a text that is one byte too long") << "Text" << QVariantList { tooLong };
    QTest::newRow("a text of 20 MB") << "Text" << QVariantList { huge };
    QTest::newRow("one among others") << "Texts" << QVariantList { QStringList { "a", tooLong, "b" } };
}

void BusTest::longStringsAreRefusedAtOnce()
{
    QFETCH(const QString, member);
    QFETCH(const QVariantList, arguments);
    connect();

    const auto reply = call(member, arguments);

    QCOMPARE(reply.errorName(), "org.freedesktop.DBus.Error.LimitsExceeded");
    for (const auto& text : received)
        QVERIFY(text.size() <= 1);
    QCOMPARE(call("Text", { "x" }).type(), QDBusMessage::ReplyMessage);
}

void BusTest::stringsUpToTheBoundArrive()
{
    connect();

    const auto reply = call("Text", { QString(1024, 'x') });

    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(received, std::vector<std::string>(1, std::string(1024, 'x')));
}

void BusTest::longListsAreRefusedAtOnce()
{
    connect();
    qDBusRegisterMetaType<QList<int>>();

    const auto texts = call("Texts", { QStringList(257, "x") });
    const auto many = call("Numbers", { QVariant::fromValue(QList<int>(5'000'000, 7)) });

    QCOMPARE(texts.errorName(), "org.freedesktop.DBus.Error.LimitsExceeded");
    QCOMPARE(many.errorName(), "org.freedesktop.DBus.Error.LimitsExceeded");
    QCOMPARE_LE(numbers, std::size_t { 256 });
}

void BusTest::listsUpToTheBoundArrive()
{
    connect();
    qDBusRegisterMetaType<QList<int>>();

    call("Texts", { QStringList(256, "x") });
    call("Numbers", { QVariant::fromValue(QList<int>(256, 7)) });

    QCOMPARE(received, std::vector<std::string>(256, "x"));
    QCOMPARE(numbers, std::size_t { 256 });
}

static const TestArea area("Bus", runTest<BusTest>);

#include "BusTest.moc"
