#pragma once

#include <QPainterPath>
#include <QRectF>

class QColor;
class QPainter;

/// A rectangle with continuous corners: the edge bends more and more into the corner instead of meeting a
/// quarter circle. The radius is that of the circle it stands for.
QPainterPath continuousRect(const QRectF& rect, double radius);

/// A line of about a point just inside the rectangle: of whole pixels, and as many of them on each side.
void drawOutline(QPainter& painter, const QRectF& rect, const QColor& color);

/// Clears what was painted outside the shape, which is in points from the device's corner. Its edge is
/// smooth, as that of a clip path is not.
void clearOutside(QPainter& painter, const QPainterPath& shape);
