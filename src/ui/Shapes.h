#pragma once

#include <QPainterPath>
#include <QRectF>

/// A rectangle with continuous corners: the edge bends more and more into the corner instead of meeting a
/// quarter circle. The radius is that of the circle it stands for.
QPainterPath continuousRect(const QRectF& rect, double radius);
