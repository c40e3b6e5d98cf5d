#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QRectF>
#include <QSize>
#include <QString>

#include <memory>

/// Keeps what is drawn on it as what it is, in the painter's outermost coordinates: texts, filled shapes and
/// pictures instead of pixels.
class RecordedDrawing final : public QPaintDevice {
public:
    struct Text {
        QString text;
        QFont font;
        QColor color;
        /// The beginning of its base line.
        QPointF begin;
        double width = 0;
        /// How large it is drawn, 1 being the size of the font.
        double scale = 1;
    };
    struct Shape {
        QRectF box;
        QBrush brush;
        /// Whether it is a rectangle with square corners.
        bool isPlain = false;
    };
    struct Picture {
        QRectF place;
        QRectF part;
    };

    explicit RecordedDrawing(QSize size);
    ~RecordedDrawing() override;

    /// One for each line, whole also where it was drawn in parts.
    QList<Text> texts;
    QList<Shape> shapes;
    QList<Picture> pictures;

    QPaintEngine* paintEngine() const override;

protected:
    int metric(PaintDeviceMetric metric) const override;

private:
    class Engine;

    QSize size;
    std::unique_ptr<Engine> engine;
};
