#include "windows/DateTexts.h"

#include "support/TestArea.h"

#include <QStringList>
#include <QTest>

#include <unicode/localpointer.h>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>

#include <chrono>
#include <ctime>
#include <string>

using namespace std::chrono;

namespace {

constexpr CivilDay sunday = local_days(2026y / 11 / 15);

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
    const milliseconds sinceEpoch = sunday.time_since_epoch();
    text.resize(static_cast<std::size_t>(udat_format(format.getAlias(),
        static_cast<UDate>(sinceEpoch.count()), text.data(), length(text), nullptr, &status)));
    return U_SUCCESS(status) ? QString::fromStdU16String(text) : u_errorName(status);
}

}

class DateTextsTest final : public QObject {
    Q_OBJECT

private slots:
    void everyLocaleHasItsOrderAndNames_data();
    void everyLocaleHasItsOrderAndNames();
    void noZoneMovesADay_data();
    void noZoneMovesADay();
    void weekdaysStandAlone();
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

    const DateTexts texts(locale.toStdString());

    const auto weekdayAndDate = QString::fromStdString(texts.weekdayAndDate(sunday));
    for (const auto& name : names)
        QVERIFY2(weekdayAndDate.contains(name), qPrintable(weekdayAndDate));
    QCOMPARE(weekdayAndDate, inIcu(locale, u"EEEEdMMM"));
    QCOMPARE(QString::fromStdString(texts.weekdayAndFullDate(sunday)), inIcu(locale, u"EEEEdMMMM"));
    QCOMPARE(QString::fromStdString(texts.date(sunday)), inIcu(locale, u"dMMM"));
}

void DateTextsTest::noZoneMovesADay_data()
{
    QTest::addColumn<QByteArray>("zone");

    QTest::newRow("west of Greenwich") << QByteArray("America/New_York");
    QTest::newRow("Greenwich") << QByteArray("UTC");
    QTest::newRow("east of Greenwich") << QByteArray("Asia/Tokyo");
    QTest::newRow("an hour that is not there at midnight") << QByteArray("XYZ3ABC,J319/0,J350");
}

void DateTextsTest::noZoneMovesADay()
{
    QFETCH(const QByteArray, zone);
    qputenv("TZ", zone);
    tzset();
    // ICU reads the zone only once.
    const auto name = QString::fromLatin1(zone).toStdU16String();
    UErrorCode status = U_ZERO_ERROR;
    ucal_setDefaultTimeZone(name.c_str(), &status);
    QVERIFY(U_SUCCESS(status));

    const DateTexts texts("en_US");

    QCOMPARE(texts.weekdayAndDate(sunday), "Sunday, Nov 15");
    QCOMPARE(texts.weekdayLetter(sunday), "S");
    QCOMPARE(texts.weekdayLetter(sunday + days(1)), "M");
}

void DateTextsTest::weekdaysStandAlone()
{
    const DateTexts english("en_US");
    const DateTexts polish("pl_PL");

    QCOMPARE(english.weekdayLetter(sunday), "S");
    // Within a sentence it would be "n".
    QCOMPARE(polish.weekdayLetter(sunday), "N");
}

void DateTextsTest::theUsersLocaleIsUsed()
{
    qputenv("LC_ALL", "de_DE.UTF-8");

    const auto texts = DateTexts::forUser();

    QCOMPARE(QString::fromStdString(texts.weekdayAndDate(sunday)), inIcu("de_DE", u"EEEEdMMM"));
}

static const TestArea area("DateTexts", runTest<DateTextsTest>);
#include "DateTextsTest.moc"
