#include "model/CompactCount.h"

#include "support/TestArea.h"

#include <QTest>

#include <clocale>
#include <limits>

class CompactCountTest final : public QObject {
    Q_OBJECT

private slots:
    void aCountKeepsOneDigitAndTheLowerUnit_data();
    void aCountKeepsOneDigitAndTheLowerUnit();
    void aCountIgnoresTheDecimalCommaOfTheLocale();
};

void CompactCountTest::aCountKeepsOneDigitAndTheLowerUnit_data()
{
    QTest::addColumn<qint64>("count");
    QTest::addColumn<QString>("text");

    QTest::newRow("zero") << qint64(0) << "0";
    QTest::newRow("negative") << qint64(-5) << "-5";
    QTest::newRow("negative numbers never get a unit") << qint64(-1200) << "-1200";
    QTest::newRow("the least number") << std::numeric_limits<qint64>::min() << "-9223372036854775808";
    QTest::newRow("last without a unit") << qint64(999) << "999";
    QTest::newRow("first with a unit") << qint64(1000) << "1.0k";
    QTest::newRow("1050 is just above the tie in binary") << qint64(1050) << "1.1k";
    QTest::newRow("an exact tie goes to the even digit") << qint64(1250) << "1.2k";
    QTest::newRow("an exact tie goes up to the even digit") << qint64(1750) << "1.8k";
    QTest::newRow("1500") << qint64(1500) << "1.5k";
    QTest::newRow("9999") << qint64(9999) << "10.0k";
    QTest::newRow("below the last thousand") << qint64(999'949) << "999.9k";
    QTest::newRow("rounds up without changing the unit") << qint64(999'950) << "1000.0k";
    QTest::newRow("the last of the thousands") << qint64(999'999) << "1000.0k";
    QTest::newRow("the first of the millions") << qint64(1'000'000) << "1.0M";
    QTest::newRow("1234567") << qint64(1'234'567) << "1.2M";
    QTest::newRow("999999999") << qint64(999'999'999) << "1000.0M";
    QTest::newRow("there is no unit beyond millions") << qint64(1'000'000'000) << "1000.0M";
    QTest::newRow("the greatest number") << std::numeric_limits<qint64>::max() << "9223372036854.8M";
}

void CompactCountTest::aCountKeepsOneDigitAndTheLowerUnit()
{
    QFETCH(const qint64, count);
    QFETCH(const QString, text);

    QCOMPARE(QString::fromStdString(compactCount(count)), text);
}

void CompactCountTest::aCountIgnoresTheDecimalCommaOfTheLocale()
{
    // C.UTF-8 always exists; where the German locale is installed, its comma must not get through either.
    std::setlocale(LC_ALL, "de_DE.UTF-8");

    const auto text = compactCount(1'500);

    std::setlocale(LC_ALL, "C");
    QCOMPARE(text, std::string("1.5k"));
}

static const TestArea area("CompactCount", runTest<CompactCountTest>);
#include "CompactCountTest.moc"
