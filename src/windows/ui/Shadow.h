#pragma once

#include <QColor>
#include <QPainter>
#include <QPainterPath>

/// Draws the shadow that a shape throws: the shape itself, in a color, with an edge that fades over about
/// three times the blur to either side.
void paintShadow(QPainter& painter, const QPainterPath& shape, double blur, const QColor& color);
