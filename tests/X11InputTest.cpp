#include "platform/linux/X11Input.h"

#include "support/Injector.h"
#include "support/Patience.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QSocketNotifier>
#include <QTest>
#include <QTimer>

#include <X11/XF86keysym.h>
#include <X11/keysym.h>
#include <xcb/xinput.h>

#include <array>
#include <atomic>
#include <thread>

namespace {

constexpr std::uint8_t altGr = 108;
constexpr std::uint8_t capsLock = 66;
constexpr std::uint8_t backslash = 51;

constexpr std::uint64_t tapMask = mouseDownMask | eventMask(EventType::KeyDown);

/// What a tap and a monitor reported.
struct Reports {
    int keys = 0;
    int repeats = 0;
    int left = 0;
    int right = 0;
    int other = 0;
    int monitored = 0;

    int clicks() const { return left + right + other; }
};

const TapEvent* report(EventType type, const TapEvent* event, void* userInfo)
{
    auto& reports = *static_cast<Reports*>(userInfo);
    switch (type) {
    case EventType::KeyDown:
        ++reports.keys;
        break;
    case EventType::LeftMouseDown:
        ++reports.left;
        break;
    case EventType::RightMouseDown:
        ++reports.right;
        break;
    case EventType::OtherMouseDown:
        ++reports.other;
        break;
    default:
        break;
    }
    reports.repeats += static_cast<int>(event->integer(EventField::KeyboardAutorepeat));
    return event;
}

void startTap(X11Input& input, Reports& reports, std::uint64_t events = tapMask)
{
    EventTap& taps = input.eventTap();
    const auto tap = taps.create({ .eventsOfInterest = events }, report, &reports);
    QVERIFY(tap);
    taps.addToMainRunLoop(taps.makeRunLoopSource(*tap));
    taps.enable(*tap);
}

std::optional<MouseMonitorId> startMonitor(X11Input& input, Reports& reports)
{
    return input.mouseMonitor().add(mouseDownMask, [&reports] { ++reports.monitored; });
}

/// Counts how often the process was woken to read from a socket, except for those of its own child processes.
class WakeUps final : public QObject {
public:
    WakeUps() { QCoreApplication::instance()->installEventFilter(this); }

    int count = 0;

private:
    bool eventFilter(QObject* receiver, QEvent* event) override
    {
        if (event->type() == QEvent::SockAct && !qobject_cast<QProcess*>(receiver->parent()))
            ++count;
        return false;
    }
};

/// Another program on the display.
class Client final {
public:
    explicit Client(const QByteArray& display)
        : connection(xcb_connect(display.constData(), nullptr))
        , root(xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root)
    {
    }

    bool grabKeyboard()
    {
        const auto cookie = xcb_grab_keyboard(
            connection.get(), 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        const XcbReply<xcb_grab_keyboard_reply_t> reply(
            xcb_grab_keyboard_reply(connection.get(), cookie, nullptr));
        return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    }

    bool grabPointer()
    {
        const auto cookie = xcb_grab_pointer(connection.get(), 0, root, XCB_EVENT_MASK_BUTTON_PRESS,
            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE, XCB_CURSOR_NONE, XCB_CURRENT_TIME);
        const XcbReply<xcb_grab_pointer_reply_t> reply(
            xcb_grab_pointer_reply(connection.get(), cookie, nullptr));
        return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    }

    bool grabDevice(xcb_input_device_id_t device, std::uint32_t events)
    {
        const XcbReply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
            connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
        const auto cookie = xcb_input_xi_grab_device(connection.get(), root, XCB_CURRENT_TIME,
            XCB_CURSOR_NONE, device, XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
            XCB_INPUT_GRAB_OWNER_NO_OWNER, 1, &events);
        const XcbReply<xcb_input_xi_grab_device_reply_t> reply(
            xcb_input_xi_grab_device_reply(connection.get(), cookie, nullptr));
        return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    }

    /// Waits for presses that reach this program, which the server repeats while a key is held.
    bool awaitKeyPresses(int wanted)
    {
        while (wanted > 0) {
            const XcbReply<xcb_generic_event_t> event(xcb_wait_for_event(connection.get()));
            if (!event)
                return false;
            if (event->response_type == XCB_KEY_PRESS)
                --wanted;
        }
        return true;
    }

    void changeSymbol(std::uint8_t code, xcb_keysym_t symbol)
    {
        xcb_change_keyboard_mapping(connection.get(), 1, code, 1, &symbol);
    }

    bool setModifier(int row, std::uint8_t code)
    {
        std::array<xcb_keycode_t, 8> codes {};
        codes.at(static_cast<std::size_t>(row)) = code;
        const auto cookie = xcb_set_modifier_mapping(connection.get(), 1, codes.data());
        const XcbReply<xcb_set_modifier_mapping_reply_t> reply(
            xcb_set_modifier_mapping_reply(connection.get(), cookie, nullptr));
        return reply && reply->status == XCB_MAPPING_STATUS_SUCCESS;
    }

    void sync()
    {
        const XcbReply<xcb_get_input_focus_reply_t> answer(
            xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
    }

private:
    XcbConnection connection;
    xcb_window_t root;
};

}

class X11InputTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pressesArriveThroughTheEventLoop();
    void drainingDeliversAllThatWasPressedBefore();
    void aHeldKeyCountsOnce();
    void shiftAloneCountsNothing();
    void aLetterWithShiftCountsOnce();
    void theButtonSaysTheTypeOfClick_data();
    void theButtonSaysTheTypeOfClick();
    void theWheelCountsNothing();
    void onlyTheEventsOfInterestAreReported();
    void pressesCountWhileAnotherProgramHoldsAGrab_data();
    void pressesCountWhileAnotherProgramHoldsAGrab();
    void altGrNeverCounts_data();
    void altGrNeverCounts();
    void mediaKeysNeverCount();
    void aLayoutThatIsSwitchedHoldsFromTheNextPress();
    void aKeyThatBecomesAModifierStopsCounting();
    void noPressIsLostAmongManyChangesOfTheKeyboard();
    void fastInputIsCountedExactly();
    void pressesOfABurstAreTakenTogether();
    void aBurstHoldsNothingBackFromWhoeverWatchesButtons();
    void whoeverWatchesButtonsIsNotToldOfThePressesBefore();
    void motionWakesNobody();
    void keysWakeNobodyWhileOnlyTheMonitorRuns();
    void aClickWakesNobodyAfterTheMonitorIsRemoved();
    void theMonitorIsSilentWhileTheTapRuns();
    void eachClickCountsOnceAcrossTheHandOver();
    void eachClickOfAStreamCountsOnceAcrossTheHandOver();
    void aMonitorMayRemoveItself();
    void aSecondTapOrMonitorIsRefused();
    void withoutAServerEverythingIsRefused();
    void whatWasPressedBeforeTheServerDiedCounts();
    void whatWasPressedAfterAChangeOfTheKeyboardCountsAsWell();
    void aDeadServerIsQuiet();

private:
    void processWhatFollows();

    std::optional<VirtualDesktop> desktop;
    std::optional<Injector> injector;
};

void X11InputTest::init()
{
    desktop.emplace();
    QVERIFY2(desktop->start(), qPrintable(desktop->failure()));
    qputenv("DISPLAY", desktop->display());
    injector.emplace(desktop->display());
}

void X11InputTest::cleanup()
{
    injector.reset();
    desktop.reset();
}

// Handles what the server sends on the injected input; without anything to handle it returns at once.
void X11InputTest::processWhatFollows()
{
    injector->sync();
    QCoreApplication::processEvents();
}

void X11InputTest::pressesArriveThroughTheEventLoop()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);

    injector->typeKey(injector->keyCode(XK_a));
    injector->click();
    injector->sync();

    QTRY_COMPARE(reports.keys, 1);
    QTRY_COMPARE(reports.left, 1);
}

void X11InputTest::drainingDeliversAllThatWasPressedBefore()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    const auto key = injector->keyCode(XK_a);
    for (int i = 0; i < 1000; ++i) {
        injector->typeKey(key);
        injector->click();
    }
    injector->sync();

    input.drain();

    QCOMPARE(reports.keys, 1000);
    QCOMPARE(reports.left, 1000);
}

void X11InputTest::aHeldKeyCountsOnce()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    Client other(desktop->display());
    QVERIFY(other.grabKeyboard());

    injector->pressKey(injector->keyCode(XK_a));
    injector->sync();
    QVERIFY(other.awaitKeyPresses(4));
    input.drain();

    QCOMPARE(reports.keys, 1);
    QCOMPARE(reports.repeats, 0);
}

void X11InputTest::shiftAloneCountsNothing()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);

    injector->typeKey(injector->keyCode(XK_Shift_L));
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 0);
}

void X11InputTest::aLetterWithShiftCountsOnce()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    const auto shift = injector->keyCode(XK_Shift_L);

    injector->pressKey(shift);
    injector->typeKey(injector->keyCode(XK_a));
    injector->releaseKey(shift);
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 1);
}

void X11InputTest::theButtonSaysTheTypeOfClick_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("left");
    QTest::addColumn<int>("right");
    QTest::addColumn<int>("other");

    QTest::newRow("left") << 1 << 1 << 0 << 0;
    QTest::newRow("middle") << 2 << 0 << 0 << 1;
    QTest::newRow("right") << 3 << 0 << 1 << 0;
    QTest::newRow("back") << 8 << 0 << 0 << 1;
    QTest::newRow("forward") << 9 << 0 << 0 << 1;
    QTest::newRow("tenth") << 10 << 0 << 0 << 1;
}

void X11InputTest::theButtonSaysTheTypeOfClick()
{
    QFETCH(int, button);
    X11Input input;
    Reports reports;
    startTap(input, reports);

    injector->click(static_cast<std::uint8_t>(button));
    injector->sync();
    input.drain();

    QTEST(reports.left, "left");
    QTEST(reports.right, "right");
    QTEST(reports.other, "other");
}

void X11InputTest::theWheelCountsNothing()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);

    for (std::uint8_t wheel = 4; wheel <= 7; ++wheel)
        injector->click(wheel);
    injector->sync();
    input.drain();

    QCOMPARE(reports.clicks(), 0);
}

void X11InputTest::onlyTheEventsOfInterestAreReported()
{
    X11Input input;
    Reports reports;
    startTap(input, reports, eventMask(EventType::RightMouseDown));

    injector->typeKey(injector->keyCode(XK_a));
    injector->click(1);
    injector->click(2);
    injector->click(3);
    injector->sync();
    input.drain();

    QCOMPARE(reports.right, 1);
    QCOMPARE(reports.clicks(), 1);
    QCOMPARE(reports.keys, 0);
}

void X11InputTest::pressesCountWhileAnotherProgramHoldsAGrab_data()
{
    QTest::addColumn<std::function<bool(Client&)>>("grab");
    using Grab = std::function<bool(Client&)>;

    QTest::newRow("keyboard") << Grab([](Client& client) { return client.grabKeyboard(); });
    QTest::newRow("pointer") << Grab([](Client& client) { return client.grabPointer(); });
    QTest::newRow("keyboard, XInput 2")
        << Grab([](Client& client) { return client.grabDevice(3, XCB_INPUT_XI_EVENT_MASK_KEY_PRESS); });
    QTest::newRow("pointer, XInput 2")
        << Grab([](Client& client) { return client.grabDevice(2, XCB_INPUT_XI_EVENT_MASK_BUTTON_PRESS); });
    QTest::newRow("keyboard, raw events") << Grab([](Client& client) {
        return client.grabDevice(
            3, XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS);
    });
}

void X11InputTest::pressesCountWhileAnotherProgramHoldsAGrab()
{
    QFETCH(std::function<bool(Client&)>, grab);
    X11Input input;
    Reports reports;
    startTap(input, reports);
    Client other(desktop->display());
    QVERIFY(grab(other));

    injector->typeKey(injector->keyCode(XK_a));
    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 1);
    QCOMPARE(reports.clicks(), 1);
}

void X11InputTest::altGrNeverCounts_data()
{
    QTest::addColumn<QString>("layout");

    QTest::newRow("English") << "us";
    QTest::newRow("German") << "de";
    QTest::newRow("French") << "fr";
    QTest::newRow("English, then German") << "us,de";
}

void X11InputTest::altGrNeverCounts()
{
    QFETCH(QString, layout);
    X11Input input;
    Reports reports;
    startTap(input, reports);
    QVERIFY(desktop->run("setxkbmap", { "-rules", "evdev", "-layout", layout }));

    injector->pressKey(altGr);
    injector->typeKey(injector->keyCode(XK_e));
    injector->releaseKey(altGr);
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 1);
}

void X11InputTest::mediaKeysNeverCount()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    QVERIFY(desktop->run("setxkbmap", { "-rules", "evdev", "-layout", "us" }));

    constexpr std::array<xcb_keysym_t, 7> symbols { XF86XK_AudioRaiseVolume, XF86XK_AudioMute,
        XF86XK_AudioPlay, XF86XK_MonBrightnessUp, XF86XK_PowerOff, XF86XK_Sleep, XF86XK_Calculator };

    for (const xcb_keysym_t symbol : symbols) {
        const auto code = injector->keyCode(symbol);
        QVERIFY(code != 0);
        injector->typeKey(code);
    }
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 0);
}

void X11InputTest::aLayoutThatIsSwitchedHoldsFromTheNextPress()
{
    // On "neo" the key that types a backslash elsewhere is a second AltGr.
    X11Input input;
    Reports reports;
    startTap(input, reports);

    const auto typeBoth = [&] {
        reports.keys = 0;
        injector->typeKey(backslash);
        injector->typeKey(capsLock);
        injector->sync();
        input.drain();
        return reports.keys;
    };

    const int inEnglish = typeBoth();
    QVERIFY(desktop->run("setxkbmap", { "-rules", "evdev", "-layout", "de", "-variant", "neo" }));
    const int inNeo = typeBoth();
    QVERIFY(desktop->run("setxkbmap", { "-rules", "evdev", "-layout", "us", "-option", "caps:escape" }));
    const int withCapsLockAsEscape = typeBoth();

    QCOMPARE(inEnglish, 1);
    QCOMPARE(inNeo, 0);
    QCOMPARE(withCapsLockAsEscape, 2);
}

void X11InputTest::aKeyThatBecomesAModifierStopsCounting()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    Client other(desktop->display());
    const auto key = injector->keyCode(XK_a);
    const auto functionKey = injector->keyCode(XK_F1);

    injector->typeKey(key);
    injector->typeKey(functionKey);
    injector->sync();
    input.drain();
    const int before = reports.keys;
    other.changeSymbol(key, XK_Hyper_L);
    QVERIFY(other.setModifier(7, functionKey));
    injector->typeKey(key);
    injector->typeKey(functionKey);
    injector->sync();
    input.drain();
    const int asModifiers = reports.keys;
    other.changeSymbol(key, XK_a);
    QVERIFY(other.setModifier(7, 0));
    injector->typeKey(key);
    injector->typeKey(functionKey);
    injector->sync();
    input.drain();

    QCOMPARE(before, 2);
    QCOMPARE(asModifiers, 2);
    QCOMPARE(reports.keys, 4);
}

void X11InputTest::noPressIsLostAmongManyChangesOfTheKeyboard()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    Client other(desktop->display());
    const auto typed = injector->keyCode(XK_a);
    const auto changed = injector->keyCode(XK_b);

    for (int i = 0; i < 200; ++i) {
        other.changeSymbol(changed, i % 2 == 0 ? XK_Hyper_L : XK_b);
        other.sync();
        injector->typeKey(typed);
        injector->click();
        injector->sync();
    }

    QTRY_COMPARE(reports.keys, 200);
    QTRY_COMPARE(reports.clicks(), 200);
}

void X11InputTest::fastInputIsCountedExactly()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    const auto key = injector->keyCode(XK_a);
    const auto shift = injector->keyCode(XK_Shift_L);

    for (int i = 0; i < 20000; ++i) {
        injector->typeKey(key);
        if (i % 4 == 0) {
            injector->click(static_cast<std::uint8_t>(i % 3 + 1));
            injector->scrollDown();
            injector->typeKey(shift);
            injector->moveTo(static_cast<std::int16_t>(i % 900), static_cast<std::int16_t>(i % 700));
        }
    }
    injector->sync();

    QTRY_COMPARE(reports.keys, 20000);
    QTRY_COMPARE(reports.clicks(), 5000);
    input.drain();
    QCOMPARE(reports.keys, 20000);
    QCOMPARE(reports.clicks(), 5000);
}

void X11InputTest::pressesOfABurstAreTakenTogether()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    WakeUps wakeUps;
    const auto key = injector->keyCode(XK_a);

    // Two milliseconds apart: a slow machine may see gaps, but not after every other press.
    int presses = 0;
    QTimer typist;
    connect(&typist, &QTimer::timeout, this, [&] {
        injector->typeKey(key);
        injector->sync();
        if (++presses == 200)
            typist.stop();
    });
    typist.start(2);
    QTRY_COMPARE(reports.keys, 200);

    QCOMPARE_LT(wakeUps.count, 100);
}

void X11InputTest::aBurstHoldsNothingBackFromWhoeverWatchesButtons()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    int moves = 0;
    for (int i = 1; i <= 3; ++i) {
        injector->typeKey(injector->keyCode(XK_a));
        injector->sync();
        QTRY_COMPARE(reports.keys, i);
    }

    input.watchButtons([&moves](X11Input::ButtonMove) { ++moves; });
    WakeUps wakeUps;
    injector->click();
    injector->sync();
    QTRY_COMPARE(moves, 2);

    QCOMPARE_GT(wakeUps.count, 0);
}

void X11InputTest::whoeverWatchesButtonsIsNotToldOfThePressesBefore()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    injector->click();
    injector->sync();
    int moves = 0;

    input.watchButtons([&moves](X11Input::ButtonMove) { ++moves; });
    injector->click();
    injector->sync();

    QTRY_COMPARE(reports.clicks(), 2);
    QTRY_COMPARE(moves, 2);
}

void X11InputTest::motionWakesNobody()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    WakeUps wakeUps;

    for (int i = 0; i < 5000; ++i) {
        injector->moveTo(static_cast<std::int16_t>(i % 900), static_cast<std::int16_t>(i % 700));
        if (i % 50 == 0)
            processWhatFollows();
    }
    processWhatFollows();
    const int wakeUpsOfMotion = wakeUps.count;
    injector->click();
    injector->sync();
    QTRY_COMPARE(reports.left, 1);

    QCOMPARE(wakeUpsOfMotion, 0);
    QCOMPARE(wakeUps.count, 1);
}

void X11InputTest::keysWakeNobodyWhileOnlyTheMonitorRuns()
{
    X11Input input;
    Reports reports;
    QVERIFY(startMonitor(input, reports));
    const auto key = injector->keyCode(XK_a);
    // The first key after those of another device: the server announces the change of keyboards to everyone.
    injector->typeKey(key);
    injector->sync();
    input.drain();
    WakeUps wakeUps;

    for (int i = 0; i < 100; ++i) {
        injector->typeKey(key);
        processWhatFollows();
    }
    const int wakeUpsOfKeys = wakeUps.count;
    injector->click();
    injector->sync();
    QTRY_COMPARE(reports.monitored, 1);

    QCOMPARE(wakeUpsOfKeys, 0);
    QCOMPARE(wakeUps.count, 1);
}

void X11InputTest::aClickWakesNobodyAfterTheMonitorIsRemoved()
{
    X11Input input;
    Reports reports;
    const auto monitor = startMonitor(input, reports);
    QVERIFY(monitor);
    injector->click();
    injector->sync();
    QTRY_COMPARE(reports.monitored, 1);
    WakeUps wakeUps;

    input.mouseMonitor().remove(*monitor);
    input.drain();
    for (int i = 0; i < 100; ++i) {
        injector->click();
        processWhatFollows();
    }

    QCOMPARE(reports.monitored, 1);
    QCOMPARE(wakeUps.count, 0);
}

void X11InputTest::theMonitorIsSilentWhileTheTapRuns()
{
    X11Input input;
    Reports reports;
    QVERIFY(startMonitor(input, reports));
    startTap(input, reports);

    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(reports.left, 1);
    QCOMPARE(reports.monitored, 0);
}

void X11InputTest::eachClickCountsOnceAcrossTheHandOver()
{
    X11Input input;
    Reports reports;
    const auto monitor = startMonitor(input, reports);
    const auto clickTenTimes = [this] {
        for (int i = 0; i < 10; ++i)
            injector->click();
        injector->sync();
    };
    EventTap& taps = input.eventTap();

    clickTenTimes();
    input.drain();
    clickTenTimes();
    const auto tap = taps.create({ .eventsOfInterest = tapMask }, report, &reports);
    clickTenTimes();
    input.mouseMonitor().remove(*monitor);
    clickTenTimes();
    taps.addToMainRunLoop(taps.makeRunLoopSource(*tap));
    clickTenTimes();
    taps.enable(*tap);
    clickTenTimes();
    input.drain();

    QCOMPARE(reports.monitored, 10);
    QCOMPARE(reports.left, 50);
}

void X11InputTest::eachClickOfAStreamCountsOnceAcrossTheHandOver()
{
    X11Input input;
    Reports reports;
    const auto monitor = startMonitor(input, reports);
    std::atomic<bool> goOn = true;
    int clicked = 0;
    std::thread clicking([&] {
        for (; goOn; ++clicked) {
            injector->click();
            injector->sync();
        }
    });

    const bool monitorReports = QTest::qWaitFor([&] { return reports.monitored >= 100; }, patience);
    startTap(input, reports);
    input.mouseMonitor().remove(*monitor);
    const bool tapReports = QTest::qWaitFor([&] { return reports.left >= 100; }, patience);
    goOn = false;
    clicking.join();
    input.drain();

    QVERIFY(monitorReports);
    QVERIFY(tapReports);
    QCOMPARE(reports.monitored + reports.left, clicked);
}

void X11InputTest::aMonitorMayRemoveItself()
{
    X11Input input;
    int handled = 0;
    std::optional<MouseMonitorId> monitor;
    monitor = input.mouseMonitor().add(mouseDownMask, [&] {
        input.mouseMonitor().remove(*monitor);
        ++handled;
    });

    injector->click();
    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(handled, 1);
}

void X11InputTest::aSecondTapOrMonitorIsRefused()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    QVERIFY(startMonitor(input, reports));

    const auto tap = input.eventTap().create({ .eventsOfInterest = tapMask }, report, &reports);
    const auto monitor = startMonitor(input, reports);

    QVERIFY(!tap);
    QVERIFY(!monitor);
}

void X11InputTest::withoutAServerEverythingIsRefused()
{
    qunsetenv("DISPLAY");
    X11Input input;
    Reports reports;

    const auto tap = input.eventTap().create({ .eventsOfInterest = tapMask }, report, &reports);
    const auto monitor = startMonitor(input, reports);
    input.drain();

    QVERIFY(!tap);
    QVERIFY(!monitor);
}

void X11InputTest::whatWasPressedBeforeTheServerDiedCounts()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    injector->typeKey(injector->keyCode(XK_a));
    injector->sync();
    input.drain();
    for (int i = 0; i < 100; ++i)
        injector->typeKey(injector->keyCode(XK_a));
    injector->sync();

    desktop->killServer();
    input.drain();

    QCOMPARE(reports.keys, 101);
}

void X11InputTest::whatWasPressedAfterAChangeOfTheKeyboardCountsAsWell()
{
    X11Input input;
    Reports reports;
    startTap(input, reports);
    Client other(desktop->display());
    other.changeSymbol(injector->keyCode(XK_b), XK_Hyper_L);
    other.sync();
    for (int i = 0; i < 100; ++i)
        injector->typeKey(injector->keyCode(XK_a));
    injector->sync();

    desktop->killServer();
    input.drain();

    QCOMPARE(reports.keys, 100);
}

void X11InputTest::aDeadServerIsQuiet()
{
    X11Input input;
    Reports reports;
    const auto monitor = startMonitor(input, reports);
    QCoreApplication::processEvents();
    WakeUps wakeUps;

    desktop->killServer();
    QTRY_VERIFY(wakeUps.count > 0);
    const int wakeUpsOfTheEnd = wakeUps.count;
    for (int i = 0; i < 100; ++i)
        QCoreApplication::processEvents();
    const auto tap = input.eventTap().create({ .eventsOfInterest = tapMask }, report, &reports);
    input.mouseMonitor().remove(*monitor);
    const auto secondMonitor = startMonitor(input, reports);
    input.drain();

    QCOMPARE(wakeUps.count, wakeUpsOfTheEnd);
    QVERIFY(!tap);
    QVERIFY(!secondMonitor);
}

static const TestArea area("X11Input", runTest<X11InputTest>);

#include "X11InputTest.moc"
