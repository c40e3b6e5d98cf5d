#include "support/Script.h"

#include <QFile>
#include <QTemporaryDir>

QString script(const QTemporaryDir& folder, const QString& name, const QByteArray& body)
{
    const QString path = folder.filePath(name);
    // A new file: one that runs cannot be written to.
    QFile::remove(path);
    QFile file(path);
    const QByteArray text = "#!/bin/sh\n" + body;
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()
        || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        qFatal("no script");
    return path;
}

QList<QByteArray> readLines(const QTemporaryDir& folder, const QString& name)
{
    QFile file(folder.filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> lines = file.readAll().split('\n');
    lines.removeLast();
    return lines;
}
