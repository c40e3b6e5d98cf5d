#include "platform/linux/input/X11Input.h"

#include "platform/linux/windows/ServedLoop.h"
#include "support/Injector.h"
#include "support/Patience.h"
#include "support/TapReports.h"
#include "support/TestArea.h"
#include "support/VirtualDesktop.h"

#include <QSocketNotifier>
#include <QTest>
#include <QTimer>

#include <X11/XF86keysym.h>
#include <X11/keysym.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr std::uint8_t altGr = 108;
constexpr std::uint8_t capsLock = 66;
constexpr std::uint8_t backslash = 51;

class StoppedClock final : public Clock {
public:
    Moment now() const override { return std::chrono::sys_days(2026y / 11 / 16); }
};

void startTap(X11Input& input, TapReports& reports)
{
    EventTap& tap = input.eventTap();
    QVERIFY(tap.create(reportTo(reports)));
    tap.enable();
}

bool startMonitor(X11Input& input, TapReports& reports)
{
    return input.mouseMonitor().start([&reports](std::optional<Moment>) { ++reports.monitored; });
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

    /// Makes every keyboard look like one of the machine.
    void giveDeviceNodes()
    {
        const auto devices = allDevices();
        // The library reads up to the next multiple of four.
        constexpr std::array<char, 20> node { "/dev/input/event0" };
        constexpr auto length = static_cast<std::uint32_t>(std::string_view(node.data()).size());
        auto device = xcb_input_xi_query_device_infos_iterator(devices.get());
        for (; device.rem > 0; xcb_input_xi_device_info_next(&device)) {
            xcb_input_xi_change_property(connection.get(), device.data->deviceid, XCB_PROP_MODE_REPLACE, 8,
                atom(connection.get(), "Device Node"), XCB_ATOM_STRING, length, node.data());
        }
        sync();
    }

    /// Plugs a keyboard in, on which this program types from then on. Its number; 0 when there is none.
    std::uint16_t addKeyboard()
    {
        constexpr std::uint16_t length = 4;
        constexpr std::uint8_t yes = 1;
        struct {
            xcb_input_add_master_t head { .type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_ADD_MASTER,
                .len = length,
                .name_len = 5,
                .send_core = yes,
                .enable = yes };
            std::array<char, 8> name { "added" };
        } change;
        xcb_input_xi_change_hierarchy(
            connection.get(), 1, reinterpret_cast<const xcb_input_hierarchy_change_t*>(&change));
        const auto devices = allDevices();
        std::uint16_t keyboard = 0;
        auto device = xcb_input_xi_query_device_infos_iterator(devices.get());
        for (; device.rem > 0; xcb_input_xi_device_info_next(&device)) {
            const std::string_view name(xcb_input_xi_device_info_name(device.data), device.data->name_len);
            if (name == "added pointer")
                addedPointer = device.data->deviceid;
            else if (name == "added XTEST keyboard")
                keyboard = device.data->deviceid;
        }
        xcb_input_xi_set_client_pointer(connection.get(), XCB_WINDOW_NONE, addedPointer);
        return keyboard;
    }
    void removeKeyboard()
    {
        xcb_input_remove_master_t change {};
        change.type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_REMOVE_MASTER;
        change.len = 3;
        change.deviceid = addedPointer;
        change.return_mode = XCB_INPUT_CHANGE_MODE_FLOAT;
        xcb_input_xi_change_hierarchy(
            connection.get(), 1, reinterpret_cast<const xcb_input_hierarchy_change_t*>(&change));
        sync();
    }
    void pressKey(std::uint8_t code) { fake(XCB_KEY_PRESS, code); }
    void releaseKey(std::uint8_t code) { fake(XCB_KEY_RELEASE, code); }
    void typeKey(std::uint8_t code)
    {
        pressKey(code);
        releaseKey(code);
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
    void fake(std::uint8_t type, std::uint8_t code)
    {
        xcb_test_fake_input(connection.get(), type, code, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
        sync();
    }

    XcbReply<xcb_input_xi_query_device_reply_t> allDevices()
    {
        const XcbReply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
            connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
        return XcbReply<xcb_input_xi_query_device_reply_t>(xcb_input_xi_query_device_reply(
            connection.get(), xcb_input_xi_query_device(connection.get(), XCB_INPUT_DEVICE_ALL), nullptr));
    }

    XcbConnection connection;
    xcb_window_t root;
    std::uint16_t addedPointer = 0;
};

/// An X server that knows no extension, and ends with its first client at the latest.
class BareServer final {
public:
    BareServer()
        : socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        // In the namespace of names without files, where the library looks first.
        int result = -1;
        while (result != 0 && number < 65536) {
            const auto name = "/tmp/.X11-unix/X" + QByteArray::number(++number);
            sockaddr_un address { .sun_family = AF_UNIX, .sun_path = {} };
            std::ranges::copy(name, address.sun_path + 1);
            const auto size = offsetof(sockaddr_un, sun_path) + 1 + static_cast<std::size_t>(name.size());
            result = bind(
                socket.get(), reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(size));
        }
        listen(socket.get(), 1);
        thread = std::thread([this] { serve(); });
    }
    BareServer(const BareServer&) = delete;
    BareServer& operator=(const BareServer&) = delete;
    ~BareServer()
    {
        end();
        thread.join();
    }

    QByteArray display() const { return ':' + QByteArray::number(number); }
    void end() { shutdown(isServing ? client.get() : socket.get(), SHUT_RDWR); }

private:
    void serve()
    {
        client = FileDescriptor(accept4(socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        isServing = true;
        std::array<std::uint8_t, 4096> request {};
        // What it says of itself: requests of any length, and one screen without anything.
        std::array<std::uint8_t, 80> setup { 1, 0, 11, 0, 0, 0, 18 };
        setup[26] = setup[27] = 0xff;
        setup[28] = 1;
        std::array<std::uint8_t, 32> answer { 1 };
        if (read(client.get(), request.data(), request.size()) > 0)
            std::ignore = write(client.get(), setup.data(), setup.size());
        // An extension that is not there, and what the first bytes of other answers say of nothing.
        while (read(client.get(), request.data(), request.size()) > 0) {
            ++answer[2];
            std::ignore = write(client.get(), answer.data(), answer.size());
        }
    }

    int number = 1000;
    FileDescriptor socket;
    FileDescriptor client;
    std::atomic<bool> isServing = false;
    std::thread thread;
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
    void aHeldKeyThatIsPressedAgainAndAgainCountsOnce();
    void aKeyThatWasReleasedCountsAgain();
    void ofAKeyboardOfTheMachineNoReleaseWakesAnybody();
    void aKeyboardThatAppearsMeanwhileIsKnownBeforeItIsHeld();
    void whatIsTypedBeforeReleasesAreToldOfIsNotHeld();
    void aKeyboardThatTakesTheNumberOfAnotherIsItself_data();
    void aKeyboardThatTakesTheNumberOfAnotherIsItself();
    void shiftAloneCountsNothing();
    void aLetterWithShiftCountsOnce();
    void eachButtonMakesAClick_data();
    void eachButtonMakesAClick();
    void theWheelCountsNothing();
    void nothingIsReportedBeforeTheTapIsEnabled();
    void pressesCountWhileAnotherProgramHoldsAGrab_data();
    void pressesCountWhileAnotherProgramHoldsAGrab();
    void altGrNeverCounts_data();
    void altGrNeverCounts();
    void mediaKeysNeverCount();
    void aLayoutThatIsSwitchedHoldsFromTheNextPress();
    void aKeyThatBecomesAModifierStopsCounting();
    void noPressIsLostAmongManyChangesOfTheKeyboard();
    void aPressThatWaitsForTheKeyboardWaitsForNothingElse();
    void fastInputIsCountedExactly();
    void pressesOfABurstAreTakenTogether_data();
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
    void whatWasPressedWhileAPressIsHandledCountsWhenTheServerDiesThen();
    void whatWasPressedAfterAChangeOfTheKeyboardCountsAsWell();
    void aDeadServerIsQuiet();
    void aServerThatDiesDuringABurstIsQuiet();
    void theBurstEndsWithItsServer();
    void aBurstEnds();
    void whatIsPressedWhileButtonsAreWatchedIsToldAtOnce();
    void whatMayNotWaitIsToldAtOnce();
    void whatArrivesWithAnAnswerIsReported();
    void aChangeOfTheKeyboardOutlivesDrainingWithoutAnAnswer();
    void theLossOfTheServerIsToldOnceAndAfterItsPresses();
    void withoutAServerNoLossIsTold();
    void theLossOfAServerThatReportsNothingIsToldToo();
    void theLossIsToldWhenDrainingFindsIt();
    void aPressThatWaitsKeepsItsMoment();
    void theMonitorIsToldTheMomentAsWell();
    void thePointerIsWhereItWasMoved();
    void pressesAroundTheQuestionForThePointerKeepTheirOrder();
    void aServerThatDoesNotAnswerHasNoPointer();

private:
    /// For a server that may be kept waiting, but not for good.
    X11Input patientInput() { return X11Input(loop, clock, {}, std::chrono::milliseconds(patience)); }
    void processWhatFollows();
    void beginBurst(X11Input& input, const TapReports& reports);
    static void letTimePass();

    StoppedClock clock;
    EventLoop loop;
    ServedLoop served { loop };
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

// Types until a press waits in the socket.
void X11InputTest::beginBurst(X11Input& input, const TapReports& reports)
{
    // The first key of a keyboard makes it another one, for which its press would wait.
    injector->typeKey(injector->keyCode(XK_a));
    injector->sync();
    input.drain();
    for (int pressed = reports.keys; reports.keys == pressed; ++pressed) {
        injector->typeKey(injector->keyCode(XK_a));
        injector->sync();
        loop.dispatch();
    }
}

// Longer than anything waits in the socket.
void X11InputTest::letTimePass()
{
    QEventLoop waiting;
    QTimer::singleShot(3000, &waiting, &QEventLoop::quit);
    waiting.exec();
}

void X11InputTest::pressesArriveThroughTheEventLoop()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);

    injector->typeKey(injector->keyCode(XK_a));
    injector->click();
    injector->sync();

    QTRY_COMPARE(reports.keys, 1);
    QTRY_COMPARE(reports.clicks, 1);
}

void X11InputTest::drainingDeliversAllThatWasPressedBefore()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    const auto key = injector->keyCode(XK_a);
    for (int i = 0; i < 1000; ++i) {
        injector->typeKey(key);
        injector->click();
    }
    injector->sync();

    input.drain();

    QCOMPARE(reports.keys, 1000);
    QCOMPARE(reports.clicks, 1000);
}

void X11InputTest::aHeldKeyCountsOnce()
{
    X11Input input = patientInput();
    TapReports reports;
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

void X11InputTest::aHeldKeyThatIsPressedAgainAndAgainCountsOnce()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    const auto key = injector->keyCode(XK_a);
    const auto other = injector->keyCode(XK_b);

    for (int i = 0; i < 21; ++i)
        injector->pressKey(key);
    injector->typeKey(other);
    injector->pressKey(key);
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 2);
    QCOMPARE(reports.repeats, 21);
}

void X11InputTest::aKeyThatWasReleasedCountsAgain()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    const auto key = injector->keyCode(XK_a);

    for (int i = 0; i < 3; ++i) {
        injector->pressKey(key);
        injector->pressKey(key);
        injector->releaseKey(key);
    }
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 3);
    QCOMPARE(reports.repeats, 3);
}

void X11InputTest::ofAKeyboardOfTheMachineNoReleaseWakesAnybody()
{
    Client other(desktop->display());
    other.giveDeviceNodes();
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    const auto key = injector->keyCode(XK_a);
    injector->pressKey(key);
    injector->sync();
    QTRY_COMPARE(reports.keys, 1);
    letTimePass();
    WakeUps wakeUps;

    injector->releaseKey(key);
    processWhatFollows();
    processWhatFollows();

    QCOMPARE(wakeUps.count, 0);
}

void X11InputTest::aKeyboardThatAppearsMeanwhileIsKnownBeforeItIsHeld()
{
    X11Input input = patientInput();
    input.letPressesWait(0ms);
    TapReports reports;
    startTap(input, reports);
    Client hands(desktop->display());
    QVERIFY(hands.addKeyboard() > 0);
    // It hears of the keyboard, and asks for what that is.
    input.drain();
    loop.dispatch();

    const auto key = injector->keyCode(XK_a);
    for (int i = 0; i < 5; ++i)
        hands.pressKey(key);
    input.drain();

    QCOMPARE(reports.keys, 1);
    QCOMPARE(reports.repeats, 4);
}

void X11InputTest::whatIsTypedBeforeReleasesAreToldOfIsNotHeld()
{
    X11Input input = patientInput();
    input.letPressesWait(0ms);
    TapReports reports;
    startTap(input, reports);
    Client hands(desktop->display());
    QVERIFY(hands.addKeyboard() > 0);
    input.drain();
    const auto key = injector->keyCode(XK_a);
    for (int i = 0; i < 3; ++i)
        hands.typeKey(key);
    // The presses are there, and handled once the keyboard has been asked about.
    QVERIFY(input.pointer());
    loop.dispatch();
    input.drain();
    const int typed = reports.keys;

    for (int i = 0; i < 5; ++i)
        hands.pressKey(key);
    input.drain();

    QCOMPARE(typed, 3);
    QCOMPARE(reports.keys, 4);
    QCOMPARE(reports.repeats, 4);
}

void X11InputTest::aKeyboardThatTakesTheNumberOfAnotherIsItself_data()
{
    QTest::addColumn<bool>("firstIsOfTheMachine");
    QTest::addColumn<bool>("secondIsOfTheMachine");

    QTest::newRow("one of a program after one of the machine") << true << false;
    QTest::newRow("one of the machine after one of a program") << false << true;
    QTest::newRow("one of a program after another") << false << false;
}

void X11InputTest::aKeyboardThatTakesTheNumberOfAnotherIsItself()
{
    QFETCH(const bool, firstIsOfTheMachine);
    QFETCH(const bool, secondIsOfTheMachine);
    X11Input input = patientInput();
    input.letPressesWait(0ms);
    TapReports reports;
    startTap(input, reports);
    Client hands(desktop->display());
    const auto key = injector->keyCode(XK_a);
    const auto plugIn = [&](bool isOfTheMachine) {
        const auto number = hands.addKeyboard();
        if (isOfTheMachine)
            hands.giveDeviceNodes();
        // What a keyboard is, is asked after the first press at the latest.
        hands.typeKey(key);
        input.drain();
        loop.dispatch();
        return number;
    };
    const auto first = plugIn(firstIsOfTheMachine);
    hands.typeKey(key);
    hands.removeKeyboard();

    const auto second = plugIn(secondIsOfTheMachine);
    for (int i = 0; i < 5; ++i)
        hands.typeKey(key);
    input.drain();
    const int typed = reports.keys;
    for (int i = 0; i < 5; ++i)
        hands.pressKey(key);
    input.drain();

    QVERIFY(first > 0);
    QCOMPARE(second, first);
    QCOMPARE(typed, 8);
    QCOMPARE(reports.keys, secondIsOfTheMachine ? 13 : 9);
    letTimePass();
    WakeUps wakeUps;
    hands.releaseKey(key);
    processWhatFollows();
    processWhatFollows();
    QCOMPARE(wakeUps.count > 0, !secondIsOfTheMachine);
}

void X11InputTest::shiftAloneCountsNothing()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);

    injector->typeKey(injector->keyCode(XK_Shift_L));
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 0);
}

void X11InputTest::aLetterWithShiftCountsOnce()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    const auto shift = injector->keyCode(XK_Shift_L);

    injector->pressKey(shift);
    injector->typeKey(injector->keyCode(XK_a));
    injector->releaseKey(shift);
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 1);
}

void X11InputTest::eachButtonMakesAClick_data()
{
    QTest::addColumn<int>("button");

    QTest::newRow("left") << 1;
    QTest::newRow("middle") << 2;
    QTest::newRow("right") << 3;
    QTest::newRow("back") << 8;
    QTest::newRow("forward") << 9;
    QTest::newRow("tenth") << 10;
}

void X11InputTest::eachButtonMakesAClick()
{
    QFETCH(int, button);
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);

    injector->click(static_cast<std::uint8_t>(button));
    injector->sync();
    input.drain();

    QCOMPARE(reports.clicks, 1);
    QCOMPARE(reports.keys, 0);
}

void X11InputTest::theWheelCountsNothing()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);

    for (std::uint8_t wheel = 4; wheel <= 7; ++wheel)
        injector->click(wheel);
    injector->sync();
    input.drain();

    QCOMPARE(reports.clicks, 0);
}

void X11InputTest::nothingIsReportedBeforeTheTapIsEnabled()
{
    X11Input input = patientInput();
    TapReports reports;
    QVERIFY(input.eventTap().create(reportTo(reports)));

    injector->typeKey(injector->keyCode(XK_a));
    injector->click();
    injector->sync();
    input.drain();
    const TapReports before = reports;
    input.eventTap().enable();
    injector->typeKey(injector->keyCode(XK_a));
    injector->sync();
    input.drain();

    QCOMPARE(before.keys + before.clicks, 0);
    QCOMPARE(reports.keys, 1);
    QCOMPARE(reports.clicks, 0);
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
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    Client other(desktop->display());
    QVERIFY(grab(other));

    injector->typeKey(injector->keyCode(XK_a));
    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(reports.keys, 1);
    QCOMPARE(reports.clicks, 1);
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
    X11Input input = patientInput();
    TapReports reports;
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
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    QVERIFY(desktop->run("setxkbmap", { "-rules", "evdev", "-layout", "us" }));

    constexpr std::array<xcb_keysym_t, 6> symbols { XF86XK_AudioRaiseVolume, XF86XK_AudioMute,
        XF86XK_AudioPlay, XF86XK_MonBrightnessUp, XF86XK_PowerOff, XF86XK_Sleep };

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
    X11Input input = patientInput();
    TapReports reports;
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
    X11Input input = patientInput();
    TapReports reports;
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
    X11Input input = patientInput();
    TapReports reports;
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
    QTRY_COMPARE(reports.clicks, 200);
}

// Whenever the answer comes that it waits for. Each time at another moment, since there is no saying when.
void X11InputTest::aPressThatWaitsForTheKeyboardWaitsForNothingElse()
{
    X11Input input = patientInput();
    input.letPressesWait(0ms);
    TapReports reports;
    startTap(input, reports);
    Client other(desktop->display());
    const auto typed = injector->keyCode(XK_a);
    const auto changed = injector->keyCode(XK_b);

    for (int i = 1; i <= 3000; ++i) {
        other.changeSymbol(changed, i % 2 == 0 ? XK_Hyper_L : XK_b);
        other.sync();
        injector->typeKey(typed);
        injector->sync();
        const QDeadlineTimer deadline(patience);
        while (reports.keys < i && !deadline.hasExpired())
            loop.dispatch();
        QCOMPARE(reports.keys, i);
    }
}

void X11InputTest::fastInputIsCountedExactly()
{
    X11Input input = patientInput();
    TapReports reports;
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
    QTRY_COMPARE(reports.clicks, 5000);
    input.drain();
    QCOMPARE(reports.keys, 20000);
    QCOMPARE(reports.clicks, 5000);
}

void X11InputTest::pressesOfABurstAreTakenTogether_data()
{
    QTest::addColumn<std::chrono::milliseconds>("wait");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("presses");
    QTest::addColumn<int>("mostWakeUps");

    // A slow machine may see gaps, but not after every other press.
    QTest::newRow("two milliseconds apart, shown") << X11Input::shownWait << 2 << 200 << 100;
    QTest::newRow("ten a second, shown") << X11Input::shownWait << 100 << 50 << 40;
    QTest::newRow("ten a second") << X11Input::usualWait << 100 << 50 << 15;
}

void X11InputTest::pressesOfABurstAreTakenTogether()
{
    QFETCH(const std::chrono::milliseconds, wait);
    QFETCH(const int, interval);
    QFETCH(const int, presses);
    QFETCH(const int, mostWakeUps);
    X11Input input = patientInput();
    input.letPressesWait(wait);
    TapReports reports;
    startTap(input, reports);
    WakeUps wakeUps;
    const auto key = injector->keyCode(XK_a);

    int typed = 0;
    QTimer typist;
    connect(&typist, &QTimer::timeout, this, [&] {
        injector->typeKey(key);
        injector->sync();
        if (++typed == presses)
            typist.stop();
    });
    typist.start(interval);
    QTRY_COMPARE(reports.keys, presses);

    QCOMPARE_LT(wakeUps.count, mostWakeUps);
}

void X11InputTest::aBurstHoldsNothingBackFromWhoeverWatchesButtons()
{
    X11Input input = patientInput();
    TapReports reports;
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
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    injector->click();
    injector->sync();
    int moves = 0;

    input.watchButtons([&moves](X11Input::ButtonMove) { ++moves; });
    injector->click();
    injector->sync();

    QTRY_COMPARE(reports.clicks, 2);
    QTRY_COMPARE(moves, 2);
}

void X11InputTest::motionWakesNobody()
{
    X11Input input = patientInput();
    TapReports reports;
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
    QTRY_COMPARE(reports.clicks, 1);

    QCOMPARE(wakeUpsOfMotion, 0);
    QCOMPARE(wakeUps.count, 1);
}

void X11InputTest::keysWakeNobodyWhileOnlyTheMonitorRuns()
{
    X11Input input = patientInput();
    TapReports reports;
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
    X11Input input = patientInput();
    TapReports reports;
    QVERIFY(startMonitor(input, reports));
    injector->click();
    injector->sync();
    QTRY_COMPARE(reports.monitored, 1);
    WakeUps wakeUps;

    input.mouseMonitor().stop();
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
    X11Input input = patientInput();
    TapReports reports;
    QVERIFY(startMonitor(input, reports));
    startTap(input, reports);

    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(reports.clicks, 1);
    QCOMPARE(reports.monitored, 0);
}

void X11InputTest::eachClickCountsOnceAcrossTheHandOver()
{
    X11Input input = patientInput();
    TapReports reports;
    QVERIFY(startMonitor(input, reports));
    const auto clickTenTimes = [this] {
        for (int i = 0; i < 10; ++i)
            injector->click();
        injector->sync();
    };
    EventTap& tap = input.eventTap();

    clickTenTimes();
    input.drain();
    clickTenTimes();
    QVERIFY(tap.create(reportTo(reports)));
    clickTenTimes();
    input.mouseMonitor().stop();
    clickTenTimes();
    tap.enable();
    clickTenTimes();
    input.drain();

    QCOMPARE(reports.monitored, 10);
    QCOMPARE(reports.clicks, 40);
}

void X11InputTest::eachClickOfAStreamCountsOnceAcrossTheHandOver()
{
    X11Input input = patientInput();
    TapReports reports;
    QVERIFY(startMonitor(input, reports));
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
    input.mouseMonitor().stop();
    const bool tapReports = QTest::qWaitFor([&] { return reports.clicks >= 100; }, patience);
    goOn = false;
    clicking.join();
    input.drain();

    QVERIFY(monitorReports);
    QVERIFY(tapReports);
    QCOMPARE(reports.monitored + reports.clicks, clicked);
}

void X11InputTest::aMonitorMayRemoveItself()
{
    X11Input input = patientInput();
    int handled = 0;
    const bool isStarted = input.mouseMonitor().start([&](std::optional<Moment>) {
        input.mouseMonitor().stop();
        ++handled;
    });
    QVERIFY(isStarted);

    injector->click();
    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(handled, 1);
}

void X11InputTest::aSecondTapOrMonitorIsRefused()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    QVERIFY(startMonitor(input, reports));

    const bool tap = input.eventTap().create(reportTo(reports));
    const bool monitor = startMonitor(input, reports);

    QVERIFY(!tap);
    QVERIFY(!monitor);
}

void X11InputTest::withoutAServerEverythingIsRefused()
{
    qunsetenv("DISPLAY");
    X11Input input = patientInput();
    TapReports reports;

    const bool tap = input.eventTap().create(reportTo(reports));
    const bool monitor = startMonitor(input, reports);
    input.drain();

    QVERIFY(!tap);
    QVERIFY(!monitor);
}

void X11InputTest::whatWasPressedBeforeTheServerDiedCounts()
{
    X11Input input { loop, clock };
    TapReports reports;
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

// Which is asked to fill the buffer next.
void X11InputTest::whatWasPressedWhileAPressIsHandledCountsWhenTheServerDiesThen()
{
    X11Input input { loop, clock };
    int keys = 0;
    QVERIFY(input.eventTap().create([&](const TapEvent&) {
        if (++keys > 1)
            return;
        for (int i = 0; i < 100; ++i)
            injector->typeKey(injector->keyCode(XK_a));
        injector->sync();
        injector->sync();
        desktop->killServer();
    }));
    input.eventTap().enable();
    injector->typeKey(injector->keyCode(XK_a));
    injector->sync();

    QTRY_COMPARE(keys, 101);
}

void X11InputTest::whatWasPressedAfterAChangeOfTheKeyboardCountsAsWell()
{
    X11Input input { loop, clock };
    TapReports reports;
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
    X11Input input { loop, clock };
    TapReports reports;
    QVERIFY(startMonitor(input, reports));
    QCoreApplication::processEvents();
    WakeUps wakeUps;

    desktop->killServer();
    QTRY_VERIFY(wakeUps.count > 0);
    const int wakeUpsOfTheEnd = wakeUps.count;
    for (int i = 0; i < 100; ++i)
        QCoreApplication::processEvents();
    const bool tap = input.eventTap().create(reportTo(reports));
    input.mouseMonitor().stop();
    const bool secondMonitor = startMonitor(input, reports);
    input.drain();

    QCOMPARE(wakeUps.count, wakeUpsOfTheEnd);
    QVERIFY(!tap);
    QVERIFY(!secondMonitor);
}

void X11InputTest::aServerThatDiesDuringABurstIsQuiet()
{
    int losses = 0;
    X11Input input(loop, clock, [&losses] { ++losses; });
    TapReports reports;
    startTap(input, reports);
    beginBurst(input, reports);

    desktop->killServer();
    QTRY_COMPARE(losses, 1);
    WakeUps wakeUps;
    input.watchButtons([](X11Input::ButtonMove) {});
    letTimePass();

    QCOMPARE(wakeUps.count, 0);
}

void X11InputTest::theBurstEndsWithItsServer()
{
    int losses = 0;
    X11Input input(loop, clock, [&losses] { ++losses; });
    TapReports reports;
    startTap(input, reports);
    beginBurst(input, reports);

    desktop->killServer();
    QTRY_COMPARE(losses, 1);
    const WakeUps wakeUps;
    letTimePass();

    QCOMPARE(wakeUps.count, 0);
}

void X11InputTest::aBurstEnds()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    beginBurst(input, reports);

    WakeUps wakeUps;
    const auto isQuiet = [&wakeUps] {
        wakeUps.count = 0;
        letTimePass();
        return wakeUps.count == 0;
    };
    QTRY_VERIFY(isQuiet());
    injector->click();
    injector->sync();
    loop.dispatch();

    QCOMPARE(reports.clicks, 1);
}

void X11InputTest::whatIsPressedWhileButtonsAreWatchedIsToldAtOnce()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    beginBurst(input, reports);
    input.watchButtons([](X11Input::ButtonMove) {});
    const int before = reports.keys;

    for (int i = 1; i <= 100; ++i) {
        injector->typeKey(injector->keyCode(XK_a));
        injector->sync();
        loop.dispatch();
        QCOMPARE(reports.keys, before + i);
    }
}

void X11InputTest::whatMayNotWaitIsToldAtOnce()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    beginBurst(input, reports);
    const int before = reports.keys;

    input.letPressesWait(0ms);
    QTRY_COMPARE(reports.keys, before + 1);

    for (int i = 1; i <= 100; ++i) {
        injector->typeKey(injector->keyCode(XK_a));
        injector->sync();
        loop.dispatch();
        QCOMPARE(reports.keys, before + 1 + i);
    }
}

void X11InputTest::whatArrivesWithAnAnswerIsReported()
{
    X11Input input = patientInput();
    TapReports reports;
    startTap(input, reports);
    injector->typeKey(injector->keyCode(XK_a));
    injector->sync();

    // Reads from the socket until it is answered, and nothing comes after it.
    QVERIFY(startMonitor(input, reports));

    QCOMPARE(reports.keys, 0);
    QTRY_COMPARE(reports.keys, 1);
}

void X11InputTest::aChangeOfTheKeyboardOutlivesDrainingWithoutAnAnswer()
{
    X11Input input { loop, clock };
    TapReports reports;
    startTap(input, reports);
    Client other(desktop->display());
    const auto key = injector->keyCode(XK_a);
    injector->typeKey(key);
    injector->sync();
    input.drain();
    other.changeSymbol(key, XK_Hyper_L);
    other.sync();
    injector->typeKey(key);
    injector->sync();

    desktop->freezeServer();
    input.drain();
    const int whileFrozen = reports.keys;
    desktop->thawServer();
    injector->typeKey(key);
    injector->sync();
    input.drain();

    // By the keyboard that was known last, and then by the changed one.
    QCOMPARE(whileFrozen, 2);
    QCOMPARE(reports.keys, 2);
}

void X11InputTest::theLossOfTheServerIsToldOnceAndAfterItsPresses()
{
    TapReports reports;
    std::vector<int> keysAtTheLoss;
    X11Input input(loop, clock, [&] { keysAtTheLoss.push_back(reports.keys); });
    startTap(input, reports);
    for (int i = 0; i < 100; ++i)
        injector->typeKey(injector->keyCode(XK_a));
    injector->sync();

    desktop->killServer();
    QTRY_VERIFY(!keysAtTheLoss.empty());
    input.drain();
    letTimePass();

    QCOMPARE(keysAtTheLoss, std::vector { 100 });
}

void X11InputTest::withoutAServerNoLossIsTold()
{
    qunsetenv("DISPLAY");
    int losses = 0;
    X11Input input(loop, clock, [&losses] { ++losses; });

    input.drain();
    letTimePass();

    QCOMPARE(losses, 0);
}

void X11InputTest::theLossOfAServerThatReportsNothingIsToldToo()
{
    BareServer server;
    qputenv("DISPLAY", server.display());
    int losses = 0;
    X11Input input { loop, clock, [&losses] { ++losses; } };
    QVERIFY(input.hasServer());
    QVERIFY(!input.eventTap().create({}));
    QVERIFY(!input.mouseMonitor().start({}));
    input.watchButtons([](X11Input::ButtonMove) {});

    server.end();

    QTRY_COMPARE(losses, 1);
    QVERIFY(!input.hasServer());
}

void X11InputTest::theLossIsToldWhenDrainingFindsIt()
{
    int losses = 0;
    X11Input input(loop, clock, [&losses] { ++losses; });
    TapReports reports;
    startTap(input, reports);

    desktop->killServer();
    input.drain();
    const int lossesWithinDraining = losses;

    QTRY_COMPARE(losses, 1);
    QCOMPARE(lossesWithinDraining, 0);
}

void X11InputTest::aPressThatWaitsKeepsItsMoment()
{
    X11Input input = patientInput();
    std::vector<Moment> moments;
    const bool isCreated = input.eventTap().create(
        [&](const TapEvent& event) { moments.push_back(event.moment.value_or(Moment::max())); });
    QVERIFY(isCreated);
    input.eventTap().enable();

    injector->typeKey(injector->keyCode(XK_a));
    injector->pause(500ms);
    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(moments.size(), std::size_t { 2 });
    // On a clock that stands still, as if the presses had come over midnight.
    QVERIFY(moments[0] <= clock.now() - 450ms);
    QVERIFY(moments[1] >= moments[0] + 450ms);
    QVERIFY(moments[1] <= clock.now());
}

void X11InputTest::theMonitorIsToldTheMomentAsWell()
{
    X11Input input = patientInput();
    std::vector<std::optional<Moment>> told;
    QVERIFY(input.mouseMonitor().start([&](std::optional<Moment> moment) { told.push_back(moment); }));

    injector->click();
    injector->pause(500ms);
    // From which the server's clock is known, however late its first word was read.
    injector->click();
    injector->sync();
    input.drain();

    QCOMPARE(told.size(), std::size_t { 2 });
    QVERIFY(told[0]);
    QVERIFY(*told[0] <= clock.now() - 450ms);
}

void X11InputTest::thePointerIsWhereItWasMoved()
{
    X11Input input = patientInput();
    injector->moveTo(123, 45);
    injector->sync();

    QCOMPARE(input.pointer(), (ScreenPixel { 123, 45 }));
}

void X11InputTest::pressesAroundTheQuestionForThePointerKeepTheirOrder()
{
    X11Input input = patientInput();
    std::vector<TapEvent::Kind> order;
    QVERIFY(input.eventTap().create([&](const TapEvent& event) { order.push_back(event.kind); }));
    input.eventTap().enable();
    injector->typeKey(injector->keyCode(XK_a));
    injector->click();
    injector->sync();

    const auto pointer = input.pointer();
    const auto toldWithin = order.size();
    injector->typeKey(injector->keyCode(XK_a));
    injector->sync();
    QTRY_COMPARE(order.size(), std::size_t { 3 });

    QVERIFY(pointer);
    QCOMPARE(toldWithin, std::size_t { 0 });
    const std::vector expected { TapEvent::Kind::Key, TapEvent::Kind::Click, TapEvent::Kind::Key };
    QCOMPARE(order, expected);
}

void X11InputTest::aServerThatDoesNotAnswerHasNoPointer()
{
    X11Input input { loop, clock };
    TapReports reports;
    startTap(input, reports);
    injector->click();
    injector->sync();

    desktop->freezeServer();
    const auto pointer = input.pointer();
    QTRY_COMPARE(reports.clicks, 1);
    desktop->thawServer();
    QVERIFY(!pointer);
    QVERIFY(input.pointer());
    desktop->killServer();
    QVERIFY(!input.pointer());
}

static const TestArea area("X11Input", runTest<X11InputTest>);

#include "X11InputTest.moc"
