#include "windows/DayBar.h"

#include "windows/ui/Look.h"
#include "windows/ui/Shapes.h"

#include <QPainter>

#include <algorithm>

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

void paintDayBar(QPainter& painter, const QRectF& box, const DayBar& bar, const ThemeColor& stub)
{
    const auto primary = painter.pen().color();
    const auto fill = [&](double bottom, double height, const ThemeColor& color) {
        if (height > 0) {
            painter.fillPath(continuousRect({ box.left(), bottom - height, box.width(), height }, 2),
                resolved(color, primary));
        }
    };
    if (bar.isEmpty) {
        fill(box.bottom(), 3, stub);
        return;
    }
    fill(box.bottom(), bar.clicksHeight, Theme::clickAccent);
    // The gap stays also above a part without height.
    fill(box.bottom() - bar.clicksHeight - 1, bar.keysHeight, Theme::keyAccent);
}
