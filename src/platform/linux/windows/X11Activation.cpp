#include "platform/linux/windows/X11Activation.h"

#include "platform/linux/Xcb.h"
#include "platform/linux/process/Session.h"
#include "platform/linux/windows/X11Windows.h"

#include <QEvent>
#include <QGuiApplication>
#include <QWindow>

namespace {

/// Who asks: a program for itself would be 1.
constexpr std::uint32_t pagerSource = 2;

/// The server's time of this moment. It comes with events only, and those of Qt's connection are Qt's: a
/// property that changes on a window of another connection brings one. A program that the user has not
/// touched for a while knows nothing but a time long past, with which managers keep its windows in the back.
xcb_timestamp_t serverTime()
{
    const XcbConnection connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()))
        return XCB_CURRENT_TIME;
    const auto window = xcb_generate_id(connection.get());
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, rootWindow(connection.get()), 0, 0, 1,
        1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_change_property(
        connection.get(), XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(connection.get());
    while (const XcbReply<xcb_generic_event_t> event { xcb_wait_for_event(connection.get()) }) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time;
    }
    return XCB_CURRENT_TIME;
}

/// Gives a window the keyboard once the server can, which is when the window is seen, and ends with that.
class FocusWhenSeen final : public QObject {
public:
    FocusWhenSeen(QWindow& window, xcb_connection_t* connection)
        : QObject(&window)
        , window(window)
        , connection(connection)
    {
        window.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Expose && window.isExposed()) {
            window.removeEventFilter(this);
            xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, static_cast<xcb_window_t>(window.winId()),
                XCB_CURRENT_TIME);
            xcb_flush(connection);
            deleteLater();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QWindow& window;
    xcb_connection_t* connection;
};

// sway 1.10, with wlroots 0.18, takes a window of X that was closed for the one that has the keyboard until
// another window of X gets it; one of Wayland does not count. It shows the window as active when it comes
// back, and never tells the X server: keys go nowhere, and the window hears nothing when it loses what it
// never had. So it takes the keyboard itself, which the manager then takes for its own doing.
void takeKeyboardThatManagerForgets(NativeWindow native, xcb_connection_t* connection)
{
    if (!isWaylandSession() || !isActive(native))
        return;
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (window->handle() && window->winId() == static_cast<WId>(native) && !window->isExposed())
            std::make_unique<FocusWhenSeen>(*window, connection).release();
    }
}

}

void X11Activation::activate(NativeWindow window)
{
    const auto* application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!application)
        return;
    // On Qt's own connection, so that the manager hears of the window first.
    auto* const connection = application->connection();
    xcb_client_message_event_t message {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window);
    message.type = atom(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = pagerSource;
    message.data.data32[1] = serverTime();
    // To the manager alone. The toolkit, which hears of what happens to the root window, would take the
    // window for active at once and then, a tenth of a second after another one has closed, for inactive.
    xcb_send_event(connection, 0, rootWindow(connection),
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
        reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
    takeKeyboardThatManagerForgets(window, connection);
}
