#include "windows/ui/Shapes.h"

#include <QPainter>
#include <QPointF>

#include <algorithm>
#include <cmath>

namespace {

// How far along an edge a corner of radius 1 begins to bend.
constexpr double reach = 1.52866483;

/// Draws one corner of the rectangle, from the edge that `along` points down to the edge of `across`, both
/// one radius long.
void addCorner(QPainterPath& path, QPointF corner, QPointF along, QPointF across)
{
    const auto point = [&](double a, double b) { return corner + along * a + across * b; };
    if (path.elementCount() == 0)
        path.moveTo(point(reach, 0));
    else
        path.lineTo(point(reach, 0));
    path.cubicTo(point(1.08849323, 0), point(0.86840689, 0), point(0.66993427, 0.06549600));
    path.lineTo(point(0.63149399, 0.07491100));
    path.cubicTo(point(0.37282392, 0.16905899), point(0.16905899, 0.37282392), point(0.07491100, 0.63149399));
    path.lineTo(point(0.06549600, 0.66993427));
    path.cubicTo(point(0, 0.86840689), point(0, 1.08849323), point(0, reach));
}

}

QPainterPath continuousRect(const QRectF& rect, double radius)
{
    QPainterPath path;
    const double half = std::min(rect.width(), rect.height()) / 2;
    const double r = std::min(radius, half);
    if (r <= 0) {
        path.addRect(rect);
        return path;
    }
    // No room to ease into the corner, as in a thin bar.
    if (half < reach * r) {
        path.addRoundedRect(rect, r, r);
        return path;
    }
    addCorner(path, rect.topRight(), { -r, 0 }, { 0, r });
    addCorner(path, rect.bottomRight(), { 0, -r }, { -r, 0 });
    addCorner(path, rect.bottomLeft(), { r, 0 }, { 0, -r });
    addCorner(path, rect.topLeft(), { 0, r }, { r, 0 });
    path.closeSubpath();
    return path;
}

QRectF onPixels(const QPainter& painter, const QRectF& rect)
{
    const auto toPixels = painter.deviceTransform();
    const auto exact = toPixels.mapRect(rect);
    const QPointF first(std::round(exact.left()), std::round(exact.top()));
    const QPointF last(std::round(exact.right()), std::round(exact.bottom()));
    return toPixels.inverted().mapRect(QRectF(first, last));
}

QRectF squareOnPixels(const QPainter& painter, const QRectF& square)
{
    auto result = onPixels(painter, square);
    const double side = std::min(result.width(), result.height());
    result.setSize({ side, side });
    return result;
}

double inPixels(const QPainter& painter, double thickness)
{
    const double ratio = painter.deviceTransform().m11();
    return std::max(std::floor(thickness * ratio), 1.0) / ratio;
}

void drawOutline(QPainter& painter, const QRectF& rect, const Outline& outline)
{
    const auto outside = onPixels(painter, rect);
    const double thickness = inPixels(painter, outline.thickness);
    auto line = continuousRect(outside, outline.cornerRadius);
    line.addPath(continuousRect(
        outside.adjusted(thickness, thickness, -thickness, -thickness), outline.cornerRadius - thickness));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(line, outline.color);
    painter.restore();
}

void clearOutside(QPainter& painter, const QPainterPath& shape)
{
    QPainterPath outside;
    // In pixels, which is more than it has points: its last pixels may be covered only in part by a size in
    // points.
    outside.addRect(0, 0, painter.device()->width(), painter.device()->height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.fillPath(outside - shape, Qt::black);
    painter.restore();
}
