#include "platform/linux/process/Child.h"

#include "platform/linux/process/CoreFiles.h"
#include "platform/linux/windows/ServedLoop.h"
#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/Patience.h"
#include "support/Script.h"
#include "support/TestArea.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds longEnough { patience };

Command shell(const std::string& commands) { return { "sh", "-c", commands }; }

/// What a started program says of itself in `/proc/self/status`, such as "SigBlk", without the signals that
/// are the C library's own affair.
QByteArray ordinarySignals(const char* mask)
{
    EventLoop loop;
    const auto child
        = Child::start(loop, { "grep", mask, "/proc/self/status" }, ChildStreams::InputAndOutputHere);
    child->waitForEnd(longEnough);
    const auto digits = QByteArray::fromStdString(child->output()).trimmed().right(16);
    bool isNumber = false;
    const auto signalBits = digits.toULongLong(&isNumber, 16) & 0x7fffffff;
    return isNumber ? QByteArray::number(signalBits, 16) : "no answer";
}

bool hasNoChildren() { return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }

}

class ChildTest final : public QObject {
    Q_OBJECT

private slots:
    void init();

    void itsEndIsTold();
    void whatItWroteBeforeItsEndIsThere();
    void itsOutputIsToldAsItComes();
    void itHearsTheEndOfItsInput();
    void anEndThatIsWaitedForIsNotTold();
    void waitingHasALimit();
    void waitingForOutputEndsWithTheOutput();
    void whoStillHoldsItsOutputDoesNotHoldUpItsEnd();
    void oneThatWritesWithoutEndCanBeWaitedForAndKilled();
    void whatCannotBeStartedIsNone_data();
    void whatCannotBeStartedIsNone();
    void oneThatWasKilledHasNoExitCode();
    void itEndsWithItsObject();
    void itMayBeDestroyedInItsOwnCall();
    void itHasNoSignalBlockedOrIgnored();
    void aHangupThatIsIgnoredStaysIgnored();
    void itMayLeaveACoreFileThoughThisProgramDoesNot();
    void itGetsNoDescriptorButItsStreams();
    void itsStreamsLeadNowhere();
    void itStartsWhereNoStandardStreamIsOpen();
    void itsEndIsKnownWhereThatOfChildrenIsIgnored();
    void itLeavesNoDescriptorOpen();
    void oneThatGoesItsOwnWayBelongsToNobodyHere();
    void oneThatCannotGoItsOwnWayIsTold();

private:
    std::unique_ptr<QTemporaryDir> folder;
    EventLoop loop;
    ServedLoop served { loop };
};

void ChildTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
}

void ChildTest::itsEndIsTold()
{
    int ends = 0;

    const auto child = Child::start(
        loop, shell("exit 7"), ChildStreams::Nowhere, { .output = {}, .end = [&] { ++ends; } });
    QVERIFY(child);
    QVERIFY(child->isRunning());
    QVERIFY(!child->exitCode());
    QTRY_COMPARE(ends, 1);

    QVERIFY(!child->isRunning());
    QCOMPARE(child->exitCode(), 7);
    QVERIFY(hasNoChildren());
}

void ChildTest::whatItWroteBeforeItsEndIsThere()
{
    std::string said;
    std::unique_ptr<Child> child;

    child = Child::start(loop, shell("printf one; printf two"), ChildStreams::InputAndOutputHere,
        { .output = {}, .end = [&] { said = child->output(); } });

    QTRY_COMPARE(said, std::string("onetwo"));
}

void ChildTest::itsOutputIsToldAsItComes()
{
    std::string said;
    bool hasEnded = false;
    std::unique_ptr<Child> child;
    child = Child::start(loop, shell("printf ready; read line"), ChildStreams::InputAndOutputHere,
        { .output = [&] { said += std::exchange(child->output(), {}); }, .end = [&] { hasEnded = true; } });

    QTRY_COMPARE(said, std::string("ready"));

    QVERIFY(!hasEnded);
    child->closeInput();
    QTRY_VERIFY(hasEnded);
}

void ChildTest::itHearsTheEndOfItsInput()
{
    const auto child = Child::start(loop, { "cat" }, ChildStreams::InputAndOutputHere);
    QVERIFY(!child->waitForEnd(10ms));

    child->closeInput();

    QVERIFY(child->waitForEnd(longEnough));
    QCOMPARE(child->exitCode(), 0);
}

void ChildTest::anEndThatIsWaitedForIsNotTold()
{
    int ends = 0;
    const auto child
        = Child::start(loop, { "true" }, ChildStreams::Nowhere, { .output = {}, .end = [&] { ++ends; } });

    QVERIFY(child->waitForEnd(longEnough));
    QTest::qWait(0);
    loop.dispatch();

    QCOMPARE(ends, 0);
    QCOMPARE(child->exitCode(), 0);
}

void ChildTest::waitingHasALimit()
{
    const auto child = Child::start(loop, { "cat" }, ChildStreams::InputAndOutputHere);
    const auto begin = EventLoop::Clock::now();

    QVERIFY(!child->waitForOutputOrEnd(30ms));
    QVERIFY(!child->waitForEnd(30ms));

    QVERIFY(EventLoop::Clock::now() - begin >= 60ms);
    QVERIFY(child->isRunning());
}

void ChildTest::waitingForOutputEndsWithTheOutput()
{
    const auto child = Child::start(loop, shell("printf ready; cat"), ChildStreams::InputAndOutputHere);

    QVERIFY(child->waitForOutputOrEnd(longEnough));

    QVERIFY(QByteArray("ready").startsWith(child->output().c_str()));
    QVERIFY(!child->output().empty());
    QVERIFY(child->isRunning());
}

void ChildTest::whoStillHoldsItsOutputDoesNotHoldUpItsEnd()
{
    const auto file = folder->filePath("gate").toStdString();
    QCOMPARE(mkfifo(file.c_str(), 0600), 0);
    const auto child = Child::start(
        loop, shell("(read line <'" + file + "') & printf said"), ChildStreams::InputAndOutputHere);

    QVERIFY(child->waitForEnd(longEnough));

    QCOMPARE(QByteArray::fromStdString(child->output()), QByteArray("said"));
    put(file, "\n");
}

void ChildTest::oneThatWritesWithoutEndCanBeWaitedForAndKilled()
{
    bool hasEnded = false;
    int turns = 0;
    std::unique_ptr<Child> child;
    child = Child::start(loop, { "yes" }, ChildStreams::InputAndOutputHere,
        { .output =
                [&] {
                    child->output().clear();
                    if (++turns == 3)
                        child->kill();
                },
            .end = [&] { hasEnded = true; } });

    QTRY_VERIFY(hasEnded);

    QVERIFY(turns >= 3);
}

void ChildTest::whatCannotBeStartedIsNone_data()
{
    QTest::addColumn<QString>("program");

    QTest::newRow("no such name") << "knucklet-no-such-program";
    QTest::newRow("no such file") << "/nowhere/knucklet";
    QTest::newRow("a folder") << "/";
    QTest::newRow("no program") << "/etc/passwd";
}

void ChildTest::whatCannotBeStartedIsNone()
{
    QFETCH(QString, program);

    QVERIFY(!Child::start(loop, { program.toStdString() }, ChildStreams::InputAndOutputHere));

    QVERIFY(hasNoChildren());
}

void ChildTest::oneThatWasKilledHasNoExitCode()
{
    const auto child = Child::start(loop, { "cat" }, ChildStreams::InputAndOutputHere);

    child->kill();

    QVERIFY(child->waitForEnd(longEnough));
    QVERIFY(!child->isRunning());
    QVERIFY(!child->exitCode());
}

void ChildTest::itEndsWithItsObject()
{
    int ends = 0;
    auto child = Child::start(loop, { "cat" }, ChildStreams::InputAndOutputHere,
        { .output = [&] { ++ends; }, .end = [&] { ++ends; } });
    QVERIFY(child);

    child.reset();
    loop.dispatch();

    QVERIFY(hasNoChildren());
    QCOMPARE(ends, 0);
}

void ChildTest::itMayBeDestroyedInItsOwnCall()
{
    std::unique_ptr<Child> child;
    int calls = 0;
    const auto destroy = [&] {
        ++calls;
        child.reset();
    };
    child = Child::start(loop, shell("printf ready; exec cat"), ChildStreams::InputAndOutputHere,
        { .output = destroy, .end = [&] { calls += 100; } });
    QTRY_COMPARE(calls, 1);

    child = Child::start(loop, { "true" }, ChildStreams::Nowhere, { .output = {}, .end = destroy });
    QTRY_COMPARE(calls, 2);

    QVERIFY(hasNoChildren());
}

void ChildTest::itHasNoSignalBlockedOrIgnored()
{
    const auto end = inChild([] {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGXFSZ, SIG_IGN);
        return (ordinarySignals("SigBlk") + ' ' + ordinarySignals("SigIgn")).toStdString();
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("0 0"));
}

void ChildTest::aHangupThatIsIgnoredStaysIgnored()
{
    const auto end = inChild([] {
        std::signal(SIGHUP, SIG_IGN);
        return ordinarySignals("SigIgn").toStdString();
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("1"));
}

void ChildTest::itMayLeaveACoreFileThoughThisProgramDoesNot()
{
    rlimit limit {};
    QCOMPARE(getrlimit(RLIMIT_CORE, &limit), 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 8192);
    QCOMPARE(setrlimit(RLIMIT_CORE, &limit), 0);
    leaveNoCoreFile();

    const auto child
        = Child::start(loop, { "grep", "core file", "/proc/self/limits" }, ChildStreams::InputAndOutputHere);
    QVERIFY(child->waitForEnd(longEnough));

    const auto words = QByteArray::fromStdString(child->output()).simplified().split(' ');
    QCOMPARE(words.value(4), QByteArray::number(static_cast<qulonglong>(limit.rlim_cur)));
    rlimit here {};
    QCOMPARE(getrlimit(RLIMIT_CORE, &here), 0);
    QCOMPARE_LE(here.rlim_cur, rlim_t { 1 });
}

void ChildTest::itGetsNoDescriptorButItsStreams()
{
    const FileDescriptor leaking(open("/dev/null", O_RDONLY));
    const FileDescriptor farOff(fcntl(leaking.get(), F_DUPFD, 500));
    QVERIFY(farOff.isOpen());

    const auto child = Child::start(loop, { "ls", "/proc/self/fd" }, ChildStreams::InputAndOutputHere);

    QVERIFY(child->waitForEnd(longEnough));
    // The last one is the folder that is being listed.
    QCOMPARE(QByteArray::fromStdString(child->output()), QByteArray("0\n1\n2\n3\n"));
}

void ChildTest::itsStreamsLeadNowhere()
{
    const auto answer = folder->filePath("answer").toStdString();
    const auto child = Child::start(loop,
        shell("all=$(for stream in 0 1 2; do readlink /proc/$$/fd/$stream; done); echo \"$all\" >'" + answer
            + "'"),
        ChildStreams::Nowhere);

    QVERIFY(child->waitForEnd(longEnough));

    QCOMPARE(QByteArray::fromStdString(contentOf(answer)), QByteArray("/dev/null\n/dev/null\n/dev/null\n"));
}

void ChildTest::itStartsWhereNoStandardStreamIsOpen()
{
    const auto end = inChild([] {
        for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO })
            close(stream);
        EventLoop own;
        const auto child = Child::start(own, shell("printf ready; cat; printf ' done'; echo wrong >&2"),
            ChildStreams::InputAndOutputHere);
        child->closeInput();
        child->waitForEnd(longEnough);
        return child->output();
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("ready done"));
}

void ChildTest::itsEndIsKnownWhereThatOfChildrenIsIgnored()
{
    const auto end = inChild([] {
        std::signal(SIGCHLD, SIG_IGN);
        EventLoop own;
        const auto child = Child::start(own, shell("exit 7"), ChildStreams::Nowhere);
        child->waitForEnd(longEnough);
        return std::to_string(child->exitCode().value_or(-1));
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("7"));
}

void ChildTest::itLeavesNoDescriptorOpen()
{
    const auto before = namesIn("/proc/self/fd").size();

    Child::start(loop, { "true" }, ChildStreams::InputAndOutputHere)->waitForEnd(longEnough);
    Child::start(loop, { "cat" }, ChildStreams::InputAndOutputHere).reset();
    std::ignore = Child::start(loop, { "/nowhere" }, ChildStreams::InputAndOutputHere);
    QVERIFY(startDetached({ "true" }, ChildStreams::Nowhere));

    QCOMPARE(namesIn("/proc/self/fd").size(), before);
}

void ChildTest::oneThatGoesItsOwnWayBelongsToNobodyHere()
{
    const auto answer = folder->filePath("answer").toStdString();

    QVERIFY(startDetached(
        shell("cat /proc/self/stat >'" + answer + ".new'; mv '" + answer + ".new' '" + answer + "'"),
        ChildStreams::Nowhere));

    QVERIFY(hasNoChildren());
    QTRY_VERIFY(QFile::exists(folder->filePath("answer")));
    // Its session is its own: no hangup of this one's terminal reaches it.
    const auto stat = QByteArray::fromStdString(contentOf(answer)).split(' ');
    QVERIFY(stat.at(5).toInt() != getsid(0));
}

void ChildTest::oneThatCannotGoItsOwnWayIsTold()
{
    QVERIFY(!startDetached({ "/nowhere/knucklet" }, ChildStreams::Nowhere));

    QVERIFY(hasNoChildren());
}

static const TestArea area("Child", runTest<ChildTest>);
#include "ChildTest.moc"
