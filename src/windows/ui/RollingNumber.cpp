#include "windows/ui/RollingNumber.h"

#include "windows/ui/Spring.h"

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QFontMetricsF>
#include <QPainter>
#include <QStyle>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <string>

namespace {

/// One place of the number: a strip of glyphs that rolls upwards until its last one stands still. Changing
/// again on the way lengthens the strip; the movement goes on with the speed it has.
struct Digit {
    void set(char16_t glyph) { *this = { .strip = QString(glyph) }; }

    void rollTo(char16_t glyph)
    {
        strip.append(glyph);
        motion.offset -= 1;
    }

    void advance(double seconds)
    {
        motion.advance(seconds);
        if (motion.isAtRest()) {
            set(last());
            return;
        }
        // Glyphs that have left at the top.
        const auto gone = static_cast<qsizetype>(std::floor(position()));
        if (gone > 0 && gone < strip.size())
            strip.remove(0, gone);
    }

    char16_t last() const { return strip.back().unicode(); }
    bool isRolling() const { return motion.offset != 0 || motion.velocity != 0; }
    /// The index in the strip of what stands in the middle, with the part that it has moved on.
    double position() const { return static_cast<double>(strip.size() - 1) + motion.offset; }

    QString strip;
    Spring motion {};
};

class RollingNumber final : public QWidget {
public:
    RollingNumber() { setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed); }

    void show(std::int64_t value)
    {
        auto next = QString::fromStdString(std::to_string(value));
        if (number == next)
            return;
        number = std::move(next);
        setDigits(wasSeen && isVisible() && style()->styleHint(QStyle::SH_Widget_Animation_Duration) > 0);
    }

    // However long the number is, its tile keeps its width.
    QSize sizeHint() const override { return { 0, fontMetrics().height() }; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        wasSeen = true;
        QPainter painter(this);
        double left = leftmost();
        for (const auto& digit : digits) {
            paint(painter, digit, left);
            left += cell;
        }
    }

    void timerEvent(QTimerEvent* event) override
    {
        if (event->timerId() != frames.timerId())
            return;
        // One that comes late goes on from the last: nothing jumps.
        const double seconds
            = std::min(static_cast<double>(sinceFrame.nsecsElapsed()) / 1e9, 2 * frameInterval / 1e3);
        sinceFrame.start();
        bool isRolling = false;
        double left = leftmost();
        for (auto& digit : digits) {
            if (digit.isRolling()) {
                digit.advance(seconds);
                isRolling = isRolling || digit.isRolling();
                update(QRectF(left, 0, cell, height()).toAlignedRect());
            }
            left += cell;
        }
        if (!isRolling)
            rest();
    }

    // What changes from now on, nobody sees changing.
    void hideEvent(QHideEvent*) override
    {
        wasSeen = false;
        rest();
    }

    void resizeEvent(QResizeEvent*) override { setDigits(false); }

    void changeEvent(QEvent* event) override
    {
        if (event->type() == QEvent::FontChange)
            setDigits(false);
        QWidget::changeEvent(event);
    }

private:
    void setDigits(bool rolls)
    {
        measure();
        const auto text = shownText();
        const auto count = static_cast<std::size_t>(text.size());
        // A place that is no longer needed rolls to a blank.
        digits.resize(std::max(digits.size(), count), Digit { .strip = " " });
        for (std::size_t i = 0; i < digits.size(); ++i) {
            const auto glyph = i < count ? text[static_cast<qsizetype>(i)].unicode() : u' ';
            if (!rolls) {
                digits[i].set(glyph);
            } else if (digits[i].last() != glyph) {
                digits[i].rollTo(glyph);
            }
        }
        if (!rolls) {
            rest();
        } else if (!frames.isActive()) {
            frames.start(frameInterval, Qt::PreciseTimer, this);
            sinceFrame.start();
        }
        update();
    }

    /// Ends all rolling where it leads to.
    void rest()
    {
        frames.stop();
        for (auto& digit : digits)
            digit.set(digit.last());
        while (!digits.empty() && digits.back().last() == u' ') {
            digits.pop_back();
            update();
        }
    }

    double leftmost() const
    {
        const double widthOfAll = cell * static_cast<double>(digits.size());
        return layoutDirection() == Qt::RightToLeft ? width() - widthOfAll : 0;
    }

    void measure()
    {
        const QFontMetricsF metrics(font());
        cell = 0;
        for (char16_t digit = u'0'; digit <= u'9'; ++digit)
            cell = std::max(cell, metrics.horizontalAdvance(QChar(digit)));
    }

    /// The number as far as it fits.
    QString shownText() const
    {
        const auto fitting = std::max<qsizetype>(1, static_cast<qsizetype>(width() / cell));
        if (number.size() <= fitting)
            return number;
        return number.left(fitting - 1) + u'…';
    }

    void paint(QPainter& painter, const Digit& digit, double left) const
    {
        const QFontMetricsF metrics(font());
        // Far enough to be seen moving, and gone before the widget's edges cut it off.
        const double travel = 0.5 * metrics.height();
        for (qsizetype i = 0; i < digit.strip.size(); ++i) {
            const auto glyph = digit.strip[i];
            const double distance = static_cast<double>(i) - digit.position();
            const double opacity = 1 - 1.4 * std::abs(distance);
            if (opacity <= 0 || glyph == u' ')
                continue;
            const double inset = (cell - metrics.horizontalAdvance(glyph)) / 2;
            painter.setOpacity(opacity);
            painter.drawText(QPointF(left + inset, metrics.ascent() + distance * travel), QString(glyph));
        }
    }

    static constexpr int frameInterval = 16;

    QString number;
    std::vector<Digit> digits;
    double cell = 1;
    /// The digits have been on screen since the widget was shown.
    bool wasSeen = false;
    QBasicTimer frames;
    QElapsedTimer sinceFrame;
};

}

View rollingNumber(std::int64_t value)
{
    return View::of<RollingNumber>([value](RollingNumber& number) { number.show(value); });
}
