#pragma once

#include <QLocale>
#include <QString>

/// Has the application speak the locale's language, if there is a translation into it. Once, before the first
/// view.
void loadTranslation(const QLocale& locale, const QString& folder = ":/translations");
