#include "windows/StatsView.h"

#include "model/DayFormatter.h"
#include "support/Contrast.h"
#include "support/FakeCard.h"
#include "support/ForkedChild.h"
#include "support/Patience.h"
#include "support/ShownPanel.h"
#include "support/TestArea.h"
#include "support/Widgets.h"
#include "support/Zones.h"
#include "windows/DayBar.h"
#include "windows/ui/Look.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTest>
#include <QTranslator>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

const std::string week = ordinaryWeek();

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

std::string day(const std::string& key, std::int64_t keys, std::int64_t clicks)
{
    return "\"" + key + "\":{\"keys\":" + std::to_string(keys) + ",\"clicks\":" + std::to_string(clicks)
        + "}";
}

std::string fileWith(const std::vector<std::string>& days)
{
    std::string file;
    for (const auto& each : days)
        file += (file.empty() ? "{" : ",") + each;
    return file + "}";
}

QWidget* spokenAs(const Host& host, const QString& text)
{
    for (auto* widget : host.findChildren<QWidget*>()) {
        if (widget->accessibleName() == text)
            return widget;
    }
    return nullptr;
}

QRect placeOfLabel(const Host& host, const QString& text) { return placeIn(host, labelWith(host, text)); }

QRect placeOfButton(const Host& host, const QString& text) { return placeIn(host, buttonWith(host, text)); }

/// The points between the bottom of one thing and the top of the next.
int gap(const QRect& above, const QRect& below) { return below.top() - above.bottom() - 1; }

/// The columns of the chart, oldest first.
std::vector<QWidget*> columns(const Host& host)
{
    std::vector<QWidget*> found;
    for (auto* widget : host.findChildren<QWidget*>()) {
        if (widget->toolTip().contains(" · "))
            found.push_back(widget);
    }
    return found;
}

/// The boxes of the bars, oldest first.
std::vector<QRect> barBoxes(const Host& host)
{
    std::vector<QRect> boxes;
    for (const auto* column : columns(host)) {
        const auto* letter = column->findChild<QLabel*>();
        for (const auto* child : column->findChildren<QWidget*>()) {
            if (child != letter)
                boxes.push_back(placeIn(host, child));
        }
    }
    return boxes;
}

QStringList weekdays(const Host& host)
{
    QStringList letters;
    for (const auto* column : columns(host)) {
        const auto* label = column->findChild<QLabel*>();
        letters.append(label ? label->text() : QString());
    }
    return letters;
}

std::vector<QRect> dividers(const Host& host)
{
    std::vector<QRect> lines;
    for (const auto* widget : host.findChildren<QWidget*>()) {
        if (widget->height() == 1)
            lines.push_back(placeIn(host, widget));
    }
    return lines;
}

/// The pixel at a place in points.
QColor pixelAt(const QImage& image, double x, double y)
{
    const auto ratio = image.devicePixelRatio();
    return image.pixelColor(static_cast<int>(x * ratio), static_cast<int>(y * ratio));
}

QImage picture(Host& host) { return host.grab().toImage(); }

struct BarHeights {
    double keys = 0;
    double clicks = 0;
};

/// How much of each accent stands in the middle of a bar, in points: the two colors of every pixel are told
/// apart by their red and blue.
BarHeights paintedHeights(Host& host, const QRect& box)
{
    const auto image = picture(host);
    const double ratio = image.devicePixelRatio();
    const auto background = image.pixelColor(1, 1);
    const auto key = resolved(Theme::keyAccent, Qt::black);
    const auto click = resolved(Theme::clickAccent, Qt::black);
    const double keyRed = key.redF() - background.redF();
    const double keyBlue = key.blueF() - background.blueF();
    const double clickRed = click.redF() - background.redF();
    const double clickBlue = click.blueF() - background.blueF();
    const double determinant = keyRed * clickBlue - keyBlue * clickRed;

    BarHeights heights;
    const int x = static_cast<int>(box.center().x() * ratio);
    const int bottom = static_cast<int>(std::round((box.bottom() + 1) * ratio));
    for (int y = bottom - static_cast<int>(66 * ratio); y < bottom; ++y) {
        const auto pixel = image.pixelColor(x, y);
        const double red = pixel.redF() - background.redF();
        const double blue = pixel.blueF() - background.blueF();
        heights.keys += (red * clickBlue - blue * clickRed) / determinant / ratio;
        heights.clicks += (keyRed * blue - keyBlue * red) / determinant / ratio;
    }
    return heights;
}

/// Where a button has its text, and nothing else.
QRect placeOfText(const Host& host, const QAbstractButton* button)
{
    const auto box = placeIn(host, button);
    if (qobject_cast<const QCheckBox*>(button))
        return box.adjusted(16, 0, 0, 0);
    return button->text().isEmpty() ? box : box.adjusted(5, 3, -5, -3);
}

QColor over(const QColor& ink, const QColor& paper)
{
    const auto mix
        = [&](float top, float bottom) { return top * ink.alphaF() + bottom * (1 - ink.alphaF()); };
    return QColor::fromRgbF(
        mix(ink.redF(), paper.redF()), mix(ink.greenF(), paper.greenF()), mix(ink.blueF(), paper.blueF()));
}

/// Every text 40 % longer and with accents, in brackets.
class PseudoTranslator final : public QTranslator {
public:
    bool isEmpty() const override { return false; }

    QString translate(const char*, const char* text, const char*, int) const override
    {
        QString translated;
        for (const auto letter : QString::fromUtf8(text)) {
            const auto at = QString("aeioucnyAEIOUCNY").indexOf(letter);
            translated += at < 0 ? letter : QString("áéíóúçñýÁÉÍÓÚÇÑÝ")[at];
        }
        // In words, so that long texts can wrap.
        const auto longer = translated.size() * 14 / 10 - 2;
        while (translated.size() < longer)
            translated += translated.size() % 8 == 0 ? u' ' : u'ö';
        return "[" + translated + "]";
    }
};

}

class StatsViewTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void everythingStandsAtItsDistance();
    void tilesShareTheirRow();
    void theChartDividesItsRowIntoSevenColumns();
    void theFooterStandsInTwoColumns();
    void theControlsStandBelowEachOther();
    void textsHaveTheirFontsAndColors_data();
    void textsHaveTheirFontsAndColors();
    void thePermissionBannerIsLaidOut();
    void theRelaunchBannerIsLaidOut();
    void aBannerComesAndGoesWithoutAGap();

    void aFreshInstallShowsZeroes();
    void oneKeyIsNotASingular();
    void aDayWithoutAnyCountIsNoBestDay();
    void theBestDayIsNamedInTheLocalesOrder_data();
    void theBestDayIsNamedInTheLocalesOrder();
    void aBestDayThatIsNoDateIsShownAsItIs();
    void aNumberTooWideForItsTileStaysOnOneLine();
    void datesAndLettersFollowTheLocale_data();
    void datesAndLettersFollowTheLocale();
    void aRightToLeftLanguageMirrorsEverything();

    void segmentsHaveTheHeightOfTheirShare_data();
    void segmentsHaveTheHeightOfTheirShare();
    void barsArePaintedToTheHalfPixel_data();
    void barsArePaintedToTheHalfPixel();
    void theEdgesOfBarsAreSharpAtEveryScale_data();
    void theEdgesOfBarsAreSharpAtEveryScale();
    void anEmptyWeekIsSevenStubs();
    void aBarThatStandsOutOfItsBoxIsPaintedWhole();
    void aChartWithoutDaysIsAnEmptyRow();
    void aWeekThatOverflowsEndsTheProcess();
    void columnsTellTheirExactNumbers();

    void whereNothingCanAskForThePermissionTheBannerSaysWhatToType();
    void theBannerFollowsThePermission_data();
    void theBannerFollowsThePermission();
    void aGrantWhileOpenTakesTheBannerAway();
    void aGrantWithARefusedTapBringsTheOtherBanner();
    void grantAccessAsksFirstAndThenOpensTheSettings();
    void everyKeyPressShows();
    void thePanelShowsTheDayOfEachOpening();
    void theDayIsThatOfTheZone_data();
    void theDayIsThatOfTheZone();
    void everythingNamesOneDayWhenTheZoneChanges();
    void nothingIsDescribedWhileThePanelIsHidden();
    void showCountsIsBoundBothWays();
    void launchAtLoginIsBoundBothWays();
    void aRefusedLoginItemSnapsBack();
    void theButtonsOpenWhatTheyName();
    void theShareButtonTakesAPressAlsoBesideItsSymbol_data();
    void theShareButtonTakesAPressAlsoBesideItsSymbol();

    void everythingIsReadToAScreenReader();
    void theKeyboardReachesEveryControlInOrder();
    void textsStandOutFromTheirBackground_data();
    void textsStandOutFromTheirBackground();
    void captionsStandOutAsFarAsTheirColorsDo_data();
    void captionsStandOutAsFarAsTheirColorsDo();
    void thePanelFollowsTheSchemeWhileOpen();
    void everyTextIsTranslatedAndNothingClips();
};

void StatsViewTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
    QCOMPARE(StatsStore::dayFormatter().key(Moment(std::chrono::sys_days(2026y / 11 / 15))), "2026-11-15");
}

void StatsViewTest::everythingStandsAtItsDistance()
{
    ShownPanel panel;
    panel.program.platform.grantAccess();
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    const auto title = placeOfLabel(host, "Knucklet");
    const auto date = placeOfLabel(host, "Sunday, Nov 15");
    const auto share = placeOfButton(host, "Share a day card");
    const auto keys = placeIn(host, spokenAs(host, "Keys: 4567"));
    const auto letter = placeIn(host, columns(host)[0]->findChild<QLabel*>());
    const auto box = barBoxes(host)[0];
    const auto lines = dividers(host);
    QCOMPARE(host.width(), 300);
    QCOMPARE(title.left(), 14);
    QCOMPARE(title.top(), 14);
    QCOMPARE(share.right(), 285);
    QCOMPARE(share.left() - date.right() - 1, 8);
    QVERIFY(std::abs(date.center().y() - title.center().y()) <= 1);
    QVERIFY(std::abs(share.center().y() - title.center().y()) <= 1);
    QCOMPARE(gap(title, keys), 14);
    QCOMPARE(gap(keys, box), 14);
    QCOMPARE(box.height(), 56);
    QCOMPARE(gap(box, letter), 4);
    QCOMPARE(lines.size(), 2U);
    QCOMPARE(gap(letter, lines[0]), 14);
    QCOMPARE(lines[0].left(), 14);
    QCOMPARE(lines[0].width(), 272);
    QCOMPARE(gap(lines[0], placeOfLabel(host, "All time")), 14);
    QCOMPARE(gap(placeOfLabel(host, "42.3k keys · 11.7k clicks"), lines[1]), 14);
    QCOMPARE(lines[1].width(), 272);
    QCOMPARE(gap(lines[1], placeOfButton(host, "Show counts in menu bar")), 14);
    QCOMPARE(host.height() - placeOfButton(host, "Quit Knucklet").bottom() - 1, 14);
}

void StatsViewTest::tilesShareTheirRow()
{
    ShownPanel panel;
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    const auto keys = placeIn(host, spokenAs(host, "Keys: 4567"));
    const auto clicks = placeIn(host, spokenAs(host, "Clicks: 1234"));
    const auto caption = placeOfLabel(host, "Keys");
    QCOMPARE(keys.left(), 14);
    QCOMPARE(keys.width(), 131);
    QCOMPARE(clicks.left() - keys.right() - 1, 10);
    QCOMPARE(clicks.width(), 131);
    QCOMPARE(clicks.top(), keys.top());
    // Padding, caption, spacing, number, padding.
    QCOMPARE(caption.top() - keys.top(), 10);
    QCOMPARE(keys.height(), 10 + caption.height() + 4 + QFontMetrics(font(26, QFont::Bold)).height() + 10);
    // The symbol is 13 points high and 17 wide, and 6 away from its text.
    QCOMPARE(caption.left() - keys.left(), 10 + 17 + 6);
}

void StatsViewTest::theChartDividesItsRowIntoSevenColumns()
{
    ShownPanel panel;
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    const auto boxes = barBoxes(host);
    QCOMPARE(boxes.size(), 7U);
    for (int i = 0; i < 7; ++i) {
        const auto& box = boxes[static_cast<std::size_t>(i)];
        const auto letter = placeIn(host, columns(host)[static_cast<std::size_t>(i)]->findChild<QLabel*>());
        QCOMPARE(box.left(), 14 + i * (32 + 8));
        QCOMPARE(box.width(), 32);
        QCOMPARE(box.height(), 56);
        QCOMPARE(box.top(), boxes[0].top());
        QVERIFY(std::abs(2 * letter.left() + letter.width() - 2 * box.left() - box.width()) <= 1);
    }
}

void StatsViewTest::theFooterStandsInTwoColumns()
{
    ShownPanel panel;
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    const auto allTime = placeOfLabel(host, "All time");
    const auto sums = placeOfLabel(host, "42.3k keys · 11.7k clicks");
    const auto bestDay = placeOfLabel(host, "Best day");
    const auto best = placeOfLabel(host, "14.7k on Mar 5");
    QCOMPARE(allTime.left(), 14);
    QCOMPARE(sums.left(), 14);
    QCOMPARE(gap(allTime, sums), 2);
    QCOMPARE(bestDay.right(), 285);
    QCOMPARE(best.right(), 285);
    QCOMPARE(gap(bestDay, best), 2);
    QCOMPARE(bestDay.top(), allTime.top());
}

void StatsViewTest::theControlsStandBelowEachOther()
{
    ShownPanel panel;

    const auto& host = panel.open();

    const auto showCounts = placeOfButton(host, "Show counts in menu bar");
    const auto launch = placeOfButton(host, "Launch at login");
    const auto assistant = placeOfButton(host, "Setup Assistant…");
    const auto quit = placeOfButton(host, "Quit Knucklet");
    QCOMPARE(showCounts.left(), 14);
    QCOMPARE(launch.left(), 14);
    QCOMPARE(gap(showCounts, launch), 8);
    QCOMPARE(gap(launch, assistant), 8);
    QCOMPARE(assistant.left(), 14);
    QCOMPARE(quit.right(), 285);
    QCOMPARE(quit.top(), assistant.top());
    QCOMPARE(quit.height(), assistant.height());
}

void StatsViewTest::textsHaveTheirFontsAndColors_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("weight");
    QTest::addColumn<QString>("color");

    QTest::newRow("title") << "Knucklet" << 15 << 500 << "primary";
    QTest::newRow("date") << "Sunday, Nov 15" << 11 << 500 << "secondary";
    QTest::newRow("tile of keys") << "Keys" << 11 << 500 << "keys";
    QTest::newRow("tile of clicks") << "Clicks" << 11 << 500 << "clicks";
    QTest::newRow("head of the banner") << "Keyboard counting is off" << 12 << 500 << "primary";
    QTest::newRow("text of the banner")
        << "Grant Input Monitoring so Knucklet can count key presses. It only counts — which keys you press "
           "is never read or stored. Clicks are already being counted."
        << 11 << 400 << "secondary";
    QTest::newRow("weekday") << "W" << 9 << 500 << "secondary";
    QTest::newRow("all time") << "All time" << 10 << 500 << "secondary";
    QTest::newRow("sums") << "42.3k keys · 11.7k clicks" << 11 << 500 << "primary";
    QTest::newRow("best day") << "Best day" << 10 << 500 << "secondary";
    QTest::newRow("the best day") << "14.7k on Mar 5" << 11 << 500 << "primary";
}

void StatsViewTest::textsHaveTheirFontsAndColors()
{
    QFETCH(const QString, text);
    QFETCH(const int, size);
    QFETCH(const int, weight);
    QFETCH(const QString, color);
    ShownPanel panel;
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    const auto* label = labelWith(host, text);
    QVERIFY(label);
    const auto primary = host.palette().color(QPalette::WindowText);
    const std::map<QString, ThemeColor> colors { { "primary", Theme::primary },
        { "secondary", Theme::secondary }, { "keys", Theme::keyAccent }, { "clicks", Theme::clickAccent } };
    QCOMPARE(label->font().families().front(), "SN Pro");
    QCOMPARE(QFontInfo(label->font()).family(), "SN Pro");
    QCOMPARE(label->font().pixelSize(), size);
    QCOMPARE(static_cast<int>(label->font().weight()), weight);
    QCOMPARE(label->palette().color(QPalette::WindowText), resolved(colors.at(color), primary));
}

void StatsViewTest::thePermissionBannerIsLaidOut()
{
    ShownPanel panel;
    panel.program.writeStatsFile(week);

    auto& host = panel.open();

    const auto* head = labelWith(host, "Keyboard counting is off");
    QVERIFY(head);
    const auto banner = placeIn(host, head->parentWidget()->parentWidget());
    QLabel* text = nullptr;
    for (auto* label : host.findChildren<QLabel*>()) {
        if (label->wordWrap())
            text = label;
    }
    QVERIFY(text);
    const auto grant = placeOfButton(host, "Grant access…");
    const auto needed
        = text->fontMetrics().boundingRect(0, 0, text->width(), 1000, Qt::TextWordWrap, text->text());
    QCOMPARE(banner.left(), 14);
    QCOMPARE(banner.width(), 272);
    QCOMPARE(gap(placeIn(host, spokenAs(host, "Keys: 4567")), banner), 14);
    QCOMPARE(gap(banner, barBoxes(host)[0]), 14);
    QCOMPARE(placeIn(host, head).top() - banner.top(), 10);
    QCOMPARE(gap(placeIn(host, head), placeIn(host, text)), 6);
    QCOMPARE(text->width(), 252);
    QCOMPARE(text->height(), needed.height());
    QCOMPARE(gap(placeIn(host, text), grant), 6);
    QCOMPARE(grant.left(), 24);
    QCOMPARE(banner.bottom() - grant.bottom(), 10);
    const auto image = picture(host);
    const auto paper = image.pixelColor(1, 1);
    const auto expected = over(resolved(Theme::keyAccent.withOpacity(0.12), Qt::black), paper);
    const auto painted = pixelAt(image, banner.left() + 5, banner.center().y());
    QVERIFY(std::abs(painted.blue() - expected.blue()) <= 1);
    QVERIFY(std::abs(painted.red() - expected.red()) <= 1);
}

void StatsViewTest::theRelaunchBannerIsLaidOut()
{
    ShownPanel panel;
    panel.program.platform.grantAccess();
    panel.program.platform.refuseTap();

    const auto& host = panel.open();

    const auto* text = labelWith(host, "Access granted — quit and reopen Knucklet to start counting keys.");
    QVERIFY(text);
    const auto banner = placeIn(host, text->parentWidget());
    QCOMPARE(banner.left(), 14);
    QCOMPARE(banner.width(), 272);
    QCOMPARE(gap(placeIn(host, spokenAs(host, "Keys: 0")), banner), 14);
    QCOMPARE(gap(banner, barBoxes(host)[0]), 14);
    QCOMPARE(placeIn(host, text).top() - banner.top(), 10);
    QCOMPARE(banner.bottom() - placeIn(host, text).bottom(), 10);
    // The symbol is 13 points wide, and 6 away from its text.
    QCOMPARE(placeIn(host, text).left() - banner.left(), 10 + 13 + 6);
    QCOMPARE(banner.right() - placeIn(host, text).right(), 10);
    QCOMPARE(text->font().pixelSize(), 11);
    QCOMPARE(static_cast<int>(text->font().weight()), 400);
    QVERIFY(text->height() > text->fontMetrics().height());
    QVERIFY(text->parentWidget()->findChildren<QAbstractButton*>().isEmpty());
}

void StatsViewTest::aBannerComesAndGoesWithoutAGap()
{
    ShownPanel panel;
    auto& host = panel.open();
    const auto withBanner = host.size();
    const auto* number = spokenAs(host, "Keys: 0");

    panel.program.platform.grantAccess();
    panel.program.platform.advance(2s);
    host.renderNow();
    const auto withoutBanner = host.size();
    panel.state->keyAccessGranted = false;
    host.renderNow();

    QCOMPARE(withoutBanner.width(), 300);
    QVERIFY(withoutBanner.height() < withBanner.height() - 100);
    QCOMPARE(host.size(), withBanner);
    QCOMPARE(spokenAs(host, "Keys: 0"), number);
}

void StatsViewTest::aFreshInstallShowsZeroes()
{
    ShownPanel panel;

    const auto& host = panel.open();

    QVERIFY(spokenAs(host, "Keys: 0"));
    QVERIFY(spokenAs(host, "Clicks: 0"));
    QVERIFY(labelWith(host, "All time"));
    QVERIFY(labelWith(host, "0 keys · 0 clicks"));
    QVERIFY(!labelWith(host, "Best day"));
}

void StatsViewTest::oneKeyIsNotASingular()
{
    ShownPanel panel;
    panel.program.writeStatsFile(fileWith({ day("2026-11-15", 1, 0) }));

    const auto& host = panel.open();

    QVERIFY(labelWith(host, "1 keys · 0 clicks"));
    QVERIFY(labelWith(host, "1 on Nov 15"));
    QCOMPARE(columns(host)[6]->toolTip(), "1 keys · 0 clicks");
}

void StatsViewTest::aDayWithoutAnyCountIsNoBestDay()
{
    ShownPanel panel;
    panel.program.writeStatsFile(fileWith({ day("2026-11-15", 0, 0) }));

    const auto& host = panel.open();

    QVERIFY(!labelWith(host, "Best day"));
}

void StatsViewTest::theBestDayIsNamedInTheLocalesOrder_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("text");

    QTest::newRow("American English") << "en_US"
                                      << "1.2M on Mar 5";
    QTest::newRow("British English") << "en_GB"
                                     << "1.2M on 5 Mar";
    QTest::newRow("German") << "de_DE"
                            << "1.2M on 5. März";
    QTest::newRow("Arabic") << "ar_EG"
                            << "1.2M on ٥ مارس";
    QTest::newRow("Japanese") << "ja_JP"
                              << "1.2M on 3月5日";
}

void StatsViewTest::theBestDayIsNamedInTheLocalesOrder()
{
    QFETCH(const QString, locale);
    QFETCH(const QString, text);
    ShownPanel panel(locale.toStdString());
    panel.program.writeStatsFile(fileWith({ day("2024-03-05", 1'234'567, 0) }));

    const auto& host = panel.open();

    QVERIFY(labelWith(host, text));
}

void StatsViewTest::aBestDayThatIsNoDateIsShownAsItIs()
{
    ShownPanel panel;
    panel.program.writeStatsFile(fileWith({ day("some day", 12, 3) }));

    const auto& host = panel.open();

    QVERIFY(labelWith(host, "15 on some day"));
}

void StatsViewTest::aNumberTooWideForItsTileStaysOnOneLine()
{
    ShownPanel plain;
    plain.program.platform.grantAccess();
    const auto usual = plain.open().size();
    ShownPanel panel;
    panel.program.platform.grantAccess();
    panel.program.writeStatsFile(fileWith({ day("2026-11-15", greatest, 0) }));

    const auto& host = panel.open();

    const auto* tile = spokenAs(host, "Keys: 9223372036854775807");
    QVERIFY(tile);
    QCOMPARE(tile->width(), 131);
    QCOMPARE(host.size(), usual);
    QCOMPARE(columns(host)[6]->toolTip(), "9223372036854775807 keys · 0 clicks");
}

void StatsViewTest::datesAndLettersFollowTheLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QStringList>("letters");

    QTest::newRow("American English")
        << "en_US"
        << "Sunday, Nov 15" << QStringList { "M", "T", "W", "T", "F", "S", "S" };
    QTest::newRow("German") << "de_DE"
                            << "Sonntag, 15. Nov." << QStringList { "M", "D", "M", "D", "F", "S", "S" };
    QTest::newRow("Arabic") << "ar_EG"
                            << "الأحد، ١٥ نوفمبر" << QStringList { "ن", "ث", "ر", "خ", "ج", "س", "ح" };
    QTest::newRow("Japanese") << "ja_JP"
                              << "11月15日日曜日" << QStringList { "月", "火", "水", "木", "金", "土", "日" };
}

void StatsViewTest::datesAndLettersFollowTheLocale()
{
    QFETCH(const QString, locale);
    QFETCH(const QString, date);
    QFETCH(const QStringList, letters);
    ShownPanel panel(locale.toStdString());
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    QVERIFY(labelWith(host, date));
    QCOMPARE(weekdays(host), letters);
    // Numbers are the same everywhere.
    QVERIFY(spokenAs(host, "Keys: 4567"));
    QVERIFY(labelWith(host, "42.3k keys · 11.7k clicks"));
    QCOMPARE(columns(host)[6]->toolTip(), "4567 keys · 1234 clicks");
    QCOMPARE(host.width(), 300);
}

void StatsViewTest::aRightToLeftLanguageMirrorsEverything()
{
    ShownPanel ordinary;
    ordinary.program.writeStatsFile(week);
    const auto& host = ordinary.open();
    std::vector<QRect> places;
    for (const auto* widget : host.findChildren<QAbstractButton*>())
        places.push_back(placeIn(host, widget));
    const auto boxes = barBoxes(host);
    const auto keys = placeIn(host, spokenAs(host, "Keys: 4567"));
    ShownPanel mirrored("ar_EG");
    mirrored.program.writeStatsFile(week);
    QApplication::setLayoutDirection(Qt::RightToLeft);

    const auto& mirroredHost = mirrored.open();

    const auto mirror = [](const QRect& rect) {
        return QRect(300 - rect.right() - 1, rect.top(), rect.width(), rect.height());
    };
    std::size_t i = 0;
    for (const auto* widget : mirroredHost.findChildren<QAbstractButton*>())
        QCOMPARE(placeIn(mirroredHost, widget).left(), mirror(places[i++]).left());
    for (i = 0; i < 7; ++i)
        QCOMPARE(barBoxes(mirroredHost)[i].left(), mirror(boxes[i]).left());
    QCOMPARE(placeIn(mirroredHost, spokenAs(mirroredHost, "Keys: 4567")).left(), mirror(keys).left());
    QCOMPARE(placeOfLabel(mirroredHost, "Knucklet").right(), 285);
    QCOMPARE(placeOfLabel(mirroredHost, "Best day").left(), 14);
}

void StatsViewTest::segmentsHaveTheHeightOfTheirShare_data()
{
    QTest::addColumn<qint64>("count");
    QTest::addColumn<qint64>("scale");
    QTest::addColumn<double>("height");

    QTest::newRow("nothing") << qint64(0) << qint64(1) << 0.0;
    QTest::newRow("less than nothing") << qint64(-5) << qint64(10) << 0.0;
    QTest::newRow("all") << qint64(1) << qint64(1) << 56.0;
    QTest::newRow("half") << qint64(5'000) << qint64(10'000) << 28.0;
    QTest::newRow("too little to see") << qint64(1) << qint64(1'000'000) << 2.0;
    QTest::newRow("just two points") << qint64(1) << qint64(28) << 2.0;
    QTest::newRow("just more than two points") << qint64(1) << qint64(27) << 56.0 / 27;
    QTest::newRow("the greatest number") << qint64(greatest) << qint64(greatest) << 56.0;
}

void StatsViewTest::segmentsHaveTheHeightOfTheirShare()
{
    QFETCH(const qint64, count);
    QFETCH(const qint64, scale);
    QFETCH(const double, height);

    QCOMPARE(segmentHeight(count, scale, 56), height);
}

void StatsViewTest::barsArePaintedToTheHalfPixel_data()
{
    QTest::addColumn<qint64>("keys");
    QTest::addColumn<qint64>("clicks");
    QTest::addColumn<double>("keysHeight");
    QTest::addColumn<double>("clicksHeight");

    // Yesterday's total is 1000.
    QTest::newRow("half and half") << qint64(500) << qint64(500) << 28.0 << 28.0;
    QTest::newRow("a fraction of a point") << qint64(300) << qint64(45) << 16.8 << 2.52;
    QTest::newRow("keys only") << qint64(250) << qint64(0) << 14.0 << 0.0;
    QTest::newRow("clicks only") << qint64(0) << qint64(250) << 0.0 << 14.0;
    QTest::newRow("one of each") << qint64(1) << qint64(1) << 2.0 << 2.0;
}

void StatsViewTest::barsArePaintedToTheHalfPixel()
{
    QFETCH(const qint64, keys);
    QFETCH(const qint64, clicks);
    QFETCH(const double, keysHeight);
    QFETCH(const double, clicksHeight);
    ShownPanel panel;
    panel.program.platform.grantAccess();
    panel.program.writeStatsFile(fileWith({ day("2026-11-14", 1000, 0), day("2026-11-15", keys, clicks) }));
    auto& host = panel.open();

    const auto painted = paintedHeights(host, barBoxes(host)[6]);

    const double halfAPixel = 0.5 / host.devicePixelRatioF() + 0.03;
    QVERIFY2(std::abs(painted.keys - keysHeight) < halfAPixel, qPrintable(QString::number(painted.keys)));
    QVERIFY2(
        std::abs(painted.clicks - clicksHeight) < halfAPixel, qPrintable(QString::number(painted.clicks)));
    // The baseline is the bottom of the box, and a part without height keeps its gap.
    const auto image = picture(host);
    const auto box = barBoxes(host)[6];
    const auto atBaseline = pixelAt(image, box.center().x(), box.bottom() + 0.5);
    const auto paper = image.pixelColor(1, 1);
    const auto expected = clicks > 0 ? resolved(Theme::clickAccent, Qt::black) : paper;
    QVERIFY(contrast(atBaseline, expected) < 1.05);
}

void StatsViewTest::theEdgesOfBarsAreSharpAtEveryScale_data()
{
    QTest::addColumn<double>("ratio");

    for (const double ratio : { 1.0, 1.25, 1.5, 1.75, 2.0 })
        QTest::addRow("%g", ratio) << ratio;
}

void StatsViewTest::theEdgesOfBarsAreSharpAtEveryScale()
{
    QFETCH(const double, ratio);
    ShownPanel panel;
    panel.program.platform.grantAccess();
    panel.program.writeStatsFile(fileWith({ day("2026-11-09", 5213, 1820), day("2026-11-10", 8021, 2410),
        day("2026-11-11", 3002, 950), day("2026-11-12", 0, 12), day("2026-11-13", 9120, 3010),
        day("2026-11-14", 77, 0), day("2026-11-15", 4567, 1234) }));
    auto& host = panel.open();

    QImage image(host.size() * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    QPainter painter(&image);
    host.render(&painter);

    const auto paper = image.pixel(1, 1);
    const auto key = resolved(Theme::keyAccent, Qt::black).rgb();
    const auto click = resolved(Theme::clickAccent, Qt::black).rgb();
    for (const auto& box : barBoxes(host)) {
        const int x = static_cast<int>(box.center().x() * ratio);
        const int bottom = static_cast<int>(std::round((box.bottom() + 1) * ratio));
        QString rows;
        for (int y = bottom - 1; y >= bottom - static_cast<int>(59 * ratio); --y) {
            const auto pixel = image.pixel(x, y);
            const auto row = pixel == click ? 'c' : pixel == key ? 'k' : pixel == paper ? '.' : '?';
            rows.append(QLatin1Char(row));
        }
        // From the bottom: the clicks, the gap, the keys and the paper above them.
        const auto gap = QString(static_cast<int>(ratio), '.');
        const QRegularExpression bar("^(c*)" + gap + "(k+[.]*|[.]*)$");
        QVERIFY2(bar.match(rows).hasMatch(), qPrintable(rows));
    }
}

void StatsViewTest::anEmptyWeekIsSevenStubs()
{
    ShownPanel panel;
    panel.program.platform.grantAccess();
    auto& host = panel.open();

    const auto image = picture(host);

    const auto paper = image.pixelColor(1, 1);
    const auto stub = over(resolved(Theme::barEmpty, host.palette().color(QPalette::WindowText)), paper);
    for (const auto& box : barBoxes(host)) {
        const auto at = [&](int pointsAboveBottom) {
            return pixelAt(image, box.center().x(), box.bottom() + 0.5 - pointsAboveBottom);
        };
        for (int i = 0; i < 3; ++i)
            QVERIFY(std::abs(at(i).red() - stub.red()) <= 1);
        QCOMPARE(at(3), paper);
    }
}

void StatsViewTest::aBarThatStandsOutOfItsBoxIsPaintedWhole()
{
    ShownPanel panel;
    panel.program.platform.grantAccess();
    panel.program.writeStatsFile(fileWith({ day("2026-11-15", 1'000'000, 1) }));
    auto& host = panel.open();

    const auto box = barBoxes(host)[6];
    const auto painted = paintedHeights(host, box);

    QVERIFY2(painted.keys > 55.9, qPrintable(QString::number(painted.keys)));
    QVERIFY2(std::abs(painted.clicks - 2) < 0.1, qPrintable(QString::number(painted.clicks)));
    QCOMPARE(box.height(), 56);
}

void StatsViewTest::aChartWithoutDaysIsAnEmptyRow()
{
    const DateTexts dates("en_US");
    Host host([&] { return WeekChart { {}, dates }.body(); });

    host.show();

    QCOMPARE(chartScale({}), 1);
    QVERIFY(host.findChildren<QLabel*>().isEmpty());
}

void StatsViewTest::aWeekThatOverflowsEndsTheProcess()
{
    const std::vector<StatsStore::Day> days { { "2026-11-15", {}, {}, { greatest, 1 } } };

    const auto end = inChild([&] { return std::to_string(chartScale(days)); });

    QCOMPARE(end.signal, SIGABRT);
}

void StatsViewTest::columnsTellTheirExactNumbers()
{
    ShownPanel panel;
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    QStringList texts;
    for (const auto* column : columns(host))
        texts.append(column->toolTip());
    const QStringList expected { "5213 keys · 1820 clicks", "8021 keys · 2410 clicks",
        "3002 keys · 950 clicks", "0 keys · 12 clicks", "9120 keys · 3010 clicks", "0 keys · 0 clicks",
        "4567 keys · 1234 clicks" };
    QCOMPARE(texts, expected);
}

void StatsViewTest::whereNothingCanAskForThePermissionTheBannerSaysWhatToType()
{
    ShownPanel panel;
    panel.program.platform.leaveGrantingTo("sudo grant-it");
    const QString text
        = "Nothing here can ask for your password. Type this in a terminal instead:\nsudo grant-it";

    auto& host = panel.open();

    const auto* label = labelWith(host, text);
    QVERIFY(label);
    QCOMPARE(gap(placeOfButton(host, "Grant access…"), placeIn(host, label)), 6);
    QCOMPARE(label->font().pixelSize(), 11);
}

void StatsViewTest::theBannerFollowsThePermission_data()
{
    QTest::addColumn<bool>("granted");
    QTest::addColumn<bool>("needsRelaunch");
    QTest::addColumn<QString>("banner");

    QTest::newRow("neither") << false << false << "permission";
    QTest::newRow("both flags") << false << true << "permission";
    QTest::newRow("granted, tap refused") << true << true << "relaunch";
    QTest::newRow("granted") << true << false << "none";
}

void StatsViewTest::theBannerFollowsThePermission()
{
    QFETCH(const bool, granted);
    QFETCH(const bool, needsRelaunch);
    QFETCH(const QString, banner);
    ShownPanel panel;
    auto& host = panel.open();

    panel.state->keyAccessGranted = granted;
    panel.state->needsRelaunch = needsRelaunch;
    host.renderNow();

    QCOMPARE(labelWith(host, "Keyboard counting is off") != nullptr, banner == "permission");
    QCOMPARE(buttonWith(host, "Grant access…") != nullptr, banner == "permission");
    QCOMPARE(labelWith(host, "Access granted — quit and reopen Knucklet to start counting keys.") != nullptr,
        banner == "relaunch");
}

void StatsViewTest::aGrantWhileOpenTakesTheBannerAway()
{
    ShownPanel panel;
    const auto& host = panel.open();

    panel.program.platform.grantAccess();
    panel.program.platform.advance(2s);
    QCoreApplication::processEvents();

    QVERIFY(!labelWith(host, "Keyboard counting is off"));
    QVERIFY(!buttonWith(host, "Grant access…"));
}

void StatsViewTest::aGrantWithARefusedTapBringsTheOtherBanner()
{
    ShownPanel panel;
    const auto& host = panel.open();

    panel.program.platform.grantAccess();
    panel.program.platform.refuseTap();
    panel.program.platform.advance(2s);
    QCoreApplication::processEvents();

    QVERIFY(!labelWith(host, "Keyboard counting is off"));
    QVERIFY(labelWith(host, "Access granted — quit and reopen Knucklet to start counting keys."));
}

void StatsViewTest::grantAccessAsksFirstAndThenOpensTheSettings()
{
    ShownPanel panel;
    const auto& host = panel.open();
    panel.program.platform.calls.clear();

    QTest::mouseClick(&theButton(host, "Grant access…"), Qt::LeftButton);
    QTest::mouseClick(&theButton(host, "Grant access…"), Qt::LeftButton);

    const std::string open
        = "open x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent";
    const std::vector<std::string> expected { "request access", open, "request access", open };
    QCOMPARE(panel.program.platform.calls, expected);
}

void StatsViewTest::everyKeyPressShows()
{
    ShownPanel panel;
    panel.program.platform.grantAccess();
    const auto& host = panel.open();
    panel.renders = 0;

    for (int i = 0; i < 200; ++i)
        panel.program.platform.press();
    panel.program.platform.click();
    QCoreApplication::processEvents();

    QVERIFY(spokenAs(host, "Keys: 200"));
    QVERIFY(spokenAs(host, "Clicks: 1"));
    QVERIFY(labelWith(host, "200 keys · 1 clicks"));
    QVERIFY(labelWith(host, "201 on Nov 15"));
    QCOMPARE(columns(host)[6]->toolTip(), "200 keys · 1 clicks");
    QCOMPARE(panel.renders, 1);
}

void StatsViewTest::theDayIsThatOfTheZone_data()
{
    QTest::addColumn<std::string>("zone");
    QTest::addColumn<Moment>("now");

    const Moment sunday = std::chrono::sys_days(2026y / 11 / 15);
    QTest::newRow("Saturday in UTC") << std::string("Pacific/Auckland") << sunday - 1h;
    QTest::newRow("Sunday in UTC") << std::string("UTC") << sunday + 12h;
    QTest::newRow("Monday in UTC") << std::string("America/Mexico_City") << sunday + 29h;
}

void StatsViewTest::theDayIsThatOfTheZone()
{
    QFETCH(const std::string, zone);
    QFETCH(const Moment, now);
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    changeZone(zone);
    ShownPanel panel;
    panel.program.platform.setClock(now);
    panel.program.writeStatsFile(week);

    const auto& host = panel.open();

    QVERIFY(labelWith(host, "Sunday, Nov 15"));
    QCOMPARE(weekdays(host), QStringList({ "M", "T", "W", "T", "F", "S", "S" }));
    QVERIFY(spokenAs(host, "Sunday, Nov 15: 4567 keys · 1234 clicks"));
    QVERIFY(spokenAs(host, "Keys: 4567"));
}

void StatsViewTest::everythingNamesOneDayWhenTheZoneChanges()
{
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    ShownPanel panel;
    panel.program.platform.grantAccess();
    panel.program.writeStatsFile(week);
    auto& host = panel.open();
    panel.program.platform.press();

    changeZone("Pacific/Auckland");
    panel.program.platform.advance(10s);
    host.renderNow();
    const bool isMonday = labelWith(host, "Monday, Nov 16");
    const auto letters = weekdays(host);
    const bool isEmpty = spokenAs(host, "Keys: 0") && spokenAs(host, "Monday, Nov 16: 0 keys · 0 clicks");
    panel.program.platform.press();
    host.renderNow();

    QVERIFY(isMonday);
    QCOMPARE(letters, QStringList({ "T", "W", "T", "F", "S", "S", "M" }));
    QVERIFY(isEmpty);
    QVERIFY(spokenAs(host, "Keys: 1"));
    QVERIFY(spokenAs(host, "Monday, Nov 16: 1 keys · 0 clicks"));
    QVERIFY(spokenAs(host, "Sunday, Nov 15: 4568 keys · 1234 clicks"));
}

void StatsViewTest::thePanelShowsTheDayOfEachOpening()
{
    ShownPanel panel;
    panel.program.platform.grantAccess();
    auto& host = panel.open();
    panel.program.platform.press();
    host.hide();

    panel.program.platform.advance(24h);
    panel.program.platform.click();
    panel.open();

    QVERIFY(labelWith(host, "Monday, Nov 16"));
    QVERIFY(spokenAs(host, "Keys: 0"));
    QVERIFY(spokenAs(host, "Clicks: 1"));
    QVERIFY(labelWith(host, "1 keys · 1 clicks"));
    QCOMPARE(columns(host)[5]->toolTip(), "1 keys · 0 clicks");
    QCOMPARE(columns(host)[6]->toolTip(), "0 keys · 1 clicks");
}

void StatsViewTest::nothingIsDescribedWhileThePanelIsHidden()
{
    ShownPanel panel;
    panel.program.platform.grantAccess();
    auto& host = panel.open();
    host.hide();
    panel.renders = 0;

    for (int i = 0; i < 200; ++i) {
        panel.program.platform.press();
        QCoreApplication::processEvents();
    }

    QCOMPARE(panel.renders, 0);
}

void StatsViewTest::showCountsIsBoundBothWays()
{
    ShownPanel panel;
    const auto& host = panel.open();
    auto* box = &theButton(host, "Show counts in menu bar");

    QTest::mouseClick(box, Qt::LeftButton);
    QCoreApplication::processEvents();
    const bool shownAfterTheClick = box->isChecked();
    const auto stored = panel.program.platform.setting("showCountsInMenuBar");
    panel.state->showCountsInMenuBar = false;
    QCoreApplication::processEvents();

    QVERIFY(shownAfterTheClick);
    QCOMPARE(stored, true);
    QVERIFY(!box->isChecked());
}

void StatsViewTest::launchAtLoginIsBoundBothWays()
{
    ShownPanel panel;
    panel.program.platform.setLoginItemStatus(LoginItemStatus::Enabled);
    const auto& host = panel.open();
    auto* box = &theButton(host, "Launch at login");
    const bool shownAtFirst = box->isChecked();
    panel.program.platform.calls.clear();

    QTest::mouseClick(box, Qt::LeftButton);
    QCoreApplication::processEvents();

    QVERIFY(shownAtFirst);
    QVERIFY(!box->isChecked());
    QCOMPARE(std::ranges::count(panel.program.platform.calls, "unregister login item"), 1);
}

void StatsViewTest::aRefusedLoginItemSnapsBack()
{
    ShownPanel panel;
    panel.program.platform.refuseLoginItem();
    const auto& host = panel.open();
    auto* box = &theButton(host, "Launch at login");

    QTest::mouseClick(box, Qt::LeftButton);
    QCoreApplication::processEvents();

    QVERIFY(!box->isChecked());
    QVERIFY(!panel.state->launchAtLogin);
}

void StatsViewTest::theButtonsOpenWhatTheyName()
{
    ShownPanel panel;
    panel.program.platform.storeSetting("hasCompletedOnboarding", true);
    const auto& host = panel.open();

    QTest::mouseClick(&theButton(host, "Setup Assistant…"), Qt::LeftButton);
    QTest::mouseClick(&theButton(host, "Share a day card"), Qt::LeftButton);
    const bool runsStill = !panel.program.platform.hasTerminated();
    QTest::mouseClick(&theButton(host, "Quit Knucklet"), Qt::LeftButton);

    QCOMPARE(panel.program.onboardingShown, std::vector { 0 });
    QCOMPARE(panel.program.shareCardShown, 1);
    QVERIFY(runsStill);
    QVERIFY(panel.program.platform.hasTerminated());
}

void StatsViewTest::theShareButtonTakesAPressAlsoBesideItsSymbol_data()
{
    QTest::addColumn<QPoint>("beside");

    // From the middle of a symbol that is 13 points high.
    QTest::newRow("above") << QPoint(0, -10);
    QTest::newRow("below") << QPoint(0, 10);
    QTest::newRow("to the left") << QPoint(-9, 0);
    QTest::newRow("to the right") << QPoint(9, 0);
}

void StatsViewTest::theShareButtonTakesAPressAlsoBesideItsSymbol()
{
    QFETCH(const QPoint, beside);
    ShownPanel panel;
    auto& host = panel.open();
    const auto symbol = placeOfButton(host, "Share a day card");
    const auto press = symbol.center() + beside;
    QVERIFY(!symbol.contains(press));

    const auto* pressed = host.childAt(press);

    QVERIFY(pressed);
    QCOMPARE(pressed, buttonWith(host, "Share a day card"));
}

void StatsViewTest::everythingIsReadToAScreenReader()
{
    ShownPanel panel;
    panel.program.writeStatsFile(week);
    panel.program.platform.storeSetting("showCountsInMenuBar", true);
    auto& host = panel.open();

    QStringList read;
    const std::function<void(QAccessibleInterface*)> walk = [&](QAccessibleInterface* element) {
        if (element->state().invisible)
            return;
        const auto name = element->text(QAccessible::Name);
        if (!name.isEmpty() && element->object() != &host)
            read.append(name + (element->state().checked ? " (checked)" : ""));
        for (int i = 0; i < element->childCount(); ++i)
            walk(element->child(i));
    };
    walk(QAccessible::queryAccessibleInterface(&host));

    const QStringList expected { "Knucklet", "Sunday, Nov 15", "Share a day card", "Keys: 4567",
        "Clicks: 1234", "Keyboard counting is off",
        "Grant Input Monitoring so Knucklet can count key presses. It only counts — which keys you press is "
        "never read or stored. Clicks are already being counted.",
        "Grant access…", "Monday, Nov 9: 5213 keys · 1820 clicks", "Tuesday, Nov 10: 8021 keys · 2410 clicks",
        "Wednesday, Nov 11: 3002 keys · 950 clicks", "Thursday, Nov 12: 0 keys · 12 clicks",
        "Friday, Nov 13: 9120 keys · 3010 clicks", "Saturday, Nov 14: 0 keys · 0 clicks",
        "Sunday, Nov 15: 4567 keys · 1234 clicks", "All time", "42.3k keys · 11.7k clicks", "Best day",
        "14.7k on Mar 5", "Show counts in menu bar (checked)", "Launch at login", "Setup Assistant…",
        "Quit Knucklet" };
    QCOMPARE(read, expected);
}

void StatsViewTest::theKeyboardReachesEveryControlInOrder()
{
    ShownPanel panel;
    auto& host = panel.open();
    host.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&host, patience));
    theButton(host, "Share a day card").setFocus();

    QStringList order;
    for (int i = 0; i < 6; ++i) {
        auto* control = qobject_cast<QAbstractButton*>(host.focusWidget());
        QVERIFY(control);
        order.append(control->text().isEmpty() ? control->accessibleName() : control->text());
        QTest::keyClick(control, Qt::Key_Tab);
    }

    const QStringList expected { "Share a day card", "Grant access…", "Show counts in menu bar",
        "Launch at login", "Setup Assistant…", "Quit Knucklet" };
    QCOMPARE(order, expected);
    QCOMPARE(host.focusWidget(), buttonWith(host, "Share a day card"));
}

void StatsViewTest::textsStandOutFromTheirBackground_data()
{
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<bool>("needsRelaunch");

    QTest::newRow("light, permission missing") << false << false;
    QTest::newRow("light, tap refused") << false << true;
    QTest::newRow("dark, permission missing") << true << false;
    QTest::newRow("dark, tap refused") << true << true;
}

void StatsViewTest::textsStandOutFromTheirBackground()
{
    QFETCH(const bool, isDark);
    QFETCH(const bool, needsRelaunch);
    ShownPanel panel;
    panel.program.writeStatsFile(week);
    panel.program.platform.setAppearance(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    auto& host = panel.open();
    if (needsRelaunch) {
        panel.program.platform.grantAccess();
        panel.program.platform.refuseTap();
        panel.program.platform.advance(2s);
    }
    host.renderNow();

    const auto image = magnified(host);

    const auto standsOut = [&](const QRect& rect, const QString& text) {
        const auto found = paintedContrast(image, rect);
        QVERIFY2(found >= 4.5, qPrintable(QString("%1: %2").arg(text).arg(found)));
    };
    for (const auto* label : host.findChildren<QLabel*>()) {
        // The accents are as they are.
        if (label->text() != "Keys" && label->text() != "Clicks")
            standsOut(placeIn(host, label), label->text());
    }
    for (const auto* tile : { "Keys: 4567", "Clicks: 1234" })
        standsOut(placeIn(host, spokenAs(host, tile)).adjusted(10, 32, -10, -10), tile);
    for (const auto* button : host.findChildren<QAbstractButton*>())
        standsOut(placeOfText(host, button), button->text() + button->accessibleName());
}

void StatsViewTest::captionsStandOutAsFarAsTheirColorsDo_data()
{
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("clicks");

    // docs/accessibility.md lists these.
    QTest::newRow("light") << false << "1.5"
                           << "2.0";
    QTest::newRow("dark") << true << "6.8"
                          << "5.2";
}

void StatsViewTest::captionsStandOutAsFarAsTheirColorsDo()
{
    QFETCH(const bool, isDark);
    QFETCH(const QString, keys);
    QFETCH(const QString, clicks);
    ShownPanel panel;
    panel.program.platform.setAppearance(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    auto& host = panel.open();

    const auto image = magnified(host);

    const auto found = [&](const QString& text) {
        return QString::number(paintedContrast(image, placeOfLabel(host, text)), 'f', 1);
    };
    QCOMPARE(found("Keys"), keys);
    QCOMPARE(found("Clicks"), clicks);
}

void StatsViewTest::thePanelFollowsTheSchemeWhileOpen()
{
    ShownPanel panel;
    panel.program.writeStatsFile(week);
    auto& host = panel.open();
    const auto inLight = picture(host);
    ShownPanel dark;
    dark.program.writeStatsFile(week);

    panel.program.platform.setAppearance(ColorScheme::Dark, Motion::Full);
    QTRY_VERIFY(picture(host).pixelColor(1, 1).lightness() < 60);
    dark.program.platform.setAppearance(ColorScheme::Dark, Motion::Full);
    auto& darkHost = dark.open();

    QTRY_COMPARE(picture(host), picture(darkHost));
    panel.program.platform.setAppearance(ColorScheme::Light, Motion::Full);
    QTRY_COMPARE(picture(host), inLight);
}

void StatsViewTest::everyTextIsTranslatedAndNothingClips()
{
    PseudoTranslator translator;
    QCoreApplication::installTranslator(&translator);
    ShownPanel panel;
    panel.program.writeStatsFile(week);
    auto& host = panel.open();
    const std::set<QString> verbatim { "Keys", "Clicks", "Sunday, Nov 15", "M", "T", "W", "F", "S" };

    QStringList texts;
    for (const bool isGranted : { false, true }) {
        panel.state->keyAccessGranted = isGranted;
        panel.state->needsRelaunch = isGranted;
        host.renderNow();
        for (const auto* label : host.findChildren<QLabel*>()) {
            texts.append(label->text());
            QVERIFY2(
                label->wordWrap() || label->width() >= label->sizeHint().width(), qPrintable(label->text()));
            QVERIFY2(!label->wordWrap() || label->height() >= label->heightForWidth(label->width()),
                qPrintable(label->text()));
        }
        for (const auto* button : host.findChildren<QAbstractButton*>()) {
            texts.append(button->text().isEmpty() ? button->accessibleName() : button->text());
            QVERIFY2(button->width() >= button->sizeHint().width(), qPrintable(button->text()));
        }
        for (const auto* column : columns(host))
            texts.append(column->toolTip());
    }
    QCoreApplication::removeTranslator(&translator);

    QCOMPARE(host.width(), 300);
    for (const auto& text : texts)
        QVERIFY2(verbatim.contains(text) || (text.startsWith("[") && text.endsWith("]")), qPrintable(text));
}

static const TestArea area("StatsView", runTest<StatsViewTest, QApplication>);
#include "StatsViewTest.moc"
