#include "windows/ui/Transition.h"

#include "windows/ui/Shapes.h"
#include "windows/ui/Stack.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

Transition::Transition(Stack& stack)
    : QWidget(stack.parentWidget())
    , stack(stack)
    , before(stack.grabContent())
    , heightBefore(stack.height())
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(stack.geometry());
    stack.installEventFilter(this);
    frames.start(frameInterval, Qt::PreciseTimer, this);
    sinceFrame.start();
    raise();
    show();
}

bool Transition::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Hide || event->type() == QEvent::ParentAboutToChange)
        end();
    return QWidget::eventFilter(watched, event);
}

void Transition::timerEvent(QTimerEvent*)
{
    if (after.isNull())
        after = stack.grabContent();
    // One that comes late goes on from the last: nothing jumps.
    motion.advance(static_cast<double>(std::min<qint64>(sinceFrame.restart(), 2 * frameInterval)) / 1000);
    if (motion.isAtRest()) {
        end();
        return;
    }
    auto box = stack.geometry();
    box.setHeight(std::max(box.height(), static_cast<int>(std::ceil(boxHeight()))));
    setGeometry(box);
    update();
}

void Transition::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.fillPath(
        continuousRect(QRectF(0, 0, width(), boxHeight()), stack.cornerRadius()), stack.background());
    const double shown = std::clamp(1 - motion.offset, 0.0, 1.0);
    painter.setOpacity(1 - shown);
    painter.drawPixmap(0, 0, before);
    painter.setOpacity(shown);
    painter.drawPixmap(0, 0, after);
}

double Transition::boxHeight() const
{
    return stack.height() + (heightBefore - stack.height()) * motion.offset;
}

void Transition::end()
{
    frames.stop();
    hide();
    deleteLater();
}
