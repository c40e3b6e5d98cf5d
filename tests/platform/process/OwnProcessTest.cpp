#include "support/Patience.h"
#include "support/TestArea.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/types.h>

#include <csignal>

namespace {

const QStringList orderlyEnd
    = { "began to end", "drained", "first observer", "second observer", "made way", "loop returned" };

/// The socket of a Wayland compositor, and nothing behind it.
class StubCompositor final {
public:
    StubCompositor() { server.listen(folder.filePath("wayland-7")); }

    QProcessEnvironment session() const
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.remove("XDG_SESSION_TYPE");
        environment.insert("XDG_RUNTIME_DIR", folder.path());
        environment.insert("WAYLAND_DISPLAY", "wayland-7");
        return environment;
    }
    bool awaitClient()
    {
        if (server.hasPendingConnections() || server.waitForNewConnection(patience))
            client = server.nextPendingConnection();
        return client != nullptr;
    }
    bool talk() { return client->write("a word") > 0 && client->waitForBytesWritten(patience); }
    bool hasHeardNothing() { return client->readAll().isEmpty(); }
    void die()
    {
        client->abort();
        server.close();
    }

private:
    QTemporaryDir folder;
    QLocalServer server;
    QLocalSocket* client = nullptr;
};

QStringList lines(const QByteArray& text) { return QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts); }

}

class OwnProcessTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data();
    void init();
    void cleanup();

    void aSignalEndsTheProgramInOrder_data();
    void aSignalEndsTheProgramInOrder();
    void aSecondSignalWhileEndingChangesNothing();
    void aSignalWhileStartingEndsTheProgramAtOnce_data();
    void aSignalWhileStartingEndsTheProgramAtOnce();
    void theProgramEndsItselfInOrder_data();
    void theProgramEndsItselfInOrder();
    void losingTheDisplayRunsTheObserversToo();
    void losingTheDisplayInTheToolkitRunsTheObserversToo();
    void theEndOfTheCompositorEndsItInOrder();
    void aCompositorThatTalksEndsNothing();
    void withoutACompositorNoneIsMissed_data();
    void withoutACompositorNoneIsMissed();
    void whatTheToolkitSaysAtItsEndRunsTheObserversFirst_data();
    void whatTheToolkitSaysAtItsEndRunsTheObserversFirst();
    void whoCannotStartItselfAgainIsAnsweredToo();
    void aHangupThatWasIgnoredAtTheStartStaysIgnored();
    void whatItCannotWriteDoesNotEndIt();
    void childrenInheritNoBlockedSignal();

private:
    void start(const QString& kind);
    void waitUntilItSaid(const QByteArray& words);
    /// Asks the kernel about a mask of the running program, such as "SigBlk".
    bool isInMask(int signal, const QByteArray& mask) const;
    void send(int signal)
    {
        // 0 would stand for this test and all that runs with it.
        QVERIFY(program->processId() > 0);
        QCOMPARE(kill(static_cast<pid_t>(program->processId()), signal), 0);
    }

    std::unique_ptr<QProcess> program;
    QByteArray output;
};

void OwnProcessTest::initTestCase_data()
{
    QTest::addColumn<QString>("loop");

    QTest::newRow("without a toolkit") << "alone";
    QTest::newRow("with the toolkit") << "with the toolkit";
}

void OwnProcessTest::init()
{
    program = std::make_unique<QProcess>();
    output.clear();
    connect(program.get(), &QProcess::readyReadStandardOutput, this,
        [this] { output += program->readAllStandardOutput(); });
}

void OwnProcessTest::start(const QString& kind)
{
    QFETCH_GLOBAL(QString, loop);
    program->start(ENDING_PROGRAM, { kind, loop });
    QVERIFY(program->waitForStarted(patience));
}

void OwnProcessTest::waitUntilItSaid(const QByteArray& words)
{
    QTRY_VERIFY2(output.contains(words + '\n'), output.constData());
}

void OwnProcessTest::cleanup()
{
    program->kill();
    program->waitForFinished(patience);
}

bool OwnProcessTest::isInMask(int signal, const QByteArray& mask) const
{
    QFile status(QString("/proc/%1/status").arg(program->processId()));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = status.readAll();
    const auto begin = text.indexOf(mask + ":\t");
    const QByteArray digits = text.mid(begin + mask.size() + 2, 16);
    return begin >= 0 && (digits.toULongLong(nullptr, 16) >> (signal - 1) & 1) != 0;
}

void OwnProcessTest::aSignalEndsTheProgramInOrder_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("a request to end") << SIGTERM;
    QTest::newRow("an interrupt from the terminal") << SIGINT;
    QTest::newRow("the terminal's hangup") << SIGHUP;
}

void OwnProcessTest::aSignalEndsTheProgramInOrder()
{
    QFETCH(int, signal);
    start("");
    waitUntilItSaid("running");

    send(signal);
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList("running") + orderlyEnd);
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(program->exitCode(), 0);
}

void OwnProcessTest::aSecondSignalWhileEndingChangesNothing()
{
    start("ends slowly");
    waitUntilItSaid("running");
    send(SIGTERM);
    waitUntilItSaid("second observer");

    send(SIGTERM);
    send(SIGINT);
    program->write("\n");
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList("running") + orderlyEnd);
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(program->exitCode(), 0);
}

void OwnProcessTest::aSignalWhileStartingEndsTheProgramAtOnce_data() { aSignalEndsTheProgramInOrder_data(); }

void OwnProcessTest::aSignalWhileStartingEndsTheProgramAtOnce()
{
    QFETCH(int, signal);
    start("is slow to start");
    waitUntilItSaid("starting");

    send(signal);
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList("starting"));
    QCOMPARE(program->exitStatus(), QProcess::CrashExit);
    QCOMPARE(program->exitCode(), signal);
}

void OwnProcessTest::theProgramEndsItselfInOrder_data()
{
    QTest::addColumn<QString>("kind");

    QTest::newRow("before its loop has begun") << "ends itself";
    QTest::newRow("twice in a row") << "ends itself twice";
    QTest::newRow("before what it is made of is destroyed") << "ends itself without cleaning up";
}

void OwnProcessTest::theProgramEndsItselfInOrder()
{
    QFETCH(QString, kind);

    start(kind);
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QStringList said = lines(output);
    said.removeOne("running");
    QCOMPARE(said, orderlyEnd);
    QCOMPARE(program->exitCode(), 0);
}

void OwnProcessTest::losingTheDisplayRunsTheObserversToo()
{
    start("loses its display");
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList("running") + orderlyEnd);
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(program->exitCode(), 1);
}

void OwnProcessTest::losingTheDisplayInTheToolkitRunsTheObserversToo()
{
    start("loses its display in the toolkit");
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output),
        QStringList(
            { "running", "began to end", "drained", "first observer", "second observer", "made way" }));
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
}

void OwnProcessTest::theEndOfTheCompositorEndsItInOrder()
{
    StubCompositor compositor;
    program->setProcessEnvironment(compositor.session());
    start("");
    waitUntilItSaid("running");
    QVERIFY(compositor.awaitClient());

    compositor.die();
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList("running") + orderlyEnd);
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(program->exitCode(), 1);
}

void OwnProcessTest::aCompositorThatTalksEndsNothing()
{
    StubCompositor compositor;
    program->setProcessEnvironment(compositor.session());
    start("");
    waitUntilItSaid("running");
    QVERIFY(compositor.awaitClient());

    QVERIFY(compositor.talk());
    send(SIGTERM);
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(program->exitCode(), 0);
    QVERIFY(compositor.hasHeardNothing());
}

void OwnProcessTest::withoutACompositorNoneIsMissed_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("display");

    QTest::newRow("in an X session") << QByteArray("x11") << QByteArray();
    QTest::newRow("where there is no socket") << QByteArray("wayland") << QByteArray("/nowhere/wayland-7");
    QTest::newRow("where the name is too long") << QByteArray("wayland") << '/' + QByteArray(200, 'x');
    QTest::newRow("where something else is") << QByteArray("wayland") << QByteArray("/dev/null");
}

void OwnProcessTest::withoutACompositorNoneIsMissed()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, display);
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_SESSION_TYPE", type);
    environment.insert("WAYLAND_DISPLAY", display);
    program->setProcessEnvironment(environment);

    start("");
    waitUntilItSaid("running");
    send(SIGTERM);
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList("running") + orderlyEnd);
    QCOMPARE(program->exitCode(), 0);
}

void OwnProcessTest::whatTheToolkitSaysAtItsEndRunsTheObserversFirst_data()
{
    QTest::addColumn<QString>("kind");

    QTest::newRow("of its connection") << "hears that the Wayland connection broke";
    QTest::newRow("of anything fatal") << "hears something fatal";
    QTest::newRow("from another thread") << "hears something fatal from another thread";
}

void OwnProcessTest::whatTheToolkitSaysAtItsEndRunsTheObserversFirst()
{
    QFETCH(QString, kind);
    QFETCH_GLOBAL(QString, loop);
    if (loop == "alone")
        return;

    start(kind);
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output),
        QStringList(
            { "running", "began to end", "drained", "first observer", "second observer", "made way" }));
    QCOMPARE(program->exitCode(), 255);
}

void OwnProcessTest::whoCannotStartItselfAgainIsAnsweredToo()
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath("program");
    QVERIFY(QFile::copy(ENDING_PROGRAM, copy));

    QFETCH_GLOBAL(QString, loop);
    program->start(copy, { "cannot start itself again", loop });
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList({ "running", "made way", "still running", "answered" }) + orderlyEnd);
    QCOMPARE(program->exitCode(), 0);
}

void OwnProcessTest::aHangupThatWasIgnoredAtTheStartStaysIgnored()
{
    program->setChildProcessModifier([] { signal(SIGHUP, SIG_IGN); });

    start("");
    waitUntilItSaid("running");

    QVERIFY(isInMask(SIGHUP, "SigIgn"));
    QVERIFY(!isInMask(SIGTERM, "SigIgn"));
}

void OwnProcessTest::whatItCannotWriteDoesNotEndIt()
{
    start("");
    waitUntilItSaid("running");

    for (const int signal : { SIGPIPE, SIGXFSZ })
        QVERIFY(isInMask(signal, "SigIgn"));
}

void OwnProcessTest::childrenInheritNoBlockedSignal()
{
    start("starts a program");
    waitUntilItSaid("running");

    waitUntilItSaid("SigBlk:\t0000000000000000");
    for (const int signal : { SIGTERM, SIGINT, SIGHUP })
        QVERIFY(isInMask(signal, "SigBlk"));
}

static const TestArea area("OwnProcess", runTest<OwnProcessTest>);
#include "OwnProcessTest.moc"
