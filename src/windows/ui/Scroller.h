#pragma once

#include "windows/ui/Container.h"

#include <QWidget>

#include <vector>

class ScrollBar;

/// Takes the room that is left over and shows one widget in it: as large as the room, or where that is too
/// low, as high as the widget needs and scrolled by the wheel, the bar or the keyboard.
class Scroller final
    : public QWidget
    , public Container {
public:
    Scroller();

    /// When this number changes, something else is shown, from its top.
    void setPage(int newPage);

    const std::vector<QWidget*>& widgets() const override { return places; }
    /// The first is shown.
    void setWidgets(std::vector<QWidget*> widgets) override;

    const ScrollBar& bar() const { return *scrollBar; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return { 0, 0 }; }

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QWidget* content() const { return places.empty() ? nullptr : places.front(); }
    void placeContent();
    void scrollTo(const QWidget& control);

    int page = 0;
    std::vector<QWidget*> places;
    ScrollBar* scrollBar;
};
