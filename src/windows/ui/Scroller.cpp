#include "windows/ui/Scroller.h"

#include "windows/ui/ScrollBar.h"

#include <QApplication>
#include <QEvent>
#include <QLayout>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace {

int neededHeight(const QWidget& widget, int width)
{
    const int needed = widget.hasHeightForWidth() ? widget.heightForWidth(width) : widget.sizeHint().height();
    return std::clamp(needed, widget.minimumHeight(), widget.maximumHeight());
}

}

Scroller::Scroller()
    : scrollBar(new ScrollBar(this))
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(scrollBar, &ScrollBar::valueChanged, this, [this](int value) {
        if (content())
            content()->move(0, -value);
    });
    connect(qApp, &QApplication::focusChanged, this, [this](const QWidget*, const QWidget* control) {
        if (control && content() && content()->isAncestorOf(control))
            scrollTo(*control);
    });
}

void Scroller::setPage(int newPage)
{
    if (std::exchange(page, newPage) != newPage)
        scrollBar->setValue(0);
}

void Scroller::setWidgets(std::vector<QWidget*> widgets)
{
    places = std::move(widgets);
    if (content() && content()->parentWidget() != this) {
        content()->setParent(this);
        content()->show();
        scrollBar->raise();
    }
    placeContent();
}

QSize Scroller::sizeHint() const { return { content() ? content()->sizeHint().width() : 0, 0 }; }

bool Scroller::event(QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::LayoutDirectionChange)
        placeContent();
    return QWidget::event(event);
}

void Scroller::resizeEvent(QResizeEvent*) { placeContent(); }

void Scroller::wheelEvent(QWheelEvent* event)
{
    // A notch of a wheel is 120.
    scrollBar->setValue(scrollBar->value() - event->angleDelta().y() / 2);
}

void Scroller::placeContent()
{
    if (!content())
        return;
    const int contentHeight = std::max(height(), neededHeight(*content(), width()));
    const int breadth = scrollBar->sizeHint().width();
    const int end = layoutDirection() == Qt::RightToLeft ? 1 : width() - breadth - 1;
    scrollBar->setGeometry(end, 1, breadth, std::max(height() - 2, 0));
    scrollBar->setPageStep(height());
    scrollBar->setRange(0, contentHeight - height());
    scrollBar->setVisible(contentHeight > height());
    content()->setGeometry(0, -scrollBar->value(), width(), contentHeight);
}

void Scroller::scrollTo(const QWidget& control)
{
    // With what is around it, such as the ring.
    constexpr int surroundings = 14;
    const int top = control.mapTo(content(), QPoint()).y();
    const int first = top + control.height() + surroundings - height();
    const int last = top - surroundings;
    scrollBar->setValue(std::min(std::max(scrollBar->value(), first), last));
}
