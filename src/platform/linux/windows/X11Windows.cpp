#include "platform/linux/windows/X11Windows.h"

#include "platform/linux/Xcb.h"

#include <QGuiApplication>
#include <QList>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace {

xcb_connection_t* toolkitConnection()
{
    const auto* application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return application ? application->connection() : nullptr;
}

/// The numbers of a property of 32-bit format; none when the window has no such property.
QList<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window, std::string_view property)
{
    // Enough for any number of windows that a desktop can hold.
    constexpr std::uint32_t most = 65536;
    const auto cookie = xcb_get_property(
        connection, 0, window, atom(connection, property), XCB_GET_PROPERTY_TYPE_ANY, 0, most);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return { first, first + reply->value_len };
}

}

void keepAboveAndOutOfLists(NativeWindow window)
{
    auto* connection = toolkitConnection();
    if (!connection)
        return;
    const std::array states {
        atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
        atom(connection, "_NET_WM_STATE_SKIP_PAGER"),
        atom(connection, "_NET_WM_STATE_ABOVE"),
    };
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window),
        atom(connection, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, states.size(), states.data());
}

bool isPointerOverOwnWindow()
{
    auto* connection = toolkitConnection();
    if (!connection)
        return false;
    const auto* setup = xcb_get_setup(connection);
    // Down from the root: what the pointer is over may be deep inside a frame of the window manager.
    for (xcb_window_t window = rootWindow(connection); window != XCB_WINDOW_NONE;) {
        if ((window & ~setup->resource_id_mask) == setup->resource_id_base)
            return true;
        const XcbReply<xcb_query_pointer_reply_t> reply(
            xcb_query_pointer_reply(connection, xcb_query_pointer(connection, window), nullptr));
        if (!reply)
            return false;
        window = reply->child;
    }
    return false;
}

// _NET_WM_STRUT_PARTIAL of each window: what it reserves at the left, right, top and bottom edge of all
// screens taken together, and for each edge from where to where.
QRect withoutBars(const QRect& screen)
{
    auto* connection = toolkitConnection();
    if (!connection)
        return screen;
    const auto* root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const XcbReply<xcb_get_geometry_reply_t> whole(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root->root), nullptr));
    if (!whole)
        return screen;

    int left = screen.left();
    int top = screen.top();
    int right = left + screen.width();
    int bottom = top + screen.height();
    const auto overlaps = [](std::uint32_t first, std::uint32_t last, int begin, int end) {
        return static_cast<int>(first) < end && static_cast<int>(last) >= begin;
    };
    for (const xcb_window_t window : numbers(connection, root->root, "_NET_CLIENT_LIST")) {
        const auto strut = numbers(connection, window, "_NET_WM_STRUT_PARTIAL");
        if (strut.size() < 12)
            continue;
        const bool besideRows = overlaps(strut[4], strut[5], top, bottom);
        const bool besideRowsAtRight = overlaps(strut[6], strut[7], top, bottom);
        const bool overColumns = overlaps(strut[8], strut[9], left, right);
        const bool belowColumns = overlaps(strut[10], strut[11], left, right);
        const int fromLeft = static_cast<int>(strut[0]);
        const int fromRight = whole->width - static_cast<int>(strut[1]);
        const int fromTop = static_cast<int>(strut[2]);
        const int fromBottom = whole->height - static_cast<int>(strut[3]);
        // A bar at the edge of another screen reserves nothing of this one.
        if (strut[0] && besideRows && fromLeft < right)
            left = std::max(left, fromLeft);
        if (strut[1] && besideRowsAtRight && fromRight > left)
            right = std::min(right, fromRight);
        if (strut[2] && overColumns && fromTop < bottom)
            top = std::max(top, fromTop);
        if (strut[3] && belowColumns && fromBottom > top)
            bottom = std::min(bottom, fromBottom);
    }
    return { QPoint(left, top), QPoint(right - 1, bottom - 1) };
}

// The text goes to the root window in pieces, with a zero at its end; a window says which pieces belong
// together.
void endStartup(const QByteArray& id)
{
    auto* connection = toolkitConnection();
    if (!connection || id.isEmpty())
        return;
    QByteArray quoted = id;
    quoted.replace('\\', "\\\\").replace('"', "\\\"");
    const QByteArray text = "remove: ID=\"" + quoted + '"' + '\0';

    xcb_client_message_event_t piece {};
    constexpr qsizetype pieceSize = sizeof piece.data.data8;
    piece.response_type = XCB_CLIENT_MESSAGE;
    piece.format = 8;
    piece.window = xcb_generate_id(connection);
    piece.type = atom(connection, "_NET_STARTUP_INFO_BEGIN");
    const auto root = rootWindow(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, piece.window, root, 0, 0, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    for (qsizetype sent = 0; sent < text.size(); sent += pieceSize) {
        const auto next = text.mid(sent, pieceSize).leftJustified(pieceSize, '\0');
        std::copy(next.begin(), next.end(), piece.data.data8);
        xcb_send_event(
            connection, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char*>(&piece));
        piece.type = atom(connection, "_NET_STARTUP_INFO");
    }
    xcb_destroy_window(connection, piece.window);
    xcb_flush(connection);
}
