#include "platform/linux/LinuxPanelHost.h"

#include "platform/linux/X11Input.h"
#include "platform/linux/X11Windows.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtMath>

#include <utility>

namespace {

/// How long after the release of a button a bar may take to report the click, in milliseconds. Measured:
/// Xfce, Plasma and LXQt report it at once; a busy machine may be slower.
constexpr qint64 clickDelay = 250;

}

LinuxPanelHost::LinuxPanelHost(X11Input& input)
    : input(input)
{
}

ScreenArea LinuxPanelHost::workArea(ScreenPoint place) const
{
    const auto* screen = QGuiApplication::screenAt({ place.x, place.y });
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect points = screen->geometry();
    // Screens keep their origin when they are scaled; only their extent shrinks.
    const qreal scale = screen->devicePixelRatio();
    const QRect pixels(points.topLeft(), (QSizeF(points.size()) * scale).toSize());
    const QRect free = withoutBars(pixels);
    // Points that fall between two pixels go to the pixel after, and none under a bar.
    const auto pointAfter
        = [scale](int pixel, int origin) { return origin + qCeil((pixel - origin - 0.5) / scale); };
    const auto pointBefore
        = [scale](int pixel, int origin) { return origin + qFloor((pixel - origin) / scale); };
    const int left = pointAfter(free.left(), points.left());
    const int top = pointAfter(free.top(), points.top());
    const int right = pointBefore(free.left() + free.width(), points.left());
    const int bottom = pointBefore(free.top() + free.height(), points.top());
    QRect area(left, top, right - left, bottom - top);
    // Bars that only the toolkit knows. Among several screens it takes those of one from all.
    if (QGuiApplication::screens().size() == 1)
        area &= screen->availableGeometry();
    return { area.x(), area.y(), area.width(), area.height() };
}

void LinuxPanelHost::prepare(NativeWindow panel) { keepAboveAndOutOfLists(panel); }

void LinuxPanelHost::watchPressesOutside(std::function<void()> pressed)
{
    // Presses from before the panel was there, such as that on the icon, are none outside it.
    input.drain();
    pressedOutside = std::move(pressed);
    input.watchButtons([this](X11Input::ButtonMove move) {
        if (move == X11Input::ButtonMove::Pressed)
            buttonPressed();
        else
            buttonReleased();
    });
}

void LinuxPanelHost::stopWatching()
{
    // The panel may have closed because the press gave the focus to another window. That press is on its way
    // here.
    if (pressedOutside)
        input.drain();
    pressedOutside = nullptr;
    if (!isPressHeld)
        input.watchButtons({});
}

bool LinuxPanelHost::isClickSpent() const
{
    // The bus may be faster than the server: the click's own press must have been heard of.
    input.drain();
    return isPressHeld || (sinceRelease.isValid() && !sinceRelease.hasExpired(clickDelay));
}

void LinuxPanelHost::buttonPressed()
{
    // What a bar reports from now on is a click of this press.
    isPressHeld = false;
    sinceRelease.invalidate();
    if (!pressedOutside) {
        input.watchButtons({});
        return;
    }
    if (isPointerOverOwnWindow())
        return;
    isPressHeld = true;
    // Closing the panel ends the watch, and with it this function.
    std::exchange(pressedOutside, nullptr)();
}

void LinuxPanelHost::buttonReleased()
{
    // The watch goes on: only another press tells apart a click that the bar is slow to report from a new
    // one.
    if (std::exchange(isPressHeld, false))
        sinceRelease.start();
}
