#include "support/TestArea.h"
#include "windows/ui/Look.h"
#include "windows/ui/Shapes.h"
#include "windows/ui/Symbols.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QTest>

#include <cmath>
#include <utility>

namespace {

QImage filled(const QPainterPath& path)
{
    QImage image(100, 100, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(path, Qt::black);
    return image;
}

double blackness(const QImage& image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            sum += 1 - image.pixelColor(x, y).lightnessF();
    }
    return sum;
}

QPainterPath roundedRect(const QRectF& rect, double radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

}

/// Shapes and symbols.
class DrawingTest final : public QObject {
    Q_OBJECT

private slots:
    void aContinuousRectFillsItsRectangle_data();
    void aContinuousRectFillsItsRectangle();
    void aContinuousRectIsTheSameSeenFromEverySide();
    void aContinuousCornerBeginsEarlierThanACircle();
    void withoutARadiusCornersAreSharp();
    void aThinBarHasRoundEnds();
    void anOutlineIsEquallyThickOnEachSide_data();
    void anOutlineIsEquallyThickOnEachSide();
    void outsideOfAShapeNothingIsLeft();

    void everySymbolIsDrawn_data();
    void everySymbolIsDrawn();
    void aSymbolHasItsColorAndNoOther();
    void whatIsWhiteInASymbolIsKnockedOut();
    void theKeyboardWithAnEyeStandsInTheMiddleAndItsKeysInTheirFrame();
    void aSmallKeyboardFallsOnWholePixels_data();
    void aSmallKeyboardFallsOnWholePixels();
    void aSmallArrowHasAHeadAndAGap_data();
    void aSmallArrowHasAHeadAndAGap();
    void aSymbolIsDrawnForThePixelsOfItsScreen();
    void aSymbolIsDrawnOnce();
    void aTranslucentColorMakesATranslucentSymbol();

    void themeColorsAreResolved();
};

void DrawingTest::aContinuousRectFillsItsRectangle_data()
{
    QTest::addColumn<QRectF>("rect");
    QTest::addColumn<double>("radius");

    QTest::newRow("tile") << QRectF(10, 10, 80, 60) << 10.0;
    QTest::newRow("bar") << QRectF(10, 10, 32, 56) << 2.0;
    QTest::newRow("thin bar") << QRectF(10, 10, 32, 2) << 2.0;
    QTest::newRow("no room for the radius") << QRectF(10, 10, 20, 20) << 50.0;
    QTest::newRow("sharp") << QRectF(10, 10, 20, 20) << 0.0;
}

void DrawingTest::aContinuousRectFillsItsRectangle()
{
    QFETCH(const QRectF, rect);
    QFETCH(const double, radius);

    const auto path = continuousRect(rect, radius);

    QCOMPARE(path.boundingRect(), rect);
    QVERIFY(path.contains(rect.center()));
}

void DrawingTest::aContinuousRectIsTheSameSeenFromEverySide()
{
    const auto image = filled(continuousRect({ 10, 10, 80, 80 }, 20));

    const auto differs = [&](const QImage& other) {
        double greatest = 0;
        for (int y = 0; y < 100; ++y) {
            for (int x = 0; x < 100; ++x)
                greatest = std::max(greatest,
                    std::abs(double(image.pixelColor(x, y).lightnessF())
                        - double(other.pixelColor(x, y).lightnessF())));
        }
        return greatest;
    };
    QVERIFY(differs(image.mirrored(true, false)) < 0.03);
    QVERIFY(differs(image.mirrored(false, true)) < 0.03);
    QVERIFY(differs(image.transformed(QTransform(0, 1, 1, 0, 0, 0))) < 0.03);
}

void DrawingTest::aContinuousCornerBeginsEarlierThanACircle()
{
    const QRectF rect(10, 10, 80, 80);
    const auto continuous = continuousRect(rect, 20);
    const auto circular = roundedRect(rect, 20);

    // Just beyond the circle's beginning the edge is already bent, and on the diagonal both are alike.
    QVERIFY(circular.contains(QPointF(10 + 21, 10.05)));
    QVERIFY(!continuous.contains(QPointF(10 + 21, 10.05)));
    const double difference = blackness(filled(continuous)) - blackness(filled(circular));
    QVERIFY(std::abs(difference) < 0.01 * 6400);
}

void DrawingTest::withoutARadiusCornersAreSharp()
{
    QCOMPARE(blackness(filled(continuousRect({ 10, 10, 20, 20 }, 0))), 400.0);
}

void DrawingTest::aThinBarHasRoundEnds()
{
    QCOMPARE(continuousRect({ 10, 10, 32, 2 }, 2), roundedRect({ 10, 10, 32, 2 }, 1));
}

void DrawingTest::anOutlineIsEquallyThickOnEachSide_data()
{
    QTest::addColumn<double>("ratio");
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<QRect>("pixels");
    QTest::addColumn<int>("thickness");

    QTest::newRow("1") << 1.0 << QRect(3, 5, 41, 21) << QRect(3, 5, 41, 21) << 1;
    QTest::newRow("1.25") << 1.25 << QRect(3, 5, 41, 21) << QRect(4, 6, 51, 27) << 1;
    QTest::newRow("1.5") << 1.5 << QRect(3, 4, 41, 21) << QRect(5, 6, 61, 32) << 1;
    QTest::newRow("1.75") << 1.75 << QRect(3, 5, 41, 21) << QRect(5, 9, 72, 37) << 1;
    QTest::newRow("2") << 2.0 << QRect(3, 5, 41, 21) << QRect(6, 10, 82, 42) << 2;
}

void DrawingTest::anOutlineIsEquallyThickOnEachSide()
{
    QFETCH(const double, ratio);
    QFETCH(const QRect, rect);
    QFETCH(const QRect, pixels);
    QFETCH(const int, thickness);
    QImage image(100, 60, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::white);
    QPainter painter(&image);

    drawOutline(painter, rect, { .color = Qt::black });

    const auto inside = pixels.adjusted(thickness, thickness, -thickness, -thickness);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const bool isLine = pixels.contains(x, y) && !inside.contains(x, y);
            QCOMPARE(image.pixelColor(x, y), QColor(isLine ? Qt::black : Qt::white));
        }
    }
}

void DrawingTest::outsideOfAShapeNothingIsLeft()
{
    // As large as a widget of 9 points at this scale, in whole pixels.
    QImage image(12, 12, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(1.25);
    image.fill(Qt::black);

    QPainter painter(&image);
    clearOutside(painter, continuousRect({ 0, 0, 4, 4 }, 0));
    painter.end();

    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            QCOMPARE(qAlpha(image.pixel(x, y)), x < 5 && y < 5 ? 255 : 0);
    }
}

void DrawingTest::everySymbolIsDrawn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<double>("aspect");

    for (const auto* name : { "arrow.clockwise", "arrow.clockwise.circle.fill", "checkmark.circle.fill",
             "doc.on.doc", "lock.circle.fill", "lock.shield", "number.circle.fill", "repeat.circle.fill",
             "square.and.arrow.down", "square.and.arrow.up" }) {
        QTest::newRow(name) << name << 1.0;
    }
    QTest::newRow("cursorarrow.click.2") << "cursorarrow.click.2" << 26.0 / 24;
    QTest::newRow("internaldrive.fill") << "internaldrive.fill" << 26.0 / 24;
    QTest::newRow("keyboard.fill") << "keyboard.fill" << 32.0 / 24;
    QTest::newRow("keyboard.badge.eye") << "keyboard.badge.eye" << 34.0 / 28;
}

void DrawingTest::everySymbolIsDrawn()
{
    QFETCH(const QString, name);
    QFETCH(const double, aspect);

    const auto image = symbolPixmap(name, { 48 * aspect, 48 }, Qt::black, 1).toImage();

    QCOMPARE(symbolAspect(name), aspect);
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            opaque += image.pixelColor(x, y).alpha() == 255;
    }
    QVERIFY(opaque > 100);
    QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
}

void DrawingTest::aSymbolHasItsColorAndNoOther()
{
    const QColor tint(250, 184, 64);

    const auto image = symbolPixmap("keyboard.fill", { 64, 48 }, tint, 1).toImage();

    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const auto pixel = image.pixelColor(x, y);
            if (pixel.alpha() > 200) {
                QVERIFY(std::abs(pixel.red() - tint.red()) <= 1);
                QVERIFY(std::abs(pixel.blue() - tint.blue()) <= 1);
            }
        }
    }
}

void DrawingTest::whatIsWhiteInASymbolIsKnockedOut()
{
    const auto image = symbolPixmap("keyboard.fill", { 320, 240 }, Qt::black, 1).toImage();

    // In the first key, and between two keys.
    QCOMPARE(image.pixelColor(54, 78).alpha(), 0);
    QCOMPARE(image.pixelColor(75, 78).alpha(), 255);
}

void DrawingTest::theKeyboardWithAnEyeStandsInTheMiddleAndItsKeysInTheirFrame()
{
    const auto image = symbolPixmap("keyboard.badge.eye", { 340, 280 }, Qt::black, 1).toImage();

    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() > 127)
                ink |= QRect(x, y, 1, 1);
        }
    }
    QCOMPARE_LE(std::abs(ink.left() - (image.width() - 1 - ink.right())), 1);
    QCOMPARE_LE(std::abs(ink.top() - (image.height() - 1 - ink.bottom())), 1);
    // Through the first row of keys: the frame, each key, the frame, and what is between them.
    QList<int> gaps;
    int gap = 0;
    for (int x = ink.left(); x <= ink.right(); ++x) {
        if (image.pixelColor(x, 83).alpha() < 128) {
            ++gap;
        } else if (gap > 0) {
            gaps.append(std::exchange(gap, 0));
        }
    }
    QCOMPARE(gaps.size(), 7);
    QCOMPARE_LE(std::abs(gaps.first() - gaps.last()), 1);
}

void DrawingTest::aSmallKeyboardFallsOnWholePixels_data()
{
    QTest::addColumn<double>("ratio");

    QTest::newRow("13 pixels") << 1.0;
    QTest::newRow("16 pixels") << 1.25;
}

void DrawingTest::aSmallKeyboardFallsOnWholePixels()
{
    QFETCH(const double, ratio);

    const auto image = symbolPixmap("keyboard.fill", { 17, 13 }, Qt::black, ratio).toImage();

    int keys = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = image.pixelColor(x, y).alpha();
            // Round corners aside.
            const bool isInside = x > 2 && x < image.width() - 3;
            if (isInside)
                QVERIFY2(alpha == 0 || alpha == 255, qPrintable(QString("%1, %2").arg(x).arg(y)));
            keys += isInside && y > 2 && y < image.height() - 3 && alpha == 0;
        }
    }
    QVERIFY(keys > 10);
}

void DrawingTest::aSmallArrowHasAHeadAndAGap_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QPoint>("head");
    QTest::addColumn<QPoint>("ring");
    QTest::addColumn<QPoint>("gap");

    QTest::newRow("13 pixels") << 13 << QPoint(7, 3) << QPoint(3, 7) << QPoint(10, 5);
    QTest::newRow("18 pixels") << 18 << QPoint(10, 4) << QPoint(4, 9) << QPoint(13, 7);
}

void DrawingTest::aSmallArrowHasAHeadAndAGap()
{
    QFETCH(const int, size);
    QFETCH(const QPoint, head);
    QFETCH(const QPoint, ring);
    QFETCH(const QPoint, gap);

    const auto image = symbolPixmap("arrow.clockwise.circle.fill", QSize(size, size), Qt::black, 1).toImage();

    QCOMPARE(image.pixelColor(head).alpha(), 0);
    QCOMPARE_LE(image.pixelColor(ring).alpha(), 100);
    QCOMPARE(image.pixelColor(gap).alpha(), 255);
}

void DrawingTest::aSymbolIsDrawnForThePixelsOfItsScreen()
{
    const auto pixmap = symbolPixmap("lock.shield", { 14, 14 }, Qt::black, 2);

    QCOMPARE(pixmap.size(), QSize(28, 28));
    QCOMPARE(pixmap.deviceIndependentSize(), QSizeF(14, 14));
}

void DrawingTest::aSymbolIsDrawnOnce()
{
    const auto first = symbolPixmap("lock.shield", { 14, 14 }, Qt::black, 2);
    const auto second = symbolPixmap("lock.shield", { 14, 14 }, Qt::black, 2);
    const auto otherColor = symbolPixmap("lock.shield", { 14, 14 }, Qt::red, 2);
    const auto otherRatio = symbolPixmap("lock.shield", { 28, 28 }, Qt::black, 1);

    QCOMPARE(second.cacheKey(), first.cacheKey());
    QVERIFY(otherColor.cacheKey() != first.cacheKey());
    QCOMPARE(otherRatio.devicePixelRatio(), 1.0);
}

void DrawingTest::aTranslucentColorMakesATranslucentSymbol()
{
    const auto image = symbolPixmap("keyboard.fill", { 320, 240 }, QColor(0, 0, 0, 128), 1).toImage();

    QCOMPARE(image.pixelColor(75, 78).alpha(), 128);
}

void DrawingTest::themeColorsAreResolved()
{
    const QColor primary(10, 20, 30);

    QCOMPARE(resolved(Theme::keyAccent, primary), QColor::fromRgbF(0.98F, 0.72F, 0.25F));
    QCOMPARE(resolved(Theme::clickAccent, primary), QColor::fromRgbF(0.30F, 0.72F, 0.70F));
    QCOMPARE(resolved(Theme::primary, primary), primary);
    QCOMPARE(resolved(Theme::barEmpty, primary).rgb(), primary.rgb());
    QCOMPARE(resolved(Theme::barEmpty, primary).alpha(), 20);
    QCOMPARE(resolved(Theme::keyAccent.withOpacity(0.12), primary).alpha(), 31);
}

static const TestArea area("Drawing", runTest<DrawingTest, QApplication>);
#include "DrawingTest.moc"
