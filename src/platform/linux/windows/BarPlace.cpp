#include "platform/linux/windows/BarPlace.h"

#include <QtMath>

namespace {

/// Within so many points of its edge a screen may have a bar, where the session tells of none: some that run
/// Wayland programs beside X ones do not, and nobody tells of a bar that hides itself.
constexpr int barReach = 64;

/// So many points a bar may stand out of the room that it takes: one of Plasma 6 floats off the edge.
constexpr int barFloat = 12;

bool isOnBar(QPoint pixel, const ScreenWithBars& screen)
{
    if (screen.free != screen.pixels) {
        const int most = qRound(barFloat * screen.scale);
        const auto overlap = [most](int taken) { return taken > 0 ? most : 0; };
        return !screen.free
                    .adjusted(overlap(screen.free.left() - screen.pixels.left()),
                        overlap(screen.free.top() - screen.pixels.top()),
                        -overlap(screen.pixels.right() - screen.free.right()),
                        -overlap(screen.pixels.bottom() - screen.free.bottom()))
                    .contains(pixel);
    }
    const int reach = qRound(barReach * screen.scale);
    return !screen.pixels.adjusted(reach, reach, -reach, -reach).contains(pixel);
}

}

// On each screen as points first. Places in pixels seldom pass for points: most icons are in the right or the
// lower half of their screen, which is no place in points. Of the others each is twice as near to the corner
// as it is taken to be, where the panel stands in the corner both ways. Places in points pass for pixels on
// every upper bar. Of two screens with several pixels to a point, either may be right for a place on the one
// or on the other.
std::optional<QPoint> clickOnBar(QPoint reported, const QList<ScreenWithBars>& screens)
{
    for (const auto& screen : screens) {
        for (const bool isInPoints : { true, false }) {
            // Which may be larger than any pixel's.
            const QPointF place = QPointF(reported) * (isInPoints ? screen.scale : 1);
            if (!QRectF(screen.pixels).contains(place))
                continue;
            const QPoint pixel = place.toPoint();
            if (screen.pixels.contains(pixel) && isOnBar(pixel, screen))
                return pixel;
        }
    }
    return {};
}

// The desktop is as large as all screens together in every unit. No work area reaches beyond it in its own
// units, and nearly every one reaches its right or its lower edge, since few people have a bar at both.
QRect workAreaInPixels(const QRect& told, QSize desktop, QSize server)
{
    constexpr int rounding = 1;
    const int right = told.x() + told.width();
    const int bottom = told.y() + told.height();
    const bool reachesEdge
        = qAbs(right - server.width()) <= rounding || qAbs(bottom - server.height()) <= rounding;
    const bool isWithinDesktop = right <= desktop.width() + rounding && bottom <= desktop.height() + rounding;
    if (reachesEdge || !isWithinDesktop || desktop.isEmpty())
        return told;
    const auto across = [&](int size) { return qRound(size * (server.width() / qreal(desktop.width()))); };
    const auto down = [&](int size) { return qRound(size * (server.height() / qreal(desktop.height()))); };
    return { across(told.x()), down(told.y()), across(told.width()), down(told.height()) };
}

QRect freePoints(const ScreenWithBars& screen, const QRect& points)
{
    // Points that fall between two pixels go to the pixel after.
    const auto pointAfter
        = [&screen](int pixel, int origin) { return origin + qCeil((pixel - origin - 0.5) / screen.scale); };
    const auto pointBefore
        = [&screen](int pixel, int origin) { return origin + qFloor((pixel - origin) / screen.scale); };
    const QRect& pixels = screen.pixels;
    const QRect& free = screen.free;
    const int left = pointAfter(free.left(), pixels.left());
    const int top = pointAfter(free.top(), pixels.top());
    // The last point of a screen may have less than its pixels, and is no bar.
    const int right = free.right() == pixels.right() ? points.left() + points.width()
                                                     : pointBefore(free.right() + 1, pixels.left());
    const int bottom = free.bottom() == pixels.bottom() ? points.top() + points.height()
                                                        : pointBefore(free.bottom() + 1, pixels.top());
    return { left, top, right - left, bottom - top };
}

QPoint cornerOfIcons(const QRect& screen, const QRect& free)
{
    if (free.top() > screen.top())
        return free.topRight();
    if (free.bottom() < screen.bottom())
        return free.bottomRight();
    if (free.left() > screen.left())
        return free.bottomLeft();
    if (free.right() < screen.right())
        return free.bottomRight();
    return free.topRight();
}
