#pragma once

#include <QAbstractSlider>

/// A slim upright bar that tells how much of something taller is shown, and which part of it. It can be
/// dragged.
class ScrollBar final : public QAbstractSlider {
public:
    explicit ScrollBar(QWidget* parent);

    QSize sizeHint() const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    // The wheel scrolls what the bar belongs to, over the bar as well.
    void wheelEvent(QWheelEvent* event) override;

private:
    /// The part of the bar that stands for what is shown.
    QRectF handle() const;

    /// Where the pointer has taken hold of the handle, from its top.
    double hold = 0;
};
