#pragma once

#include "windows/Theme.h"

#include <QFont>
#include <QMargins>
#include <QString>
#include <QWidget>

#include <concepts>
#include <functional>
#include <optional>
#include <typeinfo>
#include <utility>
#include <vector>

class Container;
class FocusRing;
class Picture;
class Scroller;
class Stack;
class View;

/// The views inside another one, in order. Written as `{ header(), tiles() }`.
class Views final {
public:
    // Not an initializer list: that would copy each view, and everything inside it, once per level.
    template <std::derived_from<View>... Each>
    Views(Each... each);
    Views(std::vector<View> list);

    std::vector<View> list;
};

/// Says what should be on screen: one widget, how it looks, and what stands inside it. Cheap to make and
/// thrown away after use. A default-made view is absent: it keeps its place in a list, takes no room and
/// adds no spacing.
class View {
public:
    View() = default;

    /// `configure` brings a widget up to date, whether new or shown before. It must be safe to run again and
    /// cheap when nothing has changed.
    template <typename Widget>
    static View of(std::function<void(Widget&)> configure);

    // The font and the color hold for everything inside, too.
    View font(int size, QFont::Weight weight = QFont::Normal) &&;
    View color(const ThemeColor& newColor) &&;
    /// A tooltip.
    View help(const QString& text) &&;
    /// What a screen reader says. A stack is then read as one element, not child by child.
    View read(const QString& text) &&;
    /// Lets the widget reach beyond its place in the layout, over the spacing around it, as far as the stack
    /// that it is in reaches.
    View bleed(const QMargins& newMargins) &&;

    View width(int newWidth) &&;
    View height(int newHeight) &&;

private:
    friend class Host;
    friend class PictureView;
    friend class ScrollerView;
    friend class StackView;

    struct Background {
        ThemeColor color { .components = {}, .opacity = 0 };
        double cornerRadius = 0;
    };

    const std::type_info* type = nullptr;
    QWidget* (*create)() = nullptr;
    std::function<void(QWidget&)> configure;
    std::vector<View> children;

    std::optional<QFont> ownFont;
    std::optional<ThemeColor> ownColor;
    std::optional<Background> ownBackground;
    QString toolTip;
    QString spoken;
    QMargins margins;
    QMargins ownPadding;
    /// 0: as the widget needs.
    int fixedWidth = 0;
    int fixedHeight = 0;
    std::optional<double> clipRadius;
    std::optional<int> state;
    bool fillsWidth = false;
};

/// A view of a stack. What only stacks can do comes before what all views can: after that it is a view like
/// any other. So it is no more than a view either, and may be stored as one.
class StackView final : public View {
public:
    /// `configure` as in `View`.
    StackView(std::function<void(Stack&)> configure, Views children);

    StackView padding(int newPadding) &&;
    StackView padding(const QMargins& newPadding) &&;
    /// Takes all the width there is and shares it equally with others that do.
    StackView fillWidth() &&;
    StackView background(const ThemeColor& newColor, double cornerRadius) &&;
    /// When this number changes, the content fades over to the new one and the height springs to what that
    /// needs.
    StackView animated(int newState) &&;
};

/// A view of a scroller, in the same way.
class ScrollerView final : public View {
public:
    /// `configure` as in `View`.
    ScrollerView(std::function<void(Scroller&)> configure, View content);
};

/// A view of a picture, in the same way.
class PictureView final : public View {
public:
    /// `configure` as in `View`.
    explicit PictureView(std::function<void(Picture&)> configure);

    /// Cuts off what is outside a rectangle with continuous corners.
    PictureView clip(double cornerRadius) &&;
};

/// Shows a view, and brings the widgets up to date, place by place, when it is described again: a widget is
/// replaced only when its type changes. A press on one of our own buttons is itself counted, so the view is
/// described again between press and release, and a button made anew would never see the release.
class Host final : public QWidget {
public:
    /// `body` describes what to show at this moment. Nothing is asked of it before the first showing.
    explicit Host(std::function<View()> body);

    /// Has the view described again soon. Any number of calls in one turn of the event loop cost one
    /// rendering; while hidden they cost nothing, since each showing begins with one.
    void invalidate();
    /// Brings the widgets and their layout up to date at once, shown or not.
    void renderNow();

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QWidget* reconcile(QWidget* old, const View& view);
    void reconcileChildren(Container& container, const std::vector<View>& children);
    void apply(const View& view, QWidget& widget) const;
    static void discard(QWidget* widget);
    static void passFocusOn(const QWidget& leaving);
    void chainTabOrder();

    std::function<View()> body;
    QWidget* root = nullptr;
    FocusRing* ring;
    bool isPending = false;
    bool isRendering = false;
    bool hasNewWidgets = false;
};

template <std::derived_from<View>... Each>
Views::Views(Each... each)
{
    list.reserve(sizeof...(each));
    (list.push_back(std::move(each)), ...);
}

template <typename Widget>
View View::of(std::function<void(Widget&)> configure)
{
    View view;
    view.type = &typeid(Widget);
    view.create = []() -> QWidget* { return new Widget; };
    view.configure
        = [configure = std::move(configure)](QWidget& widget) { configure(static_cast<Widget&>(widget)); };
    return view;
}
