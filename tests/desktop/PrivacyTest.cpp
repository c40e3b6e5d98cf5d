#include "support/AssistantOnScreen.h"
#include "support/DesktopWindows.h"
#include "support/Injector.h"
#include "support/KeyWitness.h"
#include "support/Patience.h"
#include "support/PointAt.h"
#include "support/ProcessMemory.h"
#include "support/RunningKnucklet.h"
#include "support/SavedCounts.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDBusVirtualObject>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>
#include <QTest>

#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

const QString program = QStringLiteral(KNUCKLET_PROGRAM);

/// Keysyms of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymBackspace = 0xff08;
constexpr xcb_keysym_t keysymTab = 0xff09;
constexpr xcb_keysym_t keysymReturn = 0xff0d;
constexpr xcb_keysym_t keysymSpace = 0x20;

constexpr std::size_t keyCount = 40;

std::vector<xcb_keysym_t> oneKeyAgainAndAgain() { return std::vector<xcb_keysym_t>(keyCount, 'a'); }

std::vector<xcb_keysym_t> manyKeys()
{
    std::vector<xcb_keysym_t> keys;
    for (xcb_keysym_t letter = 'a'; letter <= 'z'; ++letter)
        keys.push_back(letter);
    for (xcb_keysym_t digit = '0'; digit <= '9'; ++digit)
        keys.push_back(digit);
    keys.insert(keys.end(), { keysymSpace, keysymReturn, keysymTab, keysymBackspace });
    return keys;
}

/// What everybody on a desktop's session bus says, as text.
class BusRecord final {
public:
    explicit BusRecord(const VirtualDesktop& desktop)
        : monitor(desktop.launch("dbus-monitor", { "--address", desktop.busAddress() }))
    {
    }
    ~BusRecord()
    {
        monitor->kill();
        monitor->waitForFinished(patience);
    }

    [[nodiscard]] bool awaitStart()
    {
        return QTest::qWaitFor([this] { return !text().isEmpty(); }, patience);
    }
    /// Waits until a message of this name has been sent so many times.
    [[nodiscard]] bool await(const QByteArray& member, qsizetype times)
    {
        return QTest::qWaitFor([&] { return text().count("member=" + member + '\n') >= times; }, patience);
    }

    /// The messages of one program in order, without what differs from one run of anything to the next.
    QStringList messagesFrom(const QStringList& names)
    {
        QStringList messages;
        bool isMeant = false;
        const auto lines = QString::fromUtf8(text()).split('\n');
        for (const auto& line : lines) {
            static const QRegularExpression sender("^[a-z ]+ time=\\S+ sender=(\\S+) ");
            if (const auto match = sender.match(line); match.hasMatch())
                isMeant = names.contains(match.captured(1));
            if (isMeant)
                messages << withoutNumbersOfTheRun(line);
        }
        return messages;
    }

private:
    const QByteArray& text()
    {
        received += monitor->readAllStandardOutput();
        return received;
    }

    static QString withoutNumbersOfTheRun(QString line)
    {
        static const QRegularExpression numbers("time=\\S+|serial=\\d+|:1\\.\\d+|StatusNotifierItem-\\d+");
        return line.replace(numbers, "…");
    }

    std::unique_ptr<QProcess> monitor;
    QByteArray received;
};

/// Takes items and asks them nothing. A real one asks when it finds the time.
class Tray final : public QDBusVirtualObject {
public:
    explicit Tray(const VirtualDesktop& desktop)
        : connection(QDBusConnection::connectToBus(desktop.busAddress(), "tray"))
    {
        connection.registerVirtualObject("/StatusNotifierWatcher", this);
        connection.registerService("org.kde.StatusNotifierWatcher");
    }
    ~Tray() override { QDBusConnection::disconnectFromBus(connection.name()); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& sender) override
    {
        return sender.send(message.createReply());
    }
    QString introspect(const QString&) const override { return {}; }

private:
    QDBusConnection connection;
};

/// The unique names that a process has on the bus.
QStringList busNames(const VirtualDesktop& desktop, qint64 process)
{
    const QString connection = "names of " + QString::number(process);
    auto bus = QDBusConnection::connectToBus(desktop.busAddress(), connection);
    QStringList names;
    const QStringList all = bus.interface()->registeredServiceNames();
    for (const auto& name : all) {
        const QDBusReply<uint> owner = bus.interface()->servicePid(name);
        if (owner.isValid() && owner.value() == process && name.startsWith(':'))
            names << name;
    }
    QDBusConnection::disconnectFromBus(connection);
    return names;
}

/// All that a run leaves behind and tells others.
struct Trace {
    QMap<QString, QByteArray> files;
    QStringList messages;
    QByteArray output;
};

QMap<QString, QByteArray> filesBelow(const QString& folder)
{
    QMap<QString, QByteArray> files;
    QDirIterator each(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (each.hasNext()) {
        QFile file(each.next());
        if (QFileInfo(file).isFile() && file.open(QFile::ReadOnly))
            files.insert(QDir(folder).relativeFilePath(file.fileName()), file.readAll());
    }
    return files;
}

/// One run in which these keys are pressed one after the other, each as soon as the one before has shown.
void run(const std::vector<xcb_keysym_t>& keys, Trace& trace)
{
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
    writeSettingsFile(desktop, "[General]\nhasCompletedOnboarding=true\nshowCountsInMenuBar=true\n");
    const QString folder = desktop.folder() + "/home";
    const Tray tray(desktop);
    BusRecord record(desktop);
    QVERIFY(record.awaitStart());
    RunningKnucklet knucklet(desktop, program);
    // The last thing of its start.
    QVERIFY(record.await("RegisterStatusNotifierItem", 1));
    const auto names = busNames(desktop, knucklet.processId());
    QVERIFY(!names.isEmpty());

    Injector injector(desktop.display());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        injector.typeKey(injector.keyCode(keys[i]));
        injector.sync();
        QVERIFY(record.await("NewToolTip", static_cast<qsizetype>(i) + 1));
    }
    QVERIFY(knucklet.end(SIGTERM));

    trace = { filesBelow(folder), record.messagesFrom(names), knucklet.output() };
}

/// Starts a program under observation of the sockets that it and what it starts open. The program keeps its
/// process number.
QString observed(const VirtualDesktop& desktop, const QString& command)
{
    QFile script(desktop.folder() + "/observed");
    if (script.open(QFile::WriteOnly))
        script.write(QString(
            "#!/bin/sh\nexec strace -D -f --seccomp-bpf -qq -e trace=socket,socketpair -o '%1/sockets' %2\n")
                         .arg(desktop.folder(), command)
                         .toUtf8());
    script.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    return script.fileName();
}

/// The calls that have opened sockets.
QStringList openedSockets(const VirtualDesktop& desktop)
{
    QFile file(desktop.folder() + "/sockets");
    if (!file.open(QFile::ReadOnly))
        return {};
    // A call that another one interrupts is told of a second time when it goes on, by its name alone.
    return QString::fromUtf8(file.readAll()).split('\n').filter(QRegularExpression("socket(pair)?\\("));
}

QStringList networkSockets(const VirtualDesktop& desktop)
{
    QStringList network;
    for (const auto& call : openedSockets(desktop)) {
        if (!call.contains("(AF_UNIX,"))
            network << call;
    }
    return network;
}

}

/// What the assistant promises on its second page, and docs/privacy.md explains.
class PrivacyTest final : public QObject {
    Q_OBJECT

private slots:
    void whichKeysWerePressedIsNowhereToBeFound();
    void whichKeysWerePressedIsForgotten_data();
    void whichKeysWerePressedIsForgotten();
    void aCrashLeavesNoCoreFile();
    void aWholeSessionOpensNoNetworkSocket();
    void aNetworkSocketWouldBeNoticed();
    void holdingAKeyCountsOnce();
};

void PrivacyTest::whichKeysWerePressedIsNowhereToBeFound()
{
    QCOMPARE(manyKeys().size(), keyCount);
    Trace one;
    Trace other;

    run(oneKeyAgainAndAgain(), one);
    run(manyKeys(), other);

    const auto stats = QJsonDocument::fromJson(one.files.value(".local/share/Knucklet/stats.json")).object();
    QCOMPARE(stats.constBegin().value().toObject().value("keys").toInteger(), qint64 { keyCount });
    QCOMPARE(other.files, one.files);
    QCOMPARE_GE(one.messages.size(), qsizetype { keyCount });
    QCOMPARE(other.messages, one.messages);
    QCOMPARE(one.output, QByteArray());
    QCOMPARE(other.output, QByteArray());
}

void PrivacyTest::whichKeysWerePressedIsForgotten_data()
{
    QTest::addColumn<int>("keys");
    QTest::addColumn<bool>("clicksGoOn");

    QTest::newRow("a single press") << 1 << false;
    QTest::newRow("a word") << 6 << false;
    QTest::newRow("a word, and clicks") << 6 << true;
    QTest::newRow("more than is read at once") << 2400 << false;
}

void PrivacyTest::whichKeysWerePressedIsForgotten()
{
    QFETCH(const int, keys);
    QFETCH(const bool, clicksGoOn);
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
    writeSettingsFile(desktop, "[General]\nhasCompletedOnboarding=true\n");
    Injector injector(desktop.display());
    KeyWitness witness(desktop.display());
    RunningKnucklet knucklet(desktop, program);
    QVERIFY(knucklet.awaitCounting());

    // The first press of a device tells everybody that there is such a device, and much is asked about it.
    injector.typeKey(injector.keyCode(keysymSpace));
    injector.pause(1s);
    std::jthread clicking;
    if (clicksGoOn)
        clicking = std::jthread([&desktop](const std::stop_token& end) {
            Injector other(desktop.display());
            while (!end.stop_requested()) {
                other.pause(300ms);
                other.click();
                other.sync();
            }
        });
    for (int key = 0; key < keys; ++key)
        injector.typeKey(injector.keyCode(static_cast<xcb_keysym_t>('a' + key % 26)));
    injector.sync();
    QTRY_COMPARE(witness.presses(), 1 + keys);
    QTRY_COMPARE(savedCounts(desktop).keys, 1 + keys);

    // This process knows them.
    QCOMPARE(foundInMemory(QCoreApplication::applicationPid(), witness.keys()), witness.keys());
    // When the typing is over, which takes a moment to be seen.
    QTRY_COMPARE(foundInMemory(knucklet.processId(), witness.keys()), QByteArrayList());
}

// It would hold what was typed last in another program, too late to be wiped.
void PrivacyTest::aCrashLeavesNoCoreFile()
{
    // What is started by this process might leave one.
    rlimit here {};
    QCOMPARE(getrlimit(RLIMIT_CORE, &here), 0);
    if (here.rlim_max <= 1)
        QSKIP("nothing leaves core files here");
    const auto before = here.rlim_cur;
    here.rlim_cur = here.rlim_max;
    QCOMPARE(setrlimit(RLIMIT_CORE, &here), 0);
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
    writeSettingsFile(desktop, "[General]\nhasCompletedOnboarding=true\n");
    RunningKnucklet knucklet(desktop, program);
    QVERIFY(knucklet.awaitCounting());
    here.rlim_cur = before;
    QCOMPARE(setrlimit(RLIMIT_CORE, &here), 0);

    rlimit limit {};
    QCOMPARE(prlimit(static_cast<pid_t>(knucklet.processId()), RLIMIT_CORE, nullptr, &limit), 0);

    // The kernel takes this for none at all, also where it hands cores to a program.
    QCOMPARE_LE(limit.rlim_cur, rlim_t { 1 });
}

void PrivacyTest::aWholeSessionOpensNoNetworkSocket()
{
    VirtualDesktop desktop({ .windowManager = true, .panel = true });
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
    const QString handedOver = desktop.folder() + "/handed-over.png";
    writeViewer(desktop, "cp %f " + handedOver.toUtf8());
    const QDir saved(desktop.folder() + "/home/Pictures");
    QVERIFY(saved.mkpath("."));
    Injector injector(desktop.display());
    const DesktopWindows windows(desktop.display());
    RunningKnucklet knucklet(desktop, observed(desktop, program));

    // From the first start to the last page of the assistant, the panel, typing, the day card, and the end.
    QVERIFY(knucklet.awaitItem());
    QTRY_COMPARE(assistantPage(desktop), std::optional(0));
    QTRY_COMPARE(windows.active(), windows.find(assistantTitle));
    for (int page = 0; page < 4; ++page) {
        QTRY_COMPARE(assistantPage(desktop), std::optional(page));
        injector.typeKey(injector.keyCode(keysymReturn));
        injector.sync();
    }
    QTRY_VERIFY(settingsFile(desktop).contains("hasCompletedOnboarding=true"));
    const auto clickAt = [&](QPoint place) {
        const auto before = knucklet.toolTip();
        injector.moveTo(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
        injector.pressButton(1);
        injector.sync();
        // A hand is slower than the program, which counts the press before anything is done at the release.
        const bool isCounted = QTest::qWaitFor([&] { return knucklet.toolTip() != before; }, patience);
        injector.releaseButton(1);
        injector.sync();
        return isCounted;
    };
    // The manager gives the keyboard to another window when one goes.
    QTRY_COMPARE(windows.find(assistantTitle), xcb_window_t { XCB_WINDOW_NONE });
    const auto icon = knucklet.awaitIcon();
    QVERIFY(!icon.isNull() && clickAt(icon.center()));
    QTRY_VERIFY(windows.isShown(windows.find("Knucklet")));
    // Letters mean nothing to the panel.
    for (const auto key : { 'k', 'n', 'u', 'c', 'k', 'l', 'e', 't' })
        injector.typeKey(injector.keyCode(static_cast<xcb_keysym_t>(key)));
    injector.sync();
    const auto share = pointAtShareButton(injector, windows);
    QVERIFY(share && clickAt(*share));
    QTRY_VERIFY(windows.isShown(windows.find("Day Card")));
    // Copy, which moves to its place when the last button has come.
    const auto card = windows.place(windows.find("Day Card"));
    QTRY_VERIFY(clickAt(card.bottomLeft() + QPoint(76, -34)) && windows.hasSelectionOwner("CLIPBOARD"));
    // Save and Share, which open a dialog and a menu of the program's own where there is no portal.
    QTRY_COMPARE(windows.active(), windows.find("Day Card"));
    QVERIFY(clickAt(card.bottomLeft() + QPoint(187, -34)));
    QTRY_VERIFY(windows.find("Save PNG") != XCB_WINDOW_NONE && windows.active() == windows.find("Save PNG"));
    injector.typeKey(injector.keyCode(keysymReturn));
    injector.sync();
    QTRY_COMPARE(windows.find("Save PNG"), xcb_window_t { XCB_WINDOW_NONE });
    QTRY_COMPARE(saved.entryList(QDir::Files).size(), 1);
    QTRY_COMPARE(windows.active(), windows.find("Day Card"));
    QVERIFY(clickAt(card.bottomLeft() + QPoint(297, -34)));
    // The menu comes when it is clear that there is no portal. The viewer is the first in it.
    QTRY_VERIFY(windows.firstMenuEntry());
    QVERIFY(clickAt(*windows.firstMenuEntry()));
    QTRY_VERIFY(QFile::exists(handedOver));
    QVERIFY(knucklet.choose("Setup Assistant…"));
    QTRY_COMPARE(assistantPage(desktop), std::optional(0));
    QVERIFY(knucklet.choose("Quit Knucklet"));
    QVERIFY(knucklet.awaitEnd());

    // The display and the bus at least.
    QCOMPARE_GE(openedSockets(desktop).size(), 2);
    QCOMPARE(networkSockets(desktop), QStringList());
}

// The observation itself is put to the test.
void PrivacyTest::aNetworkSocketWouldBeNoticed()
{
    VirtualDesktop desktop;
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));

    const bool isSent = desktop.run(observed(desktop, "bash -c 'exec 3<>/dev/udp/127.0.0.1/9'"));

    QVERIFY(isSent);
    QTRY_COMPARE(networkSockets(desktop).size(), 1);
}

void PrivacyTest::holdingAKeyCountsOnce()
{
    VirtualDesktop desktop({ .windowManager = true, .panel = true });
    QVERIFY2(desktop.start(), qPrintable(desktop.failure()));
    writeSettingsFile(desktop, "[General]\nhasCompletedOnboarding=true\n");
    Injector injector(desktop.display());
    const DesktopWindows windows(desktop.display());
    RunningKnucklet knucklet(desktop, program);
    QVERIFY(knucklet.awaitItem());
    const auto editor = windows.openOther({ 100, 100, 300, 200 });
    QTRY_COMPARE(windows.active(), editor);

    // Another program receives the repeats of the server while the key is down.
    int received = 0;
    injector.pressKey(injector.keyCode('a'));
    injector.sync();
    QTRY_VERIFY((received += windows.receivedPresses()) > 10);
    injector.releaseKey(injector.keyCode('a'));
    injector.sync();

    QVERIFY(knucklet.end(SIGTERM));
    const auto stats = QJsonDocument::fromJson(statsFile(desktop)).object();
    QCOMPARE(stats.constBegin().value().toObject().value("keys").toInteger(), 1);
}

static const TestArea area("Privacy", runTest<PrivacyTest>);
#include "PrivacyTest.moc"
