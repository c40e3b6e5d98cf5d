#include "support/ProcessMemory.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace {

/// The terabytes of a sanitizer hold nothing of what the program has.
constexpr off_t largest = off_t { 1 } << 30;

struct Region {
    off_t begin = 0;
    off_t end = 0;
};

QList<Region> writableRegions(const QString& folder)
{
    QFile maps(folder + "/maps");
    QList<Region> regions;
    if (!maps.open(QFile::ReadOnly))
        return regions;
    // Such as "7ffd1000-7ffd3000 rw-p 00000000 00:00 0 [stack]".
    for (const QByteArray& line : maps.readAll().split('\n')) {
        const auto words = line.split(' ');
        if (!words.value(1).startsWith("rw"))
            continue;
        const auto ends = words[0].split('-');
        const Region region { ends[0].toLongLong(nullptr, 16), ends.value(1).toLongLong(nullptr, 16) };
        if (region.end - region.begin < largest)
            regions << region;
    }
    return regions;
}

std::string_view viewOf(const QByteArray& bytes)
{
    return { bytes.data(), static_cast<std::size_t>(bytes.size()) };
}

/// As QByteArray::contains, which takes several times as long where there is nothing, as in most of a
/// program's memory.
bool holds(const QByteArray& bytes, const QByteArray& wanted)
{
    return viewOf(bytes).find(viewOf(wanted)) != std::string_view::npos;
}

}

QByteArrayList foundInMemory(qint64 process, const QByteArrayList& wanted)
{
    const QString folder = "/proc/" + QString::number(process);
    const int memory = open(qPrintable(folder + "/mem"), O_RDONLY | O_CLOEXEC);
    const auto regions = writableRegions(folder);
    if (memory < 0 || regions.empty())
        return wanted;
    QByteArrayList found;
    for (const Region& region : regions) {
        QByteArray bytes(region.end - region.begin, Qt::Uninitialized);
        const auto length = pread(memory, bytes.data(), static_cast<std::size_t>(bytes.size()), region.begin);
        bytes.resize(std::max<qsizetype>(length, 0));
        for (const QByteArray& each : wanted) {
            if (!found.contains(each) && holds(bytes, each))
                found << each;
        }
    }
    close(memory);
    return found;
}
