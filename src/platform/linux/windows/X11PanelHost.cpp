#include "platform/linux/windows/X11PanelHost.h"

#include "platform/linux/input/X11Input.h"
#include "platform/linux/process/Session.h"
#include "platform/linux/windows/BarPlace.h"
#include "platform/linux/windows/X11Windows.h"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace {

/// How long after the release of a button a bar may take to report the click, in milliseconds. Measured:
/// Xfce, Plasma and LXQt report it at once; a busy machine may be slower. Where the server hears of every
/// press, the next one ends that time.
constexpr qint64 clickDelay = 2000;
/// In a Wayland session the server does not hear of presses on a bar that is none of its windows.
constexpr qint64 clickDelayOnWayland = 250;

/// What the screen covers in pixels. Screens keep their place when they are scaled; only their extent
/// shrinks.
QRect pixelsOf(const QScreen& screen)
{
    const QRect points = screen.geometry();
    return { points.topLeft(), (QSizeF(points.size()) * screen.devicePixelRatio()).toSize() };
}

/// Nothing when the pixel lies outside every screen.
std::optional<ScreenPoint> logicalPoint(QPoint physical)
{
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect pixels = pixelsOf(*screen);
        if (!pixels.contains(physical))
            continue;
        const QPoint origin = pixels.topLeft();
        const QPoint logical = origin + (QPointF(physical - origin) / screen->devicePixelRatio()).toPoint();
        return ScreenPoint { logical.x(), logical.y() };
    }
    return {};
}

ScreenWithBars withBars(const QScreen& screen)
{
    const QRect pixels = pixelsOf(screen);
    QRect free = withoutBars(pixels);
    // Bars that only the window manager knows. Among several screens it takes those of one from all.
    const auto managed = QGuiApplication::screens().size() == 1 ? freeForWindowManager() : std::nullopt;
    if (managed && free.intersects(*managed))
        free &= *managed;
    return { .pixels = pixels, .free = free, .scale = screen.devicePixelRatio() };
}

/// The part of a screen that no bar covers, in points.
QRect withoutBarsInPoints(const QScreen& screen) { return freePoints(withBars(screen), screen.geometry()); }

/// Where the pixel is at which the user has clicked. On a real X server it is where the pointer was. In a
/// Wayland session a bar has said so, which may mean anything.
std::optional<ScreenPoint> believedPoint(QPoint pixel)
{
    if (!isWaylandSession())
        return logicalPoint(pixel);
    // The session may have been scaled since the toolkit came.
    const auto scale = scaleOfSession();
    QList<ScreenWithBars> screens;
    for (const QScreen* screen : QGuiApplication::screens()) {
        screens << withBars(*screen);
        screens.last().scale = scale.value_or(screens.last().scale);
    }
    const auto onBar = clickOnBar(pixel, screens);
    return onBar ? logicalPoint(*onBar) : std::nullopt;
}

ScreenPoint whereIconsMostlyAre()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return {};
    const QPoint corner = cornerOfIcons(screen->geometry(), withoutBarsInPoints(*screen));
    return { corner.x(), corner.y() };
}

}

X11PanelHost::X11PanelHost(X11Input& input)
    : input(input)
{
}

ScreenPoint X11PanelHost::pointAt(std::optional<ScreenPixel> pixel)
{
    if (pixel) {
        if (const auto point = believedPoint({ pixel->x, pixel->y }))
            lastPlace = point;
    }
    return lastPlace ? *lastPlace : whereIconsMostlyAre();
}

ScreenArea X11PanelHost::workArea(ScreenPoint place) const
{
    const auto* screen = QGuiApplication::screenAt({ place.x, place.y });
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect area = withoutBarsInPoints(*screen);
    return { area.x(), area.y(), area.width(), area.height() };
}

void X11PanelHost::prepare(NativeWindow panel) { keepAboveAndOutOfLists(panel); }

void X11PanelHost::watchPressesOutside(std::function<void()> pressed)
{
    // Presses from before the panel was there, such as that on the icon, are none outside it.
    input.drain();
    // The click that closed it before is over.
    sinceRelease.invalidate();
    pressedOutside = std::move(pressed);
    input.watchButtons([this](X11Input::ButtonMove move) {
        if (move == X11Input::ButtonMove::Pressed)
            buttonPressed();
        else
            buttonReleased();
    });
}

void X11PanelHost::stopWatching()
{
    // The panel may have closed because the press gave the focus to another window. That press is on its way
    // here.
    if (pressedOutside)
        input.drain();
    pressedOutside = nullptr;
    // Only the next press tells apart a click that the bar is slow to report from a new one.
    if (!isPressHeld && !sinceRelease.isValid())
        input.watchButtons({});
}

bool X11PanelHost::isClickSpent() const
{
    // The bus may be faster than the server: the click's own press must have been heard of.
    input.drain();
    return isPressHeld
        || (sinceRelease.isValid()
            && !sinceRelease.hasExpired(isWaylandSession() ? clickDelayOnWayland : clickDelay));
}

void X11PanelHost::buttonPressed()
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

void X11PanelHost::buttonReleased()
{
    // The watch goes on.
    if (std::exchange(isPressHeld, false))
        sinceRelease.start();
}
