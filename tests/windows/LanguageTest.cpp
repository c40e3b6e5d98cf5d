#include "windows/ui/Language.h"

#include "support/ShownPanel.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QLabel>
#include <QTest>
#include <QTranslator>

namespace {

bool shows(const Host& host, const QString& text)
{
    for (const auto* label : host.findChildren<QLabel*>()) {
        if (label->text() == text)
            return true;
    }
    return false;
}

void removeTranslations()
{
    for (auto* translator : QCoreApplication::instance()->findChildren<QTranslator*>())
        delete translator;
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

static const TestArea area("Language", runTest<LanguageTest, QApplication>);
#include "LanguageTest.moc"
