#include "model/DayFormatter.h"
#include "model/StatsStore.h"
#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/HandMovedClock.h"
#include "support/OneFolder.h"
#include "support/TestArea.h"
#include "support/Zones.h"

#include <QtTest>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

using namespace std::chrono_literals;
using std::chrono::sys_days;

namespace {

const Moment noon = sys_days(2026y / 11 / 15) + 12h;

/// What the function answers in a process that starts with this locale and zone. The day formatter lives as
/// long as its process, so the test's own process never uses it.
std::string answerIn(
    const std::string& locale, const std::string& zone, const std::function<std::string()>& function)
{
    return inChild([&] {
        setenv("LC_ALL", locale.c_str(), 1);
        changeZone(zone);
        return function();
    }).answer;
}

std::string joined(const std::vector<StatsStore::Day>& days)
{
    std::string keys;
    for (const auto& day : days)
        keys += day.day + ' ';
    return keys;
}

} // namespace

class StatsStoreLocaleTest : public QObject {
    Q_OBJECT

private slots:
    void dayKeysFollowTheUsersLocale_data();
    void dayKeysFollowTheUsersLocale();
    void aFileOfAnyLocalesDayKeysReadsBack_data();
    void aFileOfAnyLocalesDayKeysReadsBack();
    void dayKeysKeepTheLocaleOfTheirFirstUseAndFollowTheZone();
    void theLastDaysAreSteppedInTheZoneOfTheMoment();
    void theLastDaysAreStepsOfADayInAnyCalendar_data();
    void theLastDaysAreStepsOfADayInAnyCalendar();
    void theLastDaysMissNoDayAndRepeatNone_data();
    void theLastDaysMissNoDayAndRepeatNone();
};

void StatsStoreLocaleTest::dayKeysFollowTheUsersLocale_data()
{
    QTest::addColumn<std::string>("key");

    QTest::newRow("th_TH.UTF-8") << std::string("2569-11-15");
    QTest::newRow("ar_EG.UTF-8") << std::string("٢٠٢٦-١١-١٥");
    QTest::newRow("fa_IR.UTF-8") << std::string("۱۴۰۵-۰۸-۲۴");
    QTest::newRow("de_DE.UTF-8") << std::string("2026-11-15");
    QTest::newRow("en_US.UTF-8") << std::string("2026-11-15");
    QTest::newRow("C") << std::string("2026-11-15");
}

void StatsStoreLocaleTest::dayKeysFollowTheUsersLocale()
{
    QFETCH(const std::string, key);

    const auto made
        = answerIn(QTest::currentDataTag(), "UTC", [] { return StatsStore::dayFormatter().key(noon); });

    QCOMPARE(made, key);
}

void StatsStoreLocaleTest::aFileOfAnyLocalesDayKeysReadsBack_data() { dayKeysFollowTheUsersLocale_data(); }

void StatsStoreLocaleTest::aFileOfAnyLocalesDayKeysReadsBack()
{
    QFETCH(const std::string, key);
    const QTemporaryDir temporary;
    const OneFolder folder(temporary.path().toStdString());
    const HandMovedClock clock(noon);

    answerIn(QTest::currentDataTag(), "UTC", [&] {
        StatsStore store(folder, clock);
        store.add(1, 2, StatsStore::dayFormatter().key(noon));
        store.saveIfDirty();
        return "";
    });
    const auto keys = answerIn(QTest::currentDataTag(), "UTC",
        [&] { return std::to_string(StatsStore(folder, clock).lastDays(7).back().count.keys); });

    QCOMPARE(keys, "1");
    QCOMPARE(
        contentOf(*folder.folder / "Knucklet" / "stats.json"), "{\"" + key + R"(":{"keys":1,"clicks":2}})");
}

void StatsStoreLocaleTest::dayKeysKeepTheLocaleOfTheirFirstUseAndFollowTheZone()
{
    const Moment lateInLondon = sys_days(2026y / 11 / 15) + 23h;

    const auto keys = answerIn("de_DE", "Europe/London", [&] {
        const auto before = StatsStore::dayFormatter().key(lateInLondon);
        setenv("LC_ALL", "th_TH", 1);
        changeZone("Asia/Tokyo");
        return before + ' ' + StatsStore::dayFormatter().key(lateInLondon);
    });

    QCOMPARE(keys, "2026-11-15 2026-11-16");
}

void StatsStoreLocaleTest::theLastDaysAreSteppedInTheZoneOfTheMoment()
{
    // In the night before, the clocks of Berlin went back by an hour, so that the day was one of 25 hours
    // there.
    const HandMovedClock clock(sys_days(2026y / 10 / 25) + 12h);
    const QTemporaryDir temporary;
    const OneFolder folder(temporary.path().toStdString());

    const auto hours = answerIn("de_DE", "UTC", [&] {
        const StatsStore store(folder, clock);
        const auto hoursBack = [&] {
            const auto days = store.lastDays(2);
            return std::to_string((days[1].date - days[0].date) / 1h);
        };
        const auto inUtc = hoursBack();
        changeZone("Europe/Berlin");
        const auto inBerlin = hoursBack();
        changeZone("Asia/Tokyo");
        return inUtc + ' ' + inBerlin + ' ' + hoursBack();
    });

    QCOMPARE(hours, "24 25 24");
}

void StatsStoreLocaleTest::theLastDaysAreStepsOfADayInAnyCalendar_data()
{
    QTest::addColumn<std::string>("locale");

    for (const auto* locale : { "en_US", "de_DE", "th_TH", "ar_EG", "ar_SA", "fa_IR", "C" })
        QTest::newRow(locale) << std::string(locale);
}

void StatsStoreLocaleTest::theLastDaysAreStepsOfADayInAnyCalendar()
{
    QFETCH(const std::string, locale);
    const HandMovedClock clock(noon);
    const QTemporaryDir temporary;
    const OneFolder folder(temporary.path().toStdString());

    const auto daysBack = answerIn(locale, "UTC", [&] {
        const auto oldest = StatsStore(folder, clock).lastDays(401).front().date;
        return std::to_string((noon - oldest) / std::chrono::days(1));
    });

    QCOMPARE(daysBack, "400");
}

void StatsStoreLocaleTest::theLastDaysMissNoDayAndRepeatNone_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<Moment>("now");
    QTest::addColumn<std::string>("keys");

    const auto row = [](const char* name, const char* zone, Moment now, const char* keys) {
        QTest::newRow(name) << std::string(zone) << now << std::string(keys);
    };
    row("Santiago, half past a midnight that was skipped", "America/Santiago",
        sys_days(2022y / 9 / 13) + 3h + 30min, "2022-09-10 2022-09-11 2022-09-12 2022-09-13 ");
    row("Havana, half past a midnight that was skipped", "America/Havana",
        sys_days(2022y / 3 / 15) + 4h + 30min, "2022-03-12 2022-03-13 2022-03-14 2022-03-15 ");
    row("Cairo, half past a midnight that was skipped", "Africa/Cairo",
        sys_days(2014y / 5 / 16) + 21h + 30min, "2014-05-14 2014-05-15 2014-05-16 2014-05-17 ");
    row("Beirut, half past a midnight that was skipped", "Asia/Beirut",
        sys_days(2022y / 3 / 28) + 21h + 30min, "2022-03-26 2022-03-27 2022-03-28 2022-03-29 ");
    row("Azores, half past a midnight that was skipped", "Atlantic/Azores",
        sys_days(2022y / 3 / 29) + 0h + 30min, "2022-03-26 2022-03-27 2022-03-28 2022-03-29 ");
    row("St John's, in the minute after midnight that comes twice", "America/St_Johns",
        sys_days(2010y / 11 / 7) + 2h + 30min + 30s, "2010-11-04 2010-11-05 2010-11-06 2010-11-07 ");
    row("St John's, in the evening hour that comes twice", "America/St_Johns",
        sys_days(2010y / 11 / 7) + 2h + 45min, "2010-11-03 2010-11-04 2010-11-05 2010-11-06 ");
    row("Dhaka, in an evening hour that was skipped", "Asia/Dhaka", sys_days(2009y / 6 / 21) + 16h + 30min,
        "2009-06-18 2009-06-19 2009-06-20 2009-06-21 ");
    row("Berlin, in the night the clocks went forward", "Europe/Berlin",
        sys_days(2026y / 3 / 29) + 22h + 30min, "2026-03-27 2026-03-28 2026-03-29 2026-03-30 ");
    row("Apia, after the day that never was", "Pacific/Apia", sys_days(2012y / 1 / 1) + 0h,
        "2011-12-28 2011-12-29 2011-12-31 2012-01-01 ");
}

void StatsStoreLocaleTest::theLastDaysMissNoDayAndRepeatNone()
{
    QFETCH(const std::string, zone);
    QFETCH(const Moment, now);
    QFETCH(const std::string, keys);
    const HandMovedClock clock(now);
    const QTemporaryDir temporary;
    const OneFolder folder(temporary.path().toStdString());

    const auto made = answerIn("en_US", zone, [&] { return joined(StatsStore(folder, clock).lastDays(4)); });

    QCOMPARE(made, keys);
}

static const TestArea area("StatsStoreLocale", runTest<StatsStoreLocaleTest>);
#include "StatsStoreLocaleTest.moc"
