#include "model/CivilDay.h"

#include "support/Files.h"
#include "support/TestArea.h"
#include "support/Zones.h"

#include <QtTest>

#include <ctime>
#include <limits>
#include <string>

using namespace std::chrono_literals;
using std::chrono::local_days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

namespace {

/// The file of a zone that is UTC with a leap second at the end of 2026, and nothing else.
std::string leapSecondFile()
{
    const auto number = [](std::int64_t value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift & 0xFF);
        return bytes;
    };
    const std::chrono::sys_seconds leapSecond = sys_days(2027y / 1 / 1);
    // One leap second, no changes, one kind of time, whose name has three letters.
    return "TZif" + std::string(16, '\0') + number(0) + number(0) + number(1) + number(0) + number(1)
        + number(4) + number(0) + std::string(2, '\0') + std::string("UTC\0", 4)
        + number(leapSecond.time_since_epoch().count()) + number(1);
}

} // namespace

class CivilDayTest : public QObject {
    Q_OBJECT

private slots:
    void everyHourOfEveryZoneIsOfTheDayThatTheCLibraryShows();
    void everyFormOfZoneIsRead_data();
    void everyFormOfZoneIsRead();
    void aZoneInAFileOfItsOwnIsRead();
    void halfAnHourOfTomorrowWithinTodayIsSeen();
    void aLeapSecondIsOfTheDayThatItEnds();

    void aDayBeginsWithItsFirstMoment_data();
    void aDayBeginsWithItsFirstMoment();

    void aStepOfADayKeepsTheTimeOfDayAcrossAClockChange();
    void aTimeOfDayThatIsSkippedStaysWithinItsDay_data();
    void aTimeOfDayThatIsSkippedStaysWithinItsDay();
    void aDayThatTheZoneLeavesOutIsSteppedOver();
    void stepsAcrossAnyClockChangeNeverMeetADayTwice();
    void aStepBeyondAnyCalendarGivesNothing();
};

void CivilDayTest::everyHourOfEveryZoneIsOfTheDayThatTheCLibraryShows()
{
    constexpr std::time_t hour = 3600;
    constexpr std::time_t day = 24 * hour;
    constexpr std::time_t first
        = std::chrono::sys_seconds(sys_days(2024y / 1 / 1)).time_since_epoch().count();
    constexpr std::time_t last = std::chrono::sys_seconds(sys_days(2031y / 1 / 1)).time_since_epoch().count();
    const auto isOf = [](std::time_t time, std::time_t daysSinceEpoch) {
        return civilDay(sys_days() + std::chrono::seconds(time)).time_since_epoch().count() == daysSinceEpoch;
    };

    const auto all = zones();

    QVERIFY(all.size() > 300);
    for (const auto& zone : all) {
        setZone(zone);
        std::time_t before = 0;
        for (auto time = first; time < last; time += hour) {
            std::tm shown = {};
            localtime_r(&time, &shown);
            const auto now = (time + shown.tm_gmtoff) / day;
            // Within a day nothing happens: it is asked for only where one ends and another begins.
            if (now == before)
                continue;
            const bool isRight = (time == first || isOf(time - hour, before)) && isOf(time, now);
            QVERIFY2(isRight, std::string(zone).append(" at ").append(std::to_string(time)).c_str());
            before = now;
        }
    }
}

void CivilDayTest::everyFormOfZoneIsRead_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<std::chrono::minutes>("inWinter");
    QTest::addColumn<std::chrono::minutes>("inSummer");

    const auto row
        = [](const char* name, const char* zone, std::chrono::minutes winter, std::chrono::minutes summer) {
              QTest::newRow(name) << std::string(zone) << winter << summer;
          };
    row("an id", "Europe/Berlin", 1h, 2h);
    row("another one, later in the same process", "Asia/Tokyo", 9h, 9h);
    row("an id behind a colon", ":Europe/Berlin", 1h, 2h);
    row("a file", "/usr/share/zoneinfo/Asia/Kolkata", 5h + 30min, 5h + 30min);
    row("a file behind a colon", ":/usr/share/zoneinfo/Europe/Berlin", 1h, 2h);
    row("a rule", "CET-1CEST,M3.5.0,M10.5.0/3", 1h, 2h);
    row("a rule of the southern half", "AEST-10AEDT,M10.1.0,M4.1.0/3", 11h, 10h);
    row("a name in brackets", "<+0330>-3:30", 3h + 30min, 3h + 30min);
    row("a name that has other meanings", "IST-5:30", 5h + 30min, 5h + 30min);
    row("hours behind Greenwich", "GMT+5", -5h, -5h);
    row("an invented name east of Greenwich", "XYZ-3", 3h, 3h);
    row("an invented name west of Greenwich", "XYZ11", -11h, -11h);
    row("a zone that ended its changes", "America/Mexico_City", -6h, -6h);
    row("a zone that took them up again", "Africa/Cairo", 2h, 3h);
    row("nothing", "", 0h, 0h);
    row("a zone that does not exist", "Europe/Nowhere", 0h, 0h);
}

void CivilDayTest::everyFormOfZoneIsRead()
{
    QFETCH(const std::string, zone);
    QFETCH(const std::chrono::minutes, inWinter);
    QFETCH(const std::chrono::minutes, inSummer);
    setZone(zone);

    const auto winter = localOffset(sys_days(2026y / 1 / 15));
    const auto summer = localOffset(sys_days(2026y / 7 / 15));

    QCOMPARE(winter, inWinter);
    QCOMPARE(summer, inSummer);
    QVERIFY(civilDay(sys_days(2026y / 7 / 15) - inSummer) == local_days(2026y / 7 / 15));
    QVERIFY(civilDay(sys_days(2026y / 7 / 15) - inSummer - 1ms) == local_days(2026y / 7 / 14));
}

void CivilDayTest::aZoneInAFileOfItsOwnIsRead()
{
    const QTemporaryDir folder;
    const auto link = folder.filePath("localtime").toStdString();
    std::filesystem::create_symlink("/usr/share/zoneinfo/Pacific/Auckland", link);
    setZone(':' + link);

    const auto offset = localOffset(sys_days(2026y / 7 / 15));

    QCOMPARE(offset, 12h);
}

void CivilDayTest::halfAnHourOfTomorrowWithinTodayIsSeen()
{
    // On the 15th of November the clock goes forward to midnight at eleven, and back again at half past.
    setZone("AAA0BBB-1,J319/23,J319/24:30");

    // As far from the half hour as whole hours miss it.
    const auto noon = civilSpan(sys_days(2026y / 11 / 15) + 12h + 45min);
    const auto halfHour = civilSpan(noon.end);
    const auto rest = civilSpan(halfHour.end);

    QVERIFY(noon.day == local_days(2026y / 11 / 15));
    QCOMPARE(noon.begin, Moment(sys_days(2026y / 11 / 15)));
    QCOMPARE(noon.end, Moment(sys_days(2026y / 11 / 15) + 23h));
    QVERIFY(halfHour.day == local_days(2026y / 11 / 16));
    QCOMPARE(halfHour.end - halfHour.begin, 30min);
    QVERIFY(rest.day == local_days(2026y / 11 / 15));
    QCOMPARE(rest.end, Moment(sys_days(2026y / 11 / 16)));
}

void CivilDayTest::aLeapSecondIsOfTheDayThatItEnds()
{
    const QTemporaryDir folder;
    const auto file = folder.filePath("zone").toStdString();
    put(file, leapSecondFile());
    setZone(file);
    const Moment leapSecond = sys_days(2027y / 1 / 1);

    const auto lastDay = civilSpan(leapSecond);
    const auto firstDay = civilSpan(leapSecond + 12h);

    QVERIFY(lastDay.day == local_days(2026y / 12 / 31));
    QCOMPARE(lastDay.begin, leapSecond);
    QCOMPARE(lastDay.end, leapSecond + 1s);
    QVERIFY(firstDay.day == local_days(2027y / 1 / 1));
    QCOMPARE(firstDay.begin, leapSecond + 1s);
    QCOMPARE(firstDay.end, leapSecond + 24h + 1s);
}

void CivilDayTest::aDayBeginsWithItsFirstMoment_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<CivilDay>("day");
    QTest::addColumn<Moment>("begin");

    const auto row = [](const char* zone, year_month_day date, Moment begin) {
        QTest::newRow(zone) << std::string(zone) << CivilDay(date) << begin;
    };
    row("Europe/Berlin", 2024y / 2 / 29, sys_days(2024y / 2 / 28) + 23h);
    // As far from Greenwich as clocks are.
    row("Pacific/Kiritimati", 2026y / 11 / 15, sys_days(2026y / 11 / 14) + 10h);
    row("Pacific/Pago_Pago", 2026y / 11 / 15, sys_days(2026y / 11 / 15) + 11h);
    row("XYZ-24", 2026y / 11 / 15, sys_days(2026y / 11 / 14));
    row("XYZ+24", 2026y / 11 / 15, sys_days(2026y / 11 / 16));
}

void CivilDayTest::aDayBeginsWithItsFirstMoment()
{
    QFETCH(const std::string, zone);
    QFETCH(const CivilDay, day);
    QFETCH(const Moment, begin);
    setZone(zone);

    const auto span = civilSpan(begin);

    QVERIFY(span.day == day);
    QCOMPARE(span.begin, begin);
    QVERIFY(civilDay(begin - 1ms) < day);
}

void CivilDayTest::aStepOfADayKeepsTheTimeOfDayAcrossAClockChange()
{
    setZone("Europe/Berlin");
    const Moment noonInSummer = sys_days(2026y / 10 / 24) + 10h;

    const auto noonInWinter = addDays(1, noonInSummer);

    QCOMPARE(noonInWinter, Moment(sys_days(2026y / 10 / 25) + 11h));
}

void CivilDayTest::aTimeOfDayThatIsSkippedStaysWithinItsDay_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<Moment>("now");
    QTest::addColumn<CivilDay>("dayBefore");

    QTest::newRow("half past midnight in Santiago")
        << std::string("America/Santiago") << Moment(sys_days(2022y / 9 / 12) + 3h + 30min)
        << CivilDay(2022y / 9 / 11);
    QTest::newRow("half an hour to midnight in Dhaka")
        << std::string("Asia/Dhaka") << Moment(sys_days(2009y / 6 / 20) + 16h + 30min)
        << CivilDay(2009y / 6 / 19);
}

void CivilDayTest::aTimeOfDayThatIsSkippedStaysWithinItsDay()
{
    QFETCH(const std::string, zone);
    QFETCH(const Moment, now);
    QFETCH(const CivilDay, dayBefore);
    setZone(zone);

    const auto stepped = addDays(-1, now);

    QVERIFY(stepped);
    QVERIFY(civilDay(*stepped) == dayBefore);
}

void CivilDayTest::aDayThatTheZoneLeavesOutIsSteppedOver()
{
    setZone("Pacific/Apia");
    const Moment noonAfter = sys_days(2011y / 12 / 30) + 22h;

    const auto dayBefore = addDays(-1, noonAfter);

    QVERIFY(civilDay(noonAfter) == local_days(2011y / 12 / 31));
    QVERIFY(dayBefore);
    QVERIFY(civilDay(*dayBefore) == local_days(2011y / 12 / 29));
}

void CivilDayTest::stepsAcrossAnyClockChangeNeverMeetADayTwice()
{
    for (const auto& zone : zones()) {
        setZone(zone);
        for (const auto change : clockChanges()) {
            for (auto now = change + 22h; now <= change + 26h; now += 15min) {
                const auto dayBefore = addDays(-1, now);
                const auto twoDaysBefore = addDays(-2, now);

                QVERIFY2(civilDay(*dayBefore) < civilDay(now), zone.c_str());
                QVERIFY2(civilDay(*twoDaysBefore) < civilDay(*dayBefore), zone.c_str());
            }
        }
    }
}

void CivilDayTest::aStepBeyondAnyCalendarGivesNothing()
{
    setZone("UTC");

    const auto stepped = addDays(std::numeric_limits<std::int64_t>::min() + 1, sys_days(2026y / 11 / 15));

    QVERIFY(!stepped);
}

static const TestArea area("CivilDay", runTest<CivilDayTest>);
#include "CivilDayTest.moc"
