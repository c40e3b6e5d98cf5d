#include "ProcessUse.h"

#include <QByteArrayList>
#include <QDir>
#include <QFile>

#include <ctime>

namespace {

QByteArrayList linesOf(const QString& path)
{
    QFile file(path);
    // A file of /proc has no size before it is read.
    return file.open(QFile::ReadOnly) ? file.readAll().split('\n') : QByteArrayList();
}

/// The number in a line such as "Pss:     12 kB" or "voluntary_ctxt_switches: 7".
qint64 numberIn(const QByteArray& line) { return line.simplified().split(' ').value(1).toLongLong(); }

QString folderOf(qint64 process) { return QString("/proc/%1").arg(process); }

bool isOfToolkit(const QByteArray& mapping)
{
    return mapping.contains("/libQt") || mapping.contains("/libicu") || mapping.contains("/qt5/")
        || mapping.contains("/qt6/");
}

}

double processorTime(qint64 process)
{
    clockid_t clock = 0;
    timespec time {};
    if (clock_getcpuclockid(static_cast<pid_t>(process), &clock) != 0 || clock_gettime(clock, &time) != 0)
        return 0;
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

qint64 wakeUps(qint64 process)
{
    qint64 sum = 0;
    const QDir threads(folderOf(process) + "/task");
    for (const auto& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        for (const auto& line : linesOf(threads.filePath(thread) + "/status")) {
            if (line.startsWith("voluntary_ctxt_switches:"))
                sum += numberIn(line);
        }
    }
    return sum;
}

MemoryUse memoryUse(qint64 process)
{
    qint64 share = 0;
    qint64 own = 0;
    bool countsInFull = false;
    for (const auto& line : linesOf(folderOf(process) + "/smaps")) {
        // A mapping begins with its addresses, and only their line has a dash so early.
        if (line.left(20).contains('-'))
            countsInFull = isOfToolkit(line);
        else if (line.startsWith(countsInFull ? "Rss:" : "Pss:"))
            share += numberIn(line);
        else if (line.startsWith("Private_Dirty:"))
            own += numberIn(line);
    }
    return { static_cast<double>(share) * 1024 / 1e6, static_cast<double>(own) * 1024 / 1e6 };
}
