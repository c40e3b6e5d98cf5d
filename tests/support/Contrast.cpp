#include "support/Contrast.h"

#include <QWidget>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

double luminance(const QColor& color)
{
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

}

double contrast(const QColor& one, const QColor& other)
{
    const auto [low, high] = std::minmax({ luminance(one), luminance(other) });
    return (high + 0.05) / (low + 0.05);
}

QImage magnified(QWidget& widget)
{
    constexpr int factor = 8;
    QImage image(widget.size() * factor, QImage::Format_RGB32);
    image.setDevicePixelRatio(factor);
    widget.render(&image);
    return image;
}

double paintedContrast(const QImage& image, const QRect& rect)
{
    const int factor = qRound(image.devicePixelRatio());
    const QColor paper(image.pixel(rect.left() * factor, rect.top() * factor));
    double greatest = 1;
    QRgb last = paper.rgb();
    for (int y = rect.top() * factor; y < (rect.bottom() + 1) * factor; ++y) {
        for (int x = rect.left() * factor; x < (rect.right() + 1) * factor; ++x) {
            const auto pixel = image.pixel(x, y);
            if (std::exchange(last, pixel) != pixel)
                greatest = std::max(greatest, contrast(QColor(pixel), paper));
        }
    }
    return greatest;
}
