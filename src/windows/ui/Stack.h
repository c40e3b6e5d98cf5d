#pragma once

#include "windows/ui/Container.h"

#include <QBoxLayout>
#include <QColor>
#include <QPixmap>
#include <QPointer>
#include <QWidget>

#include <optional>
#include <vector>

class Transition;

/// A row or a column of widgets, perhaps on a colored background.
class Stack final
    : public QWidget
    , public Container {
public:
    struct Layout {
        QBoxLayout::Direction direction = QBoxLayout::TopToBottom;
        int spacing = 8;
        /// Across the direction, for children that do not fill the room there.
        Qt::Alignment alignment;
    };

    Stack();

    void setLayoutLook(const Layout& look);
    void setPadding(const QMargins& padding);
    void setFillsWidth(bool fills);
    void setBackground(const QColor& color, double cornerRadius);
    /// What the stack shows after its state has changed fades in before the user's eyes. Without a state,
    /// changes are seen at once. Called before the content changes.
    void setState(std::optional<int> newState);
    void setWidgets(std::vector<QWidget*> widgets) override;

    const std::vector<QWidget*>& widgets() const override { return places; }
    QColor background() const { return backgroundColor; }
    double cornerRadius() const { return radius; }
    /// A picture of what is in the stack, without its background.
    QPixmap grabContent();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void place(int index, QWidget* widget);

    QBoxLayout* box;
    Qt::Alignment alignment;
    std::vector<QWidget*> places;
    QColor backgroundColor = Qt::transparent;
    double radius = 0;
    std::optional<int> state;
    QPointer<Transition> transition;
};

/// Takes the room that nothing else in its stack needs.
class Spacer final : public QWidget {
public:
    using QWidget::QWidget;
    QSize sizeHint() const override { return { 0, 0 }; }
};
