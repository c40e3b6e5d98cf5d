#pragma once

#include "platform/WindowEdges.h"

#include <QObject>
#include <QPixmap>
#include <QRect>
#include <QWidget>

class QPainter;

/// The frame that the program draws itself for a window that has none of the desktop's: the ground with its
/// corners, the line around it, and the shadow where the desktop lets a window have one. The shadow takes the
/// window's contents margins, by which the window is larger than it looks. It is our own because compositors
/// throw none around a window that may be transparent: measured with xfwm4 4.18.
class WindowFrame final : public QObject {
public:
    /// Before the window is made on the screen. Both must outlive the frame.
    WindowFrame(QWidget& window, WindowEdges& edges);

    /// Whether the window is to have this frame, or one of the desktop's. The window is then to be made anew.
    void setDrawn(bool drawn);
    /// Asks the desktop how the window may end. Before each showing, and before its size is settled.
    void follow();
    /// What the window looks like, without its shadow.
    QRect area() const { return window.contentsRect(); }
    /// First in each painting of the window.
    void paint(QPainter& painter) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void paintShadowAround(QPainter& painter, const QRectF& body) const;
    void tellDesktop() const;

    QWidget& window;
    WindowEdges& edges;
    WindowEdge edge = WindowEdge::Square;
    bool isDrawn = true;
    /// Kept, since the window is painted with each digit that changes.
    mutable QPixmap corners;
    Observers::Subscription subscription;
};
