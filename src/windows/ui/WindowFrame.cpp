#include "windows/ui/WindowFrame.h"

#include "windows/ui/Shadow.h"
#include "windows/ui/Shapes.h"

#include <QEvent>
#include <QPainter>
#include <QPixmap>

namespace {

constexpr double cornerRadius = 12;

constexpr double shadowBlur = 6;
constexpr double shadowOffset = 4;
/// All that the shadow reaches, and whole pixels at each scale in quarters.
constexpr int shadowMargin = 24;
/// From the corner of the window to where its shadow is the same all along the edge.
constexpr int cornerSide = shadowMargin + 40;

/// The shadow of a window that is no larger than its four corners.
QPixmap drawCorners(double ratio)
{
    constexpr QRectF whole(0, 0, 2 * cornerSide, 2 * cornerSide);
    QPixmap picture((whole.size() * ratio).toSize());
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    const auto body = whole.adjusted(shadowMargin, shadowMargin, -shadowMargin, -shadowMargin);
    paintShadow(painter, continuousRect(body.translated(0, shadowOffset), cornerRadius), shadowBlur,
        QColor::fromRgbF(0, 0, 0, 0.33F));
    return picture;
}

}

WindowFrame::WindowFrame(QWidget& window, WindowEdges& edges)
    : window(window)
    , edges(edges)
{
    setDrawn(true);
    window.installEventFilter(this);
    // One that is hidden follows when it is shown.
    subscription = edges.observe([this] {
        if (this->window.isVisible())
            follow();
    });
}

// Whether a window can be transparent is settled when it is made; whether somebody composes it changes
// while it is there. Where nobody does, it covers all of itself.
void WindowFrame::setDrawn(bool drawn)
{
    isDrawn = drawn;
    window.setAttribute(Qt::WA_TranslucentBackground, drawn);
    window.setAttribute(Qt::WA_NoSystemBackground, drawn);
}

void WindowFrame::follow()
{
    edge = isDrawn ? edges.edge() : WindowEdge::Square;
    const int margin = edge == WindowEdge::RoundWithShadow ? shadowMargin : 0;
    window.setContentsMargins(margin, margin, margin, margin);
    window.update();
}

void WindowFrame::paint(QPainter& painter) const
{
    if (!isDrawn)
        return;
    const auto ground = window.palette().color(QPalette::Window);
    const auto line = window.palette().color(QPalette::Mid);
    if (edge == WindowEdge::Square) {
        // The last pixels may be covered only in part by a size in points.
        painter.fillRect(window.rect().adjusted(0, 0, 1, 1), ground);
        drawOutline(painter, area(), { .color = line });
        return;
    }
    if (edge == WindowEdge::RoundWithShadow)
        paintShadowAround(painter, onPixels(painter, area()));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(continuousRect(onPixels(painter, area()), cornerRadius), ground);
    painter.restore();
    drawOutline(painter, area(), { .color = line, .cornerRadius = cornerRadius });
}

// The corners as they are, and between them the row or column where they meet, over and over. As a whole it
// would be a picture as large as the window.
void WindowFrame::paintShadowAround(QPainter& painter, const QRectF& body) const
{
    const double ratio = painter.device()->devicePixelRatioF();
    if (corners.devicePixelRatio() != ratio || corners.isNull())
        corners = drawCorners(ratio);
    const auto whole = body.adjusted(-shadowMargin, -shadowMargin, shadowMargin, shadowMargin);
    const double columns[] { whole.left(), whole.left() + cornerSide, whole.right() - cornerSide,
        whole.right() };
    const double rows[] { whole.top(), whole.top() + cornerSide, whole.bottom() - cornerSide,
        whole.bottom() };
    const double side = cornerSide * ratio;
    const double from[] { 0, side - 1, side };
    const double length[] { side, 1, side };
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            // Below the window itself nothing would be seen of it.
            if (row == 1 && column == 1)
                continue;
            painter.drawPixmap(
                QRectF(QPointF(columns[column], rows[row]), QPointF(columns[column + 1], rows[row + 1])),
                corners, { from[column], from[row], length[column], length[row] });
        }
    }
}

bool WindowFrame::eventFilter(QObject* watched, QEvent* event)
{
    // The window is made by now, and not on the screen before this returns.
    if (event->type() == QEvent::Show || (event->type() == QEvent::Resize && window.isVisible()))
        tellDesktop();
    return QObject::eventFilter(watched, event);
}

void WindowFrame::tellDesktop() const
{
    const double ratio = window.devicePixelRatioF();
    const auto pixels = window.size() * ratio;
    edges.setShadow(NativeWindow { window.winId() },
        { pixels.width(), pixels.height(), qRound(window.contentsMargins().left() * ratio) });
}
