#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

class QTemporaryDir;

/// Puts an executable shell script with this body into the folder, in place of an older one of that name, and
/// gives its path back.
QString script(const QTemporaryDir& folder, const QString& name, const QByteArray& body);
/// The lines of a file that scripts write; none when there is no such file.
QList<QByteArray> readLines(const QTemporaryDir& folder, const QString& name);
