#pragma once

#include <QLocale>
#include <QString>

/// Has the application speak the locale's language, if there is a translation into it, and be laid out as
/// that language reads; without one it speaks English. Once, before the first view.
void loadTranslation(const QLocale& locale, const QString& folder = ":/translations");
