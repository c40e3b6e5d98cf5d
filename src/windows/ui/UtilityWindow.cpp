#include "windows/ui/UtilityWindow.h"

#include "platform/WindowActivation.h"
#include "windows/ui/Shapes.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QCursor>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace {

class CloseButton final : public QAbstractButton {
public:
    explicit CloseButton(QWidget* parent)
        : QAbstractButton(parent)
    {
        setFixedSize(side, side);
        setAttribute(Qt::WA_Hover);
        setFocusPolicy(Qt::TabFocus);
        const auto name = QCoreApplication::translate("UtilityWindow", "Close");
        setAccessibleName(name);
        setToolTip(name);
    }

    static constexpr int side = 22;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const auto circle = squareOnPixels(painter, rect());
        const bool isTouched = underMouse() || isDown();
        auto color = palette().color(QPalette::WindowText);
        color.setAlphaF(isDown() ? 0.24F : isTouched ? 0.16F : 0.08F);
        painter.fillPath(continuousRect(circle, side / 2.0), color);

        color.setAlphaF(isTouched ? 0.9F : 0.6F);
        painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap));
        const auto cross = QRectF(rect()).adjusted(7.5, 7.5, -7.5, -7.5);
        painter.drawLine(cross.topLeft(), cross.bottomRight());
        painter.drawLine(cross.bottomLeft(), cross.topRight());

        if (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
            drawOutline(painter, circle,
                { .color = palette().color(QPalette::Highlight),
                    .cornerRadius = side / 2.0,
                    .thickness = 2 });
        }
    }
};

}

UtilityWindow::UtilityWindow(const QString& title, WindowActivation& activation, WindowEdges& edges)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint)
    , frame(*this, edges)
    , activation(activation)
    , edges(edges)
    , closeButton(new CloseButton(this))
{
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    // The content decides the size, and nobody else may.
    layout->setSizeConstraint(QLayout::SetFixedSize);

    QObject::connect(closeButton, &QAbstractButton::clicked, this, &QWidget::close);
    QObject::connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    // Shortcuts, so that they work wherever the focus is.
    for (const auto key : { Qt::Key_Return, Qt::Key_Enter }) {
        auto* shortcut = new QShortcut(key, this);
        // A key that is held must not press one default button after the other.
        shortcut->setAutoRepeat(false);
        QObject::connect(shortcut, &QShortcut::activated, this, &UtilityWindow::pressButton);
    }
}

void UtilityWindow::present(std::function<View()> body)
{
    discardContent();
    frame.follow();
    content = new Host(std::move(body));
    // Before the window knows of it, which would otherwise shrink to nothing for a moment. A window without a
    // size is taken off the screen and loses the keyboard.
    content->renderNow();
    layout()->addWidget(content);
    content->show();
    layout()->activate();
    closeButton->raise();
    if (!isPlaced)
        placeFirst();
    bringToFront();
}

void UtilityWindow::invalidate()
{
    if (content)
        content->invalidate();
}

bool UtilityWindow::event(QEvent* event)
{
    if (event->type() == QEvent::LayoutDirectionChange)
        placeCloseButton();
    if (event->type() == QEvent::ContentsRectChange)
        keepInPlace();
    return QWidget::event(event);
}

// What was shown is not shown again, and need not be kept.
void UtilityWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    discardContent();
}

void UtilityWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    frame.paint(painter);
}

void UtilityWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    placeCloseButton();
}

void UtilityWindow::mousePressEvent(QMouseEvent* event)
{
    press.reset();
    if (event->button() == Qt::LeftButton)
        press = event->globalPosition().toPoint();
}

// Not at the press itself: a window manager that hears of a move only after the button is up again would
// leave the window at the pointer until the next click.
void UtilityWindow::mouseMoveEvent(QMouseEvent* event)
{
    if (!press || !event->buttons().testFlag(Qt::LeftButton))
        return;
    // The manager takes up the move where the pointer is by then: further away, the window would lag behind.
    constexpr int threshold = 3;
    if ((event->globalPosition().toPoint() - *press).manhattanLength() < threshold)
        return;
    press.reset();
    if (edges.isHeld())
        windowHandle()->startSystemMove();
}

void UtilityWindow::discardContent()
{
    auto* old = std::exchange(content, nullptr);
    if (!old)
        return;
    // Later: what closes or replaces it may be one of its own buttons.
    old->hide();
    old->setParent(nullptr);
    old->deleteLater();
}

void UtilityWindow::bringToFront()
{
    // An iconified window would stay so.
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    if (auto* button = defaultButton())
        button->setFocus();
    activation.activate(NativeWindow { winId() });
}

QPoint UtilityWindow::center() const { return isPlaced ? geometry().center() : QCursor::pos(); }

void UtilityWindow::placeFirst()
{
    const auto* screen = QGuiApplication::screenAt(center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    auto place = rect();
    place.moveCenter(screen->availableGeometry().center());
    move(place.topLeft());
    isPlaced = true;
}

// What is seen of the window stays where it is when a shadow comes or goes.
void UtilityWindow::keepInPlace()
{
    const int before = std::exchange(shadow, contentsMargins().left());
    if (!isPlaced || shadow == before)
        return;
    layout()->activate();
    move(pos() + QPoint(before - shadow, before - shadow));
}

void UtilityWindow::placeCloseButton()
{
    constexpr int margin = 10;
    const auto corner = frame.area().adjusted(margin, margin, -margin, -margin);
    closeButton->setGeometry(
        QStyle::alignedRect(layoutDirection(), Qt::AlignTop | Qt::AlignRight, closeButton->size(), corner));
}

void UtilityWindow::pressButton()
{
    QAbstractButton* button = defaultButton();
    if (!button)
        button = qobject_cast<QAbstractButton*>(focusWidget());
    // A box is no button, although Qt says so.
    if (button && !button->isCheckable())
        button->click();
}

QPushButton* UtilityWindow::defaultButton() const
{
    if (!content)
        return nullptr;
    const auto buttons = content->findChildren<QPushButton*>();
    const auto found = std::ranges::find_if(buttons,
        [this](const QPushButton* button) { return button->isDefault() && button->isVisibleTo(content); });
    return found == buttons.end() ? nullptr : *found;
}
