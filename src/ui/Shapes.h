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
