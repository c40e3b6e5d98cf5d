#include "windows/ui/Controls.h"

#include "windows/ui/Look.h"
#include "windows/ui/Scroller.h"
#include "windows/ui/Shapes.h"
#include "windows/ui/Stack.h"
#include "windows/ui/Symbols.h"

#include <QCheckBox>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr int iconSpacing = 6;

/// A filled box with a hairline border just inside its edge.
void drawBox(
    QPainter& painter, const QRectF& box, double cornerRadius, const QColor& fill, const QColor& border)
{
    painter.fillPath(continuousRect(onPixels(painter, box), cornerRadius), fill);
    drawOutline(painter, box, { .color = border, .cornerRadius = cornerRadius });
}

double luminance(const QColor& color)
{
    const auto linear
        = [](double part) { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// The color, as much darker as white text on it needs for a contrast of 4.5:1.
QColor fillUnderText(QColor color, const QColor& text)
{
    while (text == Qt::white && 1.05 / (luminance(color) + 0.05) < 4.5)
        color = color.darker(104);
    return color;
}

QColor mixed(const QColor& one, const QColor& other)
{
    return { (one.red() + other.red()) / 2, (one.green() + other.green()) / 2,
        (one.blue() + other.blue()) / 2, (one.alpha() + other.alpha()) / 2 };
}

/// What a control has in a row of three that becomes stronger as the user turns to it.
template <typename Value>
Value forTouch(
    const QAbstractButton& control, const Value& atRest, const Value& underPointer, const Value& pressed)
{
    return control.isDown() ? pressed : control.underMouse() ? underPointer : atRest;
}

/// The face of a control that has this one when nobody touches it.
QColor plainFace(const QAbstractButton& control, QPalette::ColorRole role)
{
    const auto atRest = control.palette().color(role);
    const auto pressed = control.palette().color(QPalette::Midlight);
    return forTouch(control, atRest, mixed(atRest, pressed), pressed);
}

/// The face of a control in the desktop's accent, under what is drawn on it in another color. Touched, it
/// turns away from that color, so that no contrast is lost.
QColor accentFace(const QAbstractButton& control, const QColor& mark)
{
    const auto atRest = fillUnderText(control.palette().color(QPalette::Highlight), mark);
    const int strength = forTouch(control, 100, 110, 122);
    return mark.lightnessF() > 0.5 ? atRest.darker(strength) : atRest.lighter(strength);
}

/// The whole points that a line of text needs. Without them it would be truncated for the part of a point
/// that is missing.
int textWidth(const QWidget& widget, const QString& text)
{
    return static_cast<int>(std::ceil(QFontMetricsF(widget.font()).horizontalAdvance(text)));
}

/// Text on one line, truncated at its end. It is aligned as the widget reads and written as the text itself
/// does, so that English in a mirrored window keeps its full stop at its end.
void drawText(
    QPainter& painter, const QWidget& widget, const QRect& box, Qt::Alignment alignment, const QString& text)
{
    const bool fits = textWidth(widget, text) <= box.width();
    const auto shown = fits ? text : widget.fontMetrics().elidedText(text, Qt::ElideRight, box.width());
    QTextOption option(QStyle::visualAlignment(widget.layoutDirection(), alignment) | Qt::AlignAbsolute);
    option.setWrapMode(QTextOption::NoWrap);
    option.setTextDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    painter.drawText(box, shown, option);
}

class Label final : public QLabel {
public:
    Label()
    {
        setTextFormat(Qt::PlainText);
        setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    }

    void show(const QString& newText, Qt::Alignment newAlignment)
    {
        if (alignment() != newAlignment)
            setAlignment(newAlignment);
        if (text() != newText)
            setText(newText);
    }

    QSize sizeHint() const override { return { textWidth(*this, text()), fontMetrics().height() }; }

    QSize minimumSizeHint() const override
    {
        const auto whole = sizeHint();
        return { std::min(whole.width(), textWidth(*this, "…")), whole.height() };
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        drawText(painter, *this, rect(), alignment(), text());
    }
};

/// A symbol as its widget shows it: as high as the widget's font asks for.
class Symbol final {
public:
    /// Whether it is another one than before.
    bool setName(const QString& newName)
    {
        if (name == newName)
            return false;
        name = newName;
        aspect = symbolAspect(name);
        return true;
    }

    QSize size(const QWidget& widget) const
    {
        // Capitals stand well beside a symbol that is a little higher than their font.
        const double height = std::round(1.2 * widget.font().pixelSize());
        return QSizeF(height * aspect, height).toSize();
    }

    bool isEmpty() const { return name.isEmpty(); }

    /// In the middle of the place.
    void paint(QPainter& painter, const QWidget& widget, const QRect& place, const QColor& color) const
    {
        const auto inside = size(widget);
        QRectF box(QPointF(), inside);
        box.moveCenter(QRectF(place).center());
        painter.drawPixmap(
            onPixels(painter, box).topLeft(), symbolPixmap(name, inside, color, widget.devicePixelRatioF()));
    }

private:
    QString name;
    double aspect = 1;
};

class SymbolIcon final : public QWidget {
public:
    SymbolIcon() { setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed); }

    void show(const QString& name)
    {
        if (!symbol.setName(name))
            return;
        updateGeometry();
        update();
    }

    // As high as a line of its font, so that it never makes a row higher than its text does.
    QSize sizeHint() const override { return symbol.size(*this).expandedTo({ 0, fontMetrics().height() }); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        symbol.paint(painter, *this, contentsRect(), palette().color(QPalette::WindowText));
    }

private:
    Symbol symbol;
};

/// Pressed with Return as with Space. With Qt's own means for this, a button takes the place of the default
/// one when it gets the focus.
class PushButton : public QPushButton {
protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
            QPushButton::keyPressEvent(event);
            return;
        }
        if (!event->isAutoRepeat())
            click();
    }
};

class Button final : public PushButton {
public:
    Button()
    {
        // A row of buttons that is a point wider than they are, to be centered, has one of them take it.
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        setAttribute(Qt::WA_Hover);
        setAutoDefault(false);
        connect(this, &QPushButton::clicked, this, [this] { action(); });
    }

    void show(const QString& newText, std::function<void()> newAction, const ButtonLook& newLook)
    {
        if (text() != newText)
            setText(newText);
        if (isDefault() != newLook.isDefault)
            setDefault(newLook.isDefault);
        action = std::move(newAction);
        if (look == newLook)
            return;
        look = newLook;
        symbol.setName(QString::fromLatin1(look.symbol));
        updateGeometry();
        update();
    }

    QSize sizeHint() const override
    {
        const int height = fontMetrics().height();
        switch (look.size) {
        case ButtonSize::Small:
            return { contentWidth() + 20, height + 6 };
        case ButtonSize::Regular:
            return { std::max(contentWidth() + 24, 70), height + 8 };
        case ButtonSize::Large:
            break;
        }
        return { std::max(contentWidth() + 32, 80), height + 12 };
    }

    QSize minimumSizeHint() const override { return { 20, sizeHint().height() }; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double cornerRadius = look.size == ButtonSize::Small ? 5
            : look.size == ButtonSize::Regular                     ? 6
                                                                   : 7;
        const auto color
            = palette().color(look.isProminent ? QPalette::HighlightedText : QPalette::ButtonText);
        if (look.isProminent) {
            painter.fillPath(
                continuousRect(onPixels(painter, rect()), cornerRadius), accentFace(*this, color));
        } else {
            drawBox(painter, rect(), cornerRadius, plainFace(*this, QPalette::Button),
                palette().color(QPalette::Mid));
        }
        paintContent(painter, color);
    }

private:
    int contentWidth() const
    {
        const int width = textWidth(*this, text());
        return symbol.isEmpty() ? width : width + symbol.size(*this).width() + iconSpacing;
    }

    void paintContent(QPainter& painter, const QColor& color) const
    {
        const QSize room(std::min(contentWidth(), width() - 12), height());
        auto content = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, room, rect());
        if (!symbol.isEmpty()) {
            auto icon = content;
            icon.setWidth(symbol.size(*this).width());
            symbol.paint(painter, *this, QStyle::visualRect(layoutDirection(), content, icon), color);
            auto rest = content;
            rest.setLeft(icon.right() + 1 + iconSpacing);
            content = QStyle::visualRect(layoutDirection(), content, rest);
        }
        painter.setPen(color);
        drawText(painter, *this, content, Qt::AlignCenter, text());
    }

    ButtonLook look;
    Symbol symbol;
    std::function<void()> action;
};

class SymbolButton final : public PushButton {
public:
    SymbolButton()
    {
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        setAttribute(Qt::WA_Hover);
        setAutoDefault(false);
        connect(this, &QPushButton::clicked, this, [this] { action(); });
    }

    void show(const QString& name, std::function<void()> newAction)
    {
        action = std::move(newAction);
        if (!symbol.setName(name))
            return;
        updateGeometry();
        update();
    }

    QSize sizeHint() const override { return symbol.size(*this).grownBy(contentsMargins()); }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        auto color = palette().color(QPalette::WindowText);
        if (isDown() || underMouse()) {
            color.setAlphaF(isDown() ? 0.16F : 0.08F);
            painter.fillPath(continuousRect(rect(), 6), color);
            color.setAlphaF(1);
        }
        symbol.paint(painter, *this, contentsRect(), color);
    }

private:
    Symbol symbol;
    std::function<void()> action;
};

class CheckBox final : public QCheckBox {
public:
    CheckBox()
    {
        setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
        setAttribute(Qt::WA_Hover);
        // Comes from the mouse, the keyboard and from assistive programs, which never click.
        connect(this, &QCheckBox::toggled, this, [this](bool isOn) {
            if (isOn == shown)
                return;
            shown = isOn;
            action(isOn);
        });
    }

    void show(const QString& newText, bool isOn, std::function<void(bool)> newAction)
    {
        if (text() != newText)
            setText(newText);
        action = std::move(newAction);
        shown = isOn;
        setChecked(isOn);
    }

    QSize sizeHint() const override
    {
        // Even, so that a card of boxes can stand in the middle without more room around them than it has.
        const int width = boxSize + iconSpacing + textWidth(*this, text());
        return { width + width % 2, std::max(boxSize, fontMetrics().height()) };
    }

    QSize minimumSizeHint() const override { return { boxSize, sizeHint().height() }; }

protected:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }

    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const auto inside = rect();
        const QRect place(inside.left(), inside.top() + (inside.height() - boxSize) / 2, boxSize, boxSize);
        paintBox(painter, squareOnPixels(painter, QStyle::visualRect(layoutDirection(), inside, place)));

        const auto text = inside.adjusted(boxSize + iconSpacing, 0, 0, 0);
        painter.setPen(palette().color(QPalette::WindowText));
        drawText(painter, *this, QStyle::visualRect(layoutDirection(), inside, text),
            Qt::AlignLeft | Qt::AlignVCenter, this->text());
    }

private:
    void paintBox(QPainter& painter, const QRectF& box) const
    {
        const auto mark = palette().color(QPalette::HighlightedText);
        if (isChecked()) {
            painter.fillPath(continuousRect(box, cornerRadius), accentFace(*this, mark));
            QPen pen(mark, 1.8);
            pen.setCapStyle(Qt::RoundCap);
            pen.setJoinStyle(Qt::RoundJoin);
            painter.setPen(pen);
            const auto corner = box.topLeft();
            painter.drawPolyline(QPolygonF {
                { corner + QPointF(3.6, 7.4), corner + QPointF(6, 9.9), corner + QPointF(10.4, 4.4) } });
        } else {
            drawBox(painter, box, cornerRadius, plainFace(*this, QPalette::Base),
                resolved(Theme::boxBorder, palette().color(QPalette::Text)));
        }
    }

    static constexpr int boxSize = 14;
    static constexpr double cornerRadius = 4;

    /// What the model says; the box itself changes first when it is clicked.
    bool shown = false;
    std::function<void(bool)> action;
};

class Divider final : public QWidget {
public:
    Divider() { setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed); }

    QSize sizeHint() const override { return { 0, 1 }; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        auto line = onPixels(painter, rect());
        line.setHeight(inPixels(painter, line.height()));
        painter.fillRect(line, palette().color(QPalette::WindowText));
    }
};

}

StackView row(Views children, StackLook look)
{
    const auto alignment = look.alignment ? look.alignment : Qt::AlignVCenter;
    return StackView(
        [=](Stack& stack) {
            stack.setLayoutLook({ QBoxLayout::LeftToRight, look.spacing, alignment });
        },
        std::move(children));
}

StackView column(Views children, StackLook look)
{
    const auto alignment = look.alignment ? look.alignment : Qt::AlignLeft;
    return StackView(
        [=](Stack& stack) {
            stack.setLayoutLook({ QBoxLayout::TopToBottom, look.spacing, alignment });
        },
        std::move(children));
}

ScrollerView scroller(View content, int page)
{
    return ScrollerView([page](Scroller& scroller) { scroller.setPage(page); }, std::move(content));
}

View label(const QString& text, Qt::Alignment alignment)
{
    return View::of<Label>(
        [text, alignment](Label& label) { label.show(text, alignment | Qt::AlignVCenter); });
}

View symbol(const QString& name)
{
    return View::of<SymbolIcon>([name](SymbolIcon& icon) { icon.show(name); });
}

View iconLabel(const QString& symbolName, const QString& text)
{
    return row({ symbol(symbolName), label(text) }, { .spacing = iconSpacing });
}

View button(const QString& text, std::function<void()> action, ButtonLook look)
{
    return View::of<Button>([text, action = std::move(action), look](Button& button) {
        button.show(text, action, look);
    }).font(look.size == ButtonSize::Small ? 11 : 13, QFont::Medium);
}

View symbolButton(const QString& symbolName, const QString& name, std::function<void()> action)
{
    return View::of<SymbolButton>(
        [symbolName, action = std::move(action)](SymbolButton& button) { button.show(symbolName, action); })
        .help(name)
        .read(name);
}

View toggle(const QString& text, bool isOn, std::function<void(bool)> action)
{
    return View::of<CheckBox>(
        [text, isOn, action = std::move(action)](CheckBox& box) { box.show(text, isOn, action); });
}

View spacer()
{
    return View::of<Spacer>([](Spacer&) {});
}

View divider()
{
    return View::of<Divider>([](Divider&) {}).color(Theme::primary.withOpacity(0.1));
}
