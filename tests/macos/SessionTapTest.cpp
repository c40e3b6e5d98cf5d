#include "platform/macos/SessionTap.h"

#include "macos/RecordedSystem.h"
#include "support/ForkedChild.h"
#include "support/TestArea.h"

#include <QTest>

#include <csignal>

using Calls = std::vector<std::string>;
using Kind = TapEvent::Kind;

namespace {

/// A tap that keeps the kinds of what it was told.
struct ListeningTap {
    std::vector<Kind> heard;
    SessionTap tap;

    bool create()
    {
        return tap.create([this](const TapEvent& event) { heard.push_back(event.kind); });
    }

    void start()
    {
        QVERIFY(create());
        tap.enable();
    }
};

const Calls firstEnabling {
    "create source: default allocator, order 0",
    "add source: main loop, common modes",
    "enable tap",
};

}

class SessionTapTest final : public QObject {
    Q_OBJECT

private slots:
    void theTapIsListenOnlyForTheSessionAtTheHeadAndSeesPressesOnly();
    void enablingPutsItIntoTheMainLoopInTheCommonModesOnce();
    void aRefusedTapIsToldAndEnablesNothing();
    void pressesOfKeysAndButtonsAreTold_data();
    void pressesOfKeysAndButtonsAreTold();
    void aRepeatIsToldAsOne();
    void whatElseHappensIsNotTold_data();
    void whatElseHappensIsNotTold();
    void bothNoticesThatTheTapIsOffAreTold_data();
    void bothNoticesThatTheTapIsOffAreTold();
    void everyEventComesBackUnchanged();
    void ofAnEventOnlyTheRepeatIsRead();
    void anEventWithoutOwnerEndsTheProcess();
    void theTapGivesBackWhatItHolds();
};

void SessionTapTest::theTapIsListenOnlyForTheSessionAtTheHeadAndSeesPressesOnly()
{
    RecordedSystem system;
    ListeningTap listening;

    const bool isCreated = listening.create();

    QVERIFY(isCreated);
    QCOMPARE(system.takeCalls(), Calls { "create tap: location 1, placement 0, options 1, mask 0x200040a" });
}

void SessionTapTest::enablingPutsItIntoTheMainLoopInTheCommonModesOnce()
{
    RecordedSystem system;
    ListeningTap listening;
    QVERIFY(listening.create());
    system.takeCalls();

    listening.tap.enable();
    const auto first = system.takeCalls();
    listening.tap.enable();
    const auto second = system.takeCalls();

    QCOMPARE(first, firstEnabling);
    QCOMPARE(second, Calls { "enable tap" });
}

void SessionTapTest::aRefusedTapIsToldAndEnablesNothing()
{
    RecordedSystem system;
    system.refuseTap();
    ListeningTap listening;

    const bool isCreated = listening.create();
    system.takeCalls();
    listening.tap.enable();

    QVERIFY(!isCreated);
    QCOMPARE(system.takeCalls(), Calls {});
}

void SessionTapTest::pressesOfKeysAndButtonsAreTold_data()
{
    QTest::addColumn<CGEventType>("type");
    QTest::addColumn<Kind>("kind");
    QTest::newRow("key") << kCGEventKeyDown << Kind::Key;
    QTest::newRow("left button") << kCGEventLeftMouseDown << Kind::Click;
    QTest::newRow("right button") << kCGEventRightMouseDown << Kind::Click;
    QTest::newRow("other button") << kCGEventOtherMouseDown << Kind::Click;
}

void SessionTapTest::pressesOfKeysAndButtonsAreTold()
{
    QFETCH(CGEventType, type);
    QFETCH(Kind, kind);
    RecordedSystem system;
    ListeningTap listening;
    listening.start();

    system.send(type);

    QCOMPARE(listening.heard, std::vector { kind });
}

void SessionTapTest::aRepeatIsToldAsOne()
{
    RecordedSystem system;
    ListeningTap listening;
    listening.start();

    system.send(kCGEventKeyDown);
    system.send(kCGEventKeyDown, 1);

    QCOMPARE(listening.heard, (std::vector { Kind::Key, Kind::RepeatedKey }));
}

void SessionTapTest::whatElseHappensIsNotTold_data()
{
    QTest::addColumn<CGEventType>("type");
    QTest::newRow("key up") << kCGEventKeyUp;
    QTest::newRow("modifier") << kCGEventFlagsChanged;
    QTest::newRow("left button up") << kCGEventLeftMouseUp;
    QTest::newRow("right button up") << kCGEventRightMouseUp;
    QTest::newRow("other button up") << kCGEventOtherMouseUp;
    QTest::newRow("move") << kCGEventMouseMoved;
    QTest::newRow("drag") << kCGEventLeftMouseDragged;
    QTest::newRow("wheel") << kCGEventScrollWheel;
}

void SessionTapTest::whatElseHappensIsNotTold()
{
    QFETCH(CGEventType, type);
    RecordedSystem system;
    ListeningTap listening;
    listening.start();

    system.send(type);

    QVERIFY(listening.heard.empty());
}

void SessionTapTest::bothNoticesThatTheTapIsOffAreTold_data()
{
    QTest::addColumn<CGEventType>("notice");
    QTest::newRow("by timeout") << kCGEventTapDisabledByTimeout;
    QTest::newRow("by user input") << kCGEventTapDisabledByUserInput;
}

void SessionTapTest::bothNoticesThatTheTapIsOffAreTold()
{
    QFETCH(CGEventType, notice);
    RecordedSystem system;
    ListeningTap listening;
    listening.start();

    system.disableTap(notice);

    QCOMPARE(listening.heard, std::vector { Kind::Disabled });
    QVERIFY(system.wasEveryEventReturnedUnchanged());
}

void SessionTapTest::everyEventComesBackUnchanged()
{
    RecordedSystem system;
    ListeningTap listening;
    listening.start();

    system.send(kCGEventKeyDown);
    system.send(kCGEventKeyDown, 1);
    system.send(kCGEventOtherMouseDown);

    QCOMPARE(listening.heard.size(), std::size_t { 3 });
    QVERIFY(system.wasEveryEventReturnedUnchanged());
}

void SessionTapTest::ofAnEventOnlyTheRepeatIsRead()
{
    RecordedSystem system;
    ListeningTap listening;
    listening.start();

    system.send(kCGEventKeyDown);
    system.send(kCGEventLeftMouseDown);

    QCOMPARE(system.fieldsRead(), std::vector<std::uint32_t> { 8 });
}

void SessionTapTest::anEventWithoutOwnerEndsTheProcess()
{
    RecordedSystem system;
    ListeningTap listening;
    listening.start();

    const auto end = inChild([&] {
        system.sendWithoutOwner();
        return std::string("came to its end");
    });

    QCOMPARE(end.signal, SIGABRT);
}

void SessionTapTest::theTapGivesBackWhatItHolds()
{
    RecordedSystem system;
    {
        ListeningTap listening;
        listening.start();
        QCOMPARE(system.objectsHeld(), 2);
    }

    QCOMPARE(system.objectsHeld(), 0);
}

static const TestArea area("SessionTap", runTest<SessionTapTest>);

#include "SessionTapTest.moc"
