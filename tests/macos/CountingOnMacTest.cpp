#include "macos/RecordedMac.h"
#include "model/AppState.h"
#include "support/TestArea.h"

#include <QTemporaryDir>
#include <QTest>

#include <fstream>
#include <iterator>
#include <memory>

using Calls = std::vector<std::string>;
using namespace std::chrono_literals;

namespace {

class NoAssistant final : public OnboardingWindow {
public:
    explicit NoAssistant(int& shown)
        : shown(shown)
    {
    }

    void show(AppState&, int) override { ++shown; }
    void close() override { }

private:
    int& shown;
};

class NoDayCard final : public ShareCardWindow {
public:
    void show(AppState&) override { }
};

/// The whole model on the recorded system.
struct Program {
    QTemporaryDir folder;
    RecordedMac mac { folder.path().toStdString() };
    int assistantShown = 0;
    std::unique_ptr<AppState> state;

    AppState& start()
    {
        state = std::make_unique<AppState>(mac,
            WindowFactories {
                .onboarding = [this] { return std::make_unique<NoAssistant>(assistantShown); },
                .shareCard = [] { return std::make_unique<NoDayCard>(); },
            });
        return *state;
    }

    std::string statsFile() const
    {
        std::ifstream file(folder.path().toStdString() + "/Knucklet/stats.json");
        return { std::istreambuf_iterator<char>(file), {} };
    }
};

const std::string createTap = "create tap: location 1, placement 0, options 1, mask 0x200040a";
const std::string createSource = "create source: default allocator, order 0";
const std::string addSource = "add source: main loop, common modes";
const std::string addMonitor = "add monitor: mask 0x200000a";
const std::string addTimer = "add timer: main loop, default mode";
const std::string createPoll = "create timer: in 2 s, every 2 s, order 0";
const std::string createSaveTimer = "create timer: in 10 s, every 10 s, order 0";

}

class CountingOnMacTest final : public QObject {
    Q_OBJECT

private slots:
    void withTheRightTheProgramStartsTheTapAndNoMonitor();
    void withoutTheRightTheProgramStartsTheMonitorAndAsksEveryTwoSeconds();
    void theGrantStartsTheTapInPlaceOfTheMonitor();
    void aRefusedTapKeepsTheMonitorAndAsksForARelaunch();
    void keysAndClicksAreCountedOnceAndSaved();
    void aKeyThatIsHeldCountsOnce();
    void aTapThatIsSwitchedOffIsEnabledAgain_data();
    void aTapThatIsSwitchedOffIsEnabledAgain();
    void theAssistantOpensOnceStartUpHasReturned();
};

void CountingOnMacTest::withTheRightTheProgramStartsTheTapAndNoMonitor()
{
    Program program;
    program.mac.system.grantAccess();

    program.start();

    QCOMPARE(program.mac.system.takeCalls(),
        (Calls { "preflight", createTap, createSource, addSource, "enable tap", createSaveTimer, addTimer }));
}

void CountingOnMacTest::withoutTheRightTheProgramStartsTheMonitorAndAsksEveryTwoSeconds()
{
    Program program;

    auto& state = program.start();
    const auto startUp = program.mac.system.takeCalls();
    program.mac.pass(4s);

    QCOMPARE(startUp, (Calls { "preflight", addMonitor, createPoll, addTimer, createSaveTimer, addTimer }));
    QCOMPARE(program.mac.system.takeCalls(), (Calls { "preflight", "preflight" }));
    QVERIFY(!state.keyAccessGranted);
}

void CountingOnMacTest::theGrantStartsTheTapInPlaceOfTheMonitor()
{
    Program program;
    auto& state = program.start();
    program.mac.system.click(kCGEventLeftMouseDown);
    program.mac.system.takeCalls();

    program.mac.system.grantAccess();
    program.mac.pass(2s);
    const auto calls = program.mac.system.takeCalls();
    program.mac.system.click(kCGEventLeftMouseDown);
    program.mac.pass(8s);

    QCOMPARE(calls,
        (Calls { "preflight", "invalidate timer", createTap, "remove monitor", createSource, addSource,
            "enable tap" }));
    QVERIFY(state.keyAccessGranted);
    QCOMPARE(std::int64_t { state.todayClicks }, std::int64_t { 2 });
    QCOMPARE(program.mac.system.takeCalls(), Calls {});
}

void CountingOnMacTest::aRefusedTapKeepsTheMonitorAndAsksForARelaunch()
{
    Program program;
    program.mac.system.grantAccess();
    program.mac.system.refuseTap();

    auto& state = program.start();
    program.mac.system.click(kCGEventRightMouseDown);
    program.mac.system.send(kCGEventKeyDown);

    QVERIFY(state.needsRelaunch);
    QVERIFY(program.mac.system.hasMonitor());
    QCOMPARE(std::int64_t { state.todayClicks }, std::int64_t { 1 });
    QCOMPARE(std::int64_t { state.todayKeys }, std::int64_t { 0 });
}

void CountingOnMacTest::keysAndClicksAreCountedOnceAndSaved()
{
    Program program;
    program.mac.system.grantAccess();
    auto& state = program.start();

    for (int i = 0; i < 3; ++i)
        program.mac.system.send(kCGEventKeyDown);
    program.mac.system.click(kCGEventLeftMouseDown);
    program.mac.system.click(kCGEventOtherMouseDown);
    program.mac.pass(10s);

    QCOMPARE(std::int64_t { state.todayKeys }, std::int64_t { 3 });
    QCOMPARE(std::int64_t { state.todayClicks }, std::int64_t { 2 });
    QCOMPARE(program.statsFile(), std::string("{\"2026-11-15\":{\"keys\":3,\"clicks\":2}}"));
}

void CountingOnMacTest::aKeyThatIsHeldCountsOnce()
{
    Program program;
    program.mac.system.grantAccess();
    auto& state = program.start();

    program.mac.system.send(kCGEventKeyDown);
    for (int i = 0; i < 30; ++i)
        program.mac.system.send(kCGEventKeyDown, 1);

    QCOMPARE(std::int64_t { state.todayKeys }, std::int64_t { 1 });
    QVERIFY(program.mac.system.wasEveryEventReturnedUnchanged());
}

void CountingOnMacTest::aTapThatIsSwitchedOffIsEnabledAgain_data()
{
    QTest::addColumn<CGEventType>("notice");
    QTest::newRow("by timeout") << kCGEventTapDisabledByTimeout;
    QTest::newRow("by user input") << kCGEventTapDisabledByUserInput;
}

void CountingOnMacTest::aTapThatIsSwitchedOffIsEnabledAgain()
{
    QFETCH(CGEventType, notice);
    Program program;
    program.mac.system.grantAccess();
    auto& state = program.start();
    program.mac.system.takeCalls();

    program.mac.system.disableTap(notice);
    const auto calls = program.mac.system.takeCalls();
    program.mac.system.send(kCGEventKeyDown);

    QCOMPARE(calls, Calls { "enable tap" });
    QCOMPARE(std::int64_t { state.todayKeys }, std::int64_t { 1 });
}

void CountingOnMacTest::theAssistantOpensOnceStartUpHasReturned()
{
    Program program;

    program.start();
    const int atOnce = program.assistantShown;
    program.mac.system.runMainQueue();

    QCOMPARE(atOnce, 0);
    QCOMPARE(program.assistantShown, 1);
}

static const TestArea area("CountingOnMac", runTest<CountingOnMacTest>);

#include "CountingOnMacTest.moc"
