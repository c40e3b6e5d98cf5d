#pragma once

#include "windows/ui/View.h"
#include "windows/ui/WindowFrame.h"

#include <QPoint>
#include <QWidget>

#include <functional>
#include <optional>

class QAbstractButton;
class QPushButton;
class WindowActivation;

/// A window that stands beside the panel for a while: as large as its content, with a close button of its own
/// and nothing else of a frame, moved by any part of its background. Once made it is kept, closed or not, and
/// remembers its place.
class UtilityWindow final : public QWidget {
public:
    /// The title is not drawn; window lists and screen readers have it.
    UtilityWindow(const QString& title, WindowActivation& activation, WindowEdges& edges);

    /// Shows what `body` describes in place of all that the window showed before, in front of everything else
    /// and with the keyboard. The window is centered the first time, and never moved again.
    void present(std::function<View()> body);
    /// The middle of the window, or a point of the screen on which it will open.
    QPoint center() const;
    /// Has the content described again soon.
    void invalidate();

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void discardContent();
    void bringToFront();
    void placeFirst();
    void keepInPlace();
    void placeCloseButton();
    /// The default button, or where there is none the one that has the focus.
    void pressButton();
    QPushButton* defaultButton() const;

    WindowFrame frame;
    WindowActivation& activation;
    WindowEdges& edges;
    Host* content = nullptr;
    QAbstractButton* closeButton;
    bool isPlaced = false;
    /// The width of the shadow that the place was found for.
    int shadow = 0;
    /// Where a press on the background began, until it has become a move.
    std::optional<QPoint> press;
};
