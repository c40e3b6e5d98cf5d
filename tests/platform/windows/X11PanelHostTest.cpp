#include "platform/linux/windows/X11PanelHost.h"

#include "platform/linux/input/X11Input.h"
#include "platform/linux/process/SystemClock.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

#include <optional>

namespace {

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
    void aPlaceOutsideEveryScreenIsNotBelieved_data();
    void aPlaceOutsideEveryScreenIsNotBelieved();
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

    QCOMPARE(host.pointAt(ScreenPixel { 400, 12 }), (ScreenPoint { 400, 12 }));
    QCOMPARE(host.pointAt(ScreenPixel { 300, 9 }), (ScreenPoint { 300, 9 }));
}

void X11PanelHostTest::aPlaceOutsideEveryScreenIsNotBelieved_data()
{
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("y");

    QTest::newRow("far to the right") << 100'000 << 12;
    QTest::newRow("just below") << 400 << QGuiApplication::primaryScreen()->geometry().height();
    QTest::newRow("the extremes") << -2'147'483'647 - 1 << 2'147'483'647;
}

void X11PanelHostTest::aPlaceOutsideEveryScreenIsNotBelieved()
{
    QFETCH(const int, x);
    QFETCH(const int, y);
    X11PanelHost host(input);

    QCOMPARE(host.pointAt(ScreenPixel { x, y }), topRight());
    host.pointAt(ScreenPixel { 400, 12 });
    QCOMPARE(host.pointAt(ScreenPixel { x, y }), (ScreenPoint { 400, 12 }));
}

void X11PanelHostTest::whatHappenedNowhereHappenedWhereTheLastDid()
{
    X11PanelHost host(input);

    host.pointAt(ScreenPixel { 400, 12 });

    QCOMPARE(host.pointAt({}), (ScreenPoint { 400, 12 }));
}

void X11PanelHostTest::beforeAnyPlaceIsKnownItIsTheTopRight()
{
    X11PanelHost host(input);

    QCOMPARE(host.pointAt({}), topRight());
}

static const TestArea area("X11PanelHost", runTest<X11PanelHostTest, QApplication>);
#include "X11PanelHostTest.moc"
