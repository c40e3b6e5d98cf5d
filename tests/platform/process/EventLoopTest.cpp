#include "platform/linux/process/EventLoop.h"

#include "platform/linux/windows/ServedLoop.h"
#include "support/Lifetime.h"
#include "support/Patience.h"
#include "support/TestArea.h"

#include <QTest>

#include <unistd.h>

#include <array>
#include <memory>
#include <string>

using namespace std::chrono_literals;

namespace {

struct Pipe {
    Pipe()
    {
        std::array<int, 2> ends {};
        if (pipe(ends.data()) != 0)
            return;
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
    }

    void send() { QCOMPARE(write(writing.get(), "x", 1), ssize_t { 1 }); }
    void receive()
    {
        char byte = 0;
        QCOMPARE(read(reading.get(), &byte, 1), ssize_t { 1 });
    }

    FileDescriptor reading;
    FileDescriptor writing;
};

}

class EventLoopTest : public QObject {
    Q_OBJECT

private slots:
    void itRunsUntilItIsTold();
    void whatIsCalledLaterComesInOrderAndAfterEverythingThatRuns();
    void aReadyDescriptorIsToldUntilItIsRead();
    void theOtherSidesEndMakesADescriptorReady();
    void whatIsWatchedForNothingIsNotTold();
    void aWatchMayEndItselfAndOthers();
    void timersElapseInTheOrderOfTheirTimes();
    void aRepeatingTimerGoesOnUntilItIsStopped();
    void aTimerMayEndWithinItsOwnCall();
    void aStoppedTimerNeverElapses();
    void ticksThatWereMissedAreNotMadeUpFor();
    void aHostTakesOverAndIsToldToEnd();
    void theToolkitServesIt();
    void aLoopWithinACallServesTheRest();
    void nothingIsCalledForWhoIsGone();
};

void EventLoopTest::itRunsUntilItIsTold()
{
    EventLoop loop;
    loop.callLater([&] { loop.quit(7); });

    QCOMPARE(loop.run(), 7);
}

void EventLoopTest::whatIsCalledLaterComesInOrderAndAfterEverythingThatRuns()
{
    EventLoop loop;
    std::string calls;
    loop.callLater([&] {
        loop.callLater([&] {
            calls += 'c';
            loop.quit(0);
        });
        calls += 'a';
    });
    loop.callLater([&] { calls += 'b'; });

    loop.run();

    QCOMPARE(calls, "abc");
}

void EventLoopTest::aReadyDescriptorIsToldUntilItIsRead()
{
    EventLoop loop;
    Pipe pipe;
    int calls = 0;
    const DescriptorWatch watch(loop, pipe.reading.get(), [&] { ++calls; });
    loop.dispatch();
    QCOMPARE(calls, 0);

    pipe.send();
    loop.dispatch();
    loop.dispatch();
    QCOMPARE(calls, 2);

    pipe.receive();
    loop.dispatch();
    QCOMPARE(calls, 2);
}

void EventLoopTest::theOtherSidesEndMakesADescriptorReady()
{
    EventLoop loop;
    Pipe pipe;
    int calls = 0;
    const DescriptorWatch watch(loop, pipe.reading.get(), [&] { ++calls; });

    pipe.writing = {};
    loop.dispatch();

    QCOMPARE(calls, 1);
}

void EventLoopTest::whatIsWatchedForNothingIsNotTold()
{
    EventLoop loop;
    Pipe pipe;
    int calls = 0;
    DescriptorWatch watch(loop, pipe.reading.get(), [&] { ++calls; });
    watch.watch(DescriptorWatch::For::Nothing);
    pipe.send();
    pipe.writing = {};

    loop.dispatch();
    QCOMPARE(calls, 0);

    watch.watch(DescriptorWatch::For::Reading);
    loop.dispatch();
    QCOMPARE(calls, 1);
}

void EventLoopTest::aWatchMayEndItselfAndOthers()
{
    EventLoop loop;
    Pipe first;
    Pipe second;
    int calls = 0;
    std::unique_ptr<DescriptorWatch> one;
    std::unique_ptr<DescriptorWatch> other;
    const auto endBoth = [&] {
        ++calls;
        one.reset();
        other.reset();
    };
    one = std::make_unique<DescriptorWatch>(loop, first.reading.get(), endBoth);
    other = std::make_unique<DescriptorWatch>(loop, second.reading.get(), endBoth);
    first.send();
    second.send();

    loop.dispatch();

    QCOMPARE(calls, 1);
}

void EventLoopTest::timersElapseInTheOrderOfTheirTimes()
{
    EventLoop loop;
    std::string calls;
    LoopTimer late(loop, [&] {
        calls += 'c';
        loop.quit(0);
    });
    LoopTimer early(loop, [&] { calls += 'a'; });
    LoopTimer between(loop, [&] { calls += 'b'; });
    late.start(500ms);
    early.start(10ms);
    between.start(20ms);

    loop.run();

    QCOMPARE(calls, "abc");
    QVERIFY(!late.isRunning());
}

void EventLoopTest::aRepeatingTimerGoesOnUntilItIsStopped()
{
    EventLoop loop;
    int ticks = 0;
    LoopTimer after(loop, [&] { loop.quit(0); });
    LoopTimer timer(loop, [&] {
        if (++ticks < 3)
            return;
        timer.stop();
        after.start(20ms);
    });
    timer.repeat(5ms);

    loop.run();

    QCOMPARE(ticks, 3);
}

void EventLoopTest::aTimerMayEndWithinItsOwnCall()
{
    EventLoop loop;
    int ticks = 0;
    std::unique_ptr<LoopTimer> timer;
    timer = std::make_unique<LoopTimer>(loop, [&] {
        ++ticks;
        timer.reset();
        loop.quit(0);
    });
    timer->repeat(5ms);

    loop.run();

    QCOMPARE(ticks, 1);
}

void EventLoopTest::aStoppedTimerNeverElapses()
{
    EventLoop loop;
    int ticks = 0;
    LoopTimer stopped(loop, [&] { ++ticks; });
    LoopTimer end(loop, [&] { loop.quit(0); });
    stopped.start(5ms);
    end.start(20ms);
    stopped.stop();

    loop.run();

    QCOMPARE(ticks, 0);
}

void EventLoopTest::ticksThatWereMissedAreNotMadeUpFor()
{
    EventLoop loop;
    int ticks = 0;
    LoopTimer timer(loop, [&] { ++ticks; });
    timer.repeat(200ms);
    const auto busyUntil = EventLoop::Clock::now() + 500ms;
    while (EventLoop::Clock::now() < busyUntil) { }

    loop.dispatch();
    loop.dispatch();

    QCOMPARE(ticks, 1);
    QVERIFY(timer.isRunning());
}

void EventLoopTest::aHostTakesOverAndIsToldToEnd()
{
    EventLoop loop;
    std::string calls;
    loop.callLater([&] {
        loop.handOver({
            .run =
                [&] {
                    calls += 'r';
                    loop.quit(3);
                    return 3;
                },
            .quit = [&](int code) { calls += std::to_string(code); },
        });
        calls += 'h';
    });

    QCOMPARE(loop.run(), 3);
    QCOMPARE(calls, "hr3");
}

void EventLoopTest::theToolkitServesIt()
{
    EventLoop loop;
    Pipe pipe;
    int reads = 0;
    int ticks = 0;
    int later = 0;
    const DescriptorWatch watch(loop, pipe.reading.get(), [&] {
        pipe.receive();
        ++reads;
    });
    LoopTimer timer(loop, [&] { ++ticks; });
    const ServedLoop served(loop);

    pipe.send();
    timer.start(5ms);
    loop.callLater([&] { ++later; });

    QTRY_COMPARE(reads, 1);
    QTRY_COMPARE(ticks, 1);
    QTRY_COMPARE(later, 1);
}

void EventLoopTest::aLoopWithinACallServesTheRest()
{
    EventLoop loop;
    std::string calls;
    const ServedLoop served(loop);
    loop.callLater([&] {
        loop.callLater([&] { calls += 'i'; });
        QTRY_COMPARE(calls, "i");
        calls += 'o';
    });

    QTRY_COMPARE(calls, "io");
}

void EventLoopTest::nothingIsCalledForWhoIsGone()
{
    EventLoop loop;
    int calls = 0;
    auto lifetime = std::make_unique<Lifetime>();
    const auto guarded = lifetime->guard([&](int step) { calls += step; });
    guarded(1);
    QCOMPARE(calls, 1);
    loop.callLater([guarded] { guarded(1); });

    lifetime.reset();
    loop.dispatch();

    QCOMPARE(calls, 1);
}

static const TestArea area("EventLoop", runTest<EventLoopTest>);
#include "EventLoopTest.moc"
