#include "windows/ShareCardView.h"

#include "windows/DateTexts.h"
#include "windows/DayBar.h"
#include "windows/NumberTexts.h"
#include "windows/Theme.h"
#include "windows/ui/Look.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QRadialGradient>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>

/// Something that stands below what comes before it and has the width of the content to itself.
struct PosterPiece {
    double gap = 0;
    double height = 0;
    std::function<void(QPainter& painter, double top)> paint;
};

namespace {

using Pieces = std::vector<PosterPiece>;

constexpr ThemeColor baseColor { .components = ThemeColor::Components { 0.11, 0.13, 0.19 } };

constexpr int pixelsPerPoint = 2;

constexpr double topPadding = 44;
constexpr double sidePadding = 40;
constexpr double contentWidth = ShareCardView::size.width() - 2 * sidePadding;

constexpr double barWidth = 30;
constexpr double barAreaHeight = 64;
constexpr double columnSpacing = 12;

QColor colorOf(const ThemeColor& color) { return resolved(color, Qt::white); }

QColor white(double opacity) { return colorOf(Theme::primary.withOpacity(opacity)); }

double heightOf(const Pieces& pieces)
{
    double sum = 0;
    for (const auto& piece : pieces)
        sum += piece.gap + piece.height;
    return sum;
}

void paintPieces(QPainter& painter, const Pieces& pieces, double top)
{
    for (const auto& piece : pieces) {
        piece.paint(painter, top + piece.gap);
        top += piece.gap + piece.height;
    }
}

/// At least as many points, to the next whole pixel of the picture: bars below text then have sharp edges.
double wholePixels(double points) { return std::ceil(points * pixelsPerPoint) / pixelsPerPoint; }

QFont tracked(QFont font, double tracking)
{
    font.setLetterSpacing(QFont::AbsoluteSpacing, tracking);
    return font;
}

/// Text in the middle, on as many lines as it needs.
PosterPiece text(const QString& text, const QFont& font, const QColor& color, double gap = 0)
{
    constexpr int flags = Qt::AlignHCenter | Qt::TextWordWrap;
    const QRectF room(0, 0, contentWidth, 0);
    const double height = wholePixels(QFontMetricsF(font).boundingRect(room, flags, text).height());
    const auto paint = [=](QPainter& painter, double top) {
        // Tracking comes after the last letter as well, where nobody sees it.
        const double unseen = font.letterSpacing() / 2;
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(QRectF(sidePadding + unseen, top, contentWidth, height), flags, text);
    };
    return { gap, height, paint };
}

/// A number on one line. It shrinks to fit, at most to half its size, and is truncated beyond that.
PosterPiece numeral(QString number, const QColor& color)
{
    // What French has between groups of digits, a thin space where no line may end, is in hardly any font.
    number.replace(u'\u202f', u'\u2009');
    const auto font = ::font(72, QFont::Bold);
    const QFontMetricsF metrics(font);
    constexpr double smallest = 0.5;
    const double scale = std::clamp(contentWidth / metrics.horizontalAdvance(number), smallest, 1.0);
    const double room = contentWidth / scale;
    if (scale == smallest && metrics.horizontalAdvance(number) > room)
        number = metrics.elidedText(number, Qt::ElideRight, room);
    const double left = (room - metrics.horizontalAdvance(number)) / 2;

    const auto paint = [=](QPainter& painter, double top) {
        painter.save();
        painter.translate(sidePadding, top);
        painter.scale(scale, scale);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(QPointF(left, metrics.ascent()), number);
        painter.restore();
    };
    return { 0, wholePixels(metrics.height() * scale), paint };
}

/// The middle of a picture, as much of it as has the poster's shape.
QRectF cropped(const QSizeF& picture)
{
    QRectF part(QPointF(), QSizeF(ShareCardView::size).scaled(picture, Qt::KeepAspectRatio));
    part.moveCenter(QRectF(QPointF(), picture).center());
    return part;
}

void paintPicture(QPainter& painter, const QImage& picture)
{
    const QRectF poster(QPointF(), ShareCardView::size);
    const auto part = cropped(picture.size());
    const auto pixels = painter.deviceTransform().mapRect(poster).size().toSize();
    if (part.width() > pixels.width()) {
        // A painter skips pixels when it makes a picture much smaller.
        painter.drawImage(poster,
            picture.copy(part.toRect()).scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    } else {
        painter.drawImage(poster, picture, part);
    }
}

}

void ShareCardView::paint(QPainter& painter) const
{
    const auto top = head();
    const auto middle = stats();
    const auto bottom = foot();
    const double room = size.height() - 2 * topPadding;
    const double free = room - heightOf(top) - heightOf(middle) - heightOf(bottom);
    const double spacer = std::max(free / 2, 0.0);
    const double beginOfMiddle = topPadding + heightOf(top) + spacer;

    painter.save();
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    paintBackground(painter);
    paintPieces(painter, top, topPadding);
    paintPieces(painter, middle, beginOfMiddle);
    paintPieces(painter, bottom, beginOfMiddle + heightOf(middle) + spacer);
    painter.restore();
}

QImage ShareCardView::rendered() const
{
    QImage image(size * pixelsPerPoint, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.scale(pixelsPerPoint, pixelsPerPoint);
    paint(painter);
    return image;
}

void ShareCardView::paintBackground(QPainter& painter) const
{
    const QRectF poster(QPointF(), size);
    painter.fillRect(poster, colorOf(baseColor));
    if (!picture.isNull())
        paintPicture(painter, picture);

    // Darkens the middle of the picture behind the numbers.
    QRadialGradient gradient(poster.center(), 330);
    gradient.setColorAt(0, colorOf(baseColor.withOpacity(0.55)));
    gradient.setColorAt(1, colorOf(baseColor.withOpacity(0)));
    painter.fillRect(poster, gradient);
}

Pieces ShareCardView::head() const
{
    const auto date = QString::fromStdString(dates.weekdayAndFullDate(data.today.civilDay));
    Pieces pieces {
        text(tr("KNUCKLET"), tracked(font(15, QFont::Medium), 5), white(0.55)),
        text(date, font(28, QFont::Bold), white(1), 6),
    };
    if (data.isBestDay)
        pieces.push_back(text(tr("★ Best day yet"), font(13, QFont::Medium), colorOf(Theme::keyAccent), 6));
    return pieces;
}

Pieces ShareCardView::stats() const
{
    auto pieces = bigStat(data.keys, "KEYS PRESSED", colorOf(Theme::keyAccent));
    auto clicks = bigStat(data.clicks, "CLICKS CLICKED", colorOf(Theme::clickAccent));
    clicks.front().gap = 34;
    std::ranges::move(clicks, std::back_inserter(pieces));
    return pieces;
}

Pieces ShareCardView::foot() const
{
    return {
        posterChart(),
        text(tr("my fingers did the work · Knucklet for Mac"), font(11, QFont::Medium), white(0.4), 26),
    };
}

Pieces ShareCardView::bigStat(std::int64_t value, const QString& label, const QColor& color) const
{
    return {
        numeral(QString::fromStdString(numbers.grouped(value)), color),
        text(label, tracked(font(13, QFont::Medium), 3), white(0.6), 4),
    };
}

PosterPiece ShareCardView::posterChart() const
{
    const auto letterFont = font(10, QFont::Medium);
    const double letterHeight = wholePixels(QFontMetricsF(letterFont).height());
    constexpr double columnWidth = barWidth + columnSpacing;
    constexpr double letterGap = 5;

    const bool isMirrored = direction == Qt::RightToLeft;
    const auto paint = [=, &week = data.week, &dates = dates](QPainter& painter, double top) {
        const double width = static_cast<double>(week.size()) * columnWidth - columnSpacing;
        const double begin = (size.width() - width) / 2;
        const double step = isMirrored ? -columnWidth : columnWidth;
        double left = isMirrored ? begin + width - barWidth : begin;
        const double bottom = top + barAreaHeight;
        const auto peak = chartScale(week);
        for (const auto& day : week) {
            painter.setPen(white(1));
            paintDayBar(painter, { left, top, barWidth, barAreaHeight },
                dayBar(day.count, peak, barAreaHeight), Theme::primary.withOpacity(0.12), BarEdges::Exact);
            const QRectF below(left - columnSpacing / 2, bottom + letterGap, columnWidth, letterHeight);
            painter.setFont(letterFont);
            painter.setPen(white(0.45));
            painter.drawText(
                below, Qt::AlignHCenter, QString::fromStdString(dates.weekdayLetter(day.civilDay)));
            left += step;
        }
    };
    return { 0, barAreaHeight + letterGap + letterHeight, paint };
}
