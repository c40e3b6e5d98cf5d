#include "windows/ui/FocusRing.h"

#include "windows/ui/Shapes.h"

#include <QApplication>
#include <QPainter>

namespace {

constexpr int thickness = 2;
// Between the control and its ring, so that the ring does not touch the control's text.
constexpr int gap = 2;

}

FocusRing::FocusRing(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    connect(qApp, &QApplication::focusChanged, this, &FocusRing::follow);
}

void FocusRing::follow()
{
    const auto* focus = QApplication::focusWidget();
    const bool isInside = focus && parentWidget()->isAncestorOf(focus);
    if (!isInside || !window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
        hide();
        return;
    }
    const auto control = focus->contentsRect().translated(focus->mapTo(parentWidget(), QPoint()));
    constexpr int margin = gap + thickness;
    setGeometry(control.adjusted(-margin, -margin, margin, margin));
    raise();
    show();
}

void FocusRing::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawOutline(painter, rect(),
        { .color = palette().color(QPalette::Highlight),
            .cornerRadius = 5 + gap + thickness,
            .thickness = thickness });
}
