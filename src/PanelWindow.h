#pragma once

#include <QWidget>

#include <cstdint>

class QLabel;

/// The panel that opens beside the menu-bar item. It closes on Escape and when another window becomes active.
class PanelWindow final : public QWidget {
    Q_OBJECT

public:
    PanelWindow();

    void setCounts(std::int64_t keys, std::int64_t clicks);
    /// Shows the panel as close to the place as its screen allows, wholly within the work area.
    void openBeside(QPoint place);

protected:
    bool event(QEvent* event) override;

private:
    QLabel* keysLabel;
    QLabel* clicksLabel;
};

/// Where a window of this size opens so that it stands beside a place on the edge of a screen: within the
/// work area, and centered on the place as far as that allows. All in points.
QPoint placeBeside(QPoint place, QSize size, QRect workArea);
