#include "windows/ui/FocusRing.h"

#include "windows/ui/ScrollBar.h"
#include "windows/ui/Scroller.h"
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
    visible = rect();
    for (const auto* around = focus->parentWidget(); around != parentWidget();
         around = around->parentWidget()) {
        const auto* scroller = dynamic_cast<const Scroller*>(around);
        if (!scroller)
            continue;
        connect(&scroller->bar(), &ScrollBar::valueChanged, this, &FocusRing::follow, Qt::UniqueConnection);
        visible &= scroller->rect().translated(scroller->mapTo(parentWidget(), QPoint()) - pos());
    }
    raise();
    update();
    show();
}

void FocusRing::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setClipRect(visible);
    drawOutline(painter, rect(),
        { .color = palette().color(QPalette::Highlight),
            .cornerRadius = 5 + gap + thickness,
            .thickness = thickness });
}
