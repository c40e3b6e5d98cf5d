#include "windows/ShareCardView.h"

#include "support/Contrast.h"
#include "support/FakeCard.h"
#include "support/RecordedDrawing.h"
#include "support/TestArea.h"
#include "support/Zones.h"
#include "windows/Theme.h"
#include "windows/ui/Look.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <QScopeGuard>
#include <QTest>
#include <QTranslator>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::sys_days;

namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

const QColor keyColor = QColor::fromRgbF(0.98F, 0.72F, 0.25F);
const QColor clickColor = QColor::fromRgbF(0.30F, 0.72F, 0.70F);
const QColor baseColor = QColor::fromRgbF(0.11F, 0.13F, 0.19F);

QColor white(float opacity) { return QColor::fromRgbF(1, 1, 1, opacity); }

std::unique_ptr<RecordedDrawing> drawn(const ShareCardView& view)
{
    auto drawing = std::make_unique<RecordedDrawing>(ShareCardView::size);
    QPainter painter(drawing.get());
    view.paint(painter);
    return drawing;
}

bool reads(const RecordedDrawing& drawing, const QString& text)
{
    return std::ranges::count(drawing.texts, text, &RecordedDrawing::Text::text) > 0;
}

/// The first text that is as wanted. Where there is none, one that stands nowhere, so that whatever is asked
/// of its place is not so.
template <typename Wanted>
RecordedDrawing::Text find(const RecordedDrawing& drawing, Wanted wanted)
{
    constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
    const auto found = std::ranges::find_if(drawing.texts, wanted);
    return found != drawing.texts.end()
        ? *found
        : RecordedDrawing::Text { {}, {}, {}, { nowhere, nowhere }, nowhere, nowhere };
}

RecordedDrawing::Text textOf(const RecordedDrawing& drawing, const QString& text)
{
    return find(drawing, [&](const auto& each) { return each.text == text; });
}

RecordedDrawing::Text keysNumeral(const RecordedDrawing& drawing)
{
    return find(drawing, [](const auto& each) { return each.font.pixelSize() == 72; });
}

/// The height of a line, to the next half point.
double lineHeight(const QFont& font) { return std::ceil(QFontMetricsF(font).height() * 2) / 2; }

double top(const RecordedDrawing::Text& text)
{
    return text.begin.y() - QFontMetricsF(text.font).ascent() * text.scale;
}

double bottom(const RecordedDrawing::Text& text) { return top(text) + lineHeight(text.font) * text.scale; }

double center(const RecordedDrawing::Text& text)
{
    // The distance after the last letter is not seen.
    return text.begin.x() + (text.width - text.font.letterSpacing()) / 2;
}

bool isNear(double actual, double expected) { return std::abs(actual - expected) < 0.02; }

/// What the chart fills, from left to right and each bar from the bottom.
std::vector<RecordedDrawing::Shape> bars(const RecordedDrawing& drawing)
{
    std::vector<RecordedDrawing::Shape> bars;
    std::ranges::copy_if(
        drawing.shapes, std::back_inserter(bars), [](const auto& shape) { return !shape.isPlain; });
    return bars;
}

/// Where all bars stand; nowhere when there are none.
double chartBottom(const RecordedDrawing& drawing)
{
    const auto found = bars(drawing);
    return found.empty() ? std::numeric_limits<double>::quiet_NaN() : found.front().box.bottom();
}

bool isGap(double upperBottom, double lowerTop, double gap) { return isNear(lowerTop - upperBottom, gap); }

/// Has many words for everything.
class VerboseTranslator final : public QTranslator {
public:
    bool isEmpty() const override { return false; }

    QString translate(const char*, const char*, const char*, int) const override
    {
        return QString("many words ").repeated(60).trimmed();
    }
};

}

/// Everything is measured in points on the drawing itself, before it becomes pixels.
class ShareCardViewTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void thePictureHasTwoPixelsToAPoint();
    void theSameNumbersGiveTheSamePicture();
    void everyTextHasItsLook_data();
    void everyTextHasItsLook();
    void everyTextIsCentered();
    void textsStandOutAsFarAsTheirColorsDo_data();
    void textsStandOutAsFarAsTheirColorsDo();
    void theContentStandsAtItsDistances();
    void withoutABestDayNothingTakesTheBadgesPlace();
    void datesReadAsTheUsersLocaleHasThem_data();
    void datesReadAsTheUsersLocaleHasThem();
    void dateAndLettersAreThoseOfTheZone();
    void aLongDateWrapsAndMovesWhatIsBelow();
    void anEmptyWeekKeepsTheChartsRoom();
    void whatNeedsMoreThanThereIsNeverOverlaps();

    void aNumberIsGroupedForTheLocale_data();
    void aNumberIsGroupedForTheLocale();
    void aNumberShrinksToHalfAndIsThenTruncated_data();
    void aNumberShrinksToHalfAndIsThenTruncated();
    void theLabelStaysBelowAShrunkenNumber();

    void theBackgroundHasThreeLayers();
    void aPictureFillsTheCardAndIsCropped_data();
    void aPictureFillsTheCardAndIsCropped();
    void withoutAPictureTheCardIsStillWhole();

    void theChartHasAColumnForEachDay();
    void theWeekRunsAsTheLanguageReads();
    void aBarIsAsHighAsItsShareOfThePeak();
    void aWeekWithoutActivityHasStubsOnly();
    void aDayWhoseTotalIsZeroIsAStub();
    void aCountIsNeverTooSmallToBeSeen();
    void theGapStaysAlsoBelowABarWithoutClicks();
    void aBarMayReachOutOfItsAreaAtTheTop();
    void daysAreNamedByOneLetter();
};

void ShareCardViewTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
}

void ShareCardViewTest::thePictureHasTwoPixelsToAPoint()
{
    FakeCard card(ordinaryWeek());

    const auto image = card.view(cardPicture()).rendered();

    QCOMPARE(image.size(), QSize(1080, 1350));
    QCOMPARE(image.devicePixelRatio(), 1.0);
    QVERIFY(!image.hasAlphaChannel());
}

void ShareCardViewTest::theSameNumbersGiveTheSamePicture()
{
    FakeCard card(ordinaryWeek());

    const auto one = card.view(cardPicture()).rendered();
    const auto other = card.view(cardPicture()).rendered();
    card.program.platform.grantAccess();
    card.program.platform.advance(2s);
    card.program.platform.press();
    const auto next = card.view(cardPicture()).rendered();

    QCOMPARE(one, other);
    QVERIFY(next != one);
}

void ShareCardViewTest::everyTextHasItsLook_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("weight");
    QTest::addColumn<double>("tracking");
    QTest::addColumn<QColor>("color");

    QTest::newRow("name") << "KNUCKLET" << 15 << int(QFont::Medium) << 5.0 << white(0.55F);
    QTest::newRow("date") << "Sunday, November 15" << 28 << int(QFont::Bold) << 0.0 << white(1);
    QTest::newRow("badge") << "★ Best day yet" << 13 << int(QFont::Medium) << 0.0 << keyColor;
    QTest::newRow("keys") << "14,567" << 72 << int(QFont::Bold) << 0.0 << keyColor;
    QTest::newRow("keys' label") << "KEYS PRESSED" << 13 << int(QFont::Medium) << 3.0 << white(0.6F);
    QTest::newRow("clicks") << "1,234" << 72 << int(QFont::Bold) << 0.0 << clickColor;
    QTest::newRow("clicks' label") << "CLICKS CLICKED" << 13 << int(QFont::Medium) << 3.0 << white(0.6F);
    QTest::newRow("weekday") << "W" << 10 << int(QFont::Medium) << 0.0 << white(0.45F);
    QTest::newRow("footer") << "my fingers did the work · Knucklet for Mac" << 11 << int(QFont::Medium) << 0.0
                            << white(0.4F);
}

void ShareCardViewTest::everyTextHasItsLook()
{
    QFETCH(const QString, text);
    QFETCH(const int, size);
    QFETCH(const int, weight);
    QFETCH(const double, tracking);
    QFETCH(const QColor, color);
    FakeCard card(statsOf({ { "2026-11-15", 14567, 1234 } }));

    const auto drawing = drawn(card.view());

    QVERIFY(reads(*drawing, text));
    const auto found = textOf(*drawing, text);
    QCOMPARE(found.font.family(), "SN Pro");
    QCOMPARE(found.font.pixelSize(), size);
    QCOMPARE(found.font.weight(), weight);
    QCOMPARE(found.font.letterSpacing(), tracking);
    QCOMPARE(found.scale, 1.0);
    QCOMPARE(found.color.rgba64(), color.rgba64());
}

void ShareCardViewTest::everyTextIsCentered()
{
    FakeCard card(statsOf({ { "2026-11-15", 14567, 1234 } }));

    const auto drawing = drawn(card.view());

    for (const auto& text : drawing->texts) {
        if (text.font.pixelSize() != 10)
            QVERIFY2(isNear(center(text), 270), qPrintable(text.text));
    }
}

void ShareCardViewTest::textsStandOutAsFarAsTheirColorsDo_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("found");

    // docs/accessibility.md lists these.
    QTest::newRow("name") << "KNUCKLET"
                          << "5.8";
    QTest::newRow("date") << "Sunday, November 15"
                          << "16.0";
    QTest::newRow("keys") << "4,567"
                          << "9.1";
    QTest::newRow("clicks") << "1,234"
                            << "6.7";
    QTest::newRow("label") << "KEYS PRESSED"
                           << "6.6";
    QTest::newRow("weekday") << "W"
                             << "4.3";
    QTest::newRow("footer") << "my fingers did the work · Knucklet for Mac"
                            << "3.7";
}

void ShareCardViewTest::textsStandOutAsFarAsTheirColorsDo()
{
    QFETCH(const QString, text);
    QFETCH(const QString, found);
    FakeCard card(ordinaryWeek());

    const auto drawing = drawn(card.view());

    // On the poster's base color, which the middle of its picture is darkened to.
    const auto base = QColor::fromRgbF(0.11F, 0.13F, 0.19F);
    const auto ink = textOf(*drawing, text).color;
    const auto mixed
        = [&](float top, float bottom) { return top * ink.alphaF() + bottom * (1 - ink.alphaF()); };
    const auto seen = QColor::fromRgbF(
        mixed(ink.redF(), base.redF()), mixed(ink.greenF(), base.greenF()), mixed(ink.blueF(), base.blueF()));
    QCOMPARE(QString::number(contrast(seen, base), 'f', 1), found);
}

void ShareCardViewTest::theContentStandsAtItsDistances()
{
    FakeCard card(statsOf({ { "2026-11-15", 14567, 1234 } }));

    const auto drawing = drawn(card.view());

    const auto name = textOf(*drawing, "KNUCKLET");
    const auto date = textOf(*drawing, "Sunday, November 15");
    const auto badge = textOf(*drawing, "★ Best day yet");
    const auto keys = textOf(*drawing, "14,567");
    const auto keysLabel = textOf(*drawing, "KEYS PRESSED");
    const auto clicks = textOf(*drawing, "1,234");
    const auto clicksLabel = textOf(*drawing, "CLICKS CLICKED");
    const auto letter = textOf(*drawing, "W");
    const auto footer = textOf(*drawing, "my fingers did the work · Knucklet for Mac");
    const double chartBottom = ::chartBottom(*drawing);
    QVERIFY(isNear(top(name), 44));
    QVERIFY(isGap(bottom(name), top(date), 6));
    QVERIFY(isGap(bottom(date), top(badge), 6));
    QVERIFY(isGap(bottom(keys), top(keysLabel), 4));
    QVERIFY(isGap(bottom(keysLabel), top(clicks), 34));
    QVERIFY(isGap(bottom(clicks), top(clicksLabel), 4));
    QVERIFY(isGap(chartBottom, top(letter), 5));
    QVERIFY(isGap(bottom(letter), top(footer), 26));
    QVERIFY(isNear(bottom(footer), 675 - 44));
    const double free = top(keys) - bottom(badge);
    QVERIFY(free > 20);
    QVERIFY(isGap(bottom(clicksLabel), chartBottom - 64, free));
}

void ShareCardViewTest::withoutABestDayNothingTakesTheBadgesPlace()
{
    FakeCard card(ordinaryWeek());

    const auto drawing = drawn(card.view());

    QVERIFY(!reads(*drawing, "★ Best day yet"));
    const auto date = textOf(*drawing, "Sunday, November 15");
    const auto keys = textOf(*drawing, "4,567");
    const auto clicksLabel = textOf(*drawing, "CLICKS CLICKED");
    const double chartTop = chartBottom(*drawing) - 64;
    QVERIFY(isNear(top(date), 44 + lineHeight(font(15, QFont::Medium)) + 6));
    QVERIFY(isNear(top(keys) - bottom(date), chartTop - bottom(clicksLabel)));
}

void ShareCardViewTest::datesReadAsTheUsersLocaleHasThem_data()
{
    QTest::addColumn<std::string>("locale");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("letters");

    QTest::newRow("en_US") << std::string("en_US") << "Sunday, November 15"
                           << "M T W T F S S";
    QTest::newRow("de_DE") << std::string("de_DE") << "Sonntag, 15. November"
                           << "M D M D F S S";
    QTest::newRow("ja_JP") << std::string("ja_JP") << QStringLiteral("11月15日日曜日")
                           << QStringLiteral("月 火 水 木 金 土 日");
    // Drawn piece by piece from left to right.
    QTest::newRow("ar_EG") << std::string("ar_EG") << QStringLiteral(" نوفمبر١٥الأحد، ")
                           << QStringLiteral("ن ث ر خ ج س ح");
}

void ShareCardViewTest::datesReadAsTheUsersLocaleHasThem()
{
    QFETCH(const std::string, locale);
    QFETCH(const QString, date);
    QFETCH(const QString, letters);
    FakeCard card(ordinaryWeek(), locale);

    const auto drawing = drawn(card.view());

    QString shownDate;
    QStringList shownLetters;
    for (const auto& text : drawing->texts) {
        if (text.font.pixelSize() == 28)
            shownDate += text.text;
        if (text.font.pixelSize() == 10)
            shownLetters << text.text;
    }
    QCOMPARE(shownDate, date);
    QCOMPARE(shownLetters.join(u' '), letters);
}

void ShareCardViewTest::dateAndLettersAreThoseOfTheZone()
{
    const auto inUtcAgain = qScopeGuard([] { setZone("UTC"); });
    changeZone("Pacific/Auckland");
    FakeCard card(ordinaryWeek());

    const auto drawing = drawn(card.view());

    QStringList letters;
    for (const auto& text : drawing->texts) {
        if (text.font.pixelSize() == 10)
            letters << text.text;
    }
    QVERIFY(reads(*drawing, "Monday, November 16"));
    QCOMPARE(letters.join(u' '), "T W T F S S M");
}

void ShareCardViewTest::aLongDateWrapsAndMovesWhatIsBelow()
{
    FakeCard card(statsOf({ { "2026-10-25", 14567, 1234 } }), "ga_IE");
    card.program.platform.setClock(sys_days(2026y / 10 / 25) + 12h);

    const auto drawing = drawn(card.view());

    QList<RecordedDrawing::Text> date;
    std::ranges::copy_if(drawing->texts, std::back_inserter(date),
        [](const auto& text) { return text.font.pixelSize() == 28; });
    QCOMPARE(date.size(), 2);
    QCOMPARE((date[0].text + u' ' + date[1].text).simplified(), "Dé Domhnaigh 25 Deireadh Fómhair");
    for (const auto& line : date) {
        QCOMPARE(line.scale, 1.0);
        QVERIFY(line.width <= 460);
    }
    const auto badge = textOf(*drawing, "★ Best day yet");
    QVERIFY(top(badge) - bottom(date[1]) >= 6);
    QVERIFY(top(badge) - bottom(date[1]) < 8);
}

void ShareCardViewTest::anEmptyWeekKeepsTheChartsRoom()
{
    FakeCard card(statsOf({ { "2026-11-15", 14567, 1234 } }));
    auto view = card.view();
    const auto before = drawn(view);

    view.data.week.clear();
    const auto drawing = drawn(view);

    QVERIFY(bars(*drawing).empty());
    QVERIFY(reads(*drawing, "CLICKS CLICKED"));
    QCOMPARE(textOf(*drawing, "CLICKS CLICKED").begin, textOf(*before, "CLICKS CLICKED").begin);
}

void ShareCardViewTest::whatNeedsMoreThanThereIsNeverOverlaps()
{
    VerboseTranslator translator;
    QCoreApplication::installTranslator(&translator);
    FakeCard card(statsOf({ { "2026-11-15", 14567, 1234 } }));

    const auto drawing = drawn(card.view());

    const auto last
        = std::ranges::find_if(drawing->texts, [](const auto& each) { return each.text == "14,567"; });
    QVERIFY(last != drawing->texts.begin() && last != drawing->texts.end());
    const auto badge = *std::prev(last);
    const auto keys = textOf(*drawing, "14,567");
    const auto clicksLabel = textOf(*drawing, "CLICKS CLICKED");
    const double chartTop = chartBottom(*drawing) - 64;
    QVERIFY2(isNear(top(keys), bottom(badge)), qPrintable(QString::number(top(keys) - bottom(badge))));
    QVERIFY(isNear(chartTop, bottom(clicksLabel)));
}

void ShareCardViewTest::aNumberIsGroupedForTheLocale_data()
{
    QTest::addColumn<std::string>("locale");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("clicks");

    QTest::newRow("en_US") << std::string("en_US") << "1,234,567"
                           << "8,901";
    QTest::newRow("de_DE") << std::string("de_DE") << "1.234.567"
                           << "8.901";
    // Painted with a space that the font has.
    QTest::newRow("fr_FR") << std::string("fr_FR") << QStringLiteral("1\u2009234\u2009567")
                           << QStringLiteral("8\u2009901");
    QTest::newRow("de_CH") << std::string("de_CH") << QStringLiteral("1’234’567") << QStringLiteral("8’901");
    // Four digits stay together.
    QTest::newRow("es_ES") << std::string("es_ES") << "1.234.567"
                           << "8901";
    QTest::newRow("hi_IN") << std::string("hi_IN") << "12,34,567"
                           << "8,901";
    QTest::newRow("ja_JP") << std::string("ja_JP") << "1,234,567"
                           << "8,901";
    QTest::newRow("ar_EG") << std::string("ar_EG") << QStringLiteral("١٬٢٣٤٬٥٦٧") << QStringLiteral("٨٬٩٠١");
}

void ShareCardViewTest::aNumberIsGroupedForTheLocale()
{
    QFETCH(const std::string, locale);
    QFETCH(const QString, keys);
    QFETCH(const QString, clicks);
    FakeCard card(statsOf({ { "2026-11-15", 1234567, 8901 } }), locale);

    const auto drawing = drawn(card.view());

    QList<RecordedDrawing::Text> numerals;
    std::ranges::copy_if(drawing->texts, std::back_inserter(numerals),
        [](const auto& text) { return text.font.pixelSize() == 72; });
    QCOMPARE(numerals.size(), 2);
    QCOMPARE(numerals[0].text, keys);
    QCOMPARE(numerals[1].text, clicks);
    for (const auto& numeral : numerals) {
        QVERIFY(isNear(center(numeral), 270));
        QVERIFY(numeral.width <= 460.02);
    }
}

void ShareCardViewTest::aNumberShrinksToHalfAndIsThenTruncated_data()
{
    QTest::addColumn<std::int64_t>("keys");
    QTest::addColumn<std::string>("locale");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isShrunk");

    const std::string english = "en_US";
    QTest::newRow("fits") << std::int64_t { 123'456'789 } << english << "123,456,789" << false;
    QTest::newRow("shrinks") << std::int64_t { 98'765'432'100 } << english << "98,765,432,100" << true;
    QTest::newRow("shrinks to nearly half") << greatest << english << "9,223,372,036,854,775,807" << true;
    // Groups of two digits need more room.
    QTest::newRow("is truncated at half")
        << greatest << std::string("en_IN") << "92,23,37,20,36,85,47,75,8…" << true;
}

void ShareCardViewTest::aNumberShrinksToHalfAndIsThenTruncated()
{
    QFETCH(const std::int64_t, keys);
    QFETCH(const std::string, locale);
    QFETCH(const QString, text);
    QFETCH(const bool, isShrunk);
    FakeCard card(statsOf({ { "2026-11-15", keys, 0 } }), locale);

    const auto drawing = drawn(card.view());

    const auto numeral = keysNumeral(*drawing);
    QCOMPARE(numeral.text, text);
    QCOMPARE(numeral.scale < 1, isShrunk);
    QVERIFY(isNear(center(numeral), 270));
    if (text.endsWith(u'…')) {
        QCOMPARE(numeral.scale, 0.5);
        QVERIFY(numeral.width <= 460);
    } else if (isShrunk) {
        QVERIFY(isNear(numeral.width, 460));
        QVERIFY(numeral.scale > 0.5);
    }
}

void ShareCardViewTest::theLabelStaysBelowAShrunkenNumber()
{
    FakeCard card(statsOf({ { "2026-11-15", greatest, 0 } }));

    const auto drawing = drawn(card.view());

    const auto keys = keysNumeral(*drawing);
    const auto label = textOf(*drawing, "KEYS PRESSED");
    QVERIFY(keys.scale < 0.6);
    QVERIFY(std::abs(top(label) - bottom(keys) - 4) <= 0.5);
}

void ShareCardViewTest::theBackgroundHasThreeLayers()
{
    FakeCard card(ordinaryWeek());

    const auto drawing = drawn(card.view(cardPicture()));

    QList<RecordedDrawing::Shape> layers;
    std::ranges::copy_if(drawing->shapes, std::back_inserter(layers), &RecordedDrawing::Shape::isPlain);
    QCOMPARE(layers.size(), 2);
    QCOMPARE(layers[0].box, QRectF(0, 0, 540, 675));
    QCOMPARE(layers[0].brush.color().rgba64(), baseColor.rgba64());
    QCOMPARE(drawing->pictures.size(), 1);
    QCOMPARE(layers[1].box, QRectF(0, 0, 540, 675));
    QCOMPARE(layers[1].brush.style(), Qt::RadialGradientPattern);
    const auto& gradient = *static_cast<const QRadialGradient*>(layers[1].brush.gradient());
    QCOMPARE(gradient.center(), QPointF(270, 337.5));
    QCOMPARE(gradient.focalPoint(), QPointF(270, 337.5));
    QCOMPARE(gradient.focalRadius(), 0.0);
    QCOMPARE(gradient.radius(), 330.0);
    const auto stops = gradient.stops();
    QCOMPARE(stops.size(), 2);
    QCOMPARE(stops[0].first, 0.0);
    QVERIFY(isNear(stops[0].second.alphaF(), 0.55));
    QCOMPARE(stops[0].second.rgb(), baseColor.rgb());
    QCOMPARE(stops[1].first, 1.0);
    QCOMPARE(stops[1].second.alpha(), 0);
}

void ShareCardViewTest::aPictureFillsTheCardAndIsCropped_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRectF>("part");

    QTest::newRow("the card's own shape") << QSize(1080, 1350) << QRectF(0, 0, 1080, 1350);
    QTest::newRow("small") << QSize(54, 68) << QRectF(0, 0.25, 54, 67.5);
    QTest::newRow("wide") << QSize(2000, 1350) << QRectF(460, 0, 1080, 1350);
    QTest::newRow("high") << QSize(1080, 2000) << QRectF(0, 325, 1080, 1350);
}

void ShareCardViewTest::aPictureFillsTheCardAndIsCropped()
{
    QFETCH(const QSize, size);
    QFETCH(const QRectF, part);
    FakeCard card(ordinaryWeek());
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::darkGreen);
    const auto view = card.view(picture);

    // On a device that has as many pixels as the exported picture.
    RecordedDrawing drawing(ShareCardView::size * 2);
    QPainter painter(&drawing);
    painter.scale(2, 2);
    view.paint(painter);
    painter.end();

    QCOMPARE(drawing.pictures.size(), 1);
    QCOMPARE(drawing.pictures[0].place, QRectF(0, 0, 1080, 1350));
    QCOMPARE(drawing.pictures[0].part, part);
    const auto image = view.rendered();
    for (const QPoint corner : { QPoint(0, 0), QPoint(1079, 0), QPoint(0, 1349), QPoint(1079, 1349) })
        QCOMPARE(image.pixelColor(corner), QColor(Qt::darkGreen));
}

void ShareCardViewTest::withoutAPictureTheCardIsStillWhole()
{
    FakeCard card(ordinaryWeek());

    const auto drawing = drawn(card.view());
    const auto image = card.view().rendered();

    QCOMPARE(drawing->pictures.size(), 0);
    QCOMPARE(drawing->texts.size(), 14);
    QCOMPARE(image.size(), QSize(1080, 1350));
    for (const QPoint corner : { QPoint(0, 0), QPoint(1079, 0), QPoint(0, 1349), QPoint(1079, 1349) })
        QCOMPARE(image.pixelColor(corner).rgb(), baseColor.rgb());
}

void ShareCardViewTest::theChartHasAColumnForEachDay()
{
    FakeCard card;

    const auto drawing = drawn(card.view());

    const auto stubs = bars(*drawing);
    QCOMPARE(stubs.size(), std::size_t { 7 });
    for (std::size_t i = 0; i < stubs.size(); ++i) {
        QCOMPARE(stubs[i].box.width(), 30.0);
        QCOMPARE(stubs[i].box.left(), 129 + 42.0 * static_cast<double>(i));
    }
    QCOMPARE(stubs.front().box.left(), 540 - stubs.back().box.right());
}

void ShareCardViewTest::theWeekRunsAsTheLanguageReads()
{
    FakeCard card(ordinaryWeek());
    auto view = card.view();
    const auto before = drawn(view);

    view.direction = Qt::RightToLeft;
    const auto drawing = drawn(view);

    const auto first = bars(*before);
    const auto mirrored = bars(*drawing);
    QCOMPARE(mirrored.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        QVERIFY(isNear(mirrored[i].box.right(), 540 - first[i].box.left()));
        QVERIFY(isNear(mirrored[i].box.top(), first[i].box.top()));
        QVERIFY(isNear(mirrored[i].box.height(), first[i].box.height()));
    }
    QCOMPARE(textOf(*drawing, "CLICKS CLICKED").begin, textOf(*before, "CLICKS CLICKED").begin);
}

void ShareCardViewTest::aBarIsAsHighAsItsShareOfThePeak()
{
    FakeCard card(statsOf({ { "2026-11-14", 600, 400 }, { "2026-11-15", 125, 250 } }));

    const auto drawing = drawn(card.view());

    const auto found = bars(*drawing);
    QCOMPARE(found.size(), std::size_t { 9 });
    const double bottom = found[0].box.bottom();
    QCOMPARE(found[5].brush.color(), clickColor);
    QCOMPARE(found[5].box.bottom(), bottom);
    QVERIFY(isNear(found[5].box.height(), 0.4 * 64));
    QCOMPARE(found[6].brush.color(), keyColor);
    QVERIFY(isGap(found[6].box.bottom(), found[5].box.top(), 1));
    QVERIFY(isNear(found[6].box.height(), 0.6 * 64));
    QVERIFY(isNear(found[7].box.height(), 0.25 * 64));
    QVERIFY(isNear(found[8].box.height(), 0.125 * 64));
}

void ShareCardViewTest::aWeekWithoutActivityHasStubsOnly()
{
    FakeCard card;

    const auto drawing = drawn(card.view());

    QCOMPARE(bars(*drawing).size(), std::size_t { 7 });
    for (const auto& stub : bars(*drawing)) {
        QCOMPARE(stub.box.height(), 3.0);
        QCOMPARE(stub.brush.color().rgba64(), white(0.12F).rgba64());
    }
}

// A file may say anything.
void ShareCardViewTest::aDayWhoseTotalIsZeroIsAStub()
{
    FakeCard card(statsOf({ { "2026-11-14", 5, -5 }, { "2026-11-15", 7, 0 } }));

    const auto drawing = drawn(card.view());

    const auto found = bars(*drawing);
    QCOMPARE(found.size(), std::size_t { 7 });
    QCOMPARE(found[5].box.height(), 3.0);
    QCOMPARE(found[5].brush.color().rgba64(), white(0.12F).rgba64());
}

void ShareCardViewTest::aCountIsNeverTooSmallToBeSeen()
{
    FakeCard card(statsOf({ { "2026-11-14", 50'000, 0 }, { "2026-11-15", 1, 0 } }));

    const auto drawing = drawn(card.view());

    const auto found = bars(*drawing);
    QVERIFY(!found.empty());
    QCOMPARE(found.back().brush.color(), keyColor);
    QVERIFY(isNear(found.back().box.height(), 2));
}

void ShareCardViewTest::theGapStaysAlsoBelowABarWithoutClicks()
{
    FakeCard card(statsOf({ { "2026-11-14", 0, 7 }, { "2026-11-15", 7, 0 } }));

    const auto drawing = drawn(card.view());

    const auto found = bars(*drawing);
    const double bottom = chartBottom(*drawing);
    const auto boxOf = [&](const QColor& color) {
        const auto colored = std::ranges::find_if(
            found, [&](const auto& shape) { return shape.brush.color() == color && shape.box.height() > 0; });
        return colored == found.end() ? QRectF() : colored->box;
    };
    QCOMPARE(boxOf(clickColor).bottom(), bottom);
    QVERIFY(isNear(boxOf(clickColor).height(), 64));
    QVERIFY(isGap(boxOf(keyColor).bottom(), bottom, 1));
    QVERIFY(isNear(boxOf(keyColor).height(), 64));
}

void ShareCardViewTest::aBarMayReachOutOfItsAreaAtTheTop()
{
    FakeCard card(statsOf({ { "2026-11-15", 50'000, 1 } }));
    const auto view = card.view();

    const auto drawing = drawn(view);
    const auto image = view.rendered();

    const auto found = bars(*drawing);
    QVERIFY(!found.empty());
    const double bottom = found[0].box.bottom();
    QVERIFY(isNear(found.back().box.top(), bottom - 64 - 1 - 2));
    const QPointF above(found.back().box.center().x(), bottom - 64 - 1.5);
    QCOMPARE(image.pixelColor((above * 2).toPoint()).rgb(), keyColor.rgb());
}

void ShareCardViewTest::daysAreNamedByOneLetter()
{
    FakeCard card;

    const auto drawing = drawn(card.view());

    QStringList letters;
    for (const auto& text : drawing->texts) {
        if (text.font.pixelSize() != 10)
            continue;
        QVERIFY(isNear(center(text), 144 + 42.0 * static_cast<double>(letters.size())));
        letters << text.text;
    }
    QCOMPARE(letters.join(u' '), "M T W T F S S");
}

static const TestArea area("ShareCardView", runTest<ShareCardViewTest, QApplication>);
#include "ShareCardViewTest.moc"
