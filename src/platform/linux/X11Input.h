#pragma once

#include "platform/EventTap.h"
#include "platform/MouseMonitor.h"
#include "platform/linux/CountedKeys.h"
#include "platform/linux/Xcb.h"

#include <QElapsedTimer>

#include <deque>
#include <memory>

class QDeadlineTimer;
class QSocketNotifier;
class QTimer;
struct xcb_input_raw_key_press_event_t;

/// The key and mouse presses of an X11 session, read on a connection of its own to the X server, which sends
/// them whichever program has the focus or a grab. One tap and one monitor at a time; while the tap runs, the
/// monitor receives nothing. Touching a touch screen is no mouse press.
class X11Input final
    : private EventTap
    , private MouseMonitor {
public:
    /// Connects to the display that the environment names. Without a server that can report presses, taps and
    /// monitors are refused. When the server goes away later, nothing more is reported.
    X11Input();
    X11Input(const X11Input&) = delete;
    X11Input& operator=(const X11Input&) = delete;
    ~X11Input() override;

    enum class ButtonMove { Pressed, Released };

    EventTap& eventTap() { return *this; }
    MouseMonitor& mouseMonitor() { return *this; }

    /// Calls at each press and release of a mouse button, the wheel left out, besides what is counted. One
    /// function at a time; an empty one ends it, also from within the call.
    void watchButtons(std::function<void(ButtonMove)> moved);

    /// Delivers all presses that the server has seen so far. Takes a second at most, when the server does not
    /// answer.
    void drain();

private:
    struct Tap {
        std::uint64_t events = 0;
        TapCallback callback = nullptr;
        void* userInfo = nullptr;
        bool isRunning = false;
    };
    struct Monitor {
        std::uint64_t events = 0;
        std::function<void()> handler;
    };
    /// The numbers of two requests that the server has not answered yet.
    struct KeyboardQuestion {
        unsigned int modifiers = 0;
        unsigned int symbols = 0;
    };

    std::optional<EventTapId> create(
        const EventTapParameters& parameters, TapCallback callback, void* userInfo) override;
    RunLoopSourceId makeRunLoopSource(EventTapId id) override;
    void addToMainRunLoop(RunLoopSourceId source) override;
    void enable(EventTapId id) override;

    std::optional<MouseMonitorId> add(std::uint64_t eventMask, std::function<void()> handler) override;
    void remove(MouseMonitorId id) override;

    bool serverReportsPresses();
    bool isConnected() const;
    void select();
    void awaitServer(const QDeadlineTimer& deadline);
    void announced();
    void fetchBurst();
    void endBurst();
    bool dispatch();
    void handleReceived();
    void handle(const xcb_generic_event_t& event);
    bool isKeyPress(const xcb_generic_event_t& event) const;
    bool knowsKeyboard();
    void askForKeyboard();
    bool takeKeyboard();
    bool counts(const xcb_input_raw_key_press_event_t& press) const;
    void deliver(EventType type, const TapEvent& event);
    void tellOfButton(ButtonMove move);

    XcbConnection connection;
    std::unique_ptr<QSocketNotifier> notifier;
    QElapsedTimer sincePress;
    /// Runs while the presses of a burst are fetched now and then and the socket is not listened to.
    std::unique_ptr<QTimer> burst;
    std::uint8_t inputExtension = 0;
    std::optional<Tap> tap;
    std::optional<Monitor> monitor;
    std::function<void(ButtonMove)> buttonMoved;
    /// What is still to be handled, unread.
    std::deque<XcbReply<xcb_generic_event_t>> received;
    KeyCodes uncounted;
    bool keyboardHasChanged = true;
    std::optional<KeyboardQuestion> question;
};
