#include "windows/ui/Language.h"

#include <QGuiApplication>
#include <QTranslator>

void loadTranslation(const QLocale& locale, const QString& folder)
{
    auto* translator = new QTranslator(QCoreApplication::instance());
    auto language = QLocale(QLocale::English);
    if (translator->load(locale, "knucklet", "_", folder)) {
        language = QLocale(translator->language());
        QCoreApplication::installTranslator(translator);
    } else {
        delete translator;
    }
    // Not that of the dates, whose locale may be another: English reads from left to right beside any of
    // them.
    QGuiApplication::setLayoutDirection(language.textDirection());
}
