#pragma once

#include "platform/EventTap.h"
#include "platform/MenuBarItem.h"
#include "platform/MouseMonitor.h"
#include "platform/linux/Xcb.h"
#include "platform/linux/input/HeldKeys.h"
#include "platform/linux/input/KeyboardMap.h"
#include "platform/linux/input/ServerTime.h"
#include "platform/linux/process/EventLoop.h"
#include "support/Lifetime.h"

#include <bitset>
#include <chrono>
#include <deque>
#include <functional>
#include <optional>

/// The key and mouse presses of an X11 session, read on a connection of its own to the X server, which sends
/// them whichever program has the focus or a grab. One tap and one monitor at a time; while the tap runs, the
/// monitor receives nothing. Touching a touch screen is no mouse press.
class X11Input final
    : private EventTap
    , private MouseMonitor {
public:
    /// Connects to the display that the environment names. Without a server that can report presses, taps and
    /// monitors are refused. When the server goes away later, all that it has sent is reported, then `lost`
    /// is called, once and from the loop. `patience` is how long the server may take to answer: a round trip
    /// takes a tenth of a millisecond, but a busy machine may let either side of it wait. Loop and clock must
    /// outlive it.
    X11Input(EventLoop& loop, const Clock& clock, std::function<void()> lost = {},
        std::chrono::milliseconds patience = std::chrono::seconds(1));
    X11Input(const X11Input&) = delete;
    X11Input& operator=(const X11Input&) = delete;
    ~X11Input() override;

    enum class ButtonMove { Pressed, Released };

    EventTap& eventTap() { return *this; }
    MouseMonitor& mouseMonitor() { return *this; }

    /// Calls at each press and release of a mouse button, the wheel left out, besides what is counted. One
    /// function at a time; an empty one ends it, also from within the call. Meanwhile every press is told at
    /// once.
    void watchButtons(std::function<void(ButtonMove)> moved);

    /// Whether there is a server, as far as has been noticed, whatever it can report.
    bool hasServer() const { return !xcb_connection_has_error(connection.get()); }

    /// How long presses that follow another one wait, unless it is set. All that changes with each is a
    /// tooltip.
    static constexpr std::chrono::milliseconds usualWait { 1000 };
    /// The same where a number stands that changes with each. Whoever looks at it takes it for at once.
    static constexpr std::chrono::milliseconds shownWait { 250 };
    /// 0 for not at all.
    void letPressesWait(std::chrono::milliseconds time);

    /// Delivers all presses that the server has seen so far. Takes `patience` at most, when the server does
    /// not answer.
    void drain();

    /// Where the pointer is, on the whole of the screens. Nothing when the server does not answer in time.
    /// Presses that come meanwhile are delivered from the loop.
    std::optional<ScreenPixel> pointer();

    /// Whether the server is there, and has stopped to read or does not answer in time.
    bool isStuck() { return isConnected() && (!acceptsRequests(connection.get()) || !pointer()); }

private:
    using Steady = EventLoop::Clock;

    struct Tap {
        std::function<void(const TapEvent&)> handler;
        bool isRunning = false;
    };
    /// What becomes of key presses while the server owes its keyboard.
    enum class UnknownKeyboard { Waits, IsAsKnownLast };

    bool create(std::function<void(const TapEvent&)> handler) override;
    void enable() override;

    bool start(std::function<void(std::optional<Moment>)> handler) override;
    void stop() override;

    bool serverReportsPresses();
    bool isConnected() const;
    void select();
    void askForTime();
    void learnKeyboards();
    void learnKeyboardsLater();
    void hearOfKeyboards(const xcb_generic_event_t& change);
    std::uint32_t selectEvents(std::uint16_t device, std::uint32_t events);

    void announced();
    bool beginBurst();
    void fetchBurst();
    void endBurst();

    bool dispatch();
    void dispatchLater();
    bool receive();
    bool takeQueued();
    void take(XcbSecretEvent event);
    XcbReply<void> await(unsigned int request, Steady::time_point deadline);
    bool forgetKeys();
    bool takeFiller();
    void handleReceived(UnknownKeyboard unknown = UnknownKeyboard::Waits);
    void handle(const xcb_generic_event_t& event);
    bool isKeyPress(const xcb_generic_event_t& event) const;
    bool isKey(const xcb_generic_event_t& event) const;
    bool isInput(const xcb_generic_event_t& event) const;
    void hearTime(const xcb_generic_event_t& event);
    Moment momentOf(std::uint32_t serverTime) const;
    void deliver(const TapEvent& event);
    void tellOfButton(ButtonMove move);
    void noticeLoss();

    EventLoop& loop;
    const Clock& clock;
    std::function<void()> lost;
    std::chrono::milliseconds patience;
    XcbConnection connection;
    std::uint8_t inputExtension = 0;
    bool reportsPresses = false;
    KeyboardMap keyboard;
    /// There while the server is.
    std::optional<DescriptorWatch> socket;
    std::chrono::milliseconds burstInterval = usualWait;
    /// Runs while the presses of a burst are fetched now and then and the socket is not listened to.
    LoopTimer burst;
    std::optional<Steady::time_point> lastAnnounced;
    HeldKeys heldKeys;
    std::bitset<256> knownKeyboards;
    bool willLearnKeyboards = false;
    ServerTime serverTime;
    std::optional<Steady::time_point> timeAsked;
    /// Changes of its property come with the server's time, and its value fills the library's buffer. Never
    /// shown.
    xcb_window_t ownWindow = XCB_WINDOW_NONE;
    /// What may still name them has not been overwritten.
    bool hasReadKeys = false;
    bool haveKeysCome = false;
    /// The request for that value, while its answer is awaited.
    std::optional<unsigned int> filler;
    std::optional<Tap> tap;
    std::function<void(std::optional<Moment>)> monitor;
    std::function<void(ButtonMove)> buttonMoved;
    /// What is still to be handled, unread.
    std::deque<XcbSecretEvent> received;
    Lifetime lifetime;
};
