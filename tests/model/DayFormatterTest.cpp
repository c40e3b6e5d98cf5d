#include "model/DayFormatter.h"

#include "support/TestArea.h"
#include "support/Zones.h"

#include <QtTest>

#include <unicode/uloc.h>

#include <string>

using namespace std::chrono_literals;
using std::chrono::sys_days;

namespace {

const Moment noon = sys_days(2026y / 11 / 15) + 12h;

/// Why the span around the moment is wrong; empty when it is right.
std::string faultOfSpan(const DayFormatter& formatter, Moment moment)
{
    const auto span = formatter.span(moment);
    if (!span.contains(moment))
        return "does not contain its moment";
    if (span.end - span.begin > 24h)
        return "is longer than a day";
    if (span.key != formatter.key(moment))
        return "has another key than its moment";
    const auto last = span.end - 1ms;
    for (const auto inside :
        { span.begin, span.begin + (moment - span.begin) / 2, moment + (last - moment) / 2, last }) {
        if (formatter.key(inside) != span.key)
            return "holds a moment of another key";
    }
    if (formatter.span(last).begin != span.begin || formatter.span(span.begin).end != span.end)
        return "is another one when asked from its ends";
    return {};
}

} // namespace

class DayFormatterTest : public QObject {
    Q_OBJECT

private slots:
    void aKeyFollowsTheLocaleWithItsCalendarAndDigits_data();
    void aKeyFollowsTheLocaleWithItsCalendarAndDigits();
    void aKeyIsOfTheDayInTheZone();
    void aMomentBefore1970HasItsKeyAndSpan();
    void aSpanIsTheWholeDayWhenTheClockDoesNotChange();
    void aSpanEndsWhereTheClockChanges_data();
    void aSpanEndsWhereTheClockChanges();
    void aDayThatIsEnteredTwiceHasTwoSpansOfOneKey();
    void aDayThatTheZoneLeavesOutHasNoKey();
    void everySpanAroundEveryClockChangeIsRight();
    void everyKeyOfEveryLocaleComesBack();
    void aKeyThatTheFormatterCouldNotHaveMadeDoesNotParse_data();
    void aKeyThatTheFormatterCouldNotHaveMadeDoesNotParse();
    void aKeyParsesToTheDayThatBeginsThere_data();
    void aKeyParsesToTheDayThatBeginsThere();
};

void DayFormatterTest::aKeyFollowsTheLocaleWithItsCalendarAndDigits_data()
{
    QTest::addColumn<std::string>("locale");
    QTest::addColumn<std::string>("key");

    QTest::newRow("English") << std::string("en_US") << std::string("2026-11-15");
    QTest::newRow("German") << std::string("de_DE") << std::string("2026-11-15");
    QTest::newRow("Thai, Buddhist calendar") << std::string("th_TH") << std::string("2569-11-15");
    QTest::newRow("Egyptian, Arabic digits") << std::string("ar_EG") << std::string("٢٠٢٦-١١-١٥");
    QTest::newRow("Iranian, Persian calendar and digits")
        << std::string("fa_IR") << std::string("۱۴۰۵-۰۸-۲۴");
}

void DayFormatterTest::aKeyFollowsTheLocaleWithItsCalendarAndDigits()
{
    QFETCH(const std::string, locale);
    QFETCH(const std::string, key);
    setZone("UTC");
    const DayFormatter formatter(locale);

    const auto made = formatter.key(noon);

    QCOMPARE(made, key);
    QCOMPARE(formatter.key(civilDay(noon)), key);
}

void DayFormatterTest::aKeyIsOfTheDayInTheZone()
{
    const Moment lateInLondon = sys_days(2026y / 11 / 15) + 23h;
    const DayFormatter formatter("en_US");

    setZone("Europe/London");
    const auto inLondon = formatter.key(lateInLondon);
    setZone("Asia/Tokyo");
    const auto inTokyo = formatter.key(lateInLondon);

    QCOMPARE(inLondon, "2026-11-15");
    QCOMPARE(inTokyo, "2026-11-16");
}

void DayFormatterTest::aMomentBefore1970HasItsKeyAndSpan()
{
    setZone("Europe/Berlin");
    const DayFormatter formatter("en_US");
    const Moment moment = sys_days(1965y / 3 / 4) + 12h;

    const auto span = formatter.span(moment);

    QCOMPARE(span.key, "1965-03-04");
    QCOMPARE(span.begin, Moment(sys_days(1965y / 3 / 3) + 23h));
    QCOMPARE(span.end, Moment(sys_days(1965y / 3 / 4) + 23h));
}

void DayFormatterTest::aSpanIsTheWholeDayWhenTheClockDoesNotChange()
{
    setZone("Asia/Kolkata");
    const DayFormatter formatter("en_US");

    const auto span = formatter.span(noon);

    QCOMPARE(span.key, "2026-11-15");
    QCOMPARE(span.begin, Moment(sys_days(2026y / 11 / 14) + 18h + 30min));
    QCOMPARE(span.end, Moment(sys_days(2026y / 11 / 15) + 18h + 30min));
}

void DayFormatterTest::aSpanEndsWhereTheClockChanges_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<Moment>("moment");
    QTest::addColumn<Moment>("begin");
    QTest::addColumn<Moment>("end");

    const auto row = [](const char* name, const char* zone, Moment moment, Moment begin, Moment end) {
        QTest::newRow(name) << std::string(zone) << moment << begin << end;
    };
    row("Berlin, before two o'clock becomes three", "Europe/Berlin", sys_days(2026y / 3 / 29) + 0h,
        sys_days(2026y / 3 / 28) + 23h, sys_days(2026y / 3 / 29) + 1h);
    row("Berlin, after two o'clock became three", "Europe/Berlin", sys_days(2026y / 3 / 29) + 1h,
        sys_days(2026y / 3 / 29) + 1h, sys_days(2026y / 3 / 29) + 22h);
    row("Santiago, the day whose midnight is skipped", "America/Santiago", sys_days(2022y / 9 / 11) + 12h,
        sys_days(2022y / 9 / 11) + 4h, sys_days(2022y / 9 / 12) + 3h);
    row("Havana, the day whose first hour comes twice, after it", "America/Havana",
        sys_days(2022y / 11 / 6) + 12h, sys_days(2022y / 11 / 6) + 5h, sys_days(2022y / 11 / 7) + 5h);
    row("Azores, the hour before midnight comes back", "Atlantic/Azores",
        sys_days(2022y / 10 / 30) + 0h + 30min, sys_days(2022y / 10 / 30) + 0h,
        sys_days(2022y / 10 / 30) + 1h);
    row("St John's, the first minute of a day that is left again", "America/St_Johns",
        sys_days(2010y / 11 / 7) + 2h + 30min, sys_days(2010y / 11 / 7) + 2h + 30min,
        sys_days(2010y / 11 / 7) + 2h + 31min);
}

void DayFormatterTest::aSpanEndsWhereTheClockChanges()
{
    QFETCH(const std::string, zone);
    QFETCH(const Moment, moment);
    QFETCH(const Moment, begin);
    QFETCH(const Moment, end);
    setZone(zone);
    const DayFormatter formatter("en_US");

    const auto span = formatter.span(moment);

    QCOMPARE(span.begin, begin);
    QCOMPARE(span.end, end);
}

void DayFormatterTest::aDayThatIsEnteredTwiceHasTwoSpansOfOneKey()
{
    // At one minute past midnight the clock goes back by an hour, into the day before.
    setZone("America/St_Johns");
    const DayFormatter formatter("en_US");

    const auto firstMinute = formatter.span(sys_days(2010y / 11 / 7) + 2h + 30min);
    const auto dayBefore = formatter.span(firstMinute.end);
    const auto rest = formatter.span(dayBefore.end);

    QCOMPARE(firstMinute.key, "2010-11-07");
    QCOMPARE(dayBefore.key, "2010-11-06");
    QCOMPARE(dayBefore.end - dayBefore.begin, 59min);
    QCOMPARE(rest.key, "2010-11-07");
    QCOMPARE(rest.end - rest.begin, 24h);
}

void DayFormatterTest::aDayThatTheZoneLeavesOutHasNoKey()
{
    setZone("Pacific/Apia");
    const DayFormatter formatter("en_US");

    const auto before = formatter.span(sys_days(2011y / 12 / 30) + 9h);
    const auto after = formatter.span(before.end);

    QCOMPARE(before.key, "2011-12-29");
    QCOMPARE(after.key, "2011-12-31");
}

void DayFormatterTest::everySpanAroundEveryClockChangeIsRight()
{
    const DayFormatter formatter("en_US");
    for (const auto& zone : zones()) {
        setZone(zone);
        for (const auto change : clockChanges()) {
            for (const auto moment : { change - 25h, change - 1ms, change, change + 25h }) {
                const auto fault = faultOfSpan(formatter, moment);

                const auto at = std::to_string(moment.time_since_epoch().count());
                QVERIFY2(fault.empty(),
                    std::string(zone).append(", span of ").append(at).append(" ").append(fault).c_str());
            }
            QVERIFY(formatter.span(change - 1ms).end <= change);
            QVERIFY(formatter.span(change).begin >= change);
        }
    }
}

void DayFormatterTest::everyKeyOfEveryLocaleComesBack()
{
    setZone("Europe/Berlin");
    for (int i = 0; i < uloc_countAvailable(); ++i) {
        const auto* locale = uloc_getAvailable(i);
        const DayFormatter formatter(locale);
        const auto span = formatter.span(noon);

        const auto day = formatter.parse(span.key);

        QVERIFY2(day, locale);
        QVERIFY(*day == civilDay(noon));
    }
}

void DayFormatterTest::aKeyThatTheFormatterCouldNotHaveMadeDoesNotParse_data()
{
    QTest::addColumn<std::string>("key");

    QTest::newRow("nothing") << std::string();
    QTest::newRow("a word") << std::string("today");
    QTest::newRow("a month and a day that do not exist") << std::string("2024-13-45");
    QTest::newRow("the 30th of February") << std::string("2024-02-30");
    QTest::newRow("a day zero") << std::string("2024-02-00");
    QTest::newRow("no leading zeros") << std::string("2026-1-5");
    QTest::newRow("no day") << std::string("2026-11");
    QTest::newRow("no hyphens") << std::string("20261115");
    QTest::newRow("slashes") << std::string("2026/11/15");
    QTest::newRow("a sign") << std::string("+2026-11-15");
    QTest::newRow("a blank in front") << std::string(" 2026-11-15");
    QTest::newRow("a blank behind") << std::string("2026-11-15 ");
    QTest::newRow("a tail") << std::string("2026-11-15T00:00");
    QTest::newRow("a NUL behind") << std::string("2026-11-15\0", 11);
    QTest::newRow("a third digit") << std::string("2026-11-155");
    QTest::newRow("digits of another locale") << std::string("٢٠٢٦-١١-١٥");
    QTest::newRow("bytes that are no text") << std::string("\xff\xfe");
}

void DayFormatterTest::aKeyThatTheFormatterCouldNotHaveMadeDoesNotParse()
{
    QFETCH(const std::string, key);
    setZone("Europe/Berlin");
    const DayFormatter formatter("en_US");

    const auto day = formatter.parse(key);

    QVERIFY(!day);
}

void DayFormatterTest::aKeyParsesToTheDayThatBeginsThere_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<std::string>("key");
    QTest::addColumn<Moment>("begin");

    const auto row = [](const char* zone, const char* key, Moment begin) {
        QTest::newRow(zone) << std::string(zone) << std::string(key) << begin;
    };
    row("Europe/Berlin", "2024-02-29", sys_days(2024y / 2 / 28) + 23h);
    // Midnight is skipped: the day begins at one o'clock.
    row("America/Santiago", "2022-09-11", sys_days(2022y / 9 / 11) + 4h);
    row("America/Havana", "2022-03-13", sys_days(2022y / 3 / 13) + 5h);
    row("Africa/Cairo", "2014-05-16", sys_days(2014y / 5 / 15) + 22h);
    row("Asia/Beirut", "2022-03-27", sys_days(2022y / 3 / 26) + 22h);
    row("Atlantic/Azores", "2022-03-27", sys_days(2022y / 3 / 27) + 1h);
    // Midnight comes twice: the day begins with the first.
    row("America/St_Johns", "2010-11-07", sys_days(2010y / 11 / 7) + 2h + 30min);
    // The clock goes back at the moment that would have been midnight.
    row("America/Sao_Paulo", "2018-02-18", sys_days(2018y / 2 / 18) + 3h);
}

void DayFormatterTest::aKeyParsesToTheDayThatBeginsThere()
{
    QFETCH(const std::string, zone);
    QFETCH(const std::string, key);
    QFETCH(const Moment, begin);
    setZone(zone);
    const DayFormatter formatter("en_US");

    const auto parsed = formatter.parse(key);

    QVERIFY(parsed);
    QVERIFY(*parsed == civilDay(begin));
    QCOMPARE(formatter.key(*parsed), key);
    QCOMPARE(formatter.key(begin), key);
    QVERIFY(formatter.key(begin - 1ms) < key);
}

static const TestArea area("DayFormatter", runTest<DayFormatterTest>);
#include "DayFormatterTest.moc"
