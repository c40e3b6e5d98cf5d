#pragma once

#include <QColor>
#include <QPainterPath>
#include <QRectF>

class QPainter;

/// A rectangle with continuous corners: the edge bends more and more into the corner instead of meeting a
/// quarter circle. The radius is that of the circle it stands for.
QPainterPath continuousRect(const QRectF& rect, double radius);

/// The rectangle with each edge at the nearest place where pixels of what is painted on begin. What is
/// painted of a widget ends there as well.
QRectF onPixels(const QPainter& painter, const QRectF& rect);
/// As above, but as high as wide.
QRectF squareOnPixels(const QPainter& painter, const QRectF& square);

/// A thickness in points as whole pixels: never thicker than wanted, but where that would be nothing.
double inPixels(const QPainter& painter, double thickness);

struct Outline {
    QColor color;
    double cornerRadius = 0;
    double thickness = 1;
};

/// A line just inside the rectangle: on whole pixels, and as many of them on each side.
void drawOutline(QPainter& painter, const QRectF& rect, const Outline& outline);

/// Clears what was painted outside the shape, which is in points from the device's corner. Its edge is
/// smooth, as that of a clip path is not.
void clearOutside(QPainter& painter, const QPainterPath& shape);
