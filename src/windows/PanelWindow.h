#pragma once

#include "platform/PanelHost.h"
#include "windows/ui/View.h"
#include "windows/ui/WindowFrame.h"

#include <QWidget>

#include <functional>

class ScrollBar;
class WindowActivation;

/// The panel that opens beside the menu-bar item. It takes the size of its content, also while that grows or
/// shrinks, and closes on Escape, on a press outside, and when another window becomes active. On a screen too
/// low for it, the content scrolls. Without an item it is a window like any other and stays open.
class PanelWindow final : public QWidget {
    Q_OBJECT

public:
    /// `body` describes the content, which has a size of its own. The services must outlive the panel.
    PanelWindow(
        std::function<View()> body, PanelHost& panelHost, WindowActivation& activation, WindowEdges& edges);

    /// Opens as close to the place as its screen allows, wholly within the work area.
    void openBeside(ScreenPoint newPlace);
    /// Opens with a frame, in the task bar and where the window manager puts it.
    void openAsWindow();
    /// Has the content described again soon.
    void invalidate();

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    bool isBesideItem() const { return windowType() == Qt::Tool; }
    void become(Qt::WindowFlags kind);
    void bringForward();
    void fitIntoPlace();
    void scroll(int top);
    void scrollTo(const QWidget& control);

    WindowFrame frame;
    Host* content;
    ScrollBar* scrollBar;
    PanelHost& panelHost;
    WindowActivation& activation;
    ScreenPoint place;
};

/// Where a window of this size opens so that it stands beside a place: at the edge of the work area that is
/// nearest to it on its screen, centered on the place as far as the work area allows. All in points.
QPoint placeBeside(QPoint place, QSize size, const QRect& screen, const QRect& workArea);
