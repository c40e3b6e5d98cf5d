#include "windows/ui/View.h"

#include "windows/ui/Accessibility.h"
#include "windows/ui/FocusRing.h"
#include "windows/ui/Look.h"
#include "windows/ui/Picture.h"
#include "windows/ui/Scroller.h"
#include "windows/ui/Stack.h"

#include <QEvent>
#include <QPalette>
#include <QVBoxLayout>

#include <cstddef>
#include <utility>

namespace {

// Both setters of QWidget do their work also when nothing changes.

void setOwnFont(QWidget& widget, const std::optional<QFont>& font)
{
    const bool hasOwn = widget.testAttribute(Qt::WA_SetFont);
    if (font ? !hasOwn || widget.font() != *font : hasOwn)
        widget.setFont(font.value_or(QFont()));
}

/// The color of what is drawn on the widget and in everything inside it; an invalid one: as around it.
void setOwnColor(QWidget& widget, const QColor& color)
{
    const bool hasOwn = widget.testAttribute(Qt::WA_SetPalette);
    if (!color.isValid()) {
        if (hasOwn)
            widget.setPalette(QPalette());
        return;
    }
    if (hasOwn && widget.palette().color(QPalette::WindowText) == color)
        return;
    QPalette palette;
    palette.setColor(QPalette::WindowText, color);
    widget.setPalette(palette);
}

/// The size of the widget's place in the layout; its margins reach beyond that.
void setOwnSize(QWidget& widget, int width, int height)
{
    const auto margins = widget.contentsMargins();
    const QSize fixed(width > 0 ? width + margins.left() + margins.right() : 0,
        height > 0 ? height + margins.top() + margins.bottom() : 0);
    const QSize greatest(
        width > 0 ? fixed.width() : QWIDGETSIZE_MAX, height > 0 ? fixed.height() : QWIDGETSIZE_MAX);
    if (widget.minimumSize() != fixed)
        widget.setMinimumSize(fixed);
    if (widget.maximumSize() != greatest)
        widget.setMaximumSize(greatest);
}

}

Views::Views(std::vector<View> list)
    : list(std::move(list))
{
}

View View::font(int size, QFont::Weight weight) &&
{
    ownFont = ::font(size, weight);
    return std::move(*this);
}

View View::color(const ThemeColor& newColor) &&
{
    ownColor = newColor;
    return std::move(*this);
}

View View::help(const QString& text) &&
{
    toolTip = text;
    return std::move(*this);
}

View View::read(const QString& text) &&
{
    spoken = text;
    return std::move(*this);
}

View View::bleed(const QMargins& newMargins) &&
{
    margins = newMargins;
    return std::move(*this);
}

View View::width(int newWidth) &&
{
    fixedWidth = newWidth;
    return std::move(*this);
}

View View::height(int newHeight) &&
{
    fixedHeight = newHeight;
    return std::move(*this);
}

StackView::StackView(std::function<void(Stack&)> configure, Views children)
    : View(View::of<Stack>(std::move(configure)))
{
    this->children = std::move(children.list);
}

StackView StackView::padding(int newPadding) &&
{
    return std::move(*this).padding({ newPadding, newPadding, newPadding, newPadding });
}

StackView StackView::padding(const QMargins& newPadding) &&
{
    ownPadding = newPadding;
    return std::move(*this);
}

StackView StackView::fillWidth() &&
{
    fillsWidth = true;
    return std::move(*this);
}

StackView StackView::background(const ThemeColor& newColor, double cornerRadius) &&
{
    ownBackground = Background { newColor, cornerRadius };
    return std::move(*this);
}

StackView StackView::animated(int newState) &&
{
    state = newState;
    return std::move(*this);
}

ScrollerView::ScrollerView(std::function<void(Scroller&)> configure, View content)
    : View(View::of<Scroller>(std::move(configure)))
{
    children.push_back(std::move(content));
}

PictureView::PictureView(std::function<void(Picture&)> configure)
    : View(View::of<Picture>(std::move(configure)))
{
}

PictureView PictureView::clip(double cornerRadius) &&
{
    clipRadius = cornerRadius;
    return std::move(*this);
}

Host::Host(std::function<View()> body)
    : body(std::move(body))
    , ring(new FocusRing(this))
{
    installAccessibility();
    // The content decides the size, also while it is shown.
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void Host::invalidate()
{
    if (isPending || !isVisible())
        return;
    isPending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            // Not if it was rendered at once meanwhile.
            if (!std::exchange(isPending, false))
                return;
            if (isVisible())
                renderNow();
        },
        Qt::QueuedConnection);
}

void Host::renderNow()
{
    if (isRendering)
        return;
    isRendering = true;
    isPending = false;

    const auto view = body();
    auto* const old = root;
    root = view.type ? reconcile(old, view) : nullptr;
    if (root != old) {
        if (old)
            discard(old);
        if (root) {
            layout()->addWidget(root);
            root->show();
        }
    }
    if (hasNewWidgets)
        chainTabOrder();
    layout()->activate();
    ring->follow();
    isRendering = false;
}

void Host::showEvent(QShowEvent* event)
{
    renderNow();
    QWidget::showEvent(event);
}

void Host::changeEvent(QEvent* event)
{
    // Colors are worked out from the palette when a view is described.
    if (event->type() == QEvent::PaletteChange)
        invalidate();
    QWidget::changeEvent(event);
}

QWidget* Host::reconcile(QWidget* old, const View& view)
{
    auto* widget = old;
    if (!old || typeid(*old) != *view.type) {
        widget = view.create();
        // What a style thinks to be the margins of a check box is not wanted here.
        widget->setAttribute(Qt::WA_LayoutUsesWidgetRect);
        hasNewWidgets = true;
    }
    apply(view, *widget);
    view.configure(*widget);
    if (auto* container = dynamic_cast<Container*>(widget))
        reconcileChildren(*container, view.children);
    return widget;
}

// A child keeps its place in the list even while it is absent, so that one coming or going leaves its
// siblings' widgets, and a press that is under way on one of them, alone.
void Host::reconcileChildren(Container& container, const std::vector<View>& children)
{
    auto widgets = container.widgets();
    for (std::size_t i = children.size(); i < widgets.size(); ++i) {
        if (widgets[i])
            discard(widgets[i]);
    }
    widgets.resize(children.size());
    for (std::size_t i = 0; i < children.size(); ++i) {
        auto* const old = widgets[i];
        widgets[i] = children[i].type ? reconcile(old, children[i]) : nullptr;
        if (old && old != widgets[i])
            discard(old);
    }
    container.setWidgets(std::move(widgets));
}

// Everything is set each time, so that nothing is left of what stood in this place before.
void Host::apply(const View& view, QWidget& widget) const
{
    setOwnFont(widget, view.ownFont);
    const auto primary = palette().color(QPalette::WindowText);
    setOwnColor(widget, view.ownColor ? resolved(*view.ownColor, primary) : QColor());
    if (widget.toolTip() != view.toolTip)
        widget.setToolTip(view.toolTip);
    if (widget.accessibleName() != view.spoken)
        widget.setAccessibleName(view.spoken);
    if (widget.contentsMargins() != view.margins)
        widget.setContentsMargins(view.margins);

    setOwnSize(widget, view.fixedWidth, view.fixedHeight);

    if (auto* picture = dynamic_cast<Picture*>(&widget))
        picture->setClip(view.clipRadius);
    if (auto* stack = dynamic_cast<Stack*>(&widget)) {
        stack->setState(view.state);
        stack->setPadding(view.ownPadding);
        stack->setFillsWidth(view.fillsWidth);
        const auto background = view.ownBackground.value_or(View::Background());
        stack->setBackground(resolved(background.color, primary), background.cornerRadius);
    }
}

void Host::discard(QWidget* widget)
{
    passFocusOn(*widget);
    widget->hide();
    widget->setParent(nullptr);
    widget->deleteLater();
}

// Qt does this only while the window has the keyboard.
void Host::passFocusOn(const QWidget& leaving)
{
    auto* const focus = leaving.window()->focusWidget();
    if (!focus || (focus != &leaving && !leaving.isAncestorOf(focus)))
        return;
    const auto takes = [&](const QWidget& widget) {
        return &widget != &leaving && !leaving.isAncestorOf(&widget) && widget.isEnabled()
            && widget.isVisibleTo(leaving.window()) && (widget.focusPolicy() & Qt::TabFocus);
    };
    auto* next = focus->nextInFocusChain();
    while (next != focus && !takes(*next))
        next = next->nextInFocusChain();
    if (next != focus)
        next->setFocus();
}

// Qt's own order is that of creation; a button that came later would be last.
void Host::chainTabOrder()
{
    hasNewWidgets = false;
    QWidget* previous = nullptr;
    const std::function<void(QWidget*)> chain = [&](QWidget* widget) {
        if (widget->focusPolicy() & Qt::TabFocus) {
            if (previous)
                setTabOrder(previous, widget);
            previous = widget;
        }
        if (const auto* container = dynamic_cast<Container*>(widget)) {
            for (auto* child : container->widgets()) {
                if (child)
                    chain(child);
            }
        }
    };
    if (root)
        chain(root);
}
