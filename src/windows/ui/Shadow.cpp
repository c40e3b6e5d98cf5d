#include "windows/ui/Shadow.h"

#include <QImage>

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

/// How many neighbors on each side an average takes in.
struct Reach {
    int before = 0;
    int after = 0;
};

/// Three averages of these widths, one after the other, look like a Gaussian blur.
std::array<Reach, 3> reaches(double deviation)
{
    const int width = static_cast<int>(std::floor(deviation * 3 * std::sqrt(2 * std::numbers::pi) / 4 + 0.5));
    const int half = width / 2;
    if (width % 2 == 1)
        return { Reach { half, half }, { half, half }, { half, half } };
    return { Reach { half, half - 1 }, { half - 1, half }, { half, half } };
}

/// A row or a column of an image with one byte to a pixel.
struct Line {
    uchar* first = nullptr;
    int length = 0;
    qsizetype stride = 1;

    uchar& operator[](int index) const { return first[index * stride]; }
};

/// Replaces each pixel by the average of its neighborhood; beyond the ends is nothing.
void average(const Line& line, const Reach& reach, std::vector<uchar>& averages)
{
    const int count = reach.before + reach.after + 1;
    int sum = 0;
    for (int i = 0; i < std::min(reach.after, line.length); ++i)
        sum += line[i];
    for (int i = 0; i < line.length; ++i) {
        if (i + reach.after < line.length)
            sum += line[i + reach.after];
        averages[static_cast<std::size_t>(i)] = static_cast<uchar>((sum + count / 2) / count);
        if (i >= reach.before)
            sum -= line[i - reach.before];
    }
    for (int i = 0; i < line.length; ++i)
        line[i] = averages[static_cast<std::size_t>(i)];
}

void blur(QImage& coverage, double deviation)
{
    std::vector<uchar> averages(static_cast<std::size_t>(std::max(coverage.width(), coverage.height())));
    for (const auto& reach : reaches(deviation)) {
        for (int y = 0; y < coverage.height(); ++y)
            average({ coverage.scanLine(y), coverage.width(), 1 }, reach, averages);
        for (int x = 0; x < coverage.width(); ++x)
            average({ coverage.bits() + x, coverage.height(), coverage.bytesPerLine() }, reach, averages);
    }
}

}

void paintShadow(QPainter& painter, const QPainterPath& shape, double blurRadius, const QColor& color)
{
    const double ratio = painter.device()->devicePixelRatioF();
    const double margin = std::ceil(3 * blurRadius);
    const auto box = shape.boundingRect().adjusted(-margin, -margin, margin, margin).toAlignedRect();
    QImage coverage(box.size() * ratio, QImage::Format_Alpha8);
    coverage.setDevicePixelRatio(ratio);
    coverage.fill(0);
    {
        QPainter mask(&coverage);
        mask.setRenderHint(QPainter::Antialiasing);
        mask.translate(-box.topLeft());
        mask.fillPath(shape, Qt::black);
    }
    blur(coverage, blurRadius * ratio);

    QImage shadow(coverage.size(), QImage::Format_ARGB32_Premultiplied);
    shadow.setDevicePixelRatio(ratio);
    shadow.fill(color);
    {
        QPainter cut(&shadow);
        cut.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        cut.drawImage(0, 0, coverage);
    }
    painter.drawImage(box.topLeft(), shadow);
}
