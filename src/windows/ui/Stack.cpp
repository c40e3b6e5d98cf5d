#include "windows/ui/Stack.h"

#include "windows/ui/Shapes.h"
#include "windows/ui/Transition.h"

#include <QPainter>
#include <QStyle>
#include <QWidgetItem>

#include <algorithm>
#include <utility>

namespace {

bool isHorizontal(QBoxLayout::Direction direction)
{
    return direction == QBoxLayout::LeftToRight || direction == QBoxLayout::RightToLeft;
}

/// A widget's place in the layout: what is inside the widget's margins. The margins reach beyond it.
class Place final : public QWidgetItem {
public:
    using QWidgetItem::QWidgetItem;

    QSize sizeHint() const override { return QWidgetItem::sizeHint().shrunkBy(margins()); }
    QSize minimumSize() const override { return QWidgetItem::minimumSize().shrunkBy(margins()); }
    QSize maximumSize() const override { return QWidgetItem::maximumSize().shrunkBy(margins()); }

    void setGeometry(const QRect& place) override
    {
        const bool isCentered = alignment() & Qt::AlignHCenter;
        if (margins().isNull() && !isCentered) {
            QWidgetItem::setGeometry(place);
            return;
        }
        auto size = place.size();
        if (alignment() & Qt::AlignHorizontal_Mask)
            size.setWidth(std::min(size.width(), sizeHint().width()));
        // Widgets stand at whole points: with an odd rest, one side would have a point more than the other.
        if (isCentered)
            size.rwidth() += (place.width() - size.width()) % 2;
        if (alignment() & Qt::AlignVertical_Mask)
            size.setHeight(std::min(size.height(), sizeHint().height()));
        const auto inside = QStyle::alignedRect(widget()->layoutDirection(), alignment(), size, place);
        widget()->setGeometry(inside.marginsAdded(margins()));
    }

private:
    QMargins margins() const { return widget()->contentsMargins(); }
};

}

Stack::Stack()
    : box(new QBoxLayout(QBoxLayout::TopToBottom, this))
{
    box->setContentsMargins({});
    // A stack that is not yet inside another one would take itself for a window and keep its least size.
    box->setSizeConstraint(QLayout::SetNoConstraint);
}

void Stack::setLayoutLook(const Layout& look)
{
    if (box->direction() != look.direction)
        box->setDirection(look.direction);
    if (box->spacing() != look.spacing)
        box->setSpacing(look.spacing);
    alignment = look.alignment;
}

void Stack::setPadding(const QMargins& padding)
{
    if (box->contentsMargins() != padding)
        box->setContentsMargins(padding);
}

void Stack::setFillsWidth(bool fills)
{
    const auto horizontal = fills ? QSizePolicy::Expanding : QSizePolicy::Preferred;
    if (sizePolicy().horizontalPolicy() != horizontal)
        setSizePolicy(horizontal, QSizePolicy::Preferred);
}

void Stack::setBackground(const QColor& color, double cornerRadius)
{
    if (backgroundColor == color && radius == cornerRadius)
        return;
    backgroundColor = color;
    radius = cornerRadius;
    update();
}

void Stack::setState(std::optional<int> newState)
{
    if (state == newState)
        return;
    const bool isSeen = state && newState && isVisible();
    state = newState;
    delete transition;
    if (isSeen && style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0)
        transition = new Transition(*this);
}

void Stack::setWidgets(std::vector<QWidget*> widgets)
{
    int index = 0;
    for (auto* widget : widgets) {
        if (widget)
            place(index++, widget);
    }
    // What is left behind those that stay is no longer ours.
    while (box->count() > index)
        delete box->takeAt(index);
    places = std::move(widgets);
    // At once, and so from the inside out: the stack around this one then knows what this one needs.
    box->activate();
}

void Stack::place(int index, QWidget* widget)
{
    auto* item = box->itemAt(index);
    if (!item || item->widget() != widget) {
        if (widget->parentWidget() == this) {
            box->removeWidget(widget);
        } else {
            widget->setParent(this);
        }
        box->insertItem(index, item = new Place(widget));
        // Those that come later in the list are drawn later, whichever of them is older.
        if (const auto* next = box->itemAt(index + 1))
            widget->stackUnder(next->widget());
        if (widget->isHidden())
            widget->show();
    }

    const bool isRow = isHorizontal(box->direction());
    if (dynamic_cast<Spacer*>(widget)) {
        widget->setSizePolicy(isRow ? QSizePolicy::Expanding : QSizePolicy::Fixed,
            isRow ? QSizePolicy::Fixed : QSizePolicy::Expanding);
    }
    const auto expanding = item->expandingDirections();
    const bool fills = expanding.testFlag(isRow ? Qt::Vertical : Qt::Horizontal)
        && (isRow ? widget->maximumHeight() : widget->maximumWidth()) == QWIDGETSIZE_MAX;
    const auto wanted = fills ? Qt::Alignment() : alignment;
    if (item->alignment() != wanted) {
        item->setAlignment(wanted);
        box->invalidate();
    }
    // Those that fill the width share it equally, whatever they would like to have.
    const bool shares = isRow && widget->sizePolicy().horizontalPolicy() == QSizePolicy::Expanding
        && widget->maximumWidth() == QWIDGETSIZE_MAX;
    const int stretch = shares ? 1 : 0;
    if (box->stretch(index) != stretch)
        box->setStretch(index, stretch);
}

QPixmap Stack::grabContent()
{
    QPixmap picture(size() * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    const auto color = std::exchange(backgroundColor, Qt::transparent);
    render(&picture, {}, {}, DrawChildren);
    backgroundColor = color;
    return picture;
}

void Stack::paintEvent(QPaintEvent*)
{
    if (backgroundColor.alpha() == 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(continuousRect(onPixels(painter, rect()), radius), backgroundColor);
}
