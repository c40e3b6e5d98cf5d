#pragma once

#include "model/StatsStore.h"
#include "windows/Theme.h"

#include <cstdint>
#include <vector>

class QPainter;
class QRectF;

/// A day as a bar in a chart: its key presses above its clicks, in points.
struct DayBar {
    double keysHeight = 0;
    double clicksHeight = 0;
    /// The total is 0.
    bool isEmpty = true;

    bool operator==(const DayBar&) const = default;
};

/// The greatest total of a day, or 1: what fills a chart from bottom to top.
std::int64_t chartScale(const std::vector<StatsStore::Day>& days);

/// How high the part of a bar is that stands for so many presses: never too low to be seen.
double segmentHeight(std::int64_t count, std::int64_t scale, double chartHeight);
DayBar dayBar(const DayCount& count, std::int64_t scale, double chartHeight);

/// Where the edges of what is painted lie.
enum class BarEdges {
    /// Where the heights put them.
    Exact,
    /// At the pixels next to there, which a bar on a screen of few pixels needs to be sharp.
    OnPixels,
};

/// Draws the bar on the bottom of its box. Where one of the parts was raised to be seen, the bar stands out
/// of the box at the top. A day without activity is a stub of its own color. The painter's pen has the
/// primary color.
void paintDayBar(
    QPainter& painter, const QRectF& box, const DayBar& bar, const ThemeColor& stub, BarEdges edges);
