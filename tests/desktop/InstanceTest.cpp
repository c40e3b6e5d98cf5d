#include "support/FileWatch.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/RunningKnucklet.h"
#include "support/SavedCounts.h"
#include "support/Screenshot.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVirtualObject>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <QTimer>

#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <functional>

namespace {

const QString program = QStringLiteral(KNUCKLET_PROGRAM);
const QString relaunchingProgram = QStringLiteral(RELAUNCHING_PROGRAM);
const QString serviceName = QStringLiteral("org.knucklet.Knucklet");

/// A keysym of <X11/keysymdef.h>.
constexpr xcb_keysym_t keysymA = 0x61;

/// Puts something where the file should be, and says whether it is there.
using Obstacle = std::function<bool(const QString& file)>;

void type(Injector& injector, int keys)
{
    const auto letter = injector.keyCode(keysymA);
    for (int i = 0; i < keys; ++i)
        injector.typeKey(letter);
    injector.sync();
}

/// As if there were no session bus.
QProcessEnvironment withoutBus()
{
    QProcessEnvironment environment;
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    return environment;
}

/// A session of the same user that knows nothing of the desktop's own.
QProcessEnvironment inAnotherSession()
{
    auto environment = withoutBus();
    environment.insert("XDG_RUNTIME_DIR", "");
    return environment;
}

bool endsWell(QProcess& process)
{
    return process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

/// A program on the desktop, with what it says.
std::unique_ptr<QProcess> launch(const VirtualDesktop& desktop, const QProcessEnvironment& additions = {})
{
    return desktop.launch(program, {}, { .channels = QProcess::MergedChannels, .additions = additions });
}

/// What the relaunching program and those that follow it have said, from now on.
class Report final {
public:
    struct Line {
        pid_t process;
        int keys;
    };

    explicit Report(const VirtualDesktop& desktop)
        : file(desktop.folder() + "/said")
    {
        QFile::remove(file);
    }

    QList<Line> lines() const
    {
        QList<Line> lines;
        QFile text(file);
        if (!text.open(QFile::ReadOnly))
            return lines;
        // The last one is empty, or still being written.
        auto said = text.readAll().split('\n');
        said.removeLast();
        for (const auto& line : said)
            lines.append({ line.split(' ').value(1).toInt(), line.split(' ').value(2).toInt() });
        return lines;
    }

private:
    QString file;
};

/// Has the program's name on the bus, and answers nothing.
class SilentInstance final : public QDBusVirtualObject {
public:
    explicit SilentInstance(const VirtualDesktop& desktop)
        : bus(QDBusConnection::connectToBus(desktop.busAddress(), "silent"))
    {
        bus.registerVirtualObject("/org/knucklet/Knucklet", this);
        bus.registerService(serviceName);
    }
    ~SilentInstance() override { QDBusConnection::disconnectFromBus(bus.name()); }

    bool wasAsked() const { return isAsked; }

    bool handleMessage(const QDBusMessage&, const QDBusConnection&) override { return isAsked = true; }
    QString introspect(const QString&) const override { return {}; }

private:
    QDBusConnection bus;
    bool isAsked = false;
};

}

/// Several starts of the real program.
class InstanceTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void anotherStartOpensThePanelAndEnds_data();
    void anotherStartOpensThePanelAndEnds();
    void anotherStartLeavesTheFilesAlone();
    void fiftyStartsAtOnceLeaveOneInstance_data();
    void fiftyStartsAtOnceLeaveOneInstance();
    void aStartThatGetsNoAnswerEndsAsWell();
    void aStartWhileTheLastInstanceEndsCounts();
    void aStartThatWaitsEndsAtASignal();
    void afterAKillTheNextStartCounts_data();
    void afterAKillTheNextStartCounts();
    void desktopsActivateTheApplication();
    void aNewInstanceContinuesWhatTheOldOneCounted();
    void whileAnotherSessionCountsAStartLeavesAtOnce();
    void whoWaitsInVainLeavesTheFilesAlone();
    void theProgramCountsWhereItCannotSave_data();
    void theProgramCountsWhereItCannotSave();
    void theProgramCountsWhateverLiesInTheFilesPlace_data();
    void theProgramCountsWhateverLiesInTheFilesPlace();
    void theProgramCountsWithoutALock();
    void theProgramCountsWithoutAHomeFolder();
    void withoutAnyDataFolderTheProgramEndsAtOnce();

private:
    QString dataFolder() const { return desktop->folder() + "/home/.local/share/Knucklet"; }
    QImage screen() const { return screenshot(desktop->display()); }
    bool isPanelOpen() const { return difference(emptyScreen, screen()).width() >= 300; }
    void awaitPlaceTaken() const;
    void awaitOtherOwner(qint64 process, const QDBusConnection& bus) const;

    std::unique_ptr<VirtualDesktop> desktop;
    std::unique_ptr<Injector> injector;
    QImage emptyScreen;
};

void InstanceTest::init()
{
    desktop = std::make_unique<VirtualDesktop>();
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    injector = std::make_unique<Injector>(desktop->display());
    emptyScreen = screen();
    // The assistant would otherwise open.
    writeSettingsFile(*desktop, "[General]\nhasCompletedOnboarding=true\n");
}

void InstanceTest::cleanup()
{
    injector.reset();
    desktop.reset();
}

/// The program takes its place before it makes the lock.
void InstanceTest::awaitPlaceTaken() const { QTRY_VERIFY(QFile::exists(dataFolder() + "/lock")); }

void InstanceTest::anotherStartOpensThePanelAndEnds_data()
{
    QTest::addColumn<QProcessEnvironment>("environment");

    QTest::newRow("by the session bus") << QProcessEnvironment();
    QTest::newRow("without a bus") << withoutBus();
}

void InstanceTest::anotherStartOpensThePanelAndEnds()
{
    QFETCH(const QProcessEnvironment, environment);
    RunningKnucklet first(*desktop, program, environment);
    awaitPlaceTaken();

    const auto second = launch(*desktop, environment);

    QVERIFY(endsWell(*second));
    QTRY_VERIFY(isPanelOpen());
    QVERIFY(first.isRunning());
    QCOMPARE(second->readAll(), QByteArray());
}

void InstanceTest::anotherStartLeavesTheFilesAlone()
{
    writeStatsFile(*desktop, "{}");
    RunningKnucklet first(*desktop, program);
    QVERIFY(first.awaitCounting());
    FileWatch watch(dataFolder(), IN_ALL_EVENTS);

    const auto second = launch(*desktop);
    QVERIFY(endsWell(*second));

    QCOMPARE(watch.namesSoFar(), QStringList());
}

void InstanceTest::fiftyStartsAtOnceLeaveOneInstance_data() { anotherStartOpensThePanelAndEnds_data(); }

void InstanceTest::fiftyStartsAtOnceLeaveOneInstance()
{
    QFETCH(const QProcessEnvironment, environment);
    std::vector<std::unique_ptr<QProcess>> starts(50);

    for (auto& start : starts)
        start = launch(*desktop, environment);
    const auto running = [&] {
        return std::ranges::count_if(
            starts, [](const auto& start) { return start->state() != QProcess::NotRunning; });
    };
    QTRY_COMPARE(running(), 1);

    QTRY_VERIFY(isPanelOpen());
    QCOMPARE(running(), 1);
    for (const auto& start : starts) {
        if (start->state() == QProcess::NotRunning)
            QCOMPARE(start->exitCode(), 0);
    }
    type(*injector, 7);
    for (const auto& start : starts)
        start->terminate();
    for (const auto& start : starts)
        QVERIFY(start->state() == QProcess::NotRunning || endsWell(*start));
    QCOMPARE(savedCounts(*desktop), (Counts { 7, 0 }));
}

void InstanceTest::aStartThatGetsNoAnswerEndsAsWell()
{
    RunningKnucklet first(*desktop, program);
    QVERIFY(first.awaitCounting());
    QVERIFY(first.send(SIGSTOP));

    const auto second = launch(*desktop);
    QVERIFY(endsWell(*second));

    QVERIFY(first.send(SIGCONT));
    QTRY_VERIFY(isPanelOpen());
    QVERIFY(first.end(SIGTERM));
}

// For the last moments of its life a process has the name and no longer the object that is asked for.
void InstanceTest::aStartWhileTheLastInstanceEndsCounts()
{
    auto ending = QDBusConnection::connectToBus(desktop->busAddress(), "ending");
    QVERIFY(ending.registerService(serviceName));
    QTimer::singleShot(500, this, [&] { ending.unregisterService(serviceName); });

    RunningKnucklet knucklet(*desktop, program);

    QVERIFY(knucklet.awaitCounting());
    type(*injector, 7);
    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { 7, 0 }));
    QDBusConnection::disconnectFromBus("ending");
}

void InstanceTest::aStartThatWaitsEndsAtASignal()
{
    const SilentInstance other(*desktop);
    const auto start = launch(*desktop);
    QTRY_VERIFY(other.wasAsked());

    start->terminate();
    QVERIFY(start->waitForFinished(patience));

    // It is the signal that has ended it, and not its patience.
    QCOMPARE(start->exitStatus(), QProcess::CrashExit);
    QCOMPARE(start->exitCode(), SIGTERM);
    QVERIFY(!QFile::exists(dataFolder() + "/lock"));
}

void InstanceTest::afterAKillTheNextStartCounts_data() { anotherStartOpensThePanelAndEnds_data(); }

void InstanceTest::afterAKillTheNextStartCounts()
{
    QFETCH(const QProcessEnvironment, environment);
    const auto first = launch(*desktop, environment);
    awaitPlaceTaken();
    first->kill();
    QVERIFY(first->waitForFinished(patience));
    QVERIFY(QFile::remove(dataFolder() + "/lock"));

    const auto next = launch(*desktop, environment);
    awaitPlaceTaken();
    // An open panel shows that the program counts, also where there is no bus to see it on.
    const auto opening = launch(*desktop, environment);
    QVERIFY(endsWell(*opening));
    QTRY_VERIFY(isPanelOpen());
    type(*injector, 7);
    next->terminate();

    QVERIFY(endsWell(*next));
    QCOMPARE(savedCounts(*desktop), (Counts { 7, 0 }));
}

void InstanceTest::desktopsActivateTheApplication()
{
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitCounting());

    auto call = QDBusMessage::createMethodCall(
        serviceName, "/org/knucklet/Knucklet", "org.freedesktop.Application", "Activate");
    call << QVariantMap { { "desktop-startup-id", "anything" } };
    const auto reply = knucklet.sessionBus().call(call);

    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QTRY_VERIFY(isPanelOpen());
}

/// Waits until the name belongs to another process than this.
void InstanceTest::awaitOtherOwner(qint64 process, const QDBusConnection& bus) const
{
    QTRY_VERIFY([&] {
        const QDBusReply<uint> owner = bus.interface()->servicePid(serviceName);
        return owner.isValid() && owner.value() != process;
    }());
}

// The new instance has taken the old one's place, and reads nothing before the old one has saved for the last
// time.
void InstanceTest::aNewInstanceContinuesWhatTheOldOneCounted()
{
    const auto bus = QDBusConnection::connectToBus(desktop->busAddress(), "relaunch");
    QVERIFY(bus.isConnected());
    for (int round = 0; round < 10; ++round) {
        const Report report(*desktop);
        const auto process = desktop->launch(relaunchingProgram);
        QTRY_COMPARE(report.lines().size(), 1);
        type(*injector, 100);

        const auto oldProcess = process->processId();
        process->write("\n");
        awaitOtherOwner(oldProcess, bus);
        type(*injector, 50 + round);
        QCOMPARE(report.lines().size(), 1);
        process->write("\n");
        QTRY_COMPARE(report.lines().size(), 3);
        type(*injector, 10);
        const auto newProcess = report.lines().last().process;
        QVERIFY(newProcess > 0);
        QCOMPARE(kill(newProcess, SIGTERM), 0);
        QTRY_COMPARE(report.lines().size(), 4);

        const auto lines = report.lines();
        QCOMPARE(lines[1].process, oldProcess);
        QCOMPARE(lines[1].keys - lines[0].keys, 150 + round);
        QVERIFY(lines[2].process != lines[1].process);
        QCOMPARE(lines[2].keys, lines[1].keys);
        QCOMPARE(lines[3].keys - lines[2].keys, 10);
        QCOMPARE(savedCounts(*desktop).keys, lines[3].keys);
    }
    QDBusConnection::disconnectFromBus("relaunch");
}

void InstanceTest::whileAnotherSessionCountsAStartLeavesAtOnce()
{
    writeStatsFile(*desktop, "{}");
    RunningKnucklet first(*desktop, program);
    QVERIFY(first.awaitCounting());
    FileWatch watch(dataFolder(), IN_ALL_EVENTS);
    QElapsedTimer time;
    time.start();

    const auto second = launch(*desktop, inAnotherSession());
    QVERIFY(endsWell(*second));

    QCOMPARE_LT(time.elapsed(), 9'000);
    QCOMPARE(watch.namesSoFar(), QStringList("lock"));
    QVERIFY(first.isRunning());
    QVERIFY(first.end(SIGTERM));
    QCOMPARE(QFileInfo(dataFolder() + "/lock").size(), 0);
}

void InstanceTest::whoWaitsInVainLeavesTheFilesAlone()
{
    writeStatsFile(*desktop, "{}");
    RunningKnucklet first(*desktop, program);
    QVERIFY(first.awaitCounting());
    // As while it ends.
    QVERIFY(QFile::resize(dataFolder() + "/lock", 0));
    FileWatch watch(dataFolder(), IN_ALL_EVENTS);
    QElapsedTimer time;
    time.start();

    const auto second = launch(*desktop, inAnotherSession());
    QVERIFY(endsWell(*second));

    QCOMPARE_GE(time.elapsed(), 9'900);
    QCOMPARE(watch.namesSoFar(), QStringList("lock"));
    QVERIFY(first.isRunning());
}

void InstanceTest::theProgramCountsWhereItCannotSave_data()
{
    QTest::addColumn<QString>("dataHome");

    QTest::newRow("the folder cannot be made") << "/proc/nowhere";
    QTest::newRow("a device stands in the folder's place") << "/dev/null";
}

void InstanceTest::theProgramCountsWhereItCannotSave()
{
    QFETCH(const QString, dataHome);
    QProcessEnvironment environment;
    environment.insert("XDG_DATA_HOME", dataHome);
    RunningKnucklet knucklet(*desktop, program, environment);
    QVERIFY(knucklet.awaitCounting());

    type(*injector, 3);
    QTRY_VERIFY2(knucklet.toolTip().contains("3 keys"), qPrintable(knucklet.toolTip()));

    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(knucklet.output(), QByteArray());
}

void InstanceTest::theProgramCountsWhateverLiesInTheFilesPlace_data()
{
    QTest::addColumn<Obstacle>("put");
    QTest::addColumn<bool>("canSave");

    QTest::newRow("a pipe without a writer")
        << Obstacle([](const QString& file) { return mkfifo(qPrintable(file), 0600) == 0; }) << true;
    QTest::newRow("an endless device")
        << Obstacle([](const QString& file) { return QFile::link("/dev/zero", file); }) << false;
    QTest::newRow("a folder with something in it")
        << Obstacle([](const QString& file) { return QDir().mkpath(file + "/inner"); }) << false;
    QTest::newRow("100 MB of zeros") << Obstacle([](const QString& file) {
        QFile large(file);
        return large.open(QFile::WriteOnly) && large.resize(100'000'000);
    }) << true;
}

void InstanceTest::theProgramCountsWhateverLiesInTheFilesPlace()
{
    QFETCH(const Obstacle, put);
    QFETCH(const bool, canSave);
    QVERIFY(QDir().mkpath(dataFolder()));
    QVERIFY(put(dataFolder() + "/stats.json"));
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitCounting());

    type(*injector, 3);
    QTRY_VERIFY2(knucklet.toolTip().contains("3 keys"), qPrintable(knucklet.toolTip()));

    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(knucklet.output(), QByteArray());
    if (canSave)
        QCOMPARE(savedCounts(*desktop), (Counts { 3, 0 }));
}

void InstanceTest::theProgramCountsWithoutALock()
{
    QVERIFY(QDir().mkpath(dataFolder() + "/lock"));
    RunningKnucklet knucklet(*desktop, program);
    QVERIFY(knucklet.awaitCounting());

    type(*injector, 3);

    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { 3, 0 }));
}

void InstanceTest::theProgramCountsWithoutAHomeFolder()
{
    QProcessEnvironment environment;
    environment.insert("HOME", "");
    environment.insert("XDG_CONFIG_HOME", "");
    RunningKnucklet knucklet(*desktop, program, environment);
    QVERIFY(knucklet.awaitCounting());

    type(*injector, 3);

    QVERIFY(knucklet.end(SIGTERM));
    QCOMPARE(savedCounts(*desktop), (Counts { 3, 0 }));
    QCOMPARE(knucklet.output(), QByteArray());
}

// There is nowhere to keep counts, so that nothing is counted.
void InstanceTest::withoutAnyDataFolderTheProgramEndsAtOnce()
{
    QProcessEnvironment environment;
    environment.insert("HOME", "");
    environment.insert("XDG_DATA_HOME", "");

    const auto process = launch(*desktop, environment);

    QVERIFY(process->waitForFinished(patience));
    QCOMPARE(process->exitStatus(), QProcess::CrashExit);
    QCOMPARE(process->readAll(), QByteArray());
}

static const TestArea area("Instance", runTest<InstanceTest>);
#include "InstanceTest.moc"
