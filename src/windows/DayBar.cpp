#include "windows/DayBar.h"

#include "windows/ui/Look.h"
#include "windows/ui/Shapes.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

std::int64_t chartScale(const std::vector<StatsStore::Day>& days)
{
    std::int64_t greatest = 1;
    for (const auto& day : days)
        greatest = std::max(greatest, total(day.count));
    return greatest;
}

double segmentHeight(std::int64_t count, std::int64_t scale, double chartHeight)
{
    if (count < 1)
        return 0;
    return std::max(static_cast<double>(count) / static_cast<double>(scale) * chartHeight, 2.0);
}

DayBar dayBar(const DayCount& count, std::int64_t scale, double chartHeight)
{
    return {
        .keysHeight = segmentHeight(count.keys, scale, chartHeight),
        .clicksHeight = segmentHeight(count.clicks, scale, chartHeight),
        .isEmpty = total(count) == 0,
    };
}

void paintDayBar(
    QPainter& painter, const QRectF& box, const DayBar& bar, const ThemeColor& stub, BarEdges edges)
{
    const auto primary = painter.pen().color();
    const bool isExact = edges == BarEdges::Exact;
    const auto ground = isExact ? box : onPixels(painter, box);
    const double ratio = painter.deviceTransform().m11();
    const auto length = [&](double points) { return isExact ? points : std::round(points * ratio) / ratio; };
    // Returns where its top is.
    const auto fill = [&](double bottom, double height, const ThemeColor& color) {
        const double top = bottom - length(height);
        if (height > 0) {
            const QRectF part(ground.left(), top, ground.width(), bottom - top);
            painter.fillPath(continuousRect(part, 2), resolved(color, primary));
        }
        return top;
    };
    if (bar.isEmpty) {
        fill(ground.bottom(), 3, stub);
        return;
    }
    const double clicksTop = fill(ground.bottom(), bar.clicksHeight, Theme::clickAccent);
    // The gap stays also above a part without height.
    fill(clicksTop - (isExact ? 1 : inPixels(painter, 1)), bar.keysHeight, Theme::keyAccent);
}
