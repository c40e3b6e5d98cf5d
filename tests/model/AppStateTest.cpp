#include "model/AppState.h"

#include "support/FakeProgram.h"
#include "support/ForkedChild.h"
#include "support/TestArea.h"
#include "support/Zones.h"

#include <QScopeGuard>
#include <QTest>

#include <chrono>
#include <csignal>
#include <ctime>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::sys_days;

namespace {

using Calls = std::vector<std::string>;

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

std::string fileWith(const std::string& day, std::int64_t keys, std::int64_t clicks)
{
    return "{\"" + day + "\":{\"keys\":" + std::to_string(keys) + ",\"clicks\":" + std::to_string(clicks)
        + "}}";
}

std::pair<std::int64_t, std::int64_t> counters(const AppState& state)
{
    return { state.todayKeys, state.todayClicks };
}

std::pair<std::int64_t, std::int64_t> counts(std::int64_t keys, std::int64_t clicks)
{
    return { keys, clicks };
}

bool endsThroughFatal(const std::function<void()>& action)
{
    const auto end = inChild([&] {
        action();
        return std::string("came to its end");
    });
    return end.signal == SIGABRT;
}

/// The calls of the program since the last look, without those that read the clock.
Calls takeCalls(FakePlatform& platform)
{
    auto calls = std::exchange(platform.calls, {});
    std::erase(calls, "read clock");
    return calls;
}

}

class AppStateTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void startUpTakesItsStepsInOrderWhenThePermissionIsMissing();
    void startUpTakesItsStepsInOrderWhenThePermissionIsGranted();
    void startUpTakesItsStepsInOrderWhenTheTapIsRefused();
    void theFirstRunEverStartsAtZeroAndOpensTheAssistant();
    void theAssistantOpensOnlyAfterStartUpHasReturned();
    void aFinishedAssistantNeverOpensByItself();
    void aSecondRunOnTheSameDayContinuesItsCounters();
    void countersOfAnotherDayAreNotContinued();
    void anUnreadableFileStartsAtZero();
    void withoutAnApplicationDataFolderTheProcessEnds();
    void launchAtLoginIsTrueOnlyWhenTheSystemSaysEnabled_data();
    void launchAtLoginIsTrueOnlyWhenTheSystemSaysEnabled();
    void settingsAreReadAtStartUpAndNotWrittenBack();

    void assigningShowCountsStoresThenNotifiesThenWrites();
    void assigningTheSameValueNotifiesAndWritesAgain();
    void everyCountNotifiesOnce();
    void anObserverThatIsGoneIsNotCalled();

    void launchAtLoginRegistersAndUnregisters();
    void aRefusedLoginItemSnapsBackToTheSystemsStatus_data();
    void aRefusedLoginItemSnapsBackToTheSystemsStatus();
    void aLoginItemRefusedBothWaysIsAskedForTwiceAtMost_data();
    void aLoginItemRefusedBothWaysIsAskedForTwiceAtMost();
    void aLaterChoiceIsTriedAgainAfterARefusal();
    void finishingTheAssistantIsWrittenOnceAndClosesEachTime();
    void aRelaunchSavesThenStartsThenQuits();
    void aRelaunchQuitsOnlyAfterTheSystemHasAnswered();

    void withThePermissionThereIsNoPollAndNoMonitor();
    void withoutThePermissionTheTapIsNotTried();
    void theTapCountsKeysAndClicks();
    void holdingAKeyCountsOnce();
    void aDisabledTapIsEnabledAgainAndCountsTheNextEvent();
    void aCounterThatOverflowsEndsTheProcess();

    void theMonitorCountsEveryClickOnceAndNoKey();
    void aRefusedMonitorLeavesAProgramThatRuns();
    void thePollStartsTheTapAndStopsItself();
    void thePollAsksEveryTwoSeconds();
    void noClickCountsTwiceWhenTheMonitorGivesWayToTheTap();
    void aTapRefusedAtStartUpStillCountsClicks();
    void aTapRefusedAfterTheGrantKeepsTheOneMonitor();
    void aPermissionWithdrawnWhileRunningIsNotNoticed();

    void aKeyBeforeMidnightCountsForTheOldDayAndOneAfterItForTheNew();
    void theFirstClickAfterMidnightSavesTheOldDay();
    void aPressFromBeforeMidnightThatIsToldLateCountsForItsDay();
    void aLatePressCountsForItsDayAlsoOnceTheTickHasRolledTheDay();
    void aLatePressIsShown();
    void aPressOfTodayCountsForTodayHoweverLateItIsTold();
    void aPressFromTheFutureCountsForToday();
    void withoutInputTheDayChangesWithinTenSeconds();
    void aClockSetBackShowsZeroWhileTheOlderRecordGrows();
    void aClockThatJumpsWithinItsDayChangesNothing();
    void aZoneThatChangesIsFollowedWithinTenSeconds();
    void aZoneThatChangesBackAgainChangesNothing();
    void aStartInAnotherZoneContinuesTheDayThatItIsThere();
    void theSaveTickSavesOnlyWhatWasCounted();
    void aFailedSaveIsTriedAgainAfterTheNextCount();
    void aQuitSavesWhatTheTickHadNotSavedYet();
    void aQuitAfterMidnightSavesForTheOldDay();
    void nothingIsStoppedAtTheEnd();
    void aStateThatIsGoneLeavesItsTimersRunningWithoutEffect();
    void aStateThatIsGoneHearsItsTapNoMore();
};

void AppStateTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
    tzset();
}

void AppStateTest::startUpTakesItsStepsInOrderWhenThePermissionIsMissing()
{
    FakeProgram program;

    program.start();

    const Calls expected { "find folder", "make onboarding", "make share card", "read showCountsInMenuBar",
        "login item status", "read hasCompletedOnboarding", "read clock", "preflight", "start monitor",
        "schedule every 2000 ms", "schedule every 10000 ms", "observe termination", "call later" };
    QCOMPARE(program.platform.calls, expected);
}

void AppStateTest::startUpTakesItsStepsInOrderWhenThePermissionIsGranted()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.platform.storeSetting("hasCompletedOnboarding", true);

    program.start();

    const Calls expected { "find folder", "make onboarding", "make share card", "read showCountsInMenuBar",
        "login item status", "read hasCompletedOnboarding", "read clock", "preflight", "create tap",
        "enable tap", "schedule every 10000 ms", "observe termination" };
    QCOMPARE(program.platform.calls, expected);
}

void AppStateTest::startUpTakesItsStepsInOrderWhenTheTapIsRefused()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.platform.refuseTap();
    program.platform.storeSetting("hasCompletedOnboarding", true);

    program.start();

    const Calls expected { "find folder", "make onboarding", "make share card", "read showCountsInMenuBar",
        "login item status", "read hasCompletedOnboarding", "read clock", "preflight", "create tap",
        "start monitor", "schedule every 10000 ms", "observe termination" };
    QCOMPARE(program.platform.calls, expected);
}

void AppStateTest::theFirstRunEverStartsAtZeroAndOpensTheAssistant()
{
    FakeProgram program;

    const auto& state = program.start();
    program.platform.runDeferred();

    QCOMPARE(counters(state), counts(0, 0));
    QVERIFY(!state.showCountsInMenuBar);
    QVERIFY(!state.hasCompletedOnboarding);
    QCOMPARE(program.onboardingShown, std::vector { 0 });
}

void AppStateTest::theAssistantOpensOnlyAfterStartUpHasReturned()
{
    FakeProgram program;

    program.start();

    QVERIFY(program.onboardingShown.empty());
    program.platform.runDeferred();
    QCOMPARE(program.onboardingShown.size(), 1U);
}

void AppStateTest::aFinishedAssistantNeverOpensByItself()
{
    FakeProgram program;
    program.platform.storeSetting("hasCompletedOnboarding", true);

    const auto& state = program.start();
    program.platform.advance(24h);
    program.platform.runDeferred();

    QVERIFY(state.hasCompletedOnboarding);
    QVERIFY(program.onboardingShown.empty());
}

void AppStateTest::aSecondRunOnTheSameDayContinuesItsCounters()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.writeStatsFile(fileWith("2026-11-15", 1234, 56));

    const auto& state = program.start();
    program.platform.press();

    QCOMPARE(counters(state), counts(1235, 56));
    QCOMPARE(state.store.count("2026-11-15"), (DayCount { 1235, 56 }));
}

void AppStateTest::countersOfAnotherDayAreNotContinued()
{
    FakeProgram program;
    program.writeStatsFile(fileWith("2026-11-14", 1234, 56));

    const auto& state = program.start();

    QCOMPARE(counters(state), counts(0, 0));
    QCOMPARE(state.store.allTime(), (DayCount { 1234, 56 }));
}

void AppStateTest::anUnreadableFileStartsAtZero()
{
    FakeProgram program;
    program.writeStatsFile("{\"2026-11-15\":{\"keys\":1}}");

    const auto& state = program.start();

    QCOMPARE(counters(state), counts(0, 0));
}

void AppStateTest::withoutAnApplicationDataFolderTheProcessEnds()
{
    FakeProgram program;
    program.platform.removeApplicationSupport();

    QVERIFY(endsThroughFatal([&] { program.start(); }));
}

void AppStateTest::launchAtLoginIsTrueOnlyWhenTheSystemSaysEnabled_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("launches");

    QTest::newRow("not registered") << 0 << false;
    QTest::newRow("enabled") << 1 << true;
    QTest::newRow("requires approval") << 2 << false;
    QTest::newRow("not found") << 3 << false;
}

void AppStateTest::launchAtLoginIsTrueOnlyWhenTheSystemSaysEnabled()
{
    QFETCH(const int, status);
    QFETCH(const bool, launches);
    FakeProgram program;
    program.platform.setLoginItemStatus(static_cast<LoginItemStatus>(status));

    const auto& state = program.start();

    QCOMPARE(static_cast<bool>(state.launchAtLogin), launches);
}

void AppStateTest::settingsAreReadAtStartUpAndNotWrittenBack()
{
    FakeProgram program;
    program.platform.storeSetting("showCountsInMenuBar", true);

    const auto& state = program.start();

    QVERIFY(state.showCountsInMenuBar);
    const auto calls = takeCalls(program.platform);
    QVERIFY(std::ranges::none_of(calls, [](const auto& call) { return call.starts_with("write"); }));
}

void AppStateTest::assigningShowCountsStoresThenNotifiesThenWrites()
{
    FakeProgram program;
    auto& state = program.start();
    const auto subscription = state.observe([&] {
        program.platform.calls.emplace_back(
            state.showCountsInMenuBar ? "notified of true" : "notified of false");
    });
    takeCalls(program.platform);

    state.showCountsInMenuBar = true;

    const Calls expected { "notified of true", "write showCountsInMenuBar true" };
    QCOMPARE(takeCalls(program.platform), expected);
}

void AppStateTest::assigningTheSameValueNotifiesAndWritesAgain()
{
    FakeProgram program;
    auto& state = program.start();
    int notified = 0;
    const auto subscription = state.observe([&] { ++notified; });
    takeCalls(program.platform);

    state.showCountsInMenuBar = false;

    QCOMPARE(notified, 1);
    QCOMPARE(takeCalls(program.platform), Calls { "write showCountsInMenuBar false" });
}

void AppStateTest::everyCountNotifiesOnce()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    int notified = 0;
    const auto subscription = state.observe([&] { ++notified; });

    program.platform.press();
    program.platform.click();

    QCOMPARE(notified, 2);
}

void AppStateTest::anObserverThatIsGoneIsNotCalled()
{
    FakeProgram program;
    auto& state = program.start();
    int notified = 0;
    auto subscription = state.observe([&] { ++notified; });

    subscription.reset();
    state.showCountsInMenuBar = true;

    QCOMPARE(notified, 0);
}

void AppStateTest::launchAtLoginRegistersAndUnregisters()
{
    FakeProgram program;
    auto& state = program.start();
    takeCalls(program.platform);

    state.launchAtLogin = true;
    state.launchAtLogin = false;

    const Calls expected { "register login item", "unregister login item" };
    QCOMPARE(takeCalls(program.platform), expected);
    QVERIFY(!state.launchAtLogin);
}

void AppStateTest::aRefusedLoginItemSnapsBackToTheSystemsStatus_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("shown");

    QTest::newRow("not registered") << 0 << false;
    QTest::newRow("enabled") << 1 << true;
    QTest::newRow("requires approval") << 2 << false;
    QTest::newRow("not found") << 3 << false;
}

void AppStateTest::aRefusedLoginItemSnapsBackToTheSystemsStatus()
{
    QFETCH(const int, status);
    QFETCH(const bool, shown);
    FakeProgram program;
    auto& state = program.start();
    program.platform.refuseLoginItem();
    program.platform.setLoginItemStatus(static_cast<LoginItemStatus>(status));

    state.launchAtLogin = !shown;

    QCOMPARE(static_cast<bool>(state.launchAtLogin), shown);
}

void AppStateTest::aLoginItemRefusedBothWaysIsAskedForTwiceAtMost_data()
{
    QTest::addColumn<bool>("wanted");

    QTest::newRow("turned on") << true;
    QTest::newRow("turned off") << false;
}

void AppStateTest::aLoginItemRefusedBothWaysIsAskedForTwiceAtMost()
{
    QFETCH(const bool, wanted);
    FakeProgram program;
    program.platform.setLoginItemStatus(wanted ? LoginItemStatus::NotRegistered : LoginItemStatus::Enabled);
    auto& state = program.start();
    program.platform.refuseLoginItem();
    std::vector<bool> seen;
    const auto subscription = state.observe([&] { seen.push_back(state.launchAtLogin); });
    takeCalls(program.platform);

    state.launchAtLogin = wanted;

    const std::string first = wanted ? "register login item" : "unregister login item";
    const std::string second = wanted ? "unregister login item" : "register login item";
    const Calls expected { first, "login item status", second, "login item status" };
    QCOMPARE(takeCalls(program.platform), expected);
    QCOMPARE(seen.front(), wanted);
    QCOMPARE(seen.back(), !wanted);
}

void AppStateTest::aLaterChoiceIsTriedAgainAfterARefusal()
{
    FakeProgram program;
    auto& state = program.start();
    program.platform.refuseLoginItem();

    for (int i = 0; i < 5; ++i)
        state.launchAtLogin = true;

    QCOMPARE(std::ranges::count(program.platform.calls, "register login item"), 5);
    QVERIFY(!state.launchAtLogin);
}

void AppStateTest::finishingTheAssistantIsWrittenOnceAndClosesEachTime()
{
    FakeProgram program;
    auto& state = program.start();
    takeCalls(program.platform);

    state.finishOnboarding();
    state.finishOnboarding();

    const Calls expected { "write hasCompletedOnboarding true", "close onboarding", "close onboarding" };
    QCOMPARE(takeCalls(program.platform), expected);
    QVERIFY(state.hasCompletedOnboarding);
}

void AppStateTest::aRelaunchSavesThenStartsThenQuits()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    program.platform.press();
    takeCalls(program.platform);

    state.relaunch();
    const auto savedBeforeTheAnswer = program.statsFile();
    program.platform.answerNewInstance();
    program.platform.runDeferred();

    QVERIFY(savedBeforeTheAnswer);
    QCOMPARE(*savedBeforeTheAnswer, fileWith("2026-11-15", 1, 0));
    const Calls expected { "open new instance", "call later", "terminate" };
    QCOMPARE(takeCalls(program.platform), expected);
}

void AppStateTest::aRelaunchQuitsOnlyAfterTheSystemHasAnswered()
{
    FakeProgram program;
    auto& state = program.start();

    state.relaunch();
    program.platform.runDeferred();
    const bool quitBeforeTheAnswer = program.platform.hasTerminated();
    program.platform.answerNewInstance();
    const bool quitWithinTheAnswer = program.platform.hasTerminated();
    program.platform.runDeferred();

    QVERIFY(!quitBeforeTheAnswer);
    QVERIFY(!quitWithinTheAnswer);
    QVERIFY(program.platform.hasTerminated());
}

void AppStateTest::withThePermissionThereIsNoPollAndNoMonitor()
{
    FakeProgram program;
    program.platform.grantAccess();

    const auto& state = program.start();
    program.platform.advance(1min);

    QVERIFY(state.keyAccessGranted);
    QVERIFY(!state.needsRelaunch);
    QVERIFY(program.platform.isTapEnabled());
    QVERIFY(!program.platform.hasMouseMonitor());
    QCOMPARE(program.platform.runningTimers(), (std::vector<std::chrono::milliseconds> { 10s }));
}

void AppStateTest::withoutThePermissionTheTapIsNotTried()
{
    FakeProgram program;

    const auto& state = program.start();
    program.platform.advance(1min);

    QVERIFY(!state.keyAccessGranted);
    QVERIFY(!state.needsRelaunch);
    QVERIFY(program.platform.hasMouseMonitor());
    QCOMPARE(std::ranges::count(program.platform.calls, "create tap"), 0);
}

void AppStateTest::theTapCountsKeysAndClicks()
{
    FakeProgram program;
    program.platform.grantAccess();
    const auto& state = program.start();

    program.platform.press();
    program.platform.press();
    program.platform.click();

    QCOMPARE(counters(state), counts(2, 1));
    QCOMPARE(state.store.count(state.todayKey), (DayCount { 2, 1 }));
}

void AppStateTest::holdingAKeyCountsOnce()
{
    FakeProgram program;
    program.platform.grantAccess();
    const auto& state = program.start();

    program.platform.hold(60);

    QCOMPARE(counters(state), counts(1, 0));
}

void AppStateTest::aDisabledTapIsEnabledAgainAndCountsTheNextEvent()
{
    FakeProgram program;
    program.platform.grantAccess();
    const auto& state = program.start();
    takeCalls(program.platform);

    for (int i = 0; i < 2; ++i) {
        program.platform.disableTap();
        program.platform.press();
    }

    const Calls expected { "enable tap", "enable tap" };
    QCOMPARE(takeCalls(program.platform), expected);
    QCOMPARE(counters(state), counts(2, 0));
}

void AppStateTest::aCounterThatOverflowsEndsTheProcess()
{
    FakeProgram keys;
    keys.platform.grantAccess();
    keys.writeStatsFile(fileWith("2026-11-15", greatest, 0));
    keys.start();
    FakeProgram clicks;
    clicks.platform.grantAccess();
    clicks.writeStatsFile(fileWith("2026-11-15", 0, greatest));
    clicks.start();

    QVERIFY(endsThroughFatal([&] { keys.platform.press(); }));
    QVERIFY(endsThroughFatal([&] { clicks.platform.click(); }));
}

void AppStateTest::theMonitorCountsEveryClickOnceAndNoKey()
{
    FakeProgram program;
    const auto& state = program.start();

    for (int i = 0; i < 3; ++i)
        program.platform.click();
    program.platform.press();

    QCOMPARE(counters(state), counts(0, 3));
    QCOMPARE(state.store.count(state.todayKey), (DayCount { 0, 3 }));
}

void AppStateTest::aRefusedMonitorLeavesAProgramThatRuns()
{
    FakeProgram program;
    program.platform.refuseMouseMonitor();
    const auto& state = program.start();

    program.platform.grantAccess();
    program.platform.advance(2s);
    program.platform.click();

    QCOMPARE(counters(state), counts(0, 1));
    QCOMPARE(std::ranges::count(program.platform.calls, "stop monitor"), 0);
}

void AppStateTest::thePollStartsTheTapAndStopsItself()
{
    FakeProgram program;
    const auto& state = program.start();
    takeCalls(program.platform);

    program.platform.grantAccess();
    program.platform.advance(2s);

    const Calls expected { "preflight", "invalidate timer", "create tap", "stop monitor", "enable tap" };
    QCOMPARE(takeCalls(program.platform), expected);
    QVERIFY(state.keyAccessGranted);
    QVERIFY(!state.needsRelaunch);
    QCOMPARE(program.platform.runningTimers(), (std::vector<std::chrono::milliseconds> { 10s }));
}

void AppStateTest::thePollAsksEveryTwoSeconds()
{
    FakeProgram program;
    program.start();
    takeCalls(program.platform);

    program.platform.advance(7s);

    const Calls expected { "preflight", "preflight", "preflight" };
    QCOMPARE(takeCalls(program.platform), expected);
}

void AppStateTest::noClickCountsTwiceWhenTheMonitorGivesWayToTheTap()
{
    FakeProgram program;
    const auto& state = program.start();
    program.platform.click();

    program.platform.grantAccess();
    program.platform.advance(2s);
    program.platform.click();

    QVERIFY(!program.platform.hasMouseMonitor());
    QCOMPARE(counters(state), counts(0, 2));
}

void AppStateTest::aTapRefusedAtStartUpStillCountsClicks()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.platform.refuseTap();

    const auto& state = program.start();
    program.platform.click();
    program.platform.press();

    QVERIFY(state.keyAccessGranted);
    QVERIFY(state.needsRelaunch);
    QCOMPARE(counters(state), counts(0, 1));
}

void AppStateTest::aTapRefusedAfterTheGrantKeepsTheOneMonitor()
{
    FakeProgram program;
    const auto& state = program.start();

    program.platform.refuseTap();
    program.platform.grantAccess();
    program.platform.advance(1min);
    program.platform.click();

    QVERIFY(state.keyAccessGranted);
    QVERIFY(state.needsRelaunch);
    QCOMPARE(counters(state), counts(0, 1));
    QCOMPARE(std::ranges::count(program.platform.calls, "start monitor"), 1);
    QCOMPARE(std::ranges::count(program.platform.calls, "create tap"), 1);
}

void AppStateTest::aPermissionWithdrawnWhileRunningIsNotNoticed()
{
    FakeProgram program;
    program.platform.grantAccess();
    const auto& state = program.start();

    program.platform.withdrawAccess();
    program.platform.advance(1min);

    QVERIFY(state.keyAccessGranted);
    QVERIFY(program.platform.isTapEnabled());
}

void AppStateTest::aKeyBeforeMidnightCountsForTheOldDayAndOneAfterItForTheNew()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    program.platform.setClock(sys_days(2026y / 11 / 16) - 1ms);
    program.platform.press();

    program.platform.setClock(sys_days(2026y / 11 / 16));
    program.platform.press();

    QCOMPARE(state.todayKey, std::string("2026-11-16"));
    QCOMPARE(counters(state), counts(1, 0));
    QCOMPARE(state.store.count("2026-11-15"), (DayCount { 1, 0 }));
    QCOMPARE(state.store.count("2026-11-16"), (DayCount { 1, 0 }));
    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 1, 0));
}

void AppStateTest::theFirstClickAfterMidnightSavesTheOldDay()
{
    FakeProgram program;
    auto& state = program.start();
    program.platform.click();

    program.platform.setClock(sys_days(2026y / 11 / 16));
    program.platform.click();

    QCOMPARE(counters(state), counts(0, 1));
    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 0, 1));
}

void AppStateTest::aPressFromBeforeMidnightThatIsToldLateCountsForItsDay()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    program.platform.setClock(sys_days(2026y / 11 / 16) + 3h);

    program.platform.press(sys_days(2026y / 11 / 16) - 1ms);
    program.platform.click(sys_days(2026y / 11 / 15) + 13h);
    program.platform.press(sys_days(2026y / 11 / 16));

    QCOMPARE(state.todayKey, std::string("2026-11-16"));
    QCOMPARE(counters(state), counts(1, 0));
    QCOMPARE(state.store.count("2026-11-15"), (DayCount { 1, 1 }));
    QCOMPARE(state.store.count("2026-11-16"), (DayCount { 1, 0 }));
}

void AppStateTest::aLatePressCountsForItsDayAlsoOnceTheTickHasRolledTheDay()
{
    FakeProgram program;
    auto& state = program.start();
    program.platform.setClock(sys_days(2026y / 11 / 16) - 5s);
    program.platform.advance(10s);

    program.platform.click(sys_days(2026y / 11 / 16) - 1s);
    program.platform.quit();

    QCOMPARE(state.todayKey, std::string("2026-11-16"));
    QCOMPARE(counters(state), counts(0, 0));
    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 0, 1));
}

void AppStateTest::aLatePressIsShown()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    program.platform.setClock(sys_days(2026y / 11 / 16) + 1s);
    program.platform.press();
    int notified = 0;
    const auto subscription = state.observe([&] { ++notified; });

    program.platform.press(sys_days(2026y / 11 / 16) - 1s);

    QCOMPARE(notified, 1);
}

void AppStateTest::aPressOfTodayCountsForTodayHoweverLateItIsTold()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();

    program.platform.press(sys_days(2026y / 11 / 15));

    QCOMPARE(counters(state), counts(1, 0));
    QCOMPARE(state.store.count("2026-11-15"), (DayCount { 1, 0 }));
}

void AppStateTest::aPressFromTheFutureCountsForToday()
{
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();

    program.platform.press(sys_days(2026y / 11 / 17));

    QCOMPARE(counters(state), counts(1, 0));
    QCOMPARE(state.store.count("2026-11-15"), (DayCount { 1, 0 }));
}

void AppStateTest::withoutInputTheDayChangesWithinTenSeconds()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.platform.setClock(sys_days(2026y / 11 / 15) + 23h + 59min + 55s);
    auto& state = program.start();
    program.platform.press();

    program.platform.advance(10s);

    QCOMPARE(state.todayKey, std::string("2026-11-16"));
    QCOMPARE(counters(state), counts(0, 0));
    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 1, 0));
}

void AppStateTest::aClockSetBackShowsZeroWhileTheOlderRecordGrows()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.writeStatsFile(fileWith("2026-11-14", 100, 10));
    auto& state = program.start();

    program.platform.setClock(sys_days(2026y / 11 / 14) + 12h);
    program.platform.press();

    QCOMPARE(state.todayKey, std::string("2026-11-14"));
    QCOMPARE(counters(state), counts(1, 0));
    QCOMPARE(state.store.count("2026-11-14"), (DayCount { 101, 10 }));
}

void AppStateTest::aClockThatJumpsWithinItsDayChangesNothing()
{
    FakeProgram program;
    program.platform.grantAccess();
    const auto& state = program.start();
    program.platform.press();

    program.platform.setClock(sys_days(2026y / 11 / 15));
    program.platform.press();
    program.platform.setClock(sys_days(2026y / 11 / 16) - 1ms);
    program.platform.press();

    QCOMPARE(counters(state), counts(3, 0));
    QVERIFY(!program.statsFile());
}

void AppStateTest::aZoneThatChangesIsFollowedWithinTenSeconds()
{
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    program.platform.press();

    changeZone("Pacific/Auckland");
    program.platform.press();
    program.platform.advance(10s);
    const auto afterTheTick = counters(state);
    const auto saved = program.statsFile();
    program.platform.press();

    QCOMPARE(afterTheTick, counts(0, 0));
    QCOMPARE(saved, fileWith("2026-11-15", 2, 0));
    QCOMPARE(state.todayKey, std::string("2026-11-16"));
    QCOMPARE(counters(state), counts(1, 0));
    QCOMPARE(state.store.count("2026-11-15"), (DayCount { 2, 0 }));
    QCOMPARE(state.store.count("2026-11-16"), (DayCount { 1, 0 }));
}

void AppStateTest::aZoneThatChangesBackAgainChangesNothing()
{
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    FakeProgram program;
    program.platform.grantAccess();
    auto& state = program.start();
    program.platform.press();

    changeZone("Pacific/Auckland");
    program.platform.advance(9s);
    changeZone("Europe/Berlin");
    program.platform.advance(1s);
    program.platform.press();

    QCOMPARE(state.todayKey, std::string("2026-11-15"));
    QCOMPARE(counters(state), counts(2, 0));
}

void AppStateTest::aStartInAnotherZoneContinuesTheDayThatItIsThere()
{
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    FakeProgram program;
    program.writeStatsFile(fileWith("2026-11-16", 100, 10));

    changeZone("Pacific/Auckland");
    auto& state = program.start();

    QCOMPARE(state.todayKey, std::string("2026-11-16"));
    QCOMPARE(counters(state), counts(100, 10));
}

void AppStateTest::theSaveTickSavesOnlyWhatWasCounted()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.start();

    program.platform.advance(10s);
    QVERIFY(!program.statsFile());

    program.platform.press();
    program.platform.advance(9999ms);
    QVERIFY(!program.statsFile());

    program.platform.advance(1ms);
    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 1, 0));
}

void AppStateTest::aFailedSaveIsTriedAgainAfterTheNextCount()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.start();
    // A directory in the file's place refuses the replacement, for root too.
    const QDir folder(program.folder.path());
    QVERIFY(folder.mkpath("Knucklet/stats.json/occupied"));
    program.platform.press();
    program.platform.advance(10s);

    QVERIFY(QDir(folder.filePath("Knucklet/stats.json")).removeRecursively());
    program.platform.advance(10s);
    QVERIFY(!program.statsFile());
    program.platform.press();
    program.platform.advance(10s);

    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 2, 0));
}

void AppStateTest::aQuitSavesWhatTheTickHadNotSavedYet()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.start();
    for (int i = 0; i < 10; ++i)
        program.platform.press();

    program.platform.quit();

    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 10, 0));
}

void AppStateTest::aQuitAfterMidnightSavesForTheOldDay()
{
    FakeProgram program;
    program.platform.grantAccess();
    const auto& state = program.start();
    program.platform.press();

    program.platform.setClock(sys_days(2026y / 11 / 16));
    program.platform.quit();

    QCOMPARE(state.todayKey, std::string("2026-11-15"));
    QCOMPARE(program.statsFile(), fileWith("2026-11-15", 1, 0));
}

void AppStateTest::nothingIsStoppedAtTheEnd()
{
    FakeProgram program;
    program.start();
    takeCalls(program.platform);

    program.platform.quit();

    QCOMPARE(takeCalls(program.platform), Calls { "terminate" });
    QVERIFY(program.platform.hasMouseMonitor());
    QCOMPARE(program.platform.runningTimers(), (std::vector<std::chrono::milliseconds> { 2s, 10s }));
}

void AppStateTest::aStateThatIsGoneLeavesItsTimersRunningWithoutEffect()
{
    FakeProgram program;
    program.start();
    program.platform.click();
    takeCalls(program.platform);

    program.dropState();
    program.platform.grantAccess();
    program.platform.advance(1min);
    program.platform.click();
    program.platform.runDeferred();
    program.platform.quit();

    QCOMPARE(takeCalls(program.platform), Calls { "terminate" });
    QVERIFY(program.onboardingShown.empty());
    QVERIFY(!program.statsFile());
    QVERIFY(program.platform.hasMouseMonitor());
    QCOMPARE(program.platform.runningTimers(), (std::vector<std::chrono::milliseconds> { 2s, 10s }));
}

void AppStateTest::aStateThatIsGoneHearsItsTapNoMore()
{
    FakeProgram program;
    program.platform.grantAccess();
    program.start();
    program.platform.press();
    takeCalls(program.platform);

    program.dropState();
    program.platform.press();
    program.platform.disableTap();
    program.platform.quit();

    QCOMPARE(takeCalls(program.platform), Calls { "terminate" });
    QVERIFY(!program.statsFile());
}

static const TestArea area("AppState", runTest<AppStateTest>);
#include "AppStateTest.moc"
