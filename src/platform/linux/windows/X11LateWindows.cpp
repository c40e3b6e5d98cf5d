#include "platform/linux/windows/X11LateWindows.h"

#include "platform/linux/Xcb.h"

#include <QGuiApplication>
#include <QWindow>

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

bool isClosed(xcb_window_t native)
{
    const auto windows = QGuiApplication::topLevelWindows();
    const auto window = std::ranges::find_if(
        windows, [native](const QWindow* each) { return each->handle() && each->winId() == WId { native }; });
    return window != windows.end() && !(*window)->isVisible();
}

/// As the toolkit does when a window closes; the manager hears of it in the second way also where the window
/// is not seen (section 4.1.4 of the Inter-Client Communication Conventions Manual).
void withdraw(xcb_connection_t* connection, xcb_window_t window)
{
    const auto root = rootWindow(connection);
    xcb_unmap_window(connection, window);
    // Every event of the protocol has 32 bytes, and all of them are sent.
    struct {
        xcb_unmap_notify_event_t event {};
        std::array<std::uint8_t, 32 - sizeof(xcb_unmap_notify_event_t)> rest {};
    } notice;
    notice.event.response_type = XCB_UNMAP_NOTIFY;
    notice.event.event = root;
    notice.event.window = window;
    xcb_send_event(connection, 0, root,
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
        reinterpret_cast<const char*>(&notice));
    xcb_flush(connection);
}

}

X11LateWindows::X11LateWindows()
{
    const auto* application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!application)
        return;
    connection = application->connection();
    qGuiApp->installNativeEventFilter(this);
}

X11LateWindows::~X11LateWindows() = default;

bool X11LateWindows::nativeEventFilter(const QByteArray&, void* message, qintptr*)
{
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY) {
        const auto window = reinterpret_cast<const xcb_map_notify_event_t*>(event)->window;
        if (isClosed(window))
            withdraw(connection, window);
    }
    return false;
}
