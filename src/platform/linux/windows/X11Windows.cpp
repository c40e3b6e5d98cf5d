#include "platform/linux/windows/X11Windows.h"

#include "platform/linux/Xcb.h"
#include "platform/linux/process/Session.h"
#include "platform/linux/windows/BarPlace.h"

#include <QGuiApplication>
#include <QList>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace {

xcb_connection_t* toolkitConnection()
{
    const auto* application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return application ? application->connection() : nullptr;
}

/// Asked of the server once: to wait for an answer takes longer than most of what is done with it.
xcb_atom_t knownAtom(xcb_connection_t* connection, std::string_view name)
{
    static std::map<std::string, xcb_atom_t, std::less<>> known;
    const auto place = known.find(name);
    if (place != known.end())
        return place->second;
    const auto number = atom(connection, name);
    if (number != XCB_ATOM_NONE)
        known.emplace(name, number);
    return number;
}

/// The numbers of a property of 32-bit format; none when the window has no such property.
QList<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window, std::string_view property)
{
    // Enough for any number of windows that a desktop can hold.
    constexpr std::uint32_t most = 65536;
    const auto cookie = xcb_get_property(
        connection, 0, window, knownAtom(connection, property), XCB_GET_PROPERTY_TYPE_ANY, 0, most);
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
        knownAtom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
        knownAtom(connection, "_NET_WM_STATE_SKIP_PAGER"),
        knownAtom(connection, "_NET_WM_STATE_ABOVE"),
    };
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window),
        knownAtom(connection, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, states.size(), states.data());
}

bool isActive(NativeWindow window)
{
    auto* connection = toolkitConnection();
    return connection
        && numbers(connection, rootWindow(connection), "_NET_ACTIVE_WINDOW").value(0)
        == static_cast<xcb_window_t>(window);
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

// _NET_WM_STRUT_PARTIAL of each window: how deep it reaches in from the left, right, top and bottom edge of
// all screens taken together, and for each edge from where to where along it.
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

    enum Edge : std::size_t { Left, Right, Top, Bottom };
    const std::array<int, 4> size { whole->width, whole->width, whole->height, whole->height };
    // As deep as this, each edge is not for us. That way all four are alike.
    std::array<int, 4> taken { screen.left(), whole->width - screen.left() - screen.width(), screen.top(),
        whole->height - screen.top() - screen.height() };
    for (const xcb_window_t window : numbers(connection, root->root, "_NET_CLIENT_LIST")) {
        const auto strut = numbers(connection, window, "_NET_WM_STRUT_PARTIAL");
        if (strut.size() < 12)
            continue;
        const auto number
            = [&strut](std::size_t index) { return static_cast<int>(strut[static_cast<qsizetype>(index)]); };
        const auto takenByOthers = taken;
        for (const std::size_t edge : { Left, Right, Top, Bottom }) {
            const std::size_t opposite = edge ^ 1U;
            const std::size_t begin = edge < Top ? Top : Left;
            const std::size_t end = begin + 1;
            const int depth = number(edge);
            const int first = number(4 + 2 * edge);
            const int last = number(5 + 2 * edge);
            const bool isAlongScreen = first < size[end] - takenByOthers[end] && last >= takenByOthers[begin];
            // A bar at the edge of another screen reserves nothing of this one.
            const bool endsBeforeFarSide = depth < size[edge] - taken[opposite];
            if (depth > 0 && isAlongScreen && endsBeforeFarSide)
                taken[edge] = std::max(taken[edge], depth);
        }
    }
    return { QPoint(taken[Left], taken[Top]),
        QPoint(size[Right] - taken[Right] - 1, size[Bottom] - taken[Bottom] - 1) };
}

// On a real X server the desktop may be larger than the screens, and there all is told in pixels.
std::optional<QRect> freeForWindowManager()
{
    auto* connection = toolkitConnection();
    if (!connection)
        return {};
    const auto root = rootWindow(connection);
    const XcbReply<xcb_get_geometry_reply_t> whole(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root), nullptr));
    const auto area = numbers(connection, root, "_NET_WORKAREA");
    if (!whole || area.size() < 4)
        return {};

    // The server has no larger ones.
    const auto pixels = [](std::uint32_t number) { return static_cast<int>(std::min(number, 0xffffU)); };
    const QRect told(pixels(area[0]), pixels(area[1]), pixels(area[2]), pixels(area[3]));
    const auto desktop = numbers(connection, root, "_NET_DESKTOP_GEOMETRY");
    if (!isWaylandSession() || desktop.size() < 2)
        return told;
    return workAreaInPixels(
        told, { pixels(desktop[0]), pixels(desktop[1]) }, { whole->width, whole->height });
}

// In the resources, lines of names and values, as the resolution of text in dots per inch, of which a point
// has one in 96.
std::optional<qreal> scaleOfSession()
{
    auto* connection = toolkitConnection();
    if (!connection)
        return {};
    constexpr std::uint32_t most = 16384;
    const auto cookie = xcb_get_property(
        connection, 0, rootWindow(connection), XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, most);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 8)
        return {};
    const auto resources
        = QByteArray::fromRawData(static_cast<const char*>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get()));
    constexpr QByteArrayView resolution = "Xft.dpi:";
    for (const auto& line : resources.split('\n')) {
        if (!line.startsWith(resolution))
            continue;
        const double scale = line.mid(resolution.size()).trimmed().toDouble() / 96;
        constexpr double largest = 16;
        if (scale >= 1 && scale <= largest)
            return scale;
    }
    return {};
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
    piece.type = knownAtom(connection, "_NET_STARTUP_INFO_BEGIN");
    const auto root = rootWindow(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, piece.window, root, 0, 0, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    for (qsizetype sent = 0; sent < text.size(); sent += pieceSize) {
        const auto next = text.mid(sent, pieceSize).leftJustified(pieceSize, '\0');
        std::copy(next.begin(), next.end(), piece.data.data8);
        xcb_send_event(
            connection, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char*>(&piece));
        piece.type = knownAtom(connection, "_NET_STARTUP_INFO");
    }
    xcb_destroy_window(connection, piece.window);
    xcb_flush(connection);
}
