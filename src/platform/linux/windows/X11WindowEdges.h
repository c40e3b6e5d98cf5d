#pragma once

#include "platform/WindowEdges.h"

#include <QAbstractNativeEventFilter>

#include <xcb/xcb.h>

#include <cstdint>

/// Follows the compositing manager of the X server, which may come and go at any time. A Wayland session
/// always has a compositor, but no way in which this toolkit could tell it of a shadow.
class X11WindowEdges final
    : public WindowEdges
    , private QAbstractNativeEventFilter {
public:
    /// Needs the application object.
    X11WindowEdges();
    X11WindowEdges(const X11WindowEdges&) = delete;
    X11WindowEdges& operator=(const X11WindowEdges&) = delete;
    ~X11WindowEdges() override;

    WindowEdge edge() const override;
    void setShadow(NativeWindow window, const WindowShadow& shadow) override;
    bool isHeld() const override;
    Observers::Subscription observe(std::function<void()> changed) override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    bool hasCompositor() const;
    bool knowsShadows() const;

    /// The toolkit's; null where it does not use an X server, or one that cannot tell of its compositor.
    xcb_connection_t* connection = nullptr;
    /// Kept, because the library forgets it when the server is lost, while the toolkit still hands on what
    /// came before.
    std::uint8_t firstFixesEvent = 0;
    xcb_atom_t compositor = XCB_ATOM_NONE;
    xcb_atom_t supported = XCB_ATOM_NONE;
    xcb_atom_t extents = XCB_ATOM_NONE;
    Observers observers;
};
