#include "support/Patience.h"
#include "support/TestArea.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/types.h>

#include <csignal>

namespace {

const QStringList orderlyEnd
    = { "drained", "first observer", "second observer", "made way", "loop returned" };

QStringList lines(const QByteArray& text) { return QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts); }

}

class LinuxTerminationTest final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aSignalEndsTheProgramInOrder_data();
    void aSignalEndsTheProgramInOrder();
    void aSecondSignalWhileEndingChangesNothing();
    void theProgramEndsItselfInOrder_data();
    void theProgramEndsItselfInOrder();
    void losingTheDisplayRunsTheObserversToo();
    void whoCannotStartItselfAgainIsAnsweredToo();
    void aHangupThatWasIgnoredAtTheStartStaysIgnored();
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

void LinuxTerminationTest::init()
{
    program = std::make_unique<QProcess>();
    output.clear();
    connect(program.get(), &QProcess::readyReadStandardOutput, this,
        [this] { output += program->readAllStandardOutput(); });
}

void LinuxTerminationTest::start(const QString& kind)
{
    program->start(ENDING_PROGRAM, { kind });
    QVERIFY(program->waitForStarted(patience));
}

void LinuxTerminationTest::waitUntilItSaid(const QByteArray& words)
{
    QTRY_VERIFY2(output.contains(words + '\n'), output.constData());
}

void LinuxTerminationTest::cleanup()
{
    program->kill();
    program->waitForFinished(patience);
}

bool LinuxTerminationTest::isInMask(int signal, const QByteArray& mask) const
{
    QFile status(QString("/proc/%1/status").arg(program->processId()));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = status.readAll();
    const auto begin = text.indexOf(mask + ":\t");
    const QByteArray digits = text.mid(begin + mask.size() + 2, 16);
    return begin >= 0 && (digits.toULongLong(nullptr, 16) >> (signal - 1) & 1) != 0;
}

void LinuxTerminationTest::aSignalEndsTheProgramInOrder_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("a request to end") << SIGTERM;
    QTest::newRow("an interrupt from the terminal") << SIGINT;
    QTest::newRow("the terminal's hangup") << SIGHUP;
}

void LinuxTerminationTest::aSignalEndsTheProgramInOrder()
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

void LinuxTerminationTest::aSecondSignalWhileEndingChangesNothing()
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

void LinuxTerminationTest::theProgramEndsItselfInOrder_data()
{
    QTest::addColumn<QString>("kind");

    QTest::newRow("before its loop has begun") << "ends itself";
    QTest::newRow("twice in a row") << "ends itself twice";
    QTest::newRow("before what it is made of is destroyed") << "ends itself without cleaning up";
}

void LinuxTerminationTest::theProgramEndsItselfInOrder()
{
    QFETCH(QString, kind);

    start(kind);
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QStringList said = lines(output);
    said.removeOne("running");
    QCOMPARE(said, orderlyEnd);
    QCOMPARE(program->exitCode(), 0);
}

void LinuxTerminationTest::losingTheDisplayRunsTheObserversToo()
{
    start("loses its display");
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output),
        QStringList({ "running", "drained", "first observer", "second observer", "made way" }));
    QCOMPARE(program->exitStatus(), QProcess::NormalExit);
}

void LinuxTerminationTest::whoCannotStartItselfAgainIsAnsweredToo()
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath("program");
    QVERIFY(QFile::copy(ENDING_PROGRAM, copy));

    program->start(copy, { "cannot start itself again" });
    QTRY_COMPARE(program->state(), QProcess::NotRunning);

    QCOMPARE(lines(output), QStringList({ "running", "made way", "still running", "answered" }) + orderlyEnd);
    QCOMPARE(program->exitCode(), 0);
}

void LinuxTerminationTest::aHangupThatWasIgnoredAtTheStartStaysIgnored()
{
    program->setChildProcessModifier([] { signal(SIGHUP, SIG_IGN); });

    start("");
    waitUntilItSaid("running");

    QVERIFY(isInMask(SIGHUP, "SigIgn"));
    QVERIFY(!isInMask(SIGTERM, "SigIgn"));
}

void LinuxTerminationTest::childrenInheritNoBlockedSignal()
{
    start("");
    waitUntilItSaid("running");

    for (const int signal : { SIGTERM, SIGINT, SIGHUP })
        QVERIFY(!isInMask(signal, "SigBlk"));
}

static const TestArea area("LinuxTermination", runTest<LinuxTerminationTest>);
#include "LinuxTerminationTest.moc"
