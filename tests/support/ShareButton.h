#pragma once

#include <QPoint>

#include <optional>

class DesktopWindows;
class Injector;

/// Moves the pointer to the share button of the open panel and waits until nothing else covers it: a bar
/// shows the icon's tooltip over the panel until the pointer has left the icon. Returns the pointer's place,
/// in pixels of the screen; nothing when something stays in front.
std::optional<QPoint> pointAtShareButton(Injector& injector, const DesktopWindows& windows);
