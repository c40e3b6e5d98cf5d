#include "platform/linux/input/X11Input.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;

/// How often the server is asked for its time while there is input.
constexpr auto timeInterval = 1h;

/// Of an answer that fills the library's buffer, and how long after it was asked for it lies there as a
/// whole.
constexpr std::uint32_t fillerSize = 16384;
constexpr auto fillerWait = 50ms;

/// The others are the wheel: up, down, left, right.
bool isClick(std::uint32_t button) { return button < 4 || button > 7; }

/// Over a network an answer comes in pieces, and the library waits for the rest of one that it has begun to
/// read, however long the line is dead.
bool isOnThisMachine(xcb_connection_t* connection)
{
    sockaddr_storage address {};
    socklen_t length = sizeof address;
    return getpeername(xcb_get_file_descriptor(connection), reinterpret_cast<sockaddr*>(&address), &length)
        == 0
        && address.ss_family == AF_UNIX;
}

/// Overwrites what functions that have returned may have left on the stack, and has the registers that events
/// were copied with copy something else: the loader puts all of them on the stack when a library calls a
/// function for the first time.
[[gnu::noinline]] void forgetCalls()
{
    std::array<char, 8192> stack {};
    for (std::size_t length = 16; length <= 1024; length *= 2)
        std::memmove(stack.data() + length / 2, stack.data(), length);
    explicit_bzero(stack.data(), stack.size());
}

}

X11Input::X11Input(
    EventLoop& loop, const Clock& clock, std::function<void()> lost, std::chrono::milliseconds patience)
    : loop(loop)
    , clock(clock)
    , lost(std::move(lost))
    , patience(patience)
    , connection(xcb_connect(nullptr, nullptr))
    , keyboard(connection.get())
    , burst(loop, [this] { fetchBurst(); })
{
    reportsPresses = serverReportsPresses();
    if (!hasServer())
        return;
    // Also one that reports nothing: its loss is that of the display.
    socket.emplace(loop, xcb_get_file_descriptor(connection.get()), [this] { announced(); });
    if (!reportsPresses)
        return;
    ownWindow = xcb_generate_id(connection.get());
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection.get(), 0, ownWindow, rootWindow(connection.get()), 0, 0, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    const std::vector<std::byte> nothing(fillerSize);
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, ownWindow, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
        8, fillerSize, nothing.data());
}

X11Input::~X11Input() = default;

void X11Input::watchButtons(std::function<void(ButtonMove)> moved)
{
    if (moved && !buttonMoved) {
        // Not of the presses before, such as the one that opened the panel, but at once of every one from now
        // on.
        drain();
        endBurst();
    }
    buttonMoved = std::move(moved);
    select();
}

void X11Input::letPressesWait(std::chrono::milliseconds time)
{
    burstInterval = time;
    // A burst that is going on ends, and with it what was agreed for it.
    if (burst.isRunning()) {
        endBurst();
        loop.callLater(lifetime.guard([this] { dispatch(); }));
    }
}

void X11Input::drain()
{
    // A server that does not answer, frozen or at the other end of a dead line, must not keep the program
    // from saving.
    const auto deadline = Steady::now() + patience;
    while (isConnected()) {
        // Presses that wait for the keyboard have it after another round.
        const auto answer = await(xcb_get_input_focus(connection.get()).sequence, deadline);
        handleReceived();
        if (received.empty() || !answer)
            break;
    }
    handleReceived(UnknownKeyboard::IsAsKnownLast);
    dispatchLater();
    noticeLoss();
}

std::optional<ScreenPixel> X11Input::pointer()
{
    if (!isConnected())
        return {};
    const auto request = xcb_query_pointer(connection.get(), rootWindow(connection.get())).sequence;
    const auto answer = await(request, Steady::now() + patience);
    dispatchLater();
    if (!answer)
        return {};
    const auto& pointer = *static_cast<const xcb_query_pointer_reply_t*>(answer.get());
    return ScreenPixel { pointer.root_x, pointer.root_y };
}

bool X11Input::create(std::function<void(const TapEvent&)> handler)
{
    if (tap || !isConnected() || !reportsPresses)
        return false;

    // Selected here and not when the tap starts to run, so that no press is missed in between: a monitor that
    // is stopped first would otherwise leave a gap.
    tap = Tap { .handler = std::move(handler) };
    select();
    learnKeyboards();
    return true;
}

// The server never disables what it reports.
void X11Input::enable()
{
    if (tap)
        tap->isRunning = true;
}

bool X11Input::start(std::function<void(std::optional<Moment>)> handler)
{
    if (monitor || !isConnected() || !reportsPresses)
        return false;

    monitor = std::move(handler);
    select();
    return true;
}

void X11Input::stop()
{
    monitor = nullptr;
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

bool X11Input::isConnected() const { return socket && !xcb_connection_has_error(connection.get()); }

// Tells the server what to send: what somebody asked for and nothing else, and never motion.
void X11Input::select()
{
    if (!isConnected() || !reportsPresses)
        return;

    receive();
    std::uint32_t events = 0;
    if (tap)
        events |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
    if (tap || monitor || buttonMoved)
        events |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    if (buttonMoved)
        events |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
    // Each press once, however many devices stand behind the keyboard and the pointer.
    selectEvents(XCB_INPUT_DEVICE_ALL_MASTER, events);
    if (tap)
        selectEvents(XCB_INPUT_DEVICE_ALL, XCB_INPUT_XI_EVENT_MASK_HIERARCHY);
    askForTime();
    if (tap && !keyboard.isKnown() && !keyboard.isAwaited())
        keyboard.ask();
    // Waits for the server to have done so, so that whatever is pressed from here on is reported.
    await(xcb_get_input_focus(connection.get()).sequence, Steady::now() + patience);
    dispatchLater();
}

// Appending nothing to a property is answered with its change. From time to time, since the clocks of two
// machines go apart.
void X11Input::askForTime()
{
    timeAsked = Steady::now();
    xcb_change_property(
        connection.get(), XCB_PROP_MODE_APPEND, ownWindow, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
}

// The kernel's keyboards press a held key once. Those that a program plays, as of a remote session, may press
// it again and again, so that for them the releases are listened to as well; nobody else is woken for those.
// They are the ones that no device file stands behind.
void X11Input::learnKeyboards()
{
    willLearnKeyboards = false;
    if (!isConnected())
        return;
    const auto deadline = Steady::now() + patience;
    constexpr std::string_view name = "Device Node";
    const auto nodeRequest
        = xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()).sequence;
    const auto node = await(nodeRequest, deadline);
    const auto devices
        = await(xcb_input_xi_query_device(connection.get(), XCB_INPUT_DEVICE_ALL).sequence, deadline);
    if (!node || !devices)
        return;

    const auto property = static_cast<const xcb_intern_atom_reply_t*>(node.get())->atom;
    auto device = xcb_input_xi_query_device_infos_iterator(
        static_cast<const xcb_input_xi_query_device_reply_t*>(devices.get()));
    for (; device.rem > 0; xcb_input_xi_device_info_next(&device)) {
        const auto id = device.data->deviceid;
        if (device.data->type != XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD || id >= knownKeyboards.size()
            || knownKeyboards[id])
            continue;
        const auto answer
            = await(xcb_input_xi_get_property(connection.get(), id, 0, property, XCB_ATOM_ANY, 0, 0).sequence,
                deadline);
        if (!answer)
            continue;
        knownKeyboards.set(id);
        const bool isOfAProgram
            = static_cast<const xcb_input_xi_get_property_reply_t*>(answer.get())->type == XCB_ATOM_NONE;
        // The server keeps what was selected for another keyboard that had the number before.
        constexpr std::uint32_t releases = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
        const auto request = selectEvents(id, isOfAProgram ? releases : 0);
        if (isOfAProgram)
            heldKeys.watch(id, request);
    }
    // Waits for the server to have done so, as `select` does.
    await(xcb_get_input_focus(connection.get()).sequence, deadline);
    dispatchLater();
}

/// The number of a keyboard that is unplugged is given to the next one. A new one is asked about before it is
/// first held, where there is time.
void X11Input::hearOfKeyboards(const xcb_generic_event_t& change)
{
    auto device
        = xcb_input_hierarchy_infos_iterator(reinterpret_cast<const xcb_input_hierarchy_event_t*>(&change));
    for (; device.rem > 0; xcb_input_hierarchy_info_next(&device)) {
        const auto id = device.data->deviceid;
        if (device.data->flags & XCB_INPUT_HIERARCHY_MASK_SLAVE_REMOVED && id < knownKeyboards.size()) {
            knownKeyboards.reset(id);
            heldKeys.forget(id);
        }
        if (device.data->flags & XCB_INPUT_HIERARCHY_MASK_SLAVE_ADDED)
            learnKeyboardsLater();
    }
}

/// The number of the request, which the events that follow from it bear, or a later one.
std::uint32_t X11Input::selectEvents(std::uint16_t device, std::uint32_t events)
{
    const struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection { .head { .deviceid = device, .mask_len = 1 }, .mask = events };
    return xcb_input_xi_select_events(connection.get(), rootWindow(connection.get()), 1, &selection.head)
        .sequence;
}

// Not while presses are handled: it waits for the server.
void X11Input::learnKeyboardsLater()
{
    if (!std::exchange(willLearnKeyboards, true))
        loop.callLater(lifetime.guard([this] { learnKeyboards(); }));
}

void X11Input::announced()
{
    // Answers of the server are announced as well.
    if (!dispatch())
        return;
    const auto now = Steady::now();
    const bool isBurst = lastAnnounced && now - *lastAnnounced < burstInterval;
    lastAnnounced = now;
    if (socket && timeAsked && now - *timeAsked > timeInterval) {
        askForTime();
        // The time that is told while a burst waits would be another one.
        await(xcb_get_input_focus(connection.get()).sequence, Steady::now() + patience);
        dispatchLater();
    }
    if (isBurst)
        beginBurst();
}

/// Presses that follow each other are a burst, of which the rest is fetched now and then: waking up for one
/// costs more than all that is done then, and the server keeps what it is not asked for. Measured with 8
/// presses a second, against a program that only counts: 3 times its processor time where they are fetched
/// every 250 ms, 0.8 times every second. Whether presses may wait.
bool X11Input::beginBurst()
{
    // Presses that wait for an answer of the server wait for nothing else.
    if (burstInterval == 0ms || buttonMoved || keyboard.isAwaited() || !socket)
        return false;
    socket->watch(DescriptorWatch::For::Nothing);
    burst.repeat(burstInterval);
    return true;
}

void X11Input::fetchBurst()
{
    haveKeysCome = false;
    const bool hasCome = dispatch();
    // Also where clicks go on.
    const bool isForgetting = !haveKeysCome && !keyboard.isAwaited() && forgetKeys();
    if (!hasCome && isForgetting)
        burst.start(fillerWait);
    else if (!hasCome || (!burst.isRunning() && !beginBurst()))
        endBurst();
}

void X11Input::endBurst()
{
    burst.stop();
    if (socket)
        socket->watch(DescriptorWatch::For::Reading);
}

/// Whether anything had come.
bool X11Input::dispatch()
{
    bool hasCome = receive();
    handleReceived();
    // To ask for the keyboard's answer reads what comes with it. Nothing is read after that, since it could
    // be the answer.
    while (takeQueued()) {
        hasCome = true;
        handleReceived();
    }
    // While a burst is going on, more comes to lie there anyway.
    if (keyboard.isAwaited())
        endBurst();
    else if (!burst.isRunning() && forgetKeys() && !beginBurst())
        loop.callLater(lifetime.guard([this] { dispatch(); }));
    noticeLoss();
    return hasCome;
}

/// What has left the socket is announced by it no more.
void X11Input::dispatchLater()
{
    if (!received.empty() || (hasReadKeys && isConnected()))
        loop.callLater(lifetime.guard([this] { dispatch(); }));
}

/// Overwrites what may still name keys; whether that takes an answer of the server. The events are wiped when
/// they are freed, but what the library has read stays in its buffer until something else comes to lie there,
/// and nobody else gets at that. So the server is asked for something that fills it. That takes an answer
/// which is read as a whole: when a burst is fetched, and not as soon as the first piece has come.
bool X11Input::forgetKeys()
{
    if (!hasReadKeys || filler || !received.empty() || !isConnected())
        return false;
    hasReadKeys = false;
    forgetCalls();
    if (!isOnThisMachine(connection.get()))
        return false;
    filler = xcb_get_property(
        connection.get(), 0, ownWindow, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 0, fillerSize / 4)
                 .sequence;
    // More may come while that is written.
    return flush(connection.get());
}

bool X11Input::takeFiller()
{
    void* answer = nullptr;
    if (!filler || !xcb_poll_for_reply(connection.get(), *filler, &answer, nullptr))
        return false;
    filler.reset();
    std::free(answer);
    return true;
}

/// Whether anything had come. Takes it out of the library's hands, which gives out nothing any more once the
/// connection has failed: whoever writes receives first.
bool X11Input::receive()
{
    const auto before = received.size();
    bool isFilled = false;
    do {
        while (XcbSecretEvent event { xcb_poll_for_event(connection.get()) })
            take(std::move(event));
        isFilled = takeFiller();
        // To ask for the answer reads what comes before it, which the socket does not announce any more.
        takeQueued();
        // What fills the buffer leaves no room in it for what comes behind.
    } while (isFilled);
    return received.size() > before;
}

/// The same of what has been read already.
bool X11Input::takeQueued()
{
    const auto before = received.size();
    while (XcbSecretEvent event { xcb_poll_for_queued_event(connection.get()) })
        take(std::move(event));
    return received.size() > before;
}

void X11Input::take(XcbSecretEvent event)
{
    hearTime(*event);
    if (isKey(*event))
        hasReadKeys = haveKeysCome = true;
    if (event->response_type != XCB_PROPERTY_NOTIFY)
        received.push_back(std::move(event));
}

/// The answer to a request; nothing when the server does not give one in time. What came before the answer is
/// received by then, and not handled.
XcbReply<void> X11Input::await(unsigned int request, Steady::time_point deadline)
{
    receive();
    flush(connection.get());
    void* answer = nullptr;
    while (!xcb_poll_for_reply(connection.get(), request, &answer, nullptr)) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Steady::now());
        pollfd readable { xcb_get_file_descriptor(connection.get()), POLLIN, 0 };
        const int ready = poll(&readable, 1, static_cast<int>(std::max(left, 0ms).count()));
        if (ready == 0 || (ready < 0 && errno != EINTR)) {
            xcb_discard_reply(connection.get(), request);
            break;
        }
        receive();
    }
    receive();
    return XcbReply<void>(answer);
}

void X11Input::handleReceived(UnknownKeyboard unknown)
{
    while (!received.empty()) {
        // Nothing waits for the keyboard but the presses, in their order, so that nothing is lost when the
        // server goes away meanwhile. Of one that is gone, what it said last holds.
        if (unknown == UnknownKeyboard::Waits && isConnected() && isKeyPress(*received.front())
            && !keyboard.isKnown()) {
            if (!keyboard.isAwaited()) {
                keyboard.ask();
                // More may have come while that was written.
                dispatchLater();
            }
            return;
        }
        const auto event = std::move(received.front());
        received.pop_front();
        handle(*event);
    }
}

void X11Input::handle(const xcb_generic_event_t& event)
{
    if (event.response_type == XCB_MAPPING_NOTIFY) {
        keyboard.change();
        return;
    }
    if (!isInput(event))
        return;

    const auto type = reinterpret_cast<const xcb_ge_generic_event_t&>(event).event_type;
    if (type == XCB_INPUT_RAW_KEY_PRESS) {
        const auto& press = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
        if (!keyboard.counts(press.detail))
            return;
        if (press.sourceid < knownKeyboards.size() && !knownKeyboards[press.sourceid])
            learnKeyboardsLater();
        const bool wasDown = heldKeys.press(press.sourceid, press.detail, press.full_sequence);
        const bool isRepeated = wasDown || press.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT;
        deliver({ .kind = isRepeated ? TapEvent::Kind::RepeatedKey : TapEvent::Kind::Key,
            .moment = momentOf(press.time) });
    } else if (type == XCB_INPUT_RAW_KEY_RELEASE) {
        const auto& release = reinterpret_cast<const xcb_input_raw_key_release_event_t&>(event);
        heldKeys.release(release.sourceid, release.detail);
    } else if (type == XCB_INPUT_RAW_BUTTON_PRESS) {
        const auto& press = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
        if (isClick(press.detail)) {
            deliver({ .kind = TapEvent::Kind::Click, .moment = momentOf(press.time) });
            tellOfButton(ButtonMove::Pressed);
        }
    } else if (type == XCB_INPUT_RAW_BUTTON_RELEASE) {
        const auto& release = reinterpret_cast<const xcb_input_raw_button_release_event_t&>(event);
        if (isClick(release.detail))
            tellOfButton(ButtonMove::Released);
    } else if (type == XCB_INPUT_HIERARCHY) {
        hearOfKeyboards(event);
    }
}

bool X11Input::isInput(const xcb_generic_event_t& event) const
{
    return event.response_type == XCB_GE_GENERIC
        && reinterpret_cast<const xcb_ge_generic_event_t&>(event).extension == inputExtension;
}

bool X11Input::isKeyPress(const xcb_generic_event_t& event) const
{
    return isInput(event)
        && reinterpret_cast<const xcb_ge_generic_event_t&>(event).event_type == XCB_INPUT_RAW_KEY_PRESS;
}

/// Whether it names a key.
bool X11Input::isKey(const xcb_generic_event_t& event) const
{
    if (!isInput(event))
        return false;
    const auto type = reinterpret_cast<const xcb_ge_generic_event_t&>(event).event_type;
    return type == XCB_INPUT_RAW_KEY_PRESS || type == XCB_INPUT_RAW_KEY_RELEASE;
}

// All events of the extension begin alike.
void X11Input::hearTime(const xcb_generic_event_t& event)
{
    if (event.response_type == XCB_PROPERTY_NOTIFY)
        serverTime.set(reinterpret_cast<const xcb_property_notify_event_t&>(event).time, Steady::now());
    else if (isInput(event))
        serverTime.hasShown(
            reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event).time, Steady::now());
}

/// By the wall clock as it is now, also where that has jumped meanwhile.
Moment X11Input::momentOf(std::uint32_t time) const
{
    return clock.now() - serverTime.age(time, Steady::now());
}

void X11Input::deliver(const TapEvent& event)
{
    if (tap && tap->isRunning) {
        tap->handler(event);
    } else if (monitor && event.kind == TapEvent::Kind::Click) {
        // A copy, since the handler may stop its own monitor.
        const auto handler = monitor;
        handler(event.moment);
    }
}

void X11Input::tellOfButton(ButtonMove move)
{
    // A copy, since the function may be replaced from within its call.
    if (const auto tell = buttonMoved)
        tell(move);
}

void X11Input::noticeLoss()
{
    if (!socket || !xcb_connection_has_error(connection.get()))
        return;
    // The socket of a dead connection is readable for ever.
    socket.reset();
    burst.stop();
    if (lost)
        loop.callLater(lifetime.guard(lost));
}
