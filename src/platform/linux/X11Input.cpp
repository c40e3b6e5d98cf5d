#include "platform/linux/X11Input.h"

#include <QDeadlineTimer>
#include <QSocketNotifier>
#include <QTimer>

#include <poll.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include <chrono>
#include <utility>

namespace {

/// How long the server may take to answer before the last save, in milliseconds. A round trip takes a tenth
/// of one.
constexpr int drainPatience = 1000;

using namespace std::chrono_literals;

/// Presses closer together than this begin a burst: faster than anybody types for long, so that everybody
/// else's presses are told at once.
constexpr auto burstGap = 50ms;

/// How often the presses of a burst are fetched. Waking up for a press costs more than all that is done then,
/// and the server keeps what it is not asked for.
constexpr auto burstInterval = 100ms;

// There is only ever one of each.
constexpr EventTapId theTap { 1 };
constexpr RunLoopSourceId theSource { 1 };
constexpr MouseMonitorId theMonitor { 1 };

class Press final : public TapEvent {
public:
    explicit Press(std::int64_t autorepeat)
        : autorepeat(autorepeat)
    {
    }

    std::int64_t integer(EventField field) const override
    {
        return field == EventField::KeyboardAutorepeat ? autorepeat : 0;
    }

private:
    std::int64_t autorepeat;
};

std::optional<EventType> typeOfButton(std::uint32_t button)
{
    switch (button) {
    case 1:
        return EventType::LeftMouseDown;
    case 3:
        return EventType::RightMouseDown;
    case 4: // The wheel: up, down, left, right.
    case 5:
    case 6:
    case 7:
        return std::nullopt;
    default:
        return EventType::OtherMouseDown;
    }
}

}

X11Input::X11Input()
    : connection(xcb_connect(nullptr, nullptr))
{
    if (!serverReportsPresses())
        return;
    notifier
        = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection.get()), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [this] { announced(); });
    burst = std::make_unique<QTimer>();
    burst->setInterval(burstInterval);
    QObject::connect(burst.get(), &QTimer::timeout, burst.get(), [this] { fetchBurst(); });
}

X11Input::~X11Input() = default;

void X11Input::watchButtons(std::function<void(ButtonMove)> moved)
{
    if (moved && !buttonMoved) {
        // Not of the presses before, such as the one that opened the panel, but at once of every one from now
        // on.
        drain();
        if (notifier)
            endBurst();
    }
    buttonMoved = std::move(moved);
    select();
}

void X11Input::drain()
{
    if (!isConnected())
        return;

    // A server that does not answer, frozen or at the other end of a dead line, must not keep the program
    // from saving.
    const QDeadlineTimer deadline(drainPatience);
    do {
        awaitServer(deadline);
    } while (!received.empty() && !deadline.hasExpired());

    if (received.empty())
        return;
    // Presses that still wait for the keyboard are held against the one that was known last.
    question.reset();
    keyboardHasChanged = false;
    handleReceived();
    keyboardHasChanged = true;
}

/// A round trip: what the server sent before its answer has been dispatched by then.
void X11Input::awaitServer(const QDeadlineTimer& deadline)
{
    // What has arrived is dispatched before anything can fail: once the connection has, it can no longer be
    // had.
    dispatch();
    const unsigned int request = xcb_get_input_focus(connection.get()).sequence;
    xcb_flush(connection.get());
    void* answer = nullptr;
    while (!xcb_poll_for_reply(connection.get(), request, &answer, nullptr)) {
        pollfd socket { xcb_get_file_descriptor(connection.get()), POLLIN, 0 };
        if (poll(&socket, 1, static_cast<int>(deadline.remainingTime())) <= 0) {
            xcb_discard_reply(connection.get(), request);
            break;
        }
        dispatch();
    }
    const XcbReply<void> freed(answer);
    dispatch();
}

std::optional<EventTapId> X11Input::create(
    const EventTapParameters& parameters, TapCallback callback, void* userInfo)
{
    if (tap || !isConnected())
        return std::nullopt;

    // Selected here and not when the tap starts to run, so that no press is missed in between: a monitor that
    // is removed first would otherwise leave a gap.
    tap = Tap { .events = parameters.eventsOfInterest, .callback = callback, .userInfo = userInfo };
    select();
    return theTap;
}

RunLoopSourceId X11Input::makeRunLoopSource(EventTapId) { return theSource; }

void X11Input::addToMainRunLoop(RunLoopSourceId)
{
    if (tap)
        tap->isRunning = true;
}

// The server never disables what it reports.
void X11Input::enable(EventTapId) { }

std::optional<MouseMonitorId> X11Input::add(std::uint64_t eventMask, std::function<void()> handler)
{
    if (monitor || !isConnected())
        return std::nullopt;

    monitor = Monitor { .events = eventMask & mouseDownMask, .handler = std::move(handler) };
    select();
    return theMonitor;
}

void X11Input::remove(MouseMonitorId)
{
    monitor.reset();
    select();
}

// Servers before 2.2 withhold raw events while a program grabs the keyboard or the pointer, and so does a
// newer one from a client that does not announce 2.2.
bool X11Input::serverReportsPresses()
{
    const auto* extension = xcb_get_extension_data(connection.get(), &xcb_input_id);
    if (!extension || !extension->present)
        return false;

    inputExtension = extension->major_opcode;
    const XcbReply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
    return version && version->major_version == 2 && version->minor_version >= 2;
}

bool X11Input::isConnected() const { return notifier && !xcb_connection_has_error(connection.get()); }

// Tells the server what to send: what somebody asked for and nothing else, and never motion.
void X11Input::select()
{
    if (!isConnected())
        return;

    const std::uint64_t wanted = (tap ? tap->events : 0) | (monitor ? monitor->events : 0);
    struct {
        // Each press once, however many devices stand behind the keyboard and the pointer.
        xcb_input_event_mask_t head { .deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1 };
        std::uint32_t mask = 0;
    } selection;
    if (wanted & eventMask(EventType::KeyDown))
        selection.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
    if (wanted & mouseDownMask || buttonMoved)
        selection.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    if (buttonMoved)
        selection.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
    const xcb_window_t root = rootWindow(connection.get());
    const bool needsKeyboard = keyboardHasChanged && wanted & eventMask(EventType::KeyDown);
    if (needsKeyboard && !question)
        askForKeyboard();
    // Waits for the server to have done so, so that whatever is pressed from here on is reported. An error
    // would mean that it is gone, which shows at the next read.
    const auto request = xcb_input_xi_select_events_checked(connection.get(), root, 1, &selection.head);
    const XcbReply<xcb_generic_error_t> ignored(xcb_request_check(connection.get(), request));
    if (question)
        takeKeyboard();
    // Presses that came with the answer have left the socket, which therefore announces them no more.
    QMetaObject::invokeMethod(
        notifier.get(), [this] { dispatch(); }, Qt::QueuedConnection);
}

void X11Input::announced()
{
    const bool isBurst = sincePress.isValid() && !sincePress.hasExpired(burstGap.count());
    sincePress.start();
    dispatch();
    // Presses that wait for an answer of the server wait for nothing else.
    if (isBurst && !buttonMoved && !question) {
        notifier->setEnabled(false);
        burst->start();
    }
}

void X11Input::fetchBurst()
{
    if (!dispatch() || question)
        endBurst();
}

void X11Input::endBurst()
{
    burst->stop();
    notifier->setEnabled(isConnected());
}

/// Whether anything had come.
bool X11Input::dispatch()
{
    // Out of the library's hands first: it gives out nothing any more once the connection has failed.
    bool hasCome = false;
    while (XcbReply<xcb_generic_event_t> event { xcb_poll_for_event(connection.get()) }) {
        received.push_back(std::move(event));
        hasCome = true;
    }
    handleReceived();

    // The socket of a dead connection is readable for ever.
    if (xcb_connection_has_error(connection.get()))
        notifier->setEnabled(false);
    return hasCome;
}

void X11Input::handleReceived()
{
    while (!received.empty()) {
        // The keyboard is asked for at the first press after a change and not at the change: a layout that is
        // loaded announces itself many times. Nothing waits for the answer, so that nothing is lost when the
        // server goes away meanwhile; the presses stay in their order until it is there.
        if (isKeyPress(*received.front()) && !knowsKeyboard())
            return;
        const auto event = std::move(received.front());
        received.pop_front();
        handle(*event);
    }
}

void X11Input::handle(const xcb_generic_event_t& event)
{
    if (event.response_type == XCB_MAPPING_NOTIFY) {
        keyboardHasChanged = true;
        return;
    }
    if (event.response_type != XCB_GE_GENERIC)
        return;
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.extension != inputExtension)
        return;

    if (generic.event_type == XCB_INPUT_RAW_KEY_PRESS) {
        const auto& press = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
        if (counts(press))
            deliver(EventType::KeyDown, Press(press.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT ? 1 : 0));
    } else if (generic.event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
        const auto& press = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
        if (const auto type = typeOfButton(press.detail)) {
            deliver(*type, Press(0));
            tellOfButton(ButtonMove::Pressed);
        }
    } else if (generic.event_type == XCB_INPUT_RAW_BUTTON_RELEASE) {
        const auto& release = reinterpret_cast<const xcb_input_raw_button_release_event_t&>(event);
        if (typeOfButton(release.detail))
            tellOfButton(ButtonMove::Released);
    }
}

bool X11Input::isKeyPress(const xcb_generic_event_t& event) const
{
    if (event.response_type != XCB_GE_GENERIC)
        return false;
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    return generic.extension == inputExtension && generic.event_type == XCB_INPUT_RAW_KEY_PRESS;
}

/// Of a server that is gone, what it said last holds.
bool X11Input::knowsKeyboard()
{
    if (!isConnected())
        return true;
    if (keyboardHasChanged && !question)
        askForKeyboard();
    return !question || takeKeyboard();
}

void X11Input::askForKeyboard()
{
    const xcb_setup_t& setup = *xcb_get_setup(connection.get());
    question = KeyboardQuestion {
        .modifiers = xcb_get_modifier_mapping(connection.get()).sequence,
        .symbols = xcb_get_keyboard_mapping(connection.get(), setup.min_keycode,
            static_cast<std::uint8_t>(setup.max_keycode - setup.min_keycode + 1))
                       .sequence,
    };
    // A change that comes from here on may be missing in the answer.
    keyboardHasChanged = false;
    xcb_flush(connection.get());
    // What came while that was written has left the socket as well.
    QMetaObject::invokeMethod(
        notifier.get(), [this] { dispatch(); }, Qt::QueuedConnection);
}

/// False while the server owes the answer to the question.
bool X11Input::takeKeyboard()
{
    const auto poll = [this](unsigned int request, void** reply) {
        return xcb_poll_for_reply(connection.get(), request, reply, nullptr) != 0;
    };
    void* answer = nullptr;
    if (!poll(question->symbols, &answer))
        return false;
    const XcbReply<xcb_get_keyboard_mapping_reply_t> symbols(
        static_cast<xcb_get_keyboard_mapping_reply_t*>(std::exchange(answer, nullptr)));
    // Answers come in the order of the questions.
    poll(question->modifiers, &answer);
    const XcbReply<xcb_get_modifier_mapping_reply_t> modifiers(
        static_cast<xcb_get_modifier_mapping_reply_t*>(answer));
    question.reset();
    if (!modifiers || !symbols)
        return true;

    uncounted = uncountedKeys(
        { xcb_get_modifier_mapping_keycodes(modifiers.get()),
            static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(modifiers.get())) },
        xcb_get_setup(connection.get())->min_keycode,
        { xcb_get_keyboard_mapping_keysyms(symbols.get()),
            static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(symbols.get())) },
        symbols->keysyms_per_keycode);
    return true;
}

// The one place in the program that looks at which key was pressed. It answers a single question and keeps
// nothing.
bool X11Input::counts(const xcb_input_raw_key_press_event_t& press) const
{
    return press.detail < uncounted.size() && !uncounted[press.detail];
}

void X11Input::deliver(EventType type, const TapEvent& event)
{
    if (tap && tap->isRunning) {
        if (tap->events & eventMask(type))
            tap->callback(type, &event, tap->userInfo);
    } else if (monitor && monitor->events & eventMask(type)) {
        // A copy, since the handler may remove its own monitor.
        const auto handler = monitor->handler;
        handler();
    }
}

void X11Input::tellOfButton(ButtonMove move)
{
    // A copy, since the function may be replaced from within its call.
    if (const auto tell = buttonMoved)
        tell(move);
}
