#include "support/Patience.h"
#include "support/ShownCard.h"
#include "support/TestArea.h"
#include "windows/ui/Picture.h"
#include "windows/ui/UtilityWindow.h"

#include <QApplication>
#include <QFile>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

namespace {

/// Two screens beside each other.
constexpr const char* screens = R"({ "screens": [
    { "name": "plain", "x": 0, "y": 0, "width": 1000, "height": 1000 },
    { "name": "fine", "x": 1000, "y": 0, "width": 2000, "height": 2000 }
] })";
/// How many pixels they have to a point.
constexpr const char* ratios = "1;2";

void moveToPlainScreen(QWidget& window)
{
    window.windowHandle()->setScreen(QGuiApplication::screens().value(0));
}

void moveToFineScreen(QWidget& window)
{
    window.windowHandle()->setScreen(QGuiApplication::screens().value(1));
}

/// Stripes that only the fine screen can show.
View stripes()
{
    return picture({ .name = "stripes",
                       .load =
                           [] {
                               QImage image(80, 80, QImage::Format_RGB32);
                               for (int x = 0; x < image.width(); ++x) {
                                   for (int y = 0; y < image.height(); ++y)
                                       image.setPixelColor(x, y, x % 2 == 0 ? Qt::black : Qt::white);
                               }
                               return image;
                           },
                       .fallbackSymbol = "keyboard.fill",
                       .fallbackColor = Theme::keyAccent })
        .width(40)
        .height(40);
}

}

/// What is kept as pixels, on a window that goes from one screen to another.
class ScreensTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void aPictureIsAsSharpAsTheScreenThatItIsOn();
    void theCardsPreviewIsAsSharpAsTheScreenThatItIsOn();
};

void ScreensTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
    QCOMPARE(QGuiApplication::screens().size(), 2);
    QCOMPARE(QGuiApplication::screens()[0]->devicePixelRatio(), 1.0);
    QCOMPARE(QGuiApplication::screens()[1]->devicePixelRatio(), 2.0);
}

void ScreensTest::aPictureIsAsSharpAsTheScreenThatItIsOn()
{
    Host host(stripes);
    host.show();
    moveToPlainScreen(host);
    QTRY_COMPARE(host.devicePixelRatio(), 1.0);
    host.grab();

    moveToFineScreen(host);
    QTRY_COMPARE(host.devicePixelRatio(), 2.0);
    const auto fine = host.grab().toImage();

    QCOMPARE(fine.size(), QSize(80, 80));
    for (int x = 0; x < fine.width(); ++x)
        QCOMPARE(fine.pixelColor(x, 40), QColor(x % 2 == 0 ? Qt::black : Qt::white));
}

void ScreensTest::theCardsPreviewIsAsSharpAsTheScreenThatItIsOn()
{
    ShownCard card;
    card.show();
    QVERIFY(card.window());
    moveToPlainScreen(*card.window());
    // Anew, so that it is drawn for this screen first.
    card.show();
    QTRY_VERIFY(card.button("Share"));
    QVERIFY(card.preview());
    const auto plain = card.preview()->grab().toImage();

    moveToFineScreen(*card.window());
    QVERIFY(card.preview());
    const auto moved = card.preview()->grab().toImage();
    card.show();
    QTRY_VERIFY(card.button("Share"));
    QVERIFY(card.preview());

    QCOMPARE(moved.size(), plain.size() * 2);
    QCOMPARE(moved, card.preview()->grab().toImage());
}

static int runOnTwoScreens(int argc, char* argv[])
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("screens.json"));
    if (!file.open(QFile::WriteOnly) || file.write(screens) < 0 || !file.flush())
        return 1;
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + file.fileName().toLocal8Bit());
    qputenv("QT_SCREEN_SCALE_FACTORS", ratios);
    return runTest<ScreensTest, QApplication>(argc, argv);
}

static const TestArea area("Screens", runOnTwoScreens);
#include "ScreensTest.moc"
