#include "platform/linux/windows/X11PanelHost.h"

#include "platform/linux/input/X11Input.h"
#include "platform/linux/process/SystemClock.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

#include <optional>

namespace {

/// A pixel's place, on a screen that may have several pixels to a point.
ScreenPoint pointOf(ScreenPixel pixel)
{
    const double ratio = QGuiApplication::primaryScreen()->devicePixelRatio();
    return { qRound(pixel.x / ratio), qRound(pixel.y / ratio) };
}

ScreenPoint topRight()
{
    const QPoint corner = QGuiApplication::primaryScreen()->availableGeometry().topRight();
    return { corner.x(), corner.y() };
}

}

class X11PanelHostTest final : public QObject {
    Q_OBJECT

private slots:
    void aKnownPlaceIsTheOneThatCounts();
    void everyPixelOfTheScreenIsAPlace();
    void theWorkAreaIsThatOfTheScreen();
    void aPlaceOutsideEveryScreenIsNotBelieved_data();
    void aPlaceOutsideEveryScreenIsNotBelieved();
    void inAWaylandSessionAPlaceOffEveryBarIsNotBelieved();
    void whatHappenedNowhereHappenedWhereTheLastDid();
    void beforeAnyPlaceIsKnownItIsTheTopRight();

private:
    SystemClock clock;
    EventLoop loop;
    X11Input input { loop, clock };
};

void X11PanelHostTest::aKnownPlaceIsTheOneThatCounts()
{
    X11PanelHost host(input);

    QCOMPARE(host.pointAt(ScreenPixel { 400, 12 }), pointOf({ 400, 12 }));
    QCOMPARE(host.pointAt(ScreenPixel { 300, 8 }), pointOf({ 300, 8 }));
}

void X11PanelHostTest::everyPixelOfTheScreenIsAPlace()
{
    const auto* screen = QGuiApplication::primaryScreen();
    const QSize pixels = screen->size() * screen->devicePixelRatio();
    X11PanelHost host(input);

    for (const auto pixel : { ScreenPixel {}, ScreenPixel { pixels.width() - 2, pixels.height() - 2 } })
        QCOMPARE(host.pointAt(pixel), pointOf(pixel));
}

void X11PanelHostTest::theWorkAreaIsThatOfTheScreen()
{
    const X11PanelHost host(input);

    const auto area = host.workArea({ 10, 10 });

    QCOMPARE(QRect(area.x, area.y, area.width, area.height), QGuiApplication::primaryScreen()->geometry());
}

void X11PanelHostTest::aPlaceOutsideEveryScreenIsNotBelieved_data()
{
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("y");

    QTest::newRow("far to the right") << 100'000 << 12;
    QTest::newRow("just below") << 400 << QGuiApplication::primaryScreen()->geometry().height() * 2;
    QTest::newRow("the extremes") << -2'147'483'647 - 1 << 2'147'483'647;
}

void X11PanelHostTest::aPlaceOutsideEveryScreenIsNotBelieved()
{
    QFETCH(const int, x);
    QFETCH(const int, y);
    X11PanelHost host(input);

    QCOMPARE(host.pointAt(ScreenPixel { x, y }), topRight());
    host.pointAt(ScreenPixel { 400, 12 });
    QCOMPARE(host.pointAt(ScreenPixel { x, y }), pointOf({ 400, 12 }));
}

void X11PanelHostTest::inAWaylandSessionAPlaceOffEveryBarIsNotBelieved()
{
    X11PanelHost host(input);
    const ScreenPixel amidTheScreen { 400, 300 };
    QCOMPARE(host.pointAt(amidTheScreen), pointOf(amidTheScreen));
    host.pointAt(ScreenPixel { 400, 12 });

    qputenv("XDG_SESSION_TYPE", "wayland");
    const auto point = host.pointAt(amidTheScreen);
    qunsetenv("XDG_SESSION_TYPE");

    QCOMPARE(point, pointOf({ 400, 12 }));
}

void X11PanelHostTest::whatHappenedNowhereHappenedWhereTheLastDid()
{
    X11PanelHost host(input);

    host.pointAt(ScreenPixel { 400, 12 });

    QCOMPARE(host.pointAt({}), pointOf({ 400, 12 }));
}

void X11PanelHostTest::beforeAnyPlaceIsKnownItIsTheTopRight()
{
    X11PanelHost host(input);

    QCOMPARE(host.pointAt({}), topRight());
}

static const TestArea area("X11PanelHost", runTest<X11PanelHostTest, QApplication>);
#include "X11PanelHostTest.moc"
