#include "platform/linux/input/ServerTime.h"

#include "support/TestArea.h"

#include <QTest>

using namespace std::chrono_literals;

class ServerTimeTest final : public QObject {
    Q_OBJECT

private slots:
    void anEventIsAsOldAsTheClockSays();
    void aClockThatIsUnknownMakesNothingOld();
    void theClockGoesOnBetweenTheQuestions();
    void aClockThatBeginsAgainIsFollowed();
    void anEventIsNeverFromTheFuture();
    void anEventThatComesLateMovesNothing();
    void anAnswerMovesTheClockEitherWay();

private:
    const ServerTime::Clock::time_point now { 1000h };
};

void ServerTimeTest::anEventIsAsOldAsTheClockSays()
{
    ServerTime time;
    time.set(5000, now);

    QCOMPARE(time.age(5000, now), 0ms);
    QCOMPARE(time.age(4750, now), 250ms);
}

void ServerTimeTest::aClockThatIsUnknownMakesNothingOld()
{
    const ServerTime time;

    QCOMPARE(time.age(4750, now), 0ms);
}

void ServerTimeTest::theClockGoesOnBetweenTheQuestions()
{
    ServerTime time;
    time.set(5000, now);

    QCOMPARE(time.age(5000 + 3'600'000, now + 1h + 40ms), 40ms);
}

void ServerTimeTest::aClockThatBeginsAgainIsFollowed()
{
    constexpr std::uint32_t last = 0xFFFFFFFF;
    ServerTime time;
    time.set(last - 99, now);

    time.hasShown(100, now + 200ms);

    QCOMPARE(time.age(last, now + 200ms), 101ms);
    QCOMPARE(time.age(100, now + 200ms), 0ms);
    QCOMPARE(time.age(50, now + 200ms), 50ms);
}

void ServerTimeTest::anEventIsNeverFromTheFuture()
{
    ServerTime time;
    time.set(5000, now);

    QCOMPARE(time.age(6000, now), 0ms);
    time.hasShown(6000, now);

    QCOMPARE(time.age(5000, now), 1000ms);
}

void ServerTimeTest::anEventThatComesLateMovesNothing()
{
    ServerTime time;
    time.set(5000, now);

    time.hasShown(4000, now);

    QCOMPARE(time.age(4000, now), 1000ms);
    QCOMPARE(time.age(5000, now), 0ms);
}

void ServerTimeTest::anAnswerMovesTheClockEitherWay()
{
    ServerTime time;
    time.set(5000, now);

    time.set(3000, now);
    const auto afterSlowing = time.age(3000, now);
    time.set(9000, now);

    QCOMPARE(afterSlowing, 0ms);
    QCOMPARE(time.age(8900, now), 100ms);
}

static const TestArea area("ServerTime", runTest<ServerTimeTest>);

#include "ServerTimeTest.moc"
