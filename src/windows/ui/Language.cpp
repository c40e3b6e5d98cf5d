#include "windows/ui/Language.h"

#include <QCoreApplication>
#include <QTranslator>

void loadTranslation(const QLocale& locale, const QString& folder)
{
    auto* translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(locale, "knucklet", "_", folder))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
}
