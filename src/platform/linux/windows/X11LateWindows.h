#pragma once

#include <QAbstractNativeEventFilter>

#include <xcb/xcb.h>

/// Closes the windows that the window manager brings up after they have been closed. Until it has done so,
/// xfwm4 4.18 takes what it hears of a window's end for its own doing: the window would stay, empty and
/// without answering anybody.
class X11LateWindows final : private QAbstractNativeEventFilter {
public:
    /// Needs the application object.
    X11LateWindows();
    X11LateWindows(const X11LateWindows&) = delete;
    X11LateWindows& operator=(const X11LateWindows&) = delete;
    ~X11LateWindows() override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    /// The toolkit's; null where it does not use an X server.
    xcb_connection_t* connection = nullptr;
};
