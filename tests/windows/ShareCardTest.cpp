#include "windows/ShareCard.h"

#include "support/Contrast.h"
#include "support/Files.h"
#include "support/Patience.h"
#include "support/ShownCard.h"
#include "support/TestArea.h"
#include "support/Zones.h"
#include "windows/ui/Look.h"
#include "windows/ui/UtilityWindow.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>

using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace {

/// Null when it is none.
QImage decoded(const std::string& png)
{
    return QImage::fromData(QByteArray::fromStdString(png), "PNG").convertToFormat(QImage::Format_RGB32);
}

QImage copied(const ShownCard& card) { return decoded(card.platform.copiedPicture().value_or("")); }

}

class ShareCardTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void theWindowComesToTheFront();
    void showingAgainKeepsTheWindowAndItsPlace();
    void showingAgainShowsTheNumbersOfThatMoment();
    void theContentStandsAtItsDistances();
    void theButtonsAreLargeAndHaveTheirIcons();
    void textsStandOutFromTheirBackground_data();
    void textsStandOutFromTheirBackground();
    void shareComesWithTheFirstRenderingAndNotBefore();
    void everyShowingBeginsWithoutShare();
    void thePreviewIsTheCardWithRoundCornersOnAShadow();
    void thePreviewDoesNotFollowTheCounters();
    void copySendsTheNumbersOfTheClick();
    void saveProposesTheDayAsItsName();
    void everythingNamesOneDayWhenTheZoneChanges();
    void titleAndNameAgreeAlsoBeforeTheCountsFollow();
    void saveWritesTheNumbersOfTheClickAndNotOfTheChoice();
    void aCancelledSaveWritesNothing();
    void aSaveThatFailsIsSilent();
    void theWindowMayBeClosedWhileTheUserChooses();
    void shareSendsWhatWasSeenFirst();
    void withoutItsPictureTheCardIsStillThere();
    void aClosedWindowKeepsNothing();
};

void ShareCardTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
    tzset();
}

void ShareCardTest::theWindowComesToTheFront()
{
    ShownCard card;

    card.show();

    QVERIFY(card.window());
    QVERIFY(card.window()->isVisible());
    QCOMPARE(card.window()->windowTitle(), "Day Card");
    QCOMPARE(card.platform.activatedWindows().size(), std::size_t { 1 });
}

void ShareCardTest::showingAgainKeepsTheWindowAndItsPlace()
{
    ShownCard card;
    card.show();
    const auto* window = card.window();
    QVERIFY(window);
    card.window()->move(123, 45);

    card.show();
    card.window()->close();
    card.show();

    QCOMPARE(card.window(), window);
    QVERIFY(card.window()->isVisible());
    QCOMPARE(card.window()->pos(), QPoint(123, 45));
    QCOMPARE(card.platform.activatedWindows().size(), std::size_t { 3 });
}

void ShareCardTest::showingAgainShowsTheNumbersOfThatMoment()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));
    const auto before = card.said();

    card.press(3);
    card.show();

    QCOMPARE(before, "Sunday, November 15: 4567 keys · 1234 clicks");
    QCOMPARE(card.said(), "Sunday, November 15: 4570 keys · 1234 clicks");
}

void ShareCardTest::theContentStandsAtItsDistances()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));

    const auto preview = card.placeOf(card.preview());
    const auto copy = card.placeOf(card.button("Copy"));
    const auto save = card.placeOf(card.button("Save PNG"));
    const auto share = card.placeOf(card.button("Share"));
    // 334.8 by 418.5.
    QCOMPARE(preview.size(), QSize(335, 419));
    // Below the room for the close button.
    constexpr int titleBar = 28;
    QCOMPARE(preview.topLeft(), QPoint(20, titleBar + 20));
    QCOMPARE(card.window()->width(), 335 + 2 * 20);
    QCOMPARE(copy.top() - preview.bottom() - 1, 14);
    QCOMPARE(card.window()->height() - copy.bottom() - 1, 20);
    QCOMPARE(save.left() - copy.right() - 1, 10);
    QCOMPARE(share.left() - save.right() - 1, 10);
    QVERIFY(std::abs(copy.left() - (card.window()->width() - 1 - share.right())) <= 1);
}

void ShareCardTest::theButtonsAreLargeAndHaveTheirIcons()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));

    for (const auto* text : { "Copy", "Save PNG", "Share" }) {
        const auto* button = card.button(text);
        QVERIFY2(button, text);
        QCOMPARE(button->font().pixelSize(), 13);
        QCOMPARE(button->height(), QFontMetrics(button->font()).height() + 12);
        const int textWidth = QFontMetrics(button->font()).horizontalAdvance(text);
        // The icon, its distance, and the padding.
        QVERIFY(button->width() > textWidth + 16 + 6 + 20);
    }
}

void ShareCardTest::textsStandOutFromTheirBackground_data()
{
    QTest::addColumn<ColorScheme>("scheme");

    QTest::newRow("light") << ColorScheme::Light;
    QTest::newRow("dark") << ColorScheme::Dark;
}

void ShareCardTest::textsStandOutFromTheirBackground()
{
    QFETCH(const ColorScheme, scheme);
    const auto atTheEnd = qScopeGuard([] { applyLook(ColorScheme::Light, Motion::Reduced); });
    ShownCard card;
    applyLook(scheme, Motion::Reduced);
    card.show();
    QTRY_VERIFY(card.button("Share"));

    const auto image = magnified(*card.window());

    for (const auto* text : { "Copy", "Save PNG", "Share" }) {
        // With its icon.
        const auto found = paintedContrast(image, card.placeOf(card.button(text)).adjusted(10, 6, -10, -6));
        QVERIFY2(found >= 4.5, qPrintable(QString("%1: %2").arg(text).arg(found)));
    }
}

void ShareCardTest::shareComesWithTheFirstRenderingAndNotBefore()
{
    ShownCard card;

    card.show();

    QVERIFY(card.button("Copy"));
    QVERIFY(card.button("Save PNG"));
    QVERIFY(!card.button("Share"));
    QTRY_VERIFY(card.button("Share"));
}

void ShareCardTest::everyShowingBeginsWithoutShare()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));

    card.show();

    QVERIFY(!card.button("Share"));
    QTRY_VERIFY(card.button("Share"));
}

void ShareCardTest::thePreviewIsTheCardWithRoundCornersOnAShadow()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));

    const auto picture = card.window()->grab().toImage();
    const double ratio = picture.devicePixelRatio();
    const auto place = card.placeOf(card.preview());
    const auto at = [&](QPointF point) { return picture.pixelColor((point * ratio).toPoint()); };
    const auto background = at({ 3, 200 });
    const QSize pixels = (QSizeF(334, 418) * ratio).toSize();
    const auto shown = picture.copy(QRect((QPointF(place.topLeft()) * ratio).toPoint(), pixels));
    const auto expected = card.pictureOfNow().scaled(
        (QSizeF(334.8, 418.5) * ratio).toSize(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);

    // The card, as it is exported, but for the corners.
    double greatest = 0;
    const int margin = static_cast<int>(14 * ratio);
    for (int y = margin; y < pixels.height() - margin; y += 8) {
        for (int x = margin; x < pixels.width() - margin; x += 8) {
            const auto average = [&](const QImage& image) {
                return image.copy(x, y, 8, 8).scaled(1, 1, {}, Qt::SmoothTransformation).pixelColor(0, 0);
            };
            greatest = std::max<double>(
                greatest, std::abs(average(shown).lightness() - average(expected).lightness()));
        }
    }
    QVERIFY2(greatest <= 12, qPrintable(QString::number(greatest)));
    // The corner is round: what is seen there is the shadow, and beyond its reach the window.
    QVERIFY(at(QPointF(place.topLeft()) + QPointF(0.5, 0.5)).lightness() > 120);
    // Beside it the shadow fades, and no line stands there, wherever the card's edge falls between two
    // pixels.
    int previous = 0;
    for (double x = place.right() - 1; x <= place.right() + 6; x += 1 / ratio) {
        const int lightness = at({ x, place.top() + 0.5 }).lightness();
        QVERIFY2(lightness >= previous, qPrintable(QString::number(x)));
        previous = lightness;
    }
    QVERIFY(at({ place.center().x() + 0.0, place.bottom() + 5.0 }).lightness() < background.lightness() - 20);
    QVERIFY(at({ place.center().x() + 0.0, place.top() - 5.0 }).lightness() < background.lightness());
    QVERIFY(at({ place.center().x() + 0.0, place.bottom() + 5.0 }).lightness()
        < at({ place.center().x() + 0.0, place.top() - 5.0 }).lightness());
    QCOMPARE(at({ place.left() - 19.0, 200 }), background);
}

void ShareCardTest::thePreviewDoesNotFollowTheCounters()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));
    QVERIFY(card.preview());
    const auto before = card.preview()->grab().toImage();

    card.press(1000);
    card.platform.advance(10s);
    card.window()->repaint();
    QCoreApplication::processEvents();

    QVERIFY(card.preview());
    QCOMPARE(card.preview()->grab().toImage(), before);
    QCOMPARE(card.said(), "Sunday, November 15: 4567 keys · 1234 clicks");
}

void ShareCardTest::copySendsTheNumbersOfTheClick()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));
    card.press(10);
    const auto first = card.pictureOfNow();

    card.click("Copy");
    const auto picture = copied(card);
    card.press(10);
    card.click("Copy");

    QCOMPARE(picture.size(), QSize(1080, 1350));
    QCOMPARE(picture, first);
    QCOMPARE(copied(card), card.pictureOfNow());
    QVERIFY(picture != card.pictureOfNow());
}

void ShareCardTest::saveProposesTheDayAsItsName()
{
    ShownCard card;
    card.show();

    card.click("Save PNG");
    card.press(1);
    card.click("Save PNG");

    QCOMPARE(card.platform.proposedNames(),
        (std::vector<std::string> { "Knucklet-2026-11-15.png", "Knucklet-2026-11-15.png" }));
}

void ShareCardTest::everythingNamesOneDayWhenTheZoneChanges()
{
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));

    changeZone("Pacific/Auckland");
    card.platform.advance(10s);
    card.press(3);
    card.show();
    QTRY_VERIFY(card.button("Share"));
    card.click("Save PNG");

    QCOMPARE(card.said(), "Monday, November 16: 3 keys · 0 clicks");
    QCOMPARE(card.platform.proposedNames(), std::vector<std::string> { "Knucklet-2026-11-16.png" });
}

void ShareCardTest::titleAndNameAgreeAlsoBeforeTheCountsFollow()
{
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    ShownCard card;

    changeZone("Pacific/Auckland");
    card.show();
    card.click("Save PNG");

    QVERIFY(card.said().startsWith("Monday, November 16: "));
    QCOMPARE(card.platform.proposedNames(), std::vector<std::string> { "Knucklet-2026-11-16.png" });
}

void ShareCardTest::saveWritesTheNumbersOfTheClickAndNotOfTheChoice()
{
    const QTemporaryDir folder;
    const fs::path place = folder.filePath("card.png").toStdString();
    ShownCard card;
    card.show();
    card.press(5);
    const auto expected = card.pictureOfNow();

    card.click("Save PNG");
    card.press(5);
    card.platform.choosePlace(place);

    QCOMPARE(decoded(contentOf(place)), expected);
    QCOMPARE(namesIn(folder.path().toStdString()), std::set<std::string> { "card.png" });
}

void ShareCardTest::aCancelledSaveWritesNothing()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));
    const auto calls = card.platform.calls.size();

    card.click("Save PNG");
    card.platform.cancelSavePanel();

    // Nothing but the panel was asked for.
    std::erase(card.platform.calls, "read clock");
    QVERIFY(!card.platform.calls.empty());
    QCOMPARE(card.platform.calls.back(), std::string("open save panel for Knucklet-2026-11-15.png"));
    QVERIFY(calls > 0);
}

void ShareCardTest::aSaveThatFailsIsSilent()
{
    ShownCard card;
    card.show();

    card.click("Save PNG");
    card.platform.choosePlace("/no such folder/card.png");

    QVERIFY(card.window());
    QVERIFY(card.window()->isVisible());
    QCOMPARE(QApplication::topLevelWidgets().size(), 1);
}

void ShareCardTest::theWindowMayBeClosedWhileTheUserChooses()
{
    const QTemporaryDir folder;
    const fs::path place = folder.filePath("card.png").toStdString();
    ShownCard card;
    card.show();
    const auto expected = card.pictureOfNow();
    card.click("Save PNG");
    QVERIFY(card.window());

    card.window()->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    card.platform.choosePlace(place);

    QCOMPARE(decoded(contentOf(place)), expected);
}

void ShareCardTest::shareSendsWhatWasSeenFirst()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));
    const auto seen = card.pictureOfNow();

    card.press(10);
    card.click("Share");

    const auto shared = card.platform.sharedPictures();
    QCOMPARE(shared.size(), std::size_t { 1 });
    QCOMPARE(shared.front().title, std::string("Knucklet day card"));
    QCOMPARE(decoded(shared.front().png), seen);
    QVERIFY(seen != card.pictureOfNow());
}

void ShareCardTest::withoutItsPictureTheCardIsStillThere()
{
    const QTemporaryDir folder;
    put(folder.filePath("share-bg.png").toStdString(), "no picture");
    ShownCard card;
    card.platform.addPictures(folder.path().toStdString());
    card.show();
    QTRY_VERIFY(card.button("Share"));

    card.click("Copy");

    const auto picture = copied(card);
    QCOMPARE(picture.size(), QSize(1080, 1350));
    QCOMPARE(picture.pixel(0, 0), QColor::fromRgbF(0.11F, 0.13F, 0.19F).rgb());
}

void ShareCardTest::aClosedWindowKeepsNothing()
{
    ShownCard card;
    card.show();
    QTRY_VERIFY(card.button("Share"));

    card.window()->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    QCOMPARE(card.window()->findChildren<QPushButton*>().size(), 0);
}

static const TestArea area("ShareCard", runTest<ShareCardTest, QApplication>);
#include "ShareCardTest.moc"
