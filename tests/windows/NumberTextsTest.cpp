#include "windows/NumberTexts.h"

#include "support/TestArea.h"

#include <QTest>

#include <cstdint>
#include <limits>
#include <string>

class NumberTextsTest final : public QObject {
    Q_OBJECT

private slots:
    void aNumberHasTheDigitsAndTheGroupsOfItsLocale_data();
    void aNumberHasTheDigitsAndTheGroupsOfItsLocale();
    void theUsersNumbersFollowTheEnvironment();
};

void NumberTextsTest::aNumberHasTheDigitsAndTheGroupsOfItsLocale_data()
{
    QTest::addColumn<std::string>("locale");
    QTest::addColumn<std::int64_t>("number");
    QTest::addColumn<std::string>("text");

    const auto row = [](const char* name, const char* locale, std::int64_t number, const char* text) {
        QTest::newRow(name) << std::string(locale) << number << std::string(text);
    };
    row("none", "en_US", 0, "0");
    row("no group", "en_US", 999, "999");
    row("one group", "en_US", 12'345, "12,345");
    row("the greatest", "en_US", std::numeric_limits<std::int64_t>::max(), "9,223,372,036,854,775,807");
    row("full stops", "de_DE", 1'234'567, "1.234.567");
    row("narrow spaces", "fr_FR", 1'234'567, "1\u202f234\u202f567");
    row("apostrophes", "de_CH", 1'234'567, "1’234’567");
    row("four digits together", "es_ES", 1'234, "1234");
    row("groups of two", "hi_IN", 1'234'567, "12,34,567");
    row("digits of its own", "ar_EG", 1'234, "١٬٢٣٤");
}

void NumberTextsTest::aNumberHasTheDigitsAndTheGroupsOfItsLocale()
{
    QFETCH(const std::string, locale);
    QFETCH(const std::int64_t, number);
    QFETCH(const std::string, text);

    const NumberTexts numbers(locale);

    QCOMPARE(numbers.grouped(number), text);
}

void NumberTextsTest::theUsersNumbersFollowTheEnvironment()
{
    qunsetenv("LC_ALL");
    qputenv("LC_NUMERIC", "de_DE.UTF-8");
    qputenv("LC_TIME", "en_US.UTF-8");

    const auto numbers = NumberTexts::forUser();

    QCOMPARE(numbers.grouped(12'345), std::string("12.345"));
}

static const TestArea area("NumberTexts", runTest<NumberTextsTest>);
#include "NumberTextsTest.moc"
