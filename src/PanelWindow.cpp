#include "PanelWindow.h"

#include "platform/PanelHost.h"
#include "platform/WindowActivation.h"

#include <QBoxLayout>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace {

QRect screenWith(QPoint place)
{
    const auto* screen = QGuiApplication::screenAt(place);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    return screen->geometry();
}

}

// A tool window and not a popup: popups cannot be read by screen readers and get no keyboard on XWayland.
PanelWindow::PanelWindow(QWidget* content, PanelHost& panelHost, WindowActivation& activation)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
    , panelHost(panelHost)
    , activation(activation)
{
    setWindowTitle("Knucklet");
    // A tool window counts for nothing when Qt looks for the last window; closing it must not end the
    // program.
    setAttribute(Qt::WA_QuitOnClose, false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(content);
}

void PanelWindow::openBeside(ScreenPoint newPlace)
{
    place = newPlace;
    // Laid out before it is shown, so that it never jumps.
    ensurePolished();
    adjustSize();
    moveIntoPlace();
    const NativeWindow window { winId() };
    panelHost.prepare(window);
    // Before it is shown, so that even a press on the heels of that on the icon closes it.
    panelHost.watchPressesOutside([this] { hide(); });
    show();
    raise();
    activateWindow();
    // Not on a control: the keyboard reaches the first one with Tab, and nothing looks chosen before.
    setFocus(Qt::PopupFocusReason);
    activation.activate(window);
}

bool PanelWindow::event(QEvent* event)
{
    // Also delivered from within hide(), while the window still counts as visible.
    if (event->type() == QEvent::WindowDeactivate && isVisible())
        hide();
    return QWidget::event(event);
}

void PanelWindow::hideEvent(QHideEvent* event)
{
    panelHost.stopWatching();
    QWidget::hideEvent(event);
}

void PanelWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        hide();
    else
        QWidget::keyPressEvent(event);
}

// A line around the panel sets it off from a window of the same color below it. It lies in the content's
// padding.
void PanelWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // Whole pixels, and as many of them on each side.
    const double ratio = devicePixelRatioF();
    const double thickness = std::floor(ratio) / ratio;
    const QRectF inside = QRectF(rect()).adjusted(thickness, thickness, -thickness, -thickness);
    QPainterPath line;
    line.addRect(rect());
    line.addRect(inside);
    painter.fillPath(line, palette().color(QPalette::Mid));
}

void PanelWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    // Where the bar is at the bottom, the panel grows upward.
    if (isVisible())
        moveIntoPlace();
}

void PanelWindow::moveIntoPlace()
{
    const auto area = panelHost.workArea(place);
    const QPoint point(place.x, place.y);
    move(placeBeside(point, size(), screenWith(point), { area.x, area.y, area.width, area.height }));
}

QPoint placeBeside(QPoint place, QSize size, const QRect& screen, const QRect& workArea)
{
    const int toTop = place.y() - screen.top();
    const int toBottom = screen.top() + screen.height() - place.y();
    const int toLeft = place.x() - screen.left();
    const int toRight = screen.left() + screen.width() - place.x();
    const int nearest = std::min({ toTop, toBottom, toLeft, toRight });

    const QSize room = workArea.size() - size;
    const QPoint last = workArea.topLeft() + QPoint(room.width(), room.height());
    QPoint corner = place - QPoint(size.width() / 2, size.height() / 2);
    if (nearest == toTop)
        corner.setY(workArea.top());
    else if (nearest == toBottom)
        corner.setY(last.y());
    else if (nearest == toLeft)
        corner.setX(workArea.left());
    else
        corner.setX(last.x());
    // The top left corner wins where the panel is larger than the work area.
    return {
        std::max(std::min(corner.x(), last.x()), workArea.left()),
        std::max(std::min(corner.y(), last.y()), workArea.top()),
    };
}
