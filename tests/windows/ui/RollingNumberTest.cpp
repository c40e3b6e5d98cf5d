#include "windows/ui/RollingNumber.h"

#include "support/Patience.h"
#include "support/TestArea.h"
#include "windows/ui/Controls.h"
#include "windows/ui/Look.h"
#include "windows/ui/Spring.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QImage>
#include <QTest>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>

namespace {

/// A number alone in a window.
class ShownNumber final {
public:
    explicit ShownNumber(std::int64_t value, int width = 200)
        : value(value)
        , host([this, width] {
            return column({ rollingNumber(this->value).font(26, QFont::Bold) }).width(width);
        })
    {
    }

    /// Shows the number, until it has been on screen.
    void show()
    {
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host, patience));
        picture();
    }

    void change(std::int64_t newValue)
    {
        value = newValue;
        host.renderNow();
    }

    QImage picture() { return host.grab().toImage(); }

    bool isRolling() const
    {
        for (auto* widget : host.findChildren<QWidget*>()) {
            if (!QAbstractEventDispatcher::instance()->registeredTimers(widget).isEmpty())
                return true;
        }
        return false;
    }

    std::int64_t value;
    Host host;
};

QImage pictureAtRest(std::int64_t value, Qt::LayoutDirection direction = Qt::LeftToRight)
{
    ShownNumber number(value);
    number.host.setLayoutDirection(direction);
    number.show();
    return number.picture();
}

/// How dark a column of pixels range is, and how far down its darkness lies on average.
struct Ink {
    double amount = 0;
    double height = 0;
};

Ink ink(const QImage& image, int left, int right)
{
    const auto paper = image.pixelColor(image.width() - 1, 0);
    Ink found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = left; x < right; ++x) {
            const double darkness = paper.lightnessF() - image.pixelColor(x, y).lightnessF();
            found.amount += darkness;
            found.height += darkness * y;
        }
    }
    if (found.amount > 0)
        found.height /= found.amount;
    return found;
}

int cellWidth()
{
    const QFontMetricsF metrics(font(26, QFont::Bold));
    double widest = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit)
        widest = std::max(widest, metrics.horizontalAdvance(QChar(digit)));
    return static_cast<int>(std::ceil(widest));
}

void waitForNextFrame() { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); }

}

class RollingNumberTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void aSpringObeysItsEquation();
    void aSpringDoesNotDependOnHowOftenItIsLookedAt();
    void aSpringComesToRestWithinAThirdOfASecond();

    void aChangeRollsAndComesToRest();
    void theSameValueDoesNotRoll();
    void digitsThatStayTheSameStandStill();
    void aNewDigitComesFromBelow();
    void aDigitThatGoesLeavesAtTheTop();
    void aChangeOnTheWayGoesOnFromWhereTheDigitsAre();
    void typingFastEndsAtTheLastNumber();
    void nothingRollsUnderReducedMotion();
    void aChangeWhileHiddenDoesNotRoll();
    void aChangeBetweenShowingAndTheFirstPaintingDoesNotRoll();
    void hidingEndsTheRolling();
    void nothingTicksAtRest();

    void digitsStandInEqualCells();
    void aNumberBeginsWhereReadingBegins();
    void aNegativeNumberHasItsSign();
    void aNumberTooWideIsTruncatedAtItsEnd();
};

void RollingNumberTest::initTestCase() { loadFonts(); }

void RollingNumberTest::init() { applyLook(ColorScheme::Light, Motion::Full); }

void RollingNumberTest::aSpringObeysItsEquation()
{
    const double frequency = 2 * std::numbers::pi / 0.2;
    Spring spring { .offset = -1, .velocity = 3 };
    double offset = spring.offset;
    double velocity = spring.velocity;

    // x″ = −ω²x − 2ζωx′, in steps so small that it hardly matters how.
    constexpr int steps = 100'000;
    constexpr double seconds = 0.07;
    for (int i = 0; i < steps; ++i) {
        const double acceleration = -frequency * frequency * offset - 2 * 0.85 * frequency * velocity;
        velocity += acceleration * seconds / steps;
        offset += velocity * seconds / steps;
    }
    spring.advance(seconds);

    QVERIFY(std::abs(spring.offset - offset) < 1e-3);
    QVERIFY(std::abs(spring.velocity - velocity) < 1e-2);
}

void RollingNumberTest::aSpringDoesNotDependOnHowOftenItIsLookedAt()
{
    Spring seldom { .offset = -1, .velocity = 2 };
    Spring often = seldom;

    seldom.advance(0.1);
    for (int i = 0; i < 10; ++i)
        often.advance(0.01);

    QVERIFY(std::abs(seldom.offset - often.offset) < 1e-12);
    QVERIFY(std::abs(seldom.velocity - often.velocity) < 1e-9);
}

void RollingNumberTest::aSpringComesToRestWithinAThirdOfASecond()
{
    Spring spring { .offset = -1, .velocity = 0 };

    spring.advance(0.1);
    const bool movesHalfWay = !spring.isAtRest();
    spring.advance(0.23);

    QVERIFY(movesHalfWay);
    QVERIFY(spring.isAtRest());
}

void RollingNumberTest::aChangeRollsAndComesToRest()
{
    ShownNumber number(9);
    number.show();

    number.change(10);
    const bool rolls = number.isRolling();
    const auto onTheWay = number.picture();
    QTRY_VERIFY(!number.isRolling());

    QVERIFY(rolls);
    QVERIFY(onTheWay != pictureAtRest(10));
    QCOMPARE(number.picture(), pictureAtRest(10));
}

void RollingNumberTest::theSameValueDoesNotRoll()
{
    ShownNumber number(9);
    number.show();

    number.change(9);

    QVERIFY(!number.isRolling());
    QCOMPARE(number.picture(), pictureAtRest(9));
}

void RollingNumberTest::digitsThatStayTheSameStandStill()
{
    ShownNumber number(7771);
    number.show();
    const auto before = number.picture();
    const QRect unchanged(0, 0, 3 * cellWidth() - 4, before.height());

    number.change(7772);
    bool stoodStill = true;
    while (number.isRolling()) {
        waitForNextFrame();
        stoodStill = stoodStill && number.picture().copy(unchanged) == before.copy(unchanged);
    }

    QVERIFY(stoodStill);
    QCOMPARE(number.picture(), pictureAtRest(7772));
}

void RollingNumberTest::aNewDigitComesFromBelow()
{
    const int left = cellWidth();
    const auto end = ink(pictureAtRest(20), left, 2 * left);
    ShownNumber number(2);
    number.show();

    number.change(20);
    waitForNextFrame();
    const auto first = ink(number.picture(), left, 2 * left);

    QVERIFY(number.isRolling());
    QVERIFY(first.amount < end.amount);
    QVERIFY(first.amount == 0 || first.height > end.height);
    QTRY_VERIFY(!number.isRolling());
}

void RollingNumberTest::aDigitThatGoesLeavesAtTheTop()
{
    const int left = cellWidth();
    const auto start = ink(pictureAtRest(20), left, 2 * left);
    ShownNumber number(20);
    number.show();

    number.change(2);
    double highest = start.height;
    while (number.isRolling()) {
        waitForNextFrame();
        const auto now = ink(number.picture(), left, 2 * left);
        if (now.amount > 0.01 * start.amount)
            highest = std::min(highest, now.height);
        QVERIFY(now.height <= start.height + 0.5);
    }

    QVERIFY(highest < start.height - 2);
    QCOMPARE(number.picture(), pictureAtRest(2));
}

void RollingNumberTest::aChangeOnTheWayGoesOnFromWhereTheDigitsAre()
{
    ShownNumber number(1);
    number.show();
    number.change(2);
    waitForNextFrame();
    const auto before = number.picture();

    number.change(3);
    const auto after = number.picture();

    QCOMPARE(after, before);
    QTRY_VERIFY(!number.isRolling());
    QCOMPARE(number.picture(), pictureAtRest(3));
}

void RollingNumberTest::typingFastEndsAtTheLastNumber()
{
    ShownNumber number(90);
    number.show();

    for (int i = 91; i <= 130; ++i) {
        number.change(i);
        if (i % 3 == 0)
            waitForNextFrame();
    }
    QTRY_VERIFY(!number.isRolling());

    QCOMPARE(number.picture(), pictureAtRest(130));
}

void RollingNumberTest::nothingRollsUnderReducedMotion()
{
    applyLook(ColorScheme::Light, Motion::Reduced);
    ShownNumber number(9);
    number.show();

    number.change(10);

    QVERIFY(!number.isRolling());
    QCOMPARE(number.picture(), pictureAtRest(10));
}

void RollingNumberTest::aChangeWhileHiddenDoesNotRoll()
{
    ShownNumber number(9);
    number.show();
    number.host.hide();

    number.value = 1234;
    number.host.show();

    QVERIFY(!number.isRolling());
    QCOMPARE(number.picture(), pictureAtRest(1234));
}

void RollingNumberTest::aChangeBetweenShowingAndTheFirstPaintingDoesNotRoll()
{
    ShownNumber number(9);
    number.host.show();

    number.change(10);

    QVERIFY(!number.isRolling());
}

void RollingNumberTest::hidingEndsTheRolling()
{
    ShownNumber number(9);
    number.show();
    number.change(10);

    number.host.hide();

    QVERIFY(!number.isRolling());
    number.host.show();
    QCOMPARE(number.picture(), pictureAtRest(10));
}

void RollingNumberTest::nothingTicksAtRest()
{
    ShownNumber number(9);

    number.show();

    QVERIFY(!number.isRolling());
}

void RollingNumberTest::digitsStandInEqualCells()
{
    const auto narrow = pictureAtRest(118);
    const auto wide = pictureAtRest(888);

    const int left = 2 * cellWidth();
    const QRect last(left, 0, 2 * cellWidth(), narrow.height());
    QVERIFY(narrow != wide);
    QCOMPARE(narrow.copy(last), wide.copy(last));
}

void RollingNumberTest::aNumberBeginsWhereReadingBegins()
{
    const auto fromLeft = pictureAtRest(888);
    const auto fromRight = pictureAtRest(888, Qt::RightToLeft);

    QVERIFY(ink(fromLeft, 0, 100).amount > 0);
    QCOMPARE(ink(fromLeft, 100, 200).amount, 0.0);
    QCOMPARE(ink(fromRight, 0, 100).amount, 0.0);
    QVERIFY(ink(fromRight, 100, 200).amount > 0);
}

void RollingNumberTest::aNegativeNumberHasItsSign()
{
    const auto positive = pictureAtRest(88);
    const auto negative = pictureAtRest(-88);

    QVERIFY(ink(negative, 0, cellWidth()).amount < 0.5 * ink(positive, 0, cellWidth()).amount);
    QVERIFY(ink(negative, 2 * cellWidth(), 3 * cellWidth()).amount > 0);
}

void RollingNumberTest::aNumberTooWideIsTruncatedAtItsEnd()
{
    ShownNumber number(std::numeric_limits<std::int64_t>::max(), 111);
    ShownNumber sameStart(9'223'370'000'000'000'000, 111);
    ShownNumber otherStart(9'123'370'000'000'000'000, 111);
    number.show();
    sameStart.show();
    otherStart.show();

    const auto picture = number.picture();

    QCOMPARE(picture.width(), 111);
    QCOMPARE(picture, sameStart.picture());
    QVERIFY(picture != otherStart.picture());
    // The last cell holds the ellipsis: ink at the baseline only.
    const auto end = ink(picture, 6 * cellWidth(), 111);
    QVERIFY(end.amount > 0);
    QVERIFY(end.height > ink(picture, 0, cellWidth()).height + 3);
}

static const TestArea area("RollingNumber", runTest<RollingNumberTest, QApplication>);
#include "RollingNumberTest.moc"
