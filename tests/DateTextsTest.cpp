#include "DateTexts.h"

#include "support/TestArea.h"

#include <QTest>

#include <chrono>
#include <string>

using namespace std::chrono;

namespace {

constexpr Moment sundayMidnight = sys_days(2026y / 11 / 15);

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
    QTest::addColumn<QString>("weekdayAndDate");
    QTest::addColumn<QString>("date");

    QTest::newRow("American English") << "en_US"
                                      << "Sunday, Nov 15"
                                      << "Nov 15";
    QTest::newRow("British English") << "en_GB"
                                     << "Sunday, 15 Nov"
                                     << "15 Nov";
    QTest::newRow("German") << "de_DE"
                            << "Sonntag, 15. Nov."
                            << "15. Nov.";
    QTest::newRow("French") << "fr_FR"
                            << "dimanche 15 nov."
                            << "15 nov.";
    QTest::newRow("Arabic, in its own digits") << "ar_EG"
                                               << "الأحد، ١٥ نوفمبر"
                                               << "١٥ نوفمبر";
    QTest::newRow("Japanese") << "ja_JP"
                              << "11月15日日曜日"
                              << "11月15日";
    QTest::newRow("Persian, in its own calendar") << "fa_IR"
                                                  << "یکشنبه ۲۴ آبان"
                                                  << "۲۴ آبان";
}

void DateTextsTest::everyLocaleHasItsOrderAndNames()
{
    QFETCH(const QString, locale);
    QFETCH(const QString, weekdayAndDate);
    QFETCH(const QString, date);

    const DateTexts texts(locale.toStdString(), "UTC");

    QCOMPARE(QString::fromStdString(texts.weekdayAndDate(sundayMidnight)), weekdayAndDate);
    QCOMPARE(QString::fromStdString(texts.date(sundayMidnight)), date);
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

    QCOMPARE(QString::fromStdString(texts.weekdayAndDate(sundayMidnight)), "Sonntag, 15. Nov.");
}

static const TestArea area("DateTexts", runTest<DateTextsTest>);
#include "DateTextsTest.moc"
