#include "windows/ui/ScrollBar.h"

#include "windows/ui/Shapes.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr int breadth = 12;
constexpr int inset = 3;
constexpr double leastHandle = 24;

}

ScrollBar::ScrollBar(QWidget* parent)
    : QAbstractSlider(parent)
{
    setOrientation(Qt::Vertical);
    setFocusPolicy(Qt::NoFocus);
}

QSize ScrollBar::sizeHint() const { return { breadth, 0 }; }

void ScrollBar::mousePressEvent(QMouseEvent* event)
{
    // Beside the handle, its middle comes to the pointer.
    hold = handle().contains(event->position()) ? event->position().y() - handle().top()
                                                : handle().height() / 2;
    mouseMoveEvent(event);
}

void ScrollBar::mouseMoveEvent(QMouseEvent* event)
{
    const double room = height() - handle().height();
    if (room > 0)
        setValue(static_cast<int>(std::lround((event->position().y() - hold) / room * maximum())));
}

void ScrollBar::paintEvent(QPaintEvent*)
{
    auto color = palette().color(QPalette::WindowText);
    color.setAlphaF(0.4F);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(
        continuousRect(handle().adjusted(inset, inset, -inset, -inset), breadth / 2.0 - inset), color);
}

void ScrollBar::wheelEvent(QWheelEvent* event) { event->ignore(); }

QRectF ScrollBar::handle() const
{
    const double all = maximum() + pageStep();
    const double length = std::min<double>(height(), std::max(leastHandle, height() * pageStep() / all));
    const double room = height() - length;
    return { 0, maximum() > 0 ? room * value() / maximum() : 0, static_cast<double>(width()), length };
}
