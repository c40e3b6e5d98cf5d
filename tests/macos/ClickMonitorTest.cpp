#include "platform/macos/ClickMonitor.h"

#include "macos/RecordedSystem.h"
#include "platform/macos/InputMonitoring.h"
#include "support/TestArea.h"

#include <QTest>

using Calls = std::vector<std::string>;

class ClickMonitorTest final : public QObject {
    Q_OBJECT

private slots:
    void theMonitorSeesPressesOfAllButtonsAndNothingElse();
    void aMonitorThatRunsIsNotStartedAgain();
    void aStoppedMonitorIsRemovedOnce();
    void aRefusedMonitorIsTold();
    void theRightIsAskedForOnlyWhenTheProgramSaysSo();
};

void ClickMonitorTest::theMonitorSeesPressesOfAllButtonsAndNothingElse()
{
    RecordedSystem system;
    ClickMonitor monitor;
    int presses = 0;

    const bool isStarted = monitor.start([&](std::optional<Moment>) { ++presses; });
    for (const auto type : { kCGEventLeftMouseDown, kCGEventRightMouseDown, kCGEventOtherMouseDown })
        system.click(type);
    for (const auto type : { kCGEventLeftMouseUp, kCGEventMouseMoved, kCGEventScrollWheel, kCGEventKeyDown })
        system.click(type);

    QVERIFY(isStarted);
    QCOMPARE(presses, 3);
    QCOMPARE(system.takeCalls(), Calls { "add monitor: mask 0x200000a" });
}

void ClickMonitorTest::aMonitorThatRunsIsNotStartedAgain()
{
    RecordedSystem system;
    ClickMonitor monitor;
    int presses = 0;
    const auto count = [&](std::optional<Moment>) { ++presses; };
    QVERIFY(monitor.start(count));

    const bool isStarted = monitor.start(count);
    system.click(kCGEventLeftMouseDown);

    QVERIFY(isStarted);
    QCOMPARE(presses, 1);
    QCOMPARE(system.takeCalls(), Calls { "add monitor: mask 0x200000a" });
}

void ClickMonitorTest::aStoppedMonitorIsRemovedOnce()
{
    RecordedSystem system;
    ClickMonitor monitor;
    QVERIFY(monitor.start([](std::optional<Moment>) {}));
    system.takeCalls();

    monitor.stop();
    monitor.stop();

    QVERIFY(!system.hasMonitor());
    QCOMPARE(system.takeCalls(), Calls { "remove monitor" });
}

void ClickMonitorTest::aRefusedMonitorIsTold()
{
    RecordedSystem system;
    system.refuseMonitor();
    ClickMonitor monitor;

    const bool isStarted = monitor.start([](std::optional<Moment>) {});
    system.takeCalls();
    monitor.stop();

    QVERIFY(!isStarted);
    QCOMPARE(system.takeCalls(), Calls {});
}

void ClickMonitorTest::theRightIsAskedForOnlyWhenTheProgramSaysSo()
{
    RecordedSystem system;
    InputMonitoring access;

    const bool before = access.preflight();
    const auto asked = system.takeCalls();
    access.request();
    const auto requested = system.takeCalls();
    system.grantAccess();
    const bool after = access.preflight();

    QVERIFY(!before);
    QVERIFY(after);
    QCOMPARE(asked, Calls { "preflight" });
    QCOMPARE(requested, Calls { "request" });
}

static const TestArea area("ClickMonitor", runTest<ClickMonitorTest>);

#include "ClickMonitorTest.moc"
