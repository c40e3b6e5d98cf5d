#pragma once

#include "model/DayCardData.h"

#include <QCoreApplication>
#include <QImage>
#include <QSize>

#include <cstdint>
#include <vector>

class DateTexts;
class NumberTexts;
class QColor;
class QPainter;
struct PosterPiece;

/// The poster of one day: its date, its two counts, and the week as bars. It is drawn from what stands here
/// and nothing else, on the screen as in the picture.
struct ShareCardView {
    /// In points.
    static constexpr QSize size { 540, 675 };

    DayCardData data;
    const DateTexts& dates;
    const NumberTexts& numbers;
    /// Stands behind everything; null for none.
    QImage picture;
    /// In which the week runs.
    Qt::LayoutDirection direction = Qt::LeftToRight;

    /// Draws the poster with its corner at the origin, a unit of the painter being a point.
    void paint(QPainter& painter) const;
    /// The poster with two pixels to a point, whatever the screens have.
    QImage rendered() const;

private:
    void paintBackground(QPainter& painter) const;
    std::vector<PosterPiece> head() const;
    std::vector<PosterPiece> stats() const;
    std::vector<PosterPiece> foot() const;
    std::vector<PosterPiece> bigStat(std::int64_t value, const QString& label, const QColor& color) const;
    PosterPiece posterChart() const;

    Q_DECLARE_TR_FUNCTIONS(ShareCardView)
};
