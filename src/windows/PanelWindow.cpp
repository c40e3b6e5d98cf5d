#include "windows/PanelWindow.h"

#include "platform/WindowActivation.h"
#include "windows/ui/ScrollBar.h"

#include <QApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QWheelEvent>

#include <algorithm>

namespace {

// A tool window and not a popup: popups cannot be read by screen readers and get no keyboard on XWayland.
constexpr Qt::WindowFlags besideItem = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;

QRect screenWith(QPoint place)
{
    const auto* screen = QGuiApplication::screenAt(place);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    return screen->geometry();
}

}

PanelWindow::PanelWindow(
    std::function<View()> body, PanelHost& panelHost, WindowActivation& activation, WindowEdges& edges)
    : QWidget(nullptr, besideItem)
    , frame(*this, edges)
    , content(new Host(std::move(body)))
    , scrollBar(new ScrollBar(this))
    , panelHost(panelHost)
    , activation(activation)
{
    setWindowTitle("Knucklet");
    // A tool window counts for nothing when Qt looks for the last window; closing it must not end the
    // program.
    setAttribute(Qt::WA_QuitOnClose, false);
    content->setParent(this);
    content->installEventFilter(this);
    scrollBar->raise();
    connect(scrollBar, &ScrollBar::valueChanged, this, &PanelWindow::scroll);
    connect(qApp, &QApplication::focusChanged, this, [this](const QWidget*, const QWidget* control) {
        if (control && content->isAncestorOf(control))
            scrollTo(*control);
    });
}

void PanelWindow::openBeside(ScreenPoint newPlace)
{
    place = newPlace;
    become(besideItem);
    panelHost.prepare(NativeWindow { winId() });
    // Before it is shown, so that even a press on the heels of that on the icon closes it.
    panelHost.watchPressesOutside([this] { hide(); });
    bringForward();
}

void PanelWindow::openAsWindow()
{
    // Beside the item it was moved, and the window manager would leave it there, with its frame off the
    // screen.
    setAttribute(Qt::WA_Moved, false);
    become(Qt::Window);
    bringForward();
}

void PanelWindow::invalidate() { content->invalidate(); }

void PanelWindow::become(Qt::WindowFlags kind)
{
    // Other flags make the window anew.
    if (windowType() != (kind & Qt::WindowType_Mask)) {
        frame.setDrawn(kind == besideItem);
        setWindowFlags(kind);
    }
    frame.follow();
    // Described and laid out before it is shown, so that it never jumps.
    content->renderNow();
    ensurePolished();
    scrollBar->setValue(0);
    fitIntoPlace();
}

void PanelWindow::bringForward()
{
    show();
    raise();
    activateWindow();
    // Not on a control: the keyboard reaches the first one with Tab, and nothing looks chosen before.
    setFocus(Qt::PopupFocusReason);
    activation.activate(NativeWindow { winId() });
}

bool PanelWindow::event(QEvent* event)
{
    // Also delivered from within hide(), while the window still counts as visible.
    if (event->type() == QEvent::WindowDeactivate && isVisible() && isBesideItem())
        hide();
    // A shadow has come or gone.
    if (event->type() == QEvent::ContentsRectChange && isVisible())
        fitIntoPlace();
    return QWidget::event(event);
}

bool PanelWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == content && event->type() == QEvent::Resize && isVisible())
        fitIntoPlace();
    return QWidget::eventFilter(watched, event);
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

// The frame's line and its corners lie in the content's padding.
void PanelWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    frame.paint(painter);
}

void PanelWindow::wheelEvent(QWheelEvent* event)
{
    // A notch of a wheel is 120.
    scrollBar->setValue(scrollBar->value() - event->angleDelta().y() / 2);
}

// Where the bar is at the bottom, the panel grows upward.
void PanelWindow::fitIntoPlace()
{
    const auto area = panelHost.workArea(place);
    const int height = std::min(content->height(), area.height);
    setFixedSize(QSize(content->width(), height).grownBy(contentsMargins()));
    const auto body = frame.area();

    // In the content's padding.
    const int breadth = scrollBar->sizeHint().width();
    const int end
        = layoutDirection() == Qt::RightToLeft ? body.left() + 1 : body.left() + body.width() - breadth - 1;
    scrollBar->setGeometry(end, body.top() + 1, breadth, height - 2);
    scrollBar->setPageStep(height);
    scrollBar->setRange(0, content->height() - height);
    scrollBar->setVisible(content->height() > height);
    scroll(scrollBar->value());

    if (!isBesideItem())
        return;
    const QPoint point(place.x, place.y);
    move(placeBeside(point, body.size(), screenWith(point), { area.x, area.y, area.width, area.height })
        - body.topLeft());
}

void PanelWindow::scroll(int top)
{
    const auto body = frame.area();
    content->move(body.topLeft() - QPoint(0, top));
    // The rest would be painted on the shadow.
    if (content->height() > body.height())
        content->setMask(QRect(0, top, body.width(), body.height()));
    else
        content->clearMask();
}

void PanelWindow::scrollTo(const QWidget& control)
{
    // With what is around it: rings, and the padding at both ends.
    constexpr int surroundings = 14;
    const int top = control.mapTo(content, QPoint()).y();
    const int first = top + control.height() + surroundings - frame.area().height();
    const int last = top - surroundings;
    scrollBar->setValue(std::min(std::max(scrollBar->value(), first), last));
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
