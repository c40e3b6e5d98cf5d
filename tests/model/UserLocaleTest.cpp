#include "support/UserLocale.h"

#include "support/TestArea.h"

#include <QtTest>

#include <array>

namespace {

/// Sets the variables that name a locale, and only those.
void setLocale(const char* all, const char* time, const char* numeric, const char* lang)
{
    const std::array<std::pair<const char*, const char*>, 4> variables { {
        { "LC_ALL", all },
        { "LC_TIME", time },
        { "LC_NUMERIC", numeric },
        { "LANG", lang },
    } };
    for (const auto& [name, value] : variables) {
        if (value) {
            qputenv(name, value);
        } else {
            qunsetenv(name);
        }
    }
}

} // namespace

class UserLocaleTest : public QObject {
    Q_OBJECT

private slots:
    void datesAndNumbersFollowTheirOwnVariables_data();
    void datesAndNumbersFollowTheirOwnVariables();
    void aValueReadsAsTheLocaleItNames_data();
    void aValueReadsAsTheLocaleItNames();
    void textsFollowTheirOwnVariables_data();
    void textsFollowTheirOwnVariables();
};

void UserLocaleTest::datesAndNumbersFollowTheirOwnVariables_data()
{
    QTest::addColumn<QString>("all");
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("numeric");
    QTest::addColumn<QString>("lang");
    QTest::addColumn<std::string>("date");
    QTest::addColumn<std::string>("number");

    const QString unset;
    const QString empty("");
    const std::string english = "en_US";
    const std::string german = "de_DE";
    const std::string french = "fr_FR";
    QTest::newRow("nothing is set") << unset << unset << unset << unset << english << english;
    QTest::newRow("only LANG") << unset << unset << unset << "de_DE.UTF-8" << german << german;
    QTest::newRow("a category before LANG")
        << unset << "fr_FR.UTF-8" << unset << "de_DE.UTF-8" << french << german;
    QTest::newRow("the other category") << unset << unset << "fr_FR.UTF-8"
                                        << "de_DE.UTF-8" << german << french;
    QTest::newRow("LC_ALL before everything") << "de_DE"
                                              << "fr_FR"
                                              << "fr_FR"
                                              << "fr_FR" << german << german;
    QTest::newRow("empty is as good as unset") << empty << empty << empty << "de_DE" << german << german;
    QTest::newRow("C hides what comes later") << "C.UTF-8"
                                              << "de_DE"
                                              << "de_DE"
                                              << "de_DE" << english << english;
}

void UserLocaleTest::datesAndNumbersFollowTheirOwnVariables()
{
    QFETCH(const QString, all);
    QFETCH(const QString, time);
    QFETCH(const QString, numeric);
    QFETCH(const QString, lang);
    QFETCH(const std::string, date);
    QFETCH(const std::string, number);
    const auto value = [](const QString& text, QByteArray& bytes) {
        bytes = text.toUtf8();
        return text.isNull() ? nullptr : bytes.constData();
    };
    std::array<QByteArray, 4> bytes;
    setLocale(value(all, bytes[0]), value(time, bytes[1]), value(numeric, bytes[2]), value(lang, bytes[3]));

    const auto dateLocale = userDateLocale();
    const auto numberLocale = userNumberLocale();

    QCOMPARE(dateLocale, date);
    QCOMPARE(numberLocale, number);
}

void UserLocaleTest::aValueReadsAsTheLocaleItNames_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<std::string>("locale");

    const auto row = [](const char* value, const char* locale) {
        QTest::newRow(value) << QByteArray(value) << std::string(locale);
    };
    row("th_TH", "th_TH");
    row("ar_EG.UTF-8", "ar_EG");
    row("de_DE.UTF-8@euro", "de_DE");
    row("de_DE@euro", "de_DE");
    row("es_419", "es_419");
    row("eo", "eo");
    row("ast_ES.UTF-8", "ast_ES");
    row("sr_RS@latin", "sr_Latn_RS");
    row("uz_UZ.UTF-8@cyrillic", "uz_Cyrl_UZ");
    row("ks_IN@devanagari", "ks_Deva_IN");
    row("C", "en_US");
    row("C.UTF-8", "en_US");
    row("POSIX", "en_US");
    row("german", "en_US");
    row("d", "en_US");
    row("de_", "en_US");
    row("de_D", "en_US");
    row("de_DE_", "en_US");
    row("de_DE_POSIX", "en_US");
    row("d3_DE", "en_US");
    row("_DE", "en_US");
    row(".UTF-8", "en_US");
    row("@euro", "en_US");
    row("@", "en_US");
    row("de@", "de");
    row("de.", "de");
    row("de@x.y", "de");
    row("../../etc/passwd", "en_US");
    row("de_DE;x", "en_US");
    row("d\xC3\xA9_DE", "en_US");
}

void UserLocaleTest::aValueReadsAsTheLocaleItNames()
{
    QFETCH(const QByteArray, value);
    QFETCH(const std::string, locale);
    setLocale(value.constData(), nullptr, nullptr, nullptr);

    const auto read = userDateLocale();

    QCOMPARE(read, locale);
}

void UserLocaleTest::textsFollowTheirOwnVariables_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<QString>("messages");
    QTest::addColumn<QStringList>("languages");

    const QString unset;
    QTest::newRow("nothing is set") << unset << unset << QStringList { "en_US" };
    QTest::newRow("a locale") << unset << "de_AT.UTF-8" << QStringList { "de_AT" };
    QTest::newRow("a list before the locale") << "fr_CA:pt_BR:de"
                                              << "it_IT.UTF-8" << QStringList { "fr_CA", "pt_BR", "de" };
    QTest::newRow("a list with nothing in it") << "::"
                                               << "it_IT.UTF-8" << QStringList { "it_IT" };
}

void UserLocaleTest::textsFollowTheirOwnVariables()
{
    QFETCH(const QString, list);
    QFETCH(const QString, messages);
    QFETCH(const QStringList, languages);
    setLocale(nullptr, nullptr, nullptr, "es_ES.UTF-8");
    if (messages.isNull())
        qunsetenv("LANG");
    else
        qputenv("LC_MESSAGES", messages.toUtf8());
    if (!list.isNull())
        qputenv("LANGUAGE", list.toUtf8());

    QStringList read;
    for (const auto& language : userLanguages())
        read << QString::fromStdString(language);
    qunsetenv("LC_MESSAGES");
    qunsetenv("LANGUAGE");

    QCOMPARE(read, languages);
}

static const TestArea area("UserLocale", runTest<UserLocaleTest>);
#include "UserLocaleTest.moc"
