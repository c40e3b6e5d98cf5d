#include "platform/linux/windows/BarPlace.h"

#include "support/TestArea.h"

#include <QTest>

#include <optional>

namespace {

using Place = std::optional<QPoint>;

const ScreenWithBars barAtTop { .pixels = { 0, 0, 1280, 800 }, .free = { 0, 28, 1280, 772 } };
const ScreenWithBars barAtBottom { .pixels = { 0, 0, 1280, 800 }, .free = { 0, 0, 1280, 772 } };
const ScreenWithBars noBarKnown { .pixels = { 0, 0, 1280, 800 }, .free = { 0, 0, 1280, 800 } };

/// With two pixels to a point.
const ScreenWithBars largeBarAtTop {
    .pixels = { 0, 0, 2560, 1600 }, .free = { 0, 64, 2560, 1536 }, .scale = 2
};
const ScreenWithBars largeBarAtBottom {
    .pixels = { 0, 0, 2560, 1600 }, .free = { 0, 0, 2560, 1512 }, .scale = 2
};

}

class BarPlaceTest final : public QObject {
    Q_OBJECT

private slots:
    void onlyAPlaceOnABarIsBelieved_data();
    void onlyAPlaceOnABarIsBelieved();
    void aPlaceInPointsIsKnownFromOneInPixels_data();
    void aPlaceInPointsIsKnownFromOneInPixels();
    void amongSeveralScreensItIsThatWithTheBar();
    void ofTwoScreensItIsRatherTheFirst();
    void aWorkAreaIsReadInTheUnitsThatItIsToldIn_data();
    void aWorkAreaIsReadInTheUnitsThatItIsToldIn();
    void aScreenOfPartsOfPointsHasNoBarAtItsEnds_data();
    void aScreenOfPartsOfPointsHasNoBarAtItsEnds();
    void nothingThatIsFreeLiesUnderABar();
    void theIconsAreAtTheEndOfTheBar_data();
    void theIconsAreAtTheEndOfTheBar();
};

void BarPlaceTest::onlyAPlaceOnABarIsBelieved_data()
{
    QTest::addColumn<ScreenWithBars>("screen");
    QTest::addColumn<QPoint>("reported");
    QTest::addColumn<bool>("isBelieved");

    QTest::newRow("on the bar") << barAtTop << QPoint(1265, 14) << true;
    QTest::newRow("at the bar's corner") << barAtTop << QPoint(1279, 0) << true;
    QTest::newRow("at its lower edge") << barAtTop << QPoint(600, 27) << true;
    QTest::newRow("where it floats beneath") << barAtTop << QPoint(600, 36) << true;
    QTest::newRow("below it") << barAtTop << QPoint(600, 42) << false;
    QTest::newRow("as far from the edge without a bar") << barAtTop << QPoint(1270, 400) << false;
    QTest::newRow("amid the screen") << barAtTop << QPoint(600, 400) << false;
    QTest::newRow("at an edge that has no bar") << barAtTop << QPoint(600, 790) << false;
    QTest::newRow("within the bar and not on the screen") << barAtBottom << QPoint(1265, 14) << false;
    QTest::newRow("on the lower bar") << barAtBottom << QPoint(1265, 786) << true;
    QTest::newRow("beside the screen") << barAtTop << QPoint(1280, 14) << false;
    QTest::newRow("above the screen") << barAtTop << QPoint(600, -1) << false;
    QTest::newRow("the extremes") << largeBarAtTop << QPoint(-2'147'483'647 - 1, 2'147'483'647) << false;
    QTest::newRow("at an edge, no bar known") << noBarKnown << QPoint(600, 50) << true;
    QTest::newRow("at the right edge, no bar known") << noBarKnown << QPoint(1270, 400) << true;
    QTest::newRow("far from every edge, no bar known") << noBarKnown << QPoint(600, 70) << false;
}

void BarPlaceTest::onlyAPlaceOnABarIsBelieved()
{
    QFETCH(const ScreenWithBars, screen);
    QFETCH(const QPoint, reported);
    QFETCH(const bool, isBelieved);

    const auto pixel = clickOnBar(reported, { screen });

    QCOMPARE(pixel, isBelieved ? Place(reported) : Place());
}

void BarPlaceTest::aPlaceInPointsIsKnownFromOneInPixels_data()
{
    QTest::addColumn<ScreenWithBars>("screen");
    QTest::addColumn<QPoint>("reported");
    QTest::addColumn<QPoint>("pixel");

    QTest::newRow("points, the upper bar") << largeBarAtTop << QPoint(1200, 14) << QPoint(2400, 28);
    QTest::newRow("pixels, the upper bar") << largeBarAtTop << QPoint(2400, 28) << QPoint(2400, 28);
    QTest::newRow("points, the lower bar") << largeBarAtBottom << QPoint(1200, 780) << QPoint(2400, 1560);
    QTest::newRow("pixels, the lower bar") << largeBarAtBottom << QPoint(2400, 1560) << QPoint(2400, 1560);
}

void BarPlaceTest::aPlaceInPointsIsKnownFromOneInPixels()
{
    QFETCH(const ScreenWithBars, screen);
    QFETCH(const QPoint, reported);
    QFETCH(const QPoint, pixel);

    QCOMPARE(clickOnBar(reported, { screen }), Place(pixel));
}

void BarPlaceTest::amongSeveralScreensItIsThatWithTheBar()
{
    const ScreenWithBars second { .pixels = { 1280, 0, 1920, 1080 }, .free = { 1280, 0, 1920, 1040 } };

    QCOMPARE(clickOnBar({ 3000, 1060 }, { barAtTop, second }), Place({ 3000, 1060 }));
    QCOMPARE(clickOnBar({ 1200, 14 }, { barAtTop, second }), Place({ 1200, 14 }));
    QCOMPARE(clickOnBar({ 3000, 14 }, { barAtTop, second }), Place());
}

// Both are as large, have two pixels to a point, and stand side by side. What is reported would be a place on
// either in one unit or the other.
void BarPlaceTest::ofTwoScreensItIsRatherTheFirst()
{
    const ScreenWithBars left { .pixels = { 0, 0, 2560, 1600 }, .free = { 0, 0, 2560, 1600 }, .scale = 2 };
    const ScreenWithBars right {
        .pixels = { 2560, 0, 2560, 1600 }, .free = { 2560, 0, 2560, 1600 }, .scale = 2
    };

    // Pixels, from a bar on the left one,
    QCOMPARE(clickOnBar({ 2480, 30 }, { left, right }), Place({ 2480, 30 }));
    // points, from there,
    QCOMPARE(clickOnBar({ 1240, 14 }, { left, right }), Place({ 2480, 28 }));
    // points, from a bar on the right one,
    QCOMPARE(clickOnBar({ 2500, 14 }, { right, left }), Place({ 5000, 28 }));
    // and pixels.
    QCOMPARE(clickOnBar({ 5000, 28 }, { right, left }), Place({ 5000, 28 }));
}

// The toolkit rounds the size of a screen to whole points.
void BarPlaceTest::aWorkAreaIsReadInTheUnitsThatItIsToldIn_data()
{
    QTest::addColumn<QRect>("told");
    QTest::addColumn<QSize>("desktop");
    QTest::addColumn<QRect>("expected");

    // Of a server of 2560 × 1600 pixels. What kwin tells with one pixel to a point,
    QTest::newRow("one") << QRect(0, 30, 2560, 1570) << QSize(2560, 1600) << QRect(0, 30, 2560, 1570);
    // of a session that has begun with two,
    QTest::newRow("two") << QRect(0, 60, 2560, 1540) << QSize(1280, 800) << QRect(0, 60, 2560, 1540);
    // when these have become one, in 5.27
    QTest::newRow("one after two") << QRect(0, 30, 2560, 1570) << QSize(5120, 3200)
                                   << QRect(0, 30, 2560, 1570);
    // and in 6.3,
    QTest::newRow("one after two, in neither")
        << QRect(0, 60, 5120, 3140) << QSize(5120, 3200) << QRect(0, 30, 2560, 1570);
    // and when one has become 1.5 in 6.3.
    QTest::newRow("1.5 after one, in points")
        << QRect(0, 30, 1707, 1037) << QSize(1707, 1067) << QRect(0, 45, 2560, 1555);

    QTest::newRow("a bar at the side")
        << QRect(60, 0, 2500, 1600) << QSize(1280, 800) << QRect(60, 0, 2500, 1600);
    QTest::newRow("a lower bar, in points")
        << QRect(0, 0, 1707, 1037) << QSize(1707, 1067) << QRect(0, 0, 2560, 1555);
    QTest::newRow("no size") << QRect(0, 30, 2000, 1000) << QSize() << QRect(0, 30, 2000, 1000);
    QTest::newRow("beyond everything")
        << QRect(0, 0, 65535, 65535) << QSize(1280, 800) << QRect(0, 0, 65535, 65535);
}

void BarPlaceTest::aWorkAreaIsReadInTheUnitsThatItIsToldIn()
{
    QFETCH(const QRect, told);
    QFETCH(const QSize, desktop);
    QFETCH(const QRect, expected);

    QCOMPARE(workAreaInPixels(told, desktop, { 2560, 1600 }), expected);
}

void BarPlaceTest::aScreenOfPartsOfPointsHasNoBarAtItsEnds_data()
{
    QTest::addColumn<QRect>("pixels");
    QTest::addColumn<double>("scale");
    QTest::addColumn<QRect>("points");

    QTest::newRow("rounded up") << QRect(0, 0, 1366, 768) << 1.25 << QRect(0, 0, 1093, 614);
    QTest::newRow("rounded up in height") << QRect(0, 0, 2560, 1440) << 1.75 << QRect(0, 0, 1463, 823);
    QTest::newRow("rounded down") << QRect(0, 0, 1680, 1050) << 1.25 << QRect(0, 0, 1344, 840);
    QTest::newRow("whole") << QRect(1280, 0, 2560, 1600) << 2.0 << QRect(1280, 0, 1280, 800);
}

void BarPlaceTest::aScreenOfPartsOfPointsHasNoBarAtItsEnds()
{
    QFETCH(const QRect, pixels);
    QFETCH(const double, scale);
    QFETCH(const QRect, points);

    QCOMPARE(freePoints({ .pixels = pixels, .free = pixels, .scale = scale }, points), points);
}

void BarPlaceTest::nothingThatIsFreeLiesUnderABar()
{
    // Bars of 27 pixels above and of 33 below.
    const ScreenWithBars screen {
        .pixels = { 0, 0, 1366, 768 }, .free = { 0, 27, 1366, 708 }, .scale = 1.25
    };

    const auto free = freePoints(screen, { 0, 0, 1093, 614 });

    QCOMPARE(free.left(), 0);
    QCOMPARE(free.width(), 1093);
    QCOMPARE_GE(free.top() * 1.25, 26.5);
    QCOMPARE_LE((free.top() + free.height()) * 1.25, 735.0);
}

void BarPlaceTest::theIconsAreAtTheEndOfTheBar_data()
{
    QTest::addColumn<QRect>("free");
    QTest::addColumn<QPoint>("corner");

    QTest::newRow("no bar") << QRect(0, 0, 1280, 800) << QPoint(1279, 0);
    QTest::newRow("at the top") << QRect(0, 28, 1280, 772) << QPoint(1279, 28);
    QTest::newRow("at the bottom") << QRect(0, 0, 1280, 772) << QPoint(1279, 771);
    QTest::newRow("at both") << QRect(0, 28, 1280, 744) << QPoint(1279, 28);
    QTest::newRow("at the left") << QRect(28, 0, 1252, 800) << QPoint(28, 799);
    QTest::newRow("at the right") << QRect(0, 0, 1252, 800) << QPoint(1251, 799);
}

void BarPlaceTest::theIconsAreAtTheEndOfTheBar()
{
    QFETCH(const QRect, free);
    QFETCH(const QPoint, corner);

    QCOMPARE(cornerOfIcons({ 0, 0, 1280, 800 }, free), corner);
}

static const TestArea area("BarPlace", runTest<BarPlaceTest>);
#include "BarPlaceTest.moc"
