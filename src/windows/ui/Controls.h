#pragma once

#include "windows/ui/View.h"

#include <QPainter>
#include <QSize>

#include <functional>
#include <string_view>

struct StackLook {
    int spacing = 8;
    /// Across the stack, for children that do not fill the room there. Left is where reading begins.
    Qt::Alignment alignment = {};
};

/// One beside the other, centered vertically unless told otherwise.
StackView row(Views children, StackLook look = {});
/// One below the other, aligned where reading begins unless told otherwise.
StackView column(Views children, StackLook look = {});

/// Shows the content in the room that is left over, scrolled where that is too low for it. Another `page`
/// begins at its top.
ScrollerView scroller(View content, int page);

/// One line, truncated at its end where there is not enough room.
View label(const QString& text, Qt::Alignment alignment = Qt::AlignLeft);
/// As many lines as the text needs at the width there is. Centered lines are about equally long.
View paragraph(const QString& text, Qt::Alignment alignment = Qt::AlignLeft);
/// A paragraph in which words between two pairs of asterisks are bold.
View markdown(const QString& text);
/// A symbol fit to stand before text of the same font.
View symbol(const QString& name);
/// A symbol and the text that it belongs to.
View iconLabel(const QString& symbolName, const QString& text);

enum class ButtonSize { Small, Regular, Large };

struct ButtonLook {
    ButtonSize size = ButtonSize::Small;
    /// Filled with the accent color: what most people want to press.
    bool isProminent = false;
    /// Return and Enter press it, wherever in its window the focus is.
    bool isDefault = false;
    /// Stands before the text; may be empty.
    std::string_view symbol {};

    bool operator==(const ButtonLook&) const = default;
};

View button(const QString& text, std::function<void()> action, ButtonLook look = {});
/// Shows its symbol only; the name is its tooltip and what a screen reader says.
View symbolButton(const QString& symbolName, const QString& name, std::function<void()> action);
/// A check box that shows `isOn` and hands over what the user wants instead.
View toggle(const QString& text, bool isOn, std::function<void(bool)> action);

/// Takes the room that is left over.
View spacer();
/// A thin line across the width.
View divider();

/// Draws data in a box whose height is given and whose width is free. The painter's pen has the primary
/// color. It is drawn again when the data differ.
template <std::equality_comparable Data>
View canvas(int height, Data data, void (*paint)(QPainter& painter, const QRectF& box, const Data& data));

/// What `canvas` shows: the program's drawings are pure functions of their data.
template <typename Data>
class Canvas final : public QWidget {
public:
    using Paint = void (*)(QPainter& painter, const QRectF& box, const Data& data);

    Canvas() { setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed); }

    QSize sizeHint() const override { return QSize(0, height).grownBy(contentsMargins()); }

    void show(int newHeight, const Data& newData, Paint newPaint)
    {
        if (height != newHeight) {
            height = newHeight;
            updateGeometry();
        }
        if (data == newData && paint == newPaint)
            return;
        data = newData;
        paint = newPaint;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        paint(painter, contentsRect(), data);
    }

private:
    int height = 0;
    Data data {};
    Paint paint = nullptr;
};

template <std::equality_comparable Data>
View canvas(int height, Data data, void (*paint)(QPainter&, const QRectF&, const Data&))
{
    return View::of<Canvas<Data>>(
        [height, data = std::move(data), paint](Canvas<Data>& canvas) { canvas.show(height, data, paint); });
}
