#include "windows/ui/Language.h"

#include "support/ShownCard.h"
#include "support/ShownPanel.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTranslator>

#include <algorithm>
#include <optional>
#include <vector>

namespace {

bool shows(const Host& host, const QString& text)
{
    for (const auto* label : host.findChildren<QLabel*>()) {
        if (label->text() == text)
            return true;
    }
    return false;
}

/// Where a button stands in its panel, from the left.
std::optional<int> leftOf(const Host& host, const QString& text)
{
    for (const auto* button : host.findChildren<QPushButton*>()) {
        if (button->text() == text)
            return button->mapTo(&host, QPoint()).x();
    }
    return {};
}

/// The tooltips of the chart's columns, from left to right.
QStringList columns(const Host& host)
{
    std::vector<std::pair<int, QString>> found;
    for (const auto* widget : host.findChildren<QWidget*>()) {
        if (widget->toolTip().contains(" · "))
            found.emplace_back(widget->mapTo(&host, QPoint()).x(), widget->toolTip());
    }
    std::ranges::sort(found);
    QStringList toolTips;
    for (const auto& [left, toolTip] : found)
        toolTips << toolTip;
    return toolTips;
}

/// How many pixels of the poster's bars have the color of keys, from left to right.
std::vector<int> keysOfBars(const QImage& poster)
{
    constexpr int bars = 7;
    constexpr int firstMiddle = 2 * 129 + 30;
    constexpr int step = 2 * 42;
    const auto isKeys = [](const QColor& color) { return color.hue() > 30 && color.value() > 240; };
    std::vector<int> keys;
    for (int bar = 0; bar < bars; ++bar) {
        int found = 0;
        for (int y = poster.height() * 3 / 4; y < poster.height(); ++y)
            found += isKeys(poster.pixelColor(firstMiddle + bar * step, y));
        keys.push_back(found);
    }
    return keys;
}

QImage copiedPoster(ShownCard& card, const QString& copy)
{
    card.show();
    card.click(copy);
    const auto png = card.platform.copiedPicture().value_or("");
    return QImage::fromData(QByteArray::fromStdString(png));
}

void removeTranslations()
{
    for (auto* translator : QCoreApplication::instance()->findChildren<QTranslator*>())
        delete translator;
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

}

/// Translations as a translator adds them: one more file in the folder.
class LanguageTest final : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { removeTranslations(); }

    void theUsersLanguageIsSpoken_data();
    void theUsersLanguageIsSpoken();
    void withoutATranslationTheProgramSpeaksEnglish();
    void aTranslationFromRightToLeftMirrorsThePanel();
    void aTranslationFromRightToLeftMirrorsThePoster();
};

void LanguageTest::theUsersLanguageIsSpoken_data()
{
    QTest::addColumn<QString>("locale");

    QTest::newRow("the language alone") << "de";
    QTest::newRow("of one country") << "de_AT";
}

void LanguageTest::theUsersLanguageIsSpoken()
{
    QFETCH(const QString, locale);
    ShownPanel panel;
    panel.program.writeStatsFile(R"({"2026-11-15":{"keys":12,"clicks":3}})");

    loadTranslation(QLocale(locale), TRANSLATIONS_FOLDER);
    const auto& host = panel.open();

    QVERIFY(shows(host, "Insgesamt"));
    QVERIFY(shows(host, "Nov 15: 15"));
    // What is not translated yet stays as it is.
    QVERIFY(shows(host, "Best day"));
}

void LanguageTest::withoutATranslationTheProgramSpeaksEnglish()
{
    ShownPanel panel;

    loadTranslation(QLocale("fr_FR"), TRANSLATIONS_FOLDER);
    loadTranslation(QLocale::c());
    const auto& host = panel.open();

    QVERIFY(shows(host, "All time"));
    QVERIFY(QCoreApplication::instance()->findChildren<QTranslator*>().isEmpty());
}

void LanguageTest::aTranslationFromRightToLeftMirrorsThePanel()
{
    const std::string week = R"({"2026-11-09":{"keys":1,"clicks":2},"2026-11-15":{"keys":12,"clicks":3}})";
    QStringList inEnglish;
    std::optional<int> quitInEnglish;
    {
        ShownPanel panel;
        panel.program.writeStatsFile(week);
        inEnglish = columns(panel.open());
        quitInEnglish = leftOf(panel.open(), "Quit Knucklet");
    }
    ShownPanel panel;
    panel.program.writeStatsFile(week);

    loadTranslation(QLocale("ar_EG"), TRANSLATIONS_FOLDER);
    const auto& host = panel.open();

    QVERIFY(shows(host, "كل الوقت"));
    QCOMPARE(inEnglish.last(), "12 keys · 3 clicks");
    QCOMPARE(columns(host), QStringList(inEnglish.rbegin(), inEnglish.rend()));
    QVERIFY(quitInEnglish > 150);
    QCOMPARE(leftOf(host, "إنهاء Knucklet"), 14);
}

void LanguageTest::aTranslationFromRightToLeftMirrorsThePoster()
{
    std::vector<int> inEnglish;
    {
        ShownCard card;
        inEnglish = keysOfBars(copiedPoster(card, "Copy"));
    }
    ShownCard card;

    loadTranslation(QLocale("ar_EG"), TRANSLATIONS_FOLDER);
    auto mirrored = keysOfBars(copiedPoster(card, "نسخ"));

    QVERIFY(inEnglish.back() > 0);
    QVERIFY(inEnglish.front() != inEnglish.back());
    std::ranges::reverse(mirrored);
    QCOMPARE(mirrored, inEnglish);
}

static const TestArea area("Language", runTest<LanguageTest, QApplication>);
#include "LanguageTest.moc"
