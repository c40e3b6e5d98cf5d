#include "DateTexts.h"

#include "support/TestArea.h"

#include <QStringList>
#include <QTest>

#include <unicode/localpointer.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>

#include <chrono>
#include <string>

using namespace std::chrono;

namespace {

constexpr Moment sundayMidnight = sys_days(2026y / 11 / 15);

/// That Sunday as the installed ICU writes these parts of a date. Their order and punctuation change with its
/// releases: British English lost the comma behind the weekday.
QString inIcu(const QString& locale, const std::u16string& skeleton)
{
    const QByteArray name = locale.toUtf8();
    const auto length = [](const auto& text) { return static_cast<int32_t>(text.size()); };
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUDateTimePatternGeneratorPointer generator(udatpg_open(name.constData(), &status));
    std::u16string pattern(100, u'\0');
    pattern.resize(static_cast<std::size_t>(udatpg_getBestPattern(
        generator.getAlias(), skeleton.data(), length(skeleton), pattern.data(), length(pattern), &status)));
    const icu::LocalUDateFormatPointer format(udat_open(
        UDAT_PATTERN, UDAT_PATTERN, name.constData(), u"UTC", -1, pattern.data(), length(pattern), &status));
    std::u16string text(100, u'\0');
    const auto moment = static_cast<UDate>(sundayMidnight.time_since_epoch().count());
    text.resize(static_cast<std::size_t>(
        udat_format(format.getAlias(), moment, text.data(), length(text), nullptr, &status)));
    return U_SUCCESS(status) ? QString::fromStdU16String(text) : u_errorName(status);
}

}

class DateTextsTest final : public QObject {
    Q_OBJECT

private slots:
    void everyLocaleHasItsOrderAndNames_data();
    void everyLocaleHasItsOrderAndNames();
    void theDayIsThatOfTheZone_data();
    void theDayIsThatOfTheZone();
    void weekdaysStandAlone();
    void someLocalesAreReadFromRightToLeft();
    void theUsersLocaleIsUsed();
};

void DateTextsTest::everyLocaleHasItsOrderAndNames_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QStringList>("names");

    const auto row = [](const char* name, const char* locale, const QStringList& names) {
        QTest::newRow(name) << locale << names;
    };
    row("American English", "en_US", { "Sunday", "Nov", "15" });
    row("British English", "en_GB", { "Sunday", "Nov", "15" });
    row("German", "de_DE", { "Sonntag", "Nov", "15" });
    row("French", "fr_FR", { "dimanche", "nov", "15" });
    row("Arabic, in its own digits", "ar_EG", { "الأحد", "نوفمبر", "١٥" });
    row("Japanese", "ja_JP", { "日曜日", "11月", "15日" });
    row("Persian, in its own calendar", "fa_IR", { "یکشنبه", "آبان", "۲۴" });
}

void DateTextsTest::everyLocaleHasItsOrderAndNames()
{
    QFETCH(const QString, locale);
    QFETCH(const QStringList, names);

    const DateTexts texts(locale.toStdString(), "UTC");

    const auto weekdayAndDate = QString::fromStdString(texts.weekdayAndDate(sundayMidnight));
    for (const auto& name : names)
        QVERIFY2(weekdayAndDate.contains(name), qPrintable(weekdayAndDate));
    QCOMPARE(weekdayAndDate, inIcu(locale, u"EEEEdMMM"));
    QCOMPARE(QString::fromStdString(texts.weekdayAndFullDate(sundayMidnight)), inIcu(locale, u"EEEEdMMMM"));
    QCOMPARE(QString::fromStdString(texts.date(sundayMidnight)), inIcu(locale, u"dMMM"));
}

void DateTextsTest::theDayIsThatOfTheZone_data()
{
    QTest::addColumn<QString>("zone");
    QTest::addColumn<QString>("date");

    QTest::newRow("west of Greenwich") << "America/New_York"
                                       << "Saturday, Nov 14";
    QTest::newRow("Greenwich") << "UTC"
                               << "Sunday, Nov 15";
    QTest::newRow("east of Greenwich") << "Asia/Tokyo"
                                       << "Sunday, Nov 15";
}

void DateTextsTest::theDayIsThatOfTheZone()
{
    QFETCH(const QString, zone);
    QFETCH(const QString, date);

    const DateTexts texts("en_US", zone.toStdString());

    QCOMPARE(QString::fromStdString(texts.weekdayAndDate(sundayMidnight)), date);
}

void DateTextsTest::weekdaysStandAlone()
{
    const DateTexts english("en_US", "UTC");
    const DateTexts polish("pl_PL", "UTC");

    QCOMPARE(english.weekdayLetter(sundayMidnight), "S");
    // Within a sentence it would be "n".
    QCOMPARE(polish.weekdayLetter(sundayMidnight), "N");
}

void DateTextsTest::someLocalesAreReadFromRightToLeft()
{
    QVERIFY(DateTexts("ar_EG", "UTC").isRightToLeft());
    QVERIFY(DateTexts("he_IL", "UTC").isRightToLeft());
    QVERIFY(!DateTexts("de_DE", "UTC").isRightToLeft());
}

void DateTextsTest::theUsersLocaleIsUsed()
{
    qputenv("LC_ALL", "de_DE.UTF-8");
    qputenv("TZ", "UTC");

    const auto texts = DateTexts::forUser();

    QCOMPARE(QString::fromStdString(texts.weekdayAndDate(sundayMidnight)), inIcu("de_DE", u"EEEEdMMM"));
}

static const TestArea area("DateTexts", runTest<DateTextsTest>);
#include "DateTextsTest.moc"
