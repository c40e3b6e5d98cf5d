#include "platform/linux/windows/X11WindowEdges.h"

#include "platform/linux/Xcb.h"

#include <QGuiApplication>

#include <xcb/shape.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>

X11WindowEdges::X11WindowEdges()
{
    const auto* application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!application)
        return;
    // Asked for an extension that the server has not, the library would end the toolkit's connection.
    const auto* fixes = xcb_get_extension_data(application->connection(), &xcb_xfixes_id);
    if (!fixes || !fixes->present)
        return;
    connection = application->connection();
    firstFixesEvent = fixes->first_event;
    // Who has this selection composes the first screen.
    compositor = atom(connection, "_NET_WM_CM_S0");
    supported = atom(connection, "_NET_SUPPORTED");
    extents = atom(connection, "_GTK_FRAME_EXTENTS");
    // The server answers no other request before it has been told a version.
    const XcbReply<xcb_xfixes_query_version_reply_t> ignored(xcb_xfixes_query_version_reply(
        connection, xcb_xfixes_query_version(connection, XCB_XFIXES_MAJOR_VERSION, 0), nullptr));
    xcb_xfixes_select_selection_input(connection, rootWindow(connection), compositor,
        XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER
            | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
            | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    qGuiApp->installNativeEventFilter(this);
}

X11WindowEdges::~X11WindowEdges() = default;

WindowEdge X11WindowEdges::edge() const
{
    if (!connection) {
        return QGuiApplication::platformName().startsWith("wayland") ? WindowEdge::Round : WindowEdge::Square;
    }
    if (!hasCompositor())
        return WindowEdge::Square;
    return knowsShadows() ? WindowEdge::RoundWithShadow : WindowEdge::Round;
}

void X11WindowEdges::setShadow(NativeWindow window, const WindowShadow& shadow)
{
    if (!connection)
        return;
    const auto id = static_cast<xcb_window_t>(window);
    if (shadow.margin == 0) {
        xcb_delete_property(connection, id, extents);
        xcb_xfixes_set_window_shape_region(connection, id, XCB_SHAPE_SK_INPUT, 0, 0, XCB_XFIXES_REGION_NONE);
        return;
    }
    const auto margin = static_cast<std::uint32_t>(shadow.margin);
    const std::array sides { margin, margin, margin, margin };
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, extents, XCB_ATOM_CARDINAL, 32,
        static_cast<std::uint32_t>(sides.size()), sides.data());
    const xcb_rectangle_t body {
        .x = static_cast<std::int16_t>(shadow.margin),
        .y = static_cast<std::int16_t>(shadow.margin),
        .width = static_cast<std::uint16_t>(shadow.width - 2 * shadow.margin),
        .height = static_cast<std::uint16_t>(shadow.height - 2 * shadow.margin),
    };
    const auto region = xcb_generate_id(connection);
    xcb_xfixes_create_region(connection, region, 1, &body);
    xcb_xfixes_set_window_shape_region(connection, id, XCB_SHAPE_SK_INPUT, 0, 0, region);
    xcb_xfixes_destroy_region(connection, region);
}

// A window manager that answers late to a press holds back what follows it. When it lets go, the server first
// tells where the pointer has gone meanwhile, as if the button were still down.
bool X11WindowEdges::isHeld() const
{
    if (!connection)
        return true;
    const XcbReply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, rootWindow(connection)), nullptr));
    return reply && (reply->mask & XCB_BUTTON_MASK_1) != 0;
}

Observers::Subscription X11WindowEdges::observe(std::function<void()> changed)
{
    return observers.add(std::move(changed));
}

bool X11WindowEdges::nativeEventFilter(const QByteArray&, void* message, qintptr*)
{
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) == firstFixesEvent + XCB_XFIXES_SELECTION_NOTIFY
        && reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event)->selection == compositor)
        observers.notify();
    return false;
}

bool X11WindowEdges::hasCompositor() const
{
    const XcbReply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, compositor), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

// A window manager that does not know of shadows within windows would place, snap and tile by them.
bool X11WindowEdges::knowsShadows() const
{
    // Several times as many as any manager names.
    constexpr std::uint32_t most = 4096;
    const auto cookie
        = xcb_get_property(connection, 0, rootWindow(connection), supported, XCB_ATOM_ATOM, 0, most);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return false;
    const std::span names(
        static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get())), reply->value_len);
    return std::ranges::find(names, extents) != names.end();
}
