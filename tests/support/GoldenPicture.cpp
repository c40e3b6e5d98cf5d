#include "support/GoldenPicture.h"

#include <QColor>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

constexpr int square = 8;

using Average = std::array<double, 3>;

Average average(const QImage& image, int left, int top)
{
    Average sum {};
    int count = 0;
    for (int y = top; y < std::min(top + square, image.height()); ++y) {
        for (int x = left; x < std::min(left + square, image.width()); ++x) {
            const auto pixel = image.pixel(x, y);
            sum[0] += qRed(pixel);
            sum[1] += qGreen(pixel);
            sum[2] += qBlue(pixel);
            ++count;
        }
    }
    for (auto& channel : sum)
        channel /= count;
    return sum;
}

double greatestDifference(const QImage& one, const QImage& other)
{
    double greatest = 0;
    for (int y = 0; y < one.height(); y += square) {
        for (int x = 0; x < one.width(); x += square) {
            const auto left = average(one, x, y);
            const auto right = average(other, x, y);
            for (std::size_t i = 0; i < left.size(); ++i)
                greatest = std::max(greatest, std::abs(left[i] - right[i]));
        }
    }
    return greatest;
}

}

bool looksLikeGolden(const QImage& picture, const QString& name, double tolerance)
{
    const auto file = QString(GOLDEN_FOLDER "/%1.png").arg(name);
    const auto opaque = picture.convertToFormat(QImage::Format_RGB32);
    if (qEnvironmentVariableIsSet("KNUCKLET_UPDATE_GOLDEN"))
        return opaque.save(file);

    const auto golden = QImage(file).convertToFormat(QImage::Format_RGB32);
    const bool hasItsSize = golden.size() == opaque.size();
    const double difference = hasItsSize ? greatestDifference(golden, opaque) : 255;
    if (difference <= tolerance)
        return true;
    const auto actual = QDir(QCoreApplication::applicationDirPath()).filePath(name + ".actual.png");
    opaque.save(actual);
    qWarning().noquote() << file << golden.size() << "differs by" << difference << "from" << actual
                         << opaque.size();
    return false;
}
