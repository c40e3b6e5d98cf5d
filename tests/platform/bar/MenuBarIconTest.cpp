#include "platform/linux/bar/MenuBarIcon.h"

#include "support/TestArea.h"

#include <QImage>
#include <QTest>
#include <QtEndian>

#include <string>
#include <vector>

namespace {

QImage imageOf(const IconPixmap& pixmap)
{
    QImage image(pixmap.width, pixmap.height, QImage::Format_ARGB32);
    for (int y = 0; y < pixmap.height; ++y) {
        const char* line = pixmap.pixels.data() + std::ptrdiff_t { 4 } * y * pixmap.width;
        qFromBigEndian<quint32>(line, pixmap.width, image.scanLine(y));
    }
    return image;
}

std::vector<int> widthsOf(const std::string& text)
{
    std::vector<int> widths;
    for (const IconPixmap& pixmap : menuBarIconPixmaps(text))
        widths.push_back(pixmap.width);
    return widths;
}

/// The columns in which something is drawn on the ground, from the first to the last.
QRect inkOf(const QImage& image)
{
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qRed(image.pixel(x, y)) > 0x90)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

}

class MenuBarIconTest final : public QObject {
    Q_OBJECT

private slots:
    void theBadgeHasTheSizesThatBarsAskFor();
    void theIconStandsInTheMiddleOfItsBadge();
    void theTextStandsBesideTheIcon();
    void eachCharacterOfACountIsDrawn_data();
    void eachCharacterOfACountIsDrawn();
    void theBadgeKeepsItsWidthWhileItCounts();
    void whatCannotBeDrawnIsLeftOut_data();
    void whatCannotBeDrawnIsLeftOut();
    void theToolTipIsTextOnOpaqueGround();
};

void MenuBarIconTest::theBadgeHasTheSizesThatBarsAskFor()
{
    QCOMPARE(widthsOf(""), (std::vector<int> { 16, 22, 24, 32, 48 }));
}

void MenuBarIconTest::theIconStandsInTheMiddleOfItsBadge()
{
    for (const IconPixmap& pixmap : menuBarIconPixmaps()) {
        const QImage badge = imageOf(pixmap);

        // It is a keyboard, which is wider than high.
        const QRect icon = inkOf(badge);
        QCOMPARE_GE(icon.width(), badge.width() / 2);
        QCOMPARE_LT(icon.height(), icon.width());
        QCOMPARE_LE(std::abs(icon.left() - (badge.width() - 1 - icon.right())), 1);
        QCOMPARE_LE(std::abs(icon.top() - (badge.height() - 1 - icon.bottom())), 1);

        // The badge is the same from all sides, and its corners are round.
        const QImage ground = badge.convertToFormat(QImage::Format_Alpha8);
        QCOMPARE(ground.mirrored(true, false), ground);
        QCOMPARE(ground.mirrored(false, true), ground);
        QCOMPARE(badge.pixel(0, 0), 0U);
        QCOMPARE(badge.pixel(badge.width() / 2, 0), qRgb(0x4a, 0x4a, 0x4a));
    }
}

void MenuBarIconTest::theTextStandsBesideTheIcon()
{
    const auto alone = menuBarIconPixmaps();

    const auto withText = menuBarIconPixmaps("1.2k · 56");

    QCOMPARE(withText.size(), alone.size());
    for (std::size_t i = 0; i < alone.size(); ++i) {
        const QImage badge = imageOf(withText[i]);
        const int height = badge.height();
        QCOMPARE(height, alone[i].height);
        const QRect place(0, 0, height - height / 8, height);
        QCOMPARE(inkOf(badge.copy(place)), inkOf(imageOf(alone[i])));
        const QRect text = inkOf(badge.copy(height - height / 8, 0, badge.width(), height));
        // As much above it as below, and its end is the badge's.
        QCOMPARE_GE(text.height(), height * 2 / 5);
        QCOMPARE_LE(std::abs(text.top() - (height - 1 - text.bottom())), 1);
        QCOMPARE_GE(text.width(), 2 * height);
        QCOMPARE(badge.copy(badge.width() - height / 12 - 1, 0, height, height).pixel(0, height / 2),
            qRgb(0x4a, 0x4a, 0x4a));
    }
}

void MenuBarIconTest::eachCharacterOfACountIsDrawn_data()
{
    QTest::addColumn<QString>("character");

    for (const QChar character : QStringLiteral("0123456789.kM·-"))
        QTest::newRow(qPrintable(QString(character))) << QString(character);
}

void MenuBarIconTest::eachCharacterOfACountIsDrawn()
{
    QFETCH(const QString, character);
    const auto blank = menuBarIconPixmaps(" ");

    const auto drawn = menuBarIconPixmaps(" " + character.toStdString());

    for (std::size_t i = 0; i < drawn.size(); ++i) {
        QCOMPARE_GT(drawn[i].width, blank[i].width);
        const QRect behindTheIcon(drawn[i].height, 0, drawn[i].width, drawn[i].height);
        QVERIFY(!inkOf(imageOf(drawn[i]).copy(behindTheIcon)).isNull());
    }
}

void MenuBarIconTest::theBadgeKeepsItsWidthWhileItCounts()
{
    QCOMPARE(widthsOf("111 · 987"), widthsOf("112 · 999"));
}

void MenuBarIconTest::whatCannotBeDrawnIsLeftOut_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("other letters") << QByteArray("1ABC2");
    QTest::newRow("two bytes") << QByteArray("1ä2");
    QTest::newRow("three bytes") << QByteArray("1€2");
    QTest::newRow("four bytes") << QByteArray("1😀2");
    QTest::newRow("a byte that begins nothing") << QByteArray("1\x80\x80"
                                                              "2");
    QTest::newRow("half a character") << QByteArray("12\xc2");
    QTest::newRow("a line break") << QByteArray("1\n2");
}

void MenuBarIconTest::whatCannotBeDrawnIsLeftOut()
{
    QFETCH(const QByteArray, text);

    QCOMPARE(menuBarIconPixmaps(text.toStdString()), menuBarIconPixmaps("12"));
}

void MenuBarIconTest::theToolTipIsTextOnOpaqueGround()
{
    for (const int height : { 8, 16, 24, 32, 64 }) {
        const QImage toolTip = imageOf(toolTipPixmap("987.1k keys · 56 clicks", height));

        QCOMPARE_LE(toolTip.height(), std::max(height, 16));
        QCOMPARE(toolTip.convertToFormat(QImage::Format_Alpha8).pixelColor(0, 0).alpha(), 255);
        const QRect text = inkOf(toolTip);
        QCOMPARE_LE(std::abs(text.left() - (toolTip.width() - 1 - text.right())), 2);
        QCOMPARE_GE(text.width(), 5 * toolTip.height());
    }
}

static const TestArea area("MenuBarIcon", runTest<MenuBarIconTest>);
#include "MenuBarIconTest.moc"
