#include "model/DayCardData.h"

#include "support/FakeProgram.h"
#include "support/ForkedChild.h"
#include "support/TestArea.h"

#include <QTest>

#include <chrono>
#include <csignal>
#include <ctime>
#include <limits>
#include <string>

using namespace std::chrono_literals;
using std::chrono::sys_days;

namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

std::string day(const std::string& key, std::int64_t keys, std::int64_t clicks)
{
    return "\"" + key + "\":{\"keys\":" + std::to_string(keys) + ",\"clicks\":" + std::to_string(clicks)
        + "}";
}

DayCardData card(FakeProgram& program) { return { program.start(), program.platform.clock() }; }

}

class DayCardDataTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void aCardHasTheNumbersOfItsMoment();
    void aCardDoesNotFollowTheCounters();
    void theWeekHasSevenDaysThatEndToday();
    void theBestDayHasNoGreaterOne_data();
    void theBestDayHasNoGreaterOne();
    void aDayWithoutActivityDoesNotAskForTheBestDay();
    void aTotalThatOverflowsEndsTheProcess();
};

void DayCardDataTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
    tzset();
}

void DayCardDataTest::aCardHasTheNumbersOfItsMoment()
{
    FakeProgram program;
    program.writeStatsFile("{" + day("2026-11-15", 4567, 1234) + "}");

    const auto data = card(program);

    QVERIFY(data.date == Moment(sys_days(2026y / 11 / 15) + 12h));
    QCOMPARE(data.keys, 4567);
    QCOMPARE(data.clicks, 1234);
}

void DayCardDataTest::aCardDoesNotFollowTheCounters()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    const DayCardData before(state, program.platform.clock());

    program.platform.advance(1min);
    program.platform.press();
    program.platform.click();
    const DayCardData after(state, program.platform.clock());

    QCOMPARE(before.keys, 0);
    QCOMPARE(before.clicks, 0);
    QVERIFY(before.week.back().count == DayCount {});
    QVERIFY(!before.isBestDay);
    QCOMPARE(after.keys, 1);
    QCOMPARE(after.clicks, 1);
    QVERIFY(after.week.back().count == (DayCount { .keys = 1, .clicks = 1 }));
    QVERIFY(after.isBestDay);
    QVERIFY(after.date - before.date == 1min);
}

void DayCardDataTest::theWeekHasSevenDaysThatEndToday()
{
    FakeProgram program;
    program.writeStatsFile("{" + day("2026-11-15", 3, 4) + "," + day("2026-11-09", 1, 2) + ","
        + day("2026-11-08", 100, 100) + "}");

    const auto data = card(program);

    QCOMPARE(data.week.size(), std::size_t { 7 });
    QCOMPARE(data.week.front().day, std::string("2026-11-09"));
    QVERIFY(data.week.front().count == (DayCount { .keys = 1, .clicks = 2 }));
    for (std::size_t i = 1; i < 6; ++i)
        QVERIFY(data.week[i].count == DayCount {});
    QCOMPARE(data.week.back().day, std::string("2026-11-15"));
    QVERIFY(data.week.back().count == (DayCount { .keys = 3, .clicks = 4 }));
}

void DayCardDataTest::theBestDayHasNoGreaterOne_data()
{
    QTest::addColumn<std::string>("days");
    QTest::addColumn<bool>("isBestDay");

    QTest::newRow("no day at all") << std::string() << false;
    QTest::newRow("today without activity") << day("2026-11-15", 0, 0) << false;
    QTest::newRow("no activity on any day")
        << day("2026-11-15", 0, 0) + "," + day("2026-11-14", 0, 0) << false;
    QTest::newRow("the only day") << day("2026-11-15", 1, 0) << true;
    QTest::newRow("one click") << day("2026-11-15", 0, 1) << true;
    QTest::newRow("more than the record")
        << day("2026-11-15", 60, 41) + "," + day("2020-01-01", 100, 0) << true;
    QTest::newRow("as much as the record")
        << day("2026-11-15", 60, 40) + "," + day("2020-01-01", 100, 0) << true;
    QTest::newRow("one less than the record")
        << day("2026-11-15", 60, 39) + "," + day("2020-01-01", 100, 0) << false;
    QTest::newRow("more keys, but fewer in all")
        << day("2026-11-15", 99, 0) + "," + day("2020-01-01", 50, 50) << false;
    QTest::newRow("a record in the future")
        << day("2026-11-15", 10, 0) + "," + day("2027-01-01", 11, 0) << false;
    QTest::newRow("the greatest total there is") << day("2026-11-15", greatest, 0) << true;
}

void DayCardDataTest::theBestDayHasNoGreaterOne()
{
    QFETCH(const std::string, days);
    QFETCH(const bool, isBestDay);
    FakeProgram program;
    program.writeStatsFile("{" + days + "}");

    const auto data = card(program);

    QCOMPARE(data.isBestDay, isBestDay);
}

// The sum of that other day would end the process.
void DayCardDataTest::aDayWithoutActivityDoesNotAskForTheBestDay()
{
    FakeProgram program;
    program.writeStatsFile("{" + day("2026-11-15", 0, 0) + "," + day("2020-01-01", greatest, 1) + "}");

    const auto data = card(program);

    QVERIFY(!data.isBestDay);
}

void DayCardDataTest::aTotalThatOverflowsEndsTheProcess()
{
    FakeProgram program;
    program.writeStatsFile("{" + day("2026-11-15", greatest, 1) + "}");
    auto& state = program.start();

    const auto end = inChild([&] {
        const DayCardData data(state, program.platform.clock());
        return std::to_string(data.keys);
    });

    QCOMPARE(end.signal, SIGABRT);
}

static const TestArea area("DayCardData", runTest<DayCardDataTest>);
#include "DayCardDataTest.moc"
