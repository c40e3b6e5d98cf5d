#pragma once

#include <QByteArray>
#include <QImage>
#include <QRect>

/// What a display shows now, in pixels: the given area, or the whole screen. A null image when it cannot be
/// read.
QImage screenshot(const QByteArray& display, const QRect& area = {});

/// The picture that an area comes to rest at: which no animation has changed for a while. The last one when
/// it never does.
QImage stillScreenshot(const QByteArray& display, const QRect& area = {});

/// The smallest rectangle that holds every pixel in which two pictures of one size differ; null when none
/// does.
QRect difference(const QImage& before, const QImage& after);
