#include "model/StatsStore.h"

#include "model/DayFormatter.h"
#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/HandMovedClock.h"
#include "support/OneFolder.h"
#include "support/TestArea.h"

#include <QtTest>

#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::sys_days;

namespace fs = std::filesystem;

namespace {

const Moment noon = sys_days(2026y / 11 / 15) + 12h;
const std::string today = "2026-11-15";

constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();

std::vector<std::string> keysOf(const std::vector<StatsStore::Day>& days)
{
    std::vector<std::string> keys;
    keys.reserve(days.size());
    for (const auto& day : days)
        keys.push_back(day.day);
    return keys;
}

} // namespace

class StatsStoreTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void aNewStoreMakesItsFolderAndNoFile();
    void withoutAnApplicationDataFolderTheProcessEnds();
    void aStoreContinuesFromItsFile();
    void aMissingFileGivesAnEmptyTable();
    void anUnreadableFileGivesAnEmptyTableAndStaysAsItIs_data();
    void anUnreadableFileGivesAnEmptyTableAndStaysAsItIs();
    void aFileThatMayNotBeReadGivesAnEmptyTable();
    void aCorruptFileThenOneKeyPressAndASaveLeaveOnlyThatKeyPress();
    void aFolderThatCannotBeMadeLeavesTheCountsInMemory();
    void whatAppearsInTheFileLaterIsNotRead();

    void aDayBeginsAtZero();
    void countsOfADayAddUp();
    void countsOfTwoDaysStayApart();
    void askingForADayMakesNoRecord();
    void aSumThatOverflowsEndsTheProcess_data();
    void aSumThatOverflowsEndsTheProcess();
    void theGreatestSumThatFitsIsKept();

    void nothingIsWrittenBeforeASave();
    void aSaveWritesEveryDay();
    void aSaveWithoutACountWritesNothing();
    void savingTwiceWithoutACountBetweenWritesOnce();
    void aCountOfZeroIsSavedToo();
    void aFailedSaveKeepsTheOldFileAndWaitsForTheNextCount();
    void everySaveReadsBack();

    void theLastSevenDaysOfAStoreWithOnlyTodayEndWithToday();
    void theLastDaysRunFromTheOldestToToday();
    void theLastZeroDaysAreNone();
    void theLastOneDayIsToday();
    void aNegativeNumberOfDaysEndsTheProcess_data();
    void aNegativeNumberOfDaysEndsTheProcess();
    void theClockIsReadAnewForEachDay();
    void eachDateIsTheMomentThatItsKeyWasMadeFrom();
    void theLastDaysAreAskedAfreshEachTime();

    void anEmptyTableHasNoBestDay();
    void theOnlyDayIsTheBestHoweverSmall_data();
    void theOnlyDayIsTheBestHoweverSmall();
    void theDayOfTheGreatestTotalIsTheBest();
    void ofEqualTotalsEitherDayIsTheBest();
    void aTotalThatOverflowsEndsTheProcess();
    void allTimeSumsKeysAndClicksApart();
    void allTimeOfAnEmptyTableIsZero();
    void anAllTimeSumThatOverflowsEndsTheProcess_data();
    void anAllTimeSumThatOverflowsEndsTheProcess();

    void everybodySharesOneDayFormatter();

private:
    StatsStore store() const { return StatsStore(OneFolder(folder), clock); }
    /// What a process that starts now would find.
    DayCount savedCount(const std::string& day) const { return store().count(day); }
    void putStatsFile(const std::string& text) const;

    std::unique_ptr<QTemporaryDir> temporary;
    fs::path folder;
    fs::path file;
    HandMovedClock clock { noon };
};

void StatsStoreTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C");
}

void StatsStoreTest::init()
{
    temporary = std::make_unique<QTemporaryDir>();
    QVERIFY(temporary->isValid());
    folder = temporary->path().toStdString();
    file = folder / "Knucklet" / "stats.json";
    clock.moment = noon;
    clock.stepPerReading = 0ms;
    clock.timesRead = 0;
}

void StatsStoreTest::cleanup() { temporary.reset(); }

void StatsStoreTest::putStatsFile(const std::string& text) const
{
    fs::create_directories(file.parent_path());
    put(file, text);
}

void StatsStoreTest::aNewStoreMakesItsFolderAndNoFile()
{
    const OneFolder deepFolder(folder / "not" / "there" / "yet");

    const StatsStore store(deepFolder, clock);

    const auto made = folder / "not" / "there" / "yet" / "Knucklet";
    QVERIFY(fs::is_directory(made));
    QVERIFY(fs::is_empty(made));
}

void StatsStoreTest::withoutAnApplicationDataFolderTheProcessEnds()
{
    const auto end = inChild([this] {
        const StatsStore store(OneFolder({}), clock);
        return "went on";
    });

    QCOMPARE(end.signal, SIGABRT);
}

void StatsStoreTest::aStoreContinuesFromItsFile()
{
    putStatsFile(R"({"2026-11-15":{"keys":10,"clicks":20}})");

    auto store = this->store();
    store.add(1, 0, today);

    QCOMPARE(store.count(today), (DayCount { 11, 20 }));
}

void StatsStoreTest::aMissingFileGivesAnEmptyTable()
{
    const auto store = this->store();

    QVERIFY(!store.bestDay());
    QCOMPARE(store.allTime(), DayCount {});
}

void StatsStoreTest::anUnreadableFileGivesAnEmptyTableAndStaysAsItIs_data()
{
    QTest::addColumn<std::string>("text");

    QTest::newRow("an empty file") << std::string();
    QTest::newRow("no JSON") << std::string("keys=1");
    QTest::newRow("a torn file") << std::string(R"({"2026-11-15":{"keys":1234,"cl)");
    QTest::newRow("a day without clicks") << std::string(R"({"a":{"keys":1,"clicks":2},"b":{"keys":3}})");
}

void StatsStoreTest::anUnreadableFileGivesAnEmptyTableAndStaysAsItIs()
{
    QFETCH(const std::string, text);
    putStatsFile(text);

    auto store = this->store();
    store.saveIfDirty();

    QVERIFY(!store.bestDay());
    QCOMPARE(contentOf(file), text);
    QCOMPARE(namesIn(file.parent_path()), std::set<std::string> { "stats.json" });
}

void StatsStoreTest::aFileThatMayNotBeReadGivesAnEmptyTable()
{
    putStatsFile(R"({"2026-11-15":{"keys":10,"clicks":20}})");
    giveToOrdinaryUser(folder);
    QCOMPARE(chmod(file.c_str(), 0), 0);

    const auto end = inChild([this] { return store().bestDay() ? "read" : "empty"; }, RunAs::OrdinaryUser);

    QCOMPARE(end.answer, "empty");
}

void StatsStoreTest::aCorruptFileThenOneKeyPressAndASaveLeaveOnlyThatKeyPress()
{
    putStatsFile(R"({"2026-11-14":{"keys":5120,"clicks":830},"2026-11-15":{"keys":12)");
    auto store = this->store();

    store.add(1, 0, today);
    store.saveIfDirty();

    QCOMPARE(contentOf(file), R"({"2026-11-15":{"keys":1,"clicks":0}})");
    QCOMPARE(namesIn(file.parent_path()), std::set<std::string> { "stats.json" });
}

void StatsStoreTest::aFolderThatCannotBeMadeLeavesTheCountsInMemory()
{
    put(folder / "Knucklet", "a file in the folder's place");
    auto store = this->store();

    store.add(1, 2, today);
    store.saveIfDirty();

    QCOMPARE(store.count(today), (DayCount { 1, 2 }));
    QCOMPARE(contentOf(folder / "Knucklet"), "a file in the folder's place");
}

void StatsStoreTest::whatAppearsInTheFileLaterIsNotRead()
{
    auto store = this->store();
    putStatsFile(R"({"2026-11-15":{"keys":10,"clicks":20}})");

    store.add(1, 0, today);
    store.saveIfDirty();

    QCOMPARE(contentOf(file), R"({"2026-11-15":{"keys":1,"clicks":0}})");
}

void StatsStoreTest::aDayBeginsAtZero()
{
    auto store = this->store();

    store.add(0, 1, today);

    QCOMPARE(store.count(today), (DayCount { 0, 1 }));
}

void StatsStoreTest::countsOfADayAddUp()
{
    auto store = this->store();

    store.add(1, 0, today);
    store.add(0, 1, today);
    store.add(40, 2, today);

    QCOMPARE(store.count(today), (DayCount { 41, 3 }));
}

void StatsStoreTest::countsOfTwoDaysStayApart()
{
    auto store = this->store();

    store.add(1, 0, "2026-11-14");
    store.add(0, 1, today);

    QCOMPARE(store.count("2026-11-14"), (DayCount { 1, 0 }));
    QCOMPARE(store.count(today), (DayCount { 0, 1 }));
}

void StatsStoreTest::askingForADayMakesNoRecord()
{
    auto store = this->store();

    const auto count = store.count(today);
    store.saveIfDirty();

    QCOMPARE(count, DayCount {});
    QVERIFY(!store.bestDay());
    QVERIFY(!fs::exists(file));
}

void StatsStoreTest::aSumThatOverflowsEndsTheProcess_data()
{
    QTest::addColumn<std::int64_t>("first");
    QTest::addColumn<std::int64_t>("second");

    QTest::newRow("upwards") << greatest << std::int64_t { 1 };
    QTest::newRow("downwards") << least << std::int64_t { -1 };
}

void StatsStoreTest::aSumThatOverflowsEndsTheProcess()
{
    QFETCH(const std::int64_t, first);
    QFETCH(const std::int64_t, second);
    auto store = this->store();
    store.add(first, first, today);

    const auto endOfKeys = inChild([&store, second] {
        store.add(second, 0, today);
        return "went on";
    });
    const auto endOfClicks = inChild([&store, second] {
        store.add(0, second, today);
        return "went on";
    });

    QCOMPARE(endOfKeys.signal, SIGABRT);
    QCOMPARE(endOfClicks.signal, SIGABRT);
}

void StatsStoreTest::theGreatestSumThatFitsIsKept()
{
    auto store = this->store();

    store.add(greatest - 1, least + 1, today);
    store.add(1, -1, today);
    store.saveIfDirty();

    QCOMPARE(store.count(today), (DayCount { greatest, least }));
    QCOMPARE(savedCount(today), (DayCount { greatest, least }));
}

void StatsStoreTest::nothingIsWrittenBeforeASave()
{
    auto store = this->store();

    store.add(1, 0, today);

    QVERIFY(!fs::exists(file));
}

void StatsStoreTest::aSaveWritesEveryDay()
{
    putStatsFile(R"({"2026-11-14":{"keys":5120,"clicks":830}})");
    auto store = this->store();

    store.add(1, 2, today);
    store.saveIfDirty();

    QCOMPARE(savedCount("2026-11-14"), (DayCount { 5120, 830 }));
    QCOMPARE(savedCount(today), (DayCount { 1, 2 }));
}

void StatsStoreTest::aSaveWithoutACountWritesNothing()
{
    auto store = this->store();

    store.saveIfDirty();

    QVERIFY(!fs::exists(file));
}

void StatsStoreTest::savingTwiceWithoutACountBetweenWritesOnce()
{
    auto store = this->store();
    store.add(1, 0, today);
    store.saveIfDirty();
    QVERIFY(fs::remove(file));

    store.saveIfDirty();

    QVERIFY(!fs::exists(file));
}

void StatsStoreTest::aCountOfZeroIsSavedToo()
{
    auto store = this->store();

    store.add(0, 0, today);
    store.saveIfDirty();

    QCOMPARE(contentOf(file), R"({"2026-11-15":{"keys":0,"clicks":0}})");
}

void StatsStoreTest::aFailedSaveKeepsTheOldFileAndWaitsForTheNextCount()
{
    const std::string old = R"({"2026-11-15":{"keys":1,"clicks":0}})";
    putStatsFile(old);
    giveToOrdinaryUser(folder);
    giveToOrdinaryUser(file.parent_path());
    giveToOrdinaryUser(file);

    const auto end = inChild(
        [this] {
            auto store = this->store();
            store.add(1, 0, today);
            chmod(file.parent_path().c_str(), 0500);
            store.saveIfDirty();
            auto contents = contentOf(file) + '\n';
            chmod(file.parent_path().c_str(), 0700);
            store.saveIfDirty();
            contents += contentOf(file) + '\n';
            store.add(0, 1, today);
            store.saveIfDirty();
            return contents + contentOf(file);
        },
        RunAs::OrdinaryUser);

    QCOMPARE(end.answer, old + '\n' + old + '\n' + R"({"2026-11-15":{"keys":2,"clicks":1}})");
}

void StatsStoreTest::everySaveReadsBack()
{
    auto store = this->store();

    for (int i = 0; i < 100; ++i) {
        store.add(1, 2, "2026-11-" + std::to_string(i % 30));
        store.saveIfDirty();

        QCOMPARE(this->store().allTime(), store.allTime());
    }
}

void StatsStoreTest::theLastSevenDaysOfAStoreWithOnlyTodayEndWithToday()
{
    auto store = this->store();
    store.add(3, 4, today);

    const auto days = store.lastDays(7);

    QCOMPARE(days.size(), std::size_t { 7 });
    for (std::size_t i = 0; i < 6; ++i)
        QCOMPARE(days[i].count, DayCount {});
    QCOMPARE(days[6].day, today);
    QCOMPARE(days[6].count, (DayCount { 3, 4 }));
}

void StatsStoreTest::theLastDaysRunFromTheOldestToToday()
{
    clock.moment = sys_days(2024y / 3 / 2) + 12h;
    auto store = this->store();
    store.add(29, 2, "2024-02-29");

    const auto days = store.lastDays(4);

    QCOMPARE(
        keysOf(days), (std::vector<std::string> { "2024-02-28", "2024-02-29", "2024-03-01", "2024-03-02" }));
    QCOMPARE(days[1].count, (DayCount { 29, 2 }));
}

void StatsStoreTest::theLastZeroDaysAreNone() { QVERIFY(store().lastDays(0).empty()); }

void StatsStoreTest::theLastOneDayIsToday()
{
    const auto days = store().lastDays(1);

    QCOMPARE(keysOf(days), std::vector<std::string> { today });
    QCOMPARE(days[0].date, noon);
}

void StatsStoreTest::aNegativeNumberOfDaysEndsTheProcess_data()
{
    QTest::addColumn<std::int64_t>("n");

    QTest::newRow("one") << std::int64_t { -1 };
    QTest::newRow("the most") << least;
}

void StatsStoreTest::aNegativeNumberOfDaysEndsTheProcess()
{
    QFETCH(const std::int64_t, n);
    const auto store = this->store();

    const auto end = inChild([&store, n] { return std::to_string(store.lastDays(n).size()); });

    QCOMPARE(end.signal, SIGABRT);
}

void StatsStoreTest::theClockIsReadAnewForEachDay()
{
    // Three seconds to midnight, and two more pass between any two days.
    clock.moment = sys_days(2026y / 11 / 16) - 3s;
    clock.stepPerReading = 2s;
    const auto store = this->store();

    const auto days = store.lastDays(3);

    QCOMPARE(clock.timesRead, 3);
    QCOMPARE(keysOf(days), (std::vector<std::string> { "2026-11-13", "2026-11-14", "2026-11-16" }));
    QCOMPARE(days[2].date, Moment(sys_days(2026y / 11 / 16) + 1s));
}

void StatsStoreTest::eachDateIsTheMomentThatItsKeyWasMadeFrom()
{
    const auto days = store().lastDays(400);

    QCOMPARE(days.size(), std::size_t { 400 });
    for (std::size_t i = 0; i < days.size(); ++i) {
        QCOMPARE(days[i].date, noon - std::chrono::days(399 - i));
        QCOMPARE(days[i].day, StatsStore::dayFormatter().key(days[i].date));
    }
}

void StatsStoreTest::theLastDaysAreAskedAfreshEachTime()
{
    auto store = this->store();
    const auto before = store.lastDays(1);

    store.add(1, 0, today);
    const auto counted = store.lastDays(1);
    clock.moment += 24h;
    const auto tomorrow = store.lastDays(2);

    QCOMPARE(before[0].count, DayCount {});
    QCOMPARE(counted[0].count, (DayCount { 1, 0 }));
    QCOMPARE(keysOf(tomorrow), (std::vector<std::string> { today, "2026-11-16" }));
}

void StatsStoreTest::anEmptyTableHasNoBestDay() { QVERIFY(!store().bestDay()); }

void StatsStoreTest::theOnlyDayIsTheBestHoweverSmall_data()
{
    QTest::addColumn<std::int64_t>("keys");

    QTest::newRow("one key") << std::int64_t { 1 };
    QTest::newRow("nothing") << std::int64_t { 0 };
    QTest::newRow("less than nothing") << std::int64_t { -7 };
}

void StatsStoreTest::theOnlyDayIsTheBestHoweverSmall()
{
    QFETCH(const std::int64_t, keys);
    auto store = this->store();
    store.add(keys, 0, today);

    const auto best = store.bestDay();

    QCOMPARE(best, (StatsStore::BestDay { today, { keys, 0 } }));
}

void StatsStoreTest::theDayOfTheGreatestTotalIsTheBest()
{
    auto store = this->store();
    store.add(99, 0, "most keys");
    store.add(0, 98, "most clicks");
    store.add(60, 40, "best");
    store.add(-1, 1, "nothing");

    const auto best = store.bestDay();

    QCOMPARE(best, (StatsStore::BestDay { "best", { 60, 40 } }));
}

void StatsStoreTest::ofEqualTotalsEitherDayIsTheBest()
{
    auto store = this->store();
    store.add(60, 40, "mixed");
    store.add(100, 0, "keys only");
    store.add(99, 0, "smaller");

    const auto best = store.bestDay();

    QVERIFY(best == (StatsStore::BestDay { "mixed", { 60, 40 } })
        || best == (StatsStore::BestDay { "keys only", { 100, 0 } }));
    QCOMPARE(store.bestDay(), best);
}

void StatsStoreTest::aTotalThatOverflowsEndsTheProcess()
{
    auto store = this->store();
    store.add(greatest, 1, "2026-11-14");
    store.add(1, 0, today);

    const auto end = inChild([&store] { return store.bestDay()->day; });

    QCOMPARE(end.signal, SIGABRT);
}

void StatsStoreTest::allTimeSumsKeysAndClicksApart()
{
    auto store = this->store();
    store.add(3, 1, "2026-11-14");
    store.add(2, 5, today);

    const auto allTime = store.allTime();

    QCOMPARE(allTime, (DayCount { 5, 6 }));
}

void StatsStoreTest::allTimeOfAnEmptyTableIsZero() { QCOMPARE(store().allTime(), DayCount {}); }

void StatsStoreTest::anAllTimeSumThatOverflowsEndsTheProcess_data()
{
    QTest::addColumn<std::int64_t>("keys");
    QTest::addColumn<std::int64_t>("clicks");

    QTest::newRow("keys") << greatest << std::int64_t { 0 };
    QTest::newRow("clicks") << std::int64_t { 0 } << greatest;
}

void StatsStoreTest::anAllTimeSumThatOverflowsEndsTheProcess()
{
    QFETCH(const std::int64_t, keys);
    QFETCH(const std::int64_t, clicks);
    auto store = this->store();
    store.add(keys, clicks, "2026-11-14");
    store.add(1, 1, today);

    const auto end = inChild([&store] { return std::to_string(store.allTime().keys); });

    QCOMPARE(end.signal, SIGABRT);
}

void StatsStoreTest::everybodySharesOneDayFormatter()
{
    QCOMPARE(&StatsStore::dayFormatter(), &StatsStore::dayFormatter());
    QCOMPARE(StatsStore::dayFormatter().key(noon), today);
}

static const TestArea area("StatsStore", runTest<StatsStoreTest>);
#include "StatsStoreTest.moc"
