#include "platform/macos/RunLoopTimers.h"

#include "macos/RecordedSystem.h"
#include "support/TestArea.h"

#include <QTest>

using Calls = std::vector<std::string>;
using namespace std::chrono_literals;

class RunLoopTimersTest final : public QObject {
    Q_OBJECT

private slots:
    void aTimerTicksOneIntervalFromNowAndThenAtEachFurtherOne();
    void timersStandInTheMainLoop();
    void aTimerMayEndItselfFromItsOwnTick();
    void anInvalidatedTimerTicksNoMore();
    void whatIsCalledLaterIsCalledOnceAfterTheRunningCodeHasReturned();
    void theTimersGiveBackWhatTheyHold();
};

void RunLoopTimersTest::aTimerTicksOneIntervalFromNowAndThenAtEachFurtherOne()
{
    RecordedSystem system;
    RunLoopTimers timers;
    int ticks = 0;
    timers.scheduleRepeating(2s, [&] { ++ticks; });

    system.pass(1.9);
    const int early = ticks;
    system.pass(0.2);
    const int first = ticks;
    system.pass(4);

    QCOMPARE(early, 0);
    QCOMPARE(first, 1);
    QCOMPARE(ticks, 3);
}

void RunLoopTimersTest::timersStandInTheMainLoop()
{
    RecordedSystem system;
    RunLoopTimers timers;

    timers.scheduleRepeating(10s, [] {});

    QCOMPARE(system.takeCalls(),
        (Calls { "create timer: in 10 s, every 10 s, order 0", "add timer: main loop, default mode" }));
}

void RunLoopTimersTest::aTimerMayEndItselfFromItsOwnTick()
{
    RecordedSystem system;
    RunLoopTimers timers;
    int ticks = 0;
    TimerId timer {};
    timer = timers.scheduleRepeating(2s, [&] {
        timers.invalidate(timer);
        ++ticks;
    });

    system.pass(10);

    QCOMPARE(ticks, 1);
}

void RunLoopTimersTest::anInvalidatedTimerTicksNoMore()
{
    RecordedSystem system;
    RunLoopTimers timers;
    int ended = 0;
    int kept = 0;
    const auto timer = timers.scheduleRepeating(2s, [&] { ++ended; });
    timers.scheduleRepeating(2s, [&] { ++kept; });

    timers.invalidate(timer);
    timers.invalidate(timer);
    system.pass(2);

    QCOMPARE(ended, 0);
    QCOMPARE(kept, 1);
}

void RunLoopTimersTest::whatIsCalledLaterIsCalledOnceAfterTheRunningCodeHasReturned()
{
    RecordedSystem system;
    RunLoopTimers timers;
    int calls = 0;

    timers.callLater([&] { ++calls; });
    const int atOnce = calls;
    system.runMainQueue();
    system.runMainQueue();

    QCOMPARE(atOnce, 0);
    QCOMPARE(calls, 1);
}

void RunLoopTimersTest::theTimersGiveBackWhatTheyHold()
{
    RecordedSystem system;
    int ticks = 0;
    {
        RunLoopTimers timers;
        timers.scheduleRepeating(2s, [&] { ++ticks; });
        timers.invalidate(timers.scheduleRepeating(2s, [&] { ++ticks; }));
        QCOMPARE(system.objectsHeld(), 1);
    }

    system.pass(10);

    QCOMPARE(system.objectsHeld(), 0);
    QCOMPARE(ticks, 0);
}

static const TestArea area("RunLoopTimers", runTest<RunLoopTimersTest>);

#include "RunLoopTimersTest.moc"
