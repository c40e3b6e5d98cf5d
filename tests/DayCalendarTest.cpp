#include "DayCalendar.h"

#include "DayFormatter.h"
#include "support/TestArea.h"
#include "support/Zones.h"

#include <QtTest>

#include <limits>
#include <string>

using namespace std::chrono_literals;
using std::chrono::sys_days;

class DayCalendarTest : public QObject {
    Q_OBJECT

private slots:
    void aStepOfADayKeepsTheTimeOfDayAcrossAClockChange();
    void stepsCountTheDaysOfTheUsersCalendar_data();
    void stepsCountTheDaysOfTheUsersCalendar();
    void aTimeOfDayThatIsSkippedStaysWithinItsDay_data();
    void aTimeOfDayThatIsSkippedStaysWithinItsDay();
    void aDayThatTheZoneLeavesOutIsSteppedOver();
    void stepsAcrossAnyClockChangeNeverMeetADayTwice();
    void aStepBeyondAnyCalendarGivesNothing();
};

void DayCalendarTest::aStepOfADayKeepsTheTimeOfDayAcrossAClockChange()
{
    const DayCalendar calendar("de_DE", "Europe/Berlin");
    const Moment noonInSummer = sys_days(2026y / 10 / 24) + 10h;

    const auto noonInWinter = calendar.addDays(1, noonInSummer);

    QCOMPARE(noonInWinter, Moment(sys_days(2026y / 10 / 25) + 11h));
}

void DayCalendarTest::stepsCountTheDaysOfTheUsersCalendar_data()
{
    QTest::addColumn<std::string>("locale");

    for (const auto* locale : { "en_US", "de_DE", "th_TH", "ar_EG", "ar_SA", "fa_IR", "C" })
        QTest::newRow(locale) << std::string(locale);
}

void DayCalendarTest::stepsCountTheDaysOfTheUsersCalendar()
{
    QFETCH(const std::string, locale);
    const DayCalendar calendar(locale, "UTC");

    const auto stepped = calendar.addDays(-400, sys_days(2026y / 11 / 15) + 12h);

    QCOMPARE(stepped, Moment(sys_days(2026y / 11 / 15) + 12h - std::chrono::days(400)));
}

void DayCalendarTest::aTimeOfDayThatIsSkippedStaysWithinItsDay_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<Moment>("now");
    QTest::addColumn<std::string>("dayBefore");

    QTest::newRow("half past midnight in Santiago")
        << std::string("America/Santiago") << Moment(sys_days(2022y / 9 / 12) + 3h + 30min)
        << std::string("2022-09-11");
    QTest::newRow("half an hour to midnight in Dhaka")
        << std::string("Asia/Dhaka") << Moment(sys_days(2009y / 6 / 20) + 16h + 30min)
        << std::string("2009-06-19");
}

void DayCalendarTest::aTimeOfDayThatIsSkippedStaysWithinItsDay()
{
    QFETCH(const std::string, zone);
    QFETCH(const Moment, now);
    QFETCH(const std::string, dayBefore);
    const DayCalendar calendar("en_US", zone);

    const auto stepped = calendar.addDays(-1, now);

    QVERIFY(stepped);
    QCOMPARE(DayFormatter("en_US", zone).key(*stepped), dayBefore);
}

void DayCalendarTest::aDayThatTheZoneLeavesOutIsSteppedOver()
{
    const DayCalendar calendar("en_US", "Pacific/Apia");
    const DayFormatter formatter("en_US", "Pacific/Apia");
    const Moment noonAfter = sys_days(2011y / 12 / 30) + 22h;

    const auto dayBefore = calendar.addDays(-1, noonAfter);

    QCOMPARE(formatter.key(noonAfter), "2011-12-31");
    QVERIFY(dayBefore);
    QCOMPARE(formatter.key(*dayBefore), "2011-12-29");
}

void DayCalendarTest::stepsAcrossAnyClockChangeNeverMeetADayTwice()
{
    for (const auto& zone : zones(UCAL_ZONE_TYPE_CANONICAL)) {
        const DayCalendar calendar("en_US", zone);
        const DayFormatter formatter("en_US", zone);
        for (const auto change : clockChanges(zone)) {
            for (auto now = change + 22h; now <= change + 26h; now += 15min) {
                const auto dayBefore = calendar.addDays(-1, now);
                const auto twoDaysBefore = calendar.addDays(-2, now);

                QVERIFY2(formatter.key(*dayBefore) < formatter.key(now), zone.c_str());
                QVERIFY2(formatter.key(*twoDaysBefore) < formatter.key(*dayBefore), zone.c_str());
            }
        }
    }
}

void DayCalendarTest::aStepBeyondAnyCalendarGivesNothing()
{
    const DayCalendar calendar("en_US", "UTC");

    const auto stepped
        = calendar.addDays(std::numeric_limits<std::int64_t>::min() + 1, sys_days(2026y / 11 / 15));

    QVERIFY(!stepped);
}

static const TestArea area("DayCalendar", runTest<DayCalendarTest>);
#include "DayCalendarTest.moc"
