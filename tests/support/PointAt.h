#pragma once

#include <QPoint>

#include <xcb/xproto.h>

#include <optional>

class DesktopWindows;
class Injector;

/// Moves the pointer to a place of the screen, in pixels, and waits until nothing covers the window there: a
/// bar shows the icon's tooltip over the panel until the pointer has left the icon. False when something
/// stays in front.
[[nodiscard]] bool pointAt(
    Injector& injector, const DesktopWindows& windows, xcb_window_t window, QPoint place);

/// The same with the share button of the open panel. Returns the pointer's place.
std::optional<QPoint> pointAtShareButton(Injector& injector, const DesktopWindows& windows);
