#include "support/DesktopWindows.h"

#include "support/Patience.h"

#include <QTest>

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint32_t iconicState = 3;
constexpr std::uint32_t addState = 1;
/// Those who ask the manager on behalf of the user.
constexpr std::uint32_t pagerSource = 2;

}

DesktopWindows::DesktopWindows(const QByteArray& display)
    : connection(xcb_connect(display.constData(), nullptr))
{
    if (const auto* setup = xcb_get_setup(connection.get()))
        root = xcb_setup_roots_iterator(setup).data->root;
}

xcb_window_t DesktopWindows::find(const QString& title) const
{
    for (const auto window : property(root, "_NET_CLIENT_LIST")) {
        const auto cookie
            = xcb_get_property(connection.get(), 0, window, atom("_NET_WM_NAME"), XCB_ATOM_ANY, 0, 256);
        const XcbReply<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(connection.get(), cookie, nullptr));
        if (!reply)
            continue;
        const auto* text = static_cast<const char*>(xcb_get_property_value(reply.get()));
        if (QString::fromUtf8(text, xcb_get_property_value_length(reply.get())) == title)
            return window;
    }
    return XCB_WINDOW_NONE;
}

xcb_window_t DesktopWindows::active() const
{
    const auto window = property(root, "_NET_ACTIVE_WINDOW");
    return window.empty() ? xcb_window_t { XCB_WINDOW_NONE } : window.front();
}

bool DesktopWindows::isShown(xcb_window_t window) const
{
    const XcbReply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
        connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool DesktopWindows::isKeyboardGrabbed() const
{
    // Only a grab of its own shows it. Nobody else's may come in between: a menu whose grab is refused does
    // not ask again.
    xcb_grab_server(connection.get());
    const auto cookie = xcb_grab_keyboard(
        connection.get(), 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_ungrab_keyboard(connection.get(), XCB_CURRENT_TIME);
    xcb_ungrab_server(connection.get());
    const XcbReply<xcb_grab_keyboard_reply_t> reply(
        xcb_grab_keyboard_reply(connection.get(), cookie, nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
}

QRect DesktopWindows::place(xcb_window_t window) const
{
    const auto sizeCookie = xcb_get_geometry(connection.get(), window);
    const auto placeCookie = xcb_translate_coordinates(connection.get(), window, root, 0, 0);
    const XcbReply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection.get(), sizeCookie, nullptr));
    const XcbReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection.get(), placeCookie, nullptr));
    if (!size || !place)
        return {};
    const QRect whole(place->dst_x, place->dst_y, size->width, size->height);
    const auto shadow = property(window, "_GTK_FRAME_EXTENTS");
    if (shadow.size() != 4)
        return whole;
    const auto side = [&shadow](std::size_t index) { return static_cast<int>(shadow[index]); };
    return whole.marginsRemoved({ side(0), side(2), side(1), side(3) });
}

std::optional<QPoint> DesktopWindows::firstMenuEntry() const
{
    // Managers have nothing to do with menus.
    const XcbReply<xcb_query_tree_reply_t> reply(
        xcb_query_tree_reply(connection.get(), xcb_query_tree(connection.get(), root), nullptr));
    if (!reply)
        return {};
    const auto* first = xcb_query_tree_children(reply.get());
    const std::vector<xcb_window_t> windows(first, first + reply->children_len);
    const auto found = std::ranges::find_if(windows, [this](xcb_window_t window) {
        const XcbReply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
        return attributes && attributes->override_redirect && attributes->map_state == XCB_MAP_STATE_VIEWABLE
            && classNames(window).contains("Knucklet");
    });
    if (found == windows.end())
        return {};
    return place(*found).topLeft() + QPoint(20, 14);
}

QRect DesktopWindows::workArea() const
{
    const auto areas = property(root, "_NET_WORKAREA");
    if (areas.size() < 4)
        return {};
    const auto number = [&areas](std::size_t index) { return static_cast<int>(areas[index]); };
    return { number(0), number(1), number(2), number(3) };
}

QStringList DesktopWindows::states(xcb_window_t window) const
{
    QStringList names;
    for (const auto state : property(window, "_NET_WM_STATE")) {
        const XcbReply<xcb_get_atom_name_reply_t> reply(
            xcb_get_atom_name_reply(connection.get(), xcb_get_atom_name(connection.get(), state), nullptr));
        if (reply)
            names << QString::fromLatin1(
                xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()));
    }
    return names;
}

QStringList DesktopWindows::classNames(xcb_window_t window) const
{
    const auto cookie
        = xcb_get_property(connection.get(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(), cookie, nullptr));
    if (!reply)
        return {};
    const auto* text = static_cast<const char*>(xcb_get_property_value(reply.get()));
    // Each ends with a zero.
    return QString::fromLatin1(text, xcb_get_property_value_length(reply.get()))
        .split(QChar::Null, Qt::SkipEmptyParts);
}

QList<int> DesktopWindows::iconSizes(xcb_window_t window) const
{
    QList<int> sizes;
    const auto icons = property(window, "_NET_WM_ICON");
    // Each is its width, its height and its pixels.
    for (std::size_t i = 0; i + 1 < icons.size(); i += 2 + std::size_t { icons[i] } * icons[i + 1])
        sizes << static_cast<int>(icons[i]);
    std::ranges::sort(sizes);
    return sizes;
}

xcb_window_t DesktopWindows::manager() const
{
    const auto window = property(root, "_NET_SUPPORTING_WM_CHECK");
    return window.empty() ? xcb_window_t { XCB_WINDOW_NONE } : window.front();
}

xcb_window_t DesktopWindows::top(QPoint place) const
{
    // From the root downwards: managers put windows into frames of their own.
    const auto clients = property(root, "_NET_CLIENT_LIST");
    auto window = root;
    while (window != XCB_WINDOW_NONE && std::ranges::find(clients, window) == clients.end()) {
        const auto cookie = xcb_translate_coordinates(connection.get(), root, window,
            static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
        const XcbReply<xcb_translate_coordinates_reply_t> reply(
            xcb_translate_coordinates_reply(connection.get(), cookie, nullptr));
        window = reply ? reply->child : xcb_window_t { XCB_WINDOW_NONE };
    }
    return window;
}

bool DesktopWindows::hasSelectionOwner(const char* selection) const
{
    const auto cookie = xcb_get_selection_owner(connection.get(), atom(selection));
    const XcbReply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection.get(), cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void DesktopWindows::iconify(xcb_window_t window) const
{
    tellManager(window, "WM_CHANGE_STATE", { iconicState });
}

void DesktopWindows::close(xcb_window_t window) const
{
    tellManager(window, "_NET_CLOSE_WINDOW", { XCB_CURRENT_TIME, pagerSource });
}

void DesktopWindows::maximize(xcb_window_t window) const
{
    tellManager(window, "_NET_WM_STATE",
        { addState, atom("_NET_WM_STATE_MAXIMIZED_HORZ"), atom("_NET_WM_STATE_MAXIMIZED_VERT"),
            pagerSource });
}

void DesktopWindows::move(xcb_window_t window, QPoint place) const
{
    // The place is that of the static gravity, and only x and y are given.
    constexpr std::uint32_t flags = XCB_GRAVITY_STATIC | 1U << 8 | 1U << 9 | pagerSource << 12;
    tellManager(window, "_NET_MOVERESIZE_WINDOW",
        { flags, static_cast<std::uint32_t>(place.x()), static_cast<std::uint32_t>(place.y()) });
}

xcb_window_t DesktopWindows::openOther(const QRect& place) const
{
    const auto window = xcb_generate_id(connection.get());
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    const std::array<std::uint32_t, 2> values { screen->white_pixel, XCB_EVENT_MASK_KEY_PRESS };
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, root,
        static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()),
        static_cast<std::uint16_t>(place.width()), static_cast<std::uint16_t>(place.height()), 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
        values.data());
    // WM_NORMAL_HINTS of ICCCM: place and size are the user's choice, not to be improved on.
    constexpr std::array<std::uint32_t, 18> hints { 1U | 1U << 1 };
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
        XCB_ATOM_WM_SIZE_HINTS, 32, static_cast<std::uint32_t>(hints.size()), hints.data());
    xcb_map_window(connection.get(), window);
    tellManager(window, "_NET_ACTIVE_WINDOW", { pagerSource });
    return window;
}

bool DesktopWindows::awaitManager(const QByteArray& display)
{
    // Ends with its connection.
    const DesktopWindows windows(display);
    const auto other = windows.openOther({ 100, 200, 200, 100 });
    return QTest::qWaitFor([&] { return windows.active() == other; }, patience);
}

int DesktopWindows::receivedPresses() const
{
    int presses = 0;
    while (const XcbReply<xcb_generic_event_t> event { xcb_poll_for_event(connection.get()) }) {
        if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
            continue;
        ++presses;
        const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(*event);
        xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, press.event, atom("_NET_WM_USER_TIME"),
            XCB_ATOM_CARDINAL, 32, 1, &press.time);
    }
    xcb_flush(connection.get());
    return presses;
}

xcb_atom_t DesktopWindows::atom(const char* name) const
{
    const auto cookie
        = xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection.get(), cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
}

std::vector<std::uint32_t> DesktopWindows::property(xcb_window_t window, const char* name) const
{
    // Enough for all icons of a window.
    constexpr std::uint32_t most = 65536;
    const auto cookie = xcb_get_property(connection.get(), 0, window, atom(name), XCB_ATOM_ANY, 0, most);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(), cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return { values, values + reply->value_len };
}

void DesktopWindows::takeKeyboard() const
{
    xcb_set_input_focus(
        connection.get(), XCB_INPUT_FOCUS_NONE, XCB_INPUT_FOCUS_POINTER_ROOT, XCB_CURRENT_TIME);
    xcb_flush(connection.get());
}

void DesktopWindows::tellManager(
    xcb_window_t window, const char* type, const std::array<std::uint32_t, 5>& data) const
{
    xcb_client_message_event_t message {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    std::ranges::copy(data, message.data.data32);
    xcb_send_event(connection.get(), 0, root,
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
        reinterpret_cast<const char*>(&message));
    xcb_flush(connection.get());
}
