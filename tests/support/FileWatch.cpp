#include "support/FileWatch.h"

#include "support/Patience.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>

FileWatch::FileWatch(const QString& folder, std::uint32_t events)
    : descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
{
    inotify_add_watch(descriptor, qPrintable(folder), events);
}

FileWatch::~FileWatch() { close(descriptor); }

bool FileWatch::await(const QString& name)
{
    pollfd waiting { descriptor, POLLIN, 0 };
    while (poll(&waiting, 1, patience) > 0) {
        if (namesSoFar().contains(name))
            return true;
    }
    return false;
}

QStringList FileWatch::namesSoFar()
{
    QStringList names;
    alignas(inotify_event) std::array<char, 4096> buffer;
    for (auto size = read(descriptor, buffer.data(), buffer.size()); size > 0;
         size = read(descriptor, buffer.data(), buffer.size())) {
        for (ssize_t at = 0; at < size;) {
            const auto& event = *reinterpret_cast<const inotify_event*>(buffer.data() + at);
            if (event.len > 0)
                names << QString::fromLocal8Bit(event.name);
            at += static_cast<ssize_t>(sizeof(event) + event.len);
        }
    }
    names.removeDuplicates();
    return names;
}
