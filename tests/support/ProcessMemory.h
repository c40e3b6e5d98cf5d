#pragma once

#include <QByteArray>
#include <QByteArrayList>

/// Which of these byte strings stand anywhere in the memory that a process can write to, as a core file of it
/// would have them; all of them where that cannot be read. The process is of this test.
QByteArrayList foundInMemory(qint64 process, const QByteArrayList& wanted);
