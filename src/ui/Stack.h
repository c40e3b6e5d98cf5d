#pragma once

#include <QBoxLayout>
#include <QColor>
#include <QWidget>

#include <vector>

/// A row or a column of widgets, perhaps on a colored background.
class Stack final : public QWidget {
public:
    struct Layout {
        QBoxLayout::Direction direction = QBoxLayout::TopToBottom;
        int spacing = 8;
        /// Across the direction, for children that do not fill the room there.
        Qt::Alignment alignment;
    };
    struct Frame {
        int padding = 0;
        /// 0: as the content needs.
        int width = 0;
        bool fillsWidth = false;
    };

    Stack();

    void setLayoutLook(const Layout& look);
    void setFrame(const Frame& frame);
    void setBackground(const QColor& color, double cornerRadius);
    /// One widget for each place, or none; the stack takes them over. A widget that is left out here is no
    /// longer the stack's.
    void setWidgets(std::vector<QWidget*> widgets);
    const std::vector<QWidget*>& widgets() const { return places; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void place(int index, QWidget* widget);

    QBoxLayout* box;
    Qt::Alignment alignment;
    std::vector<QWidget*> places;
    QColor backgroundColor = Qt::transparent;
    double cornerRadius = 0;
};

/// Takes the room that nothing else in its stack needs.
class Spacer final : public QWidget {
public:
    using QWidget::QWidget;
    QSize sizeHint() const override { return { 0, 0 }; }
};
