#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

/// One of the screens of an X server, in its pixels.
struct ScreenWithBars {
    QRect pixels;
    /// What no bar covers; the whole screen where no bar is known.
    QRect free;
    /// Pixels to a point.
    qreal scale = 1;
};

/// The pixel of a click on a bar in a Wayland session, of which the bar has reported the place. What bars
/// mean by that differs: pixels of the X server, of which a point may have several, points of the session, or
/// what is neither, such as a place within the bar's own window. Nothing where it lies on no bar either way.
/// The screen that comes first is that on which icons mostly are.
std::optional<QPoint> clickOnBar(QPoint reported, const QList<ScreenWithBars>& screens);

/// The work area that kwin on Wayland tells, with the size that it says the desktop has, in the pixels of an
/// X server of this size. Where a point has several pixels it tells the desktop in other units, and as soon
/// as the user has changed the scale kwin 6.3 tells the work area in those as well.
QRect workAreaInPixels(const QRect& told, QSize desktop, QSize server);

/// What no bar covers, in points, of a screen that covers so many of them. Nothing of it lies under a bar.
QRect freePoints(const ScreenWithBars& screen, const QRect& points);

/// The corner of what is free on a screen in which the icons of most bars are: at the end of the bar.
QPoint cornerOfIcons(const QRect& screen, const QRect& free);
