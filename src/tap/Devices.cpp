#include "tap/Devices.h"

#include "tap/Folder.h"

#include <linux/input.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace {

constexpr CodeMask countableKeys = maskOf(isCountableKey);
constexpr CodeMask mouseButtons = maskOf(isMouseButton);

/// The number in a name such as "event7"; -1 for other names.
int deviceNumber(const char* name)
{
    constexpr std::size_t prefix = 5;
    int number = -1;
    if (std::strncmp(name, "event", prefix) == 0)
        std::from_chars(name + prefix, name + std::strlen(name), number);
    return number;
}

bool hasAny(int device, const CodeMask& wanted)
{
    CodeMask present {};
    if (ioctl(device, EVIOCGBIT(EV_KEY, sizeof present), present.data()) < 0)
        return false;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (present[i] & wanted[i])
            return true;
    }
    return false;
}

/// From here on the kernel delivers these key codes and nothing else; it does not even wake the process for
/// motion, the wheel and all other keys. What had arrived by then is thrown away.
bool deliverOnly(int device, const CodeMask& codes)
{
    const std::uint64_t types = 1U << EV_SYN | 1U << EV_KEY;
    const input_mask typeMask { EV_SYN, sizeof types, reinterpret_cast<std::uintptr_t>(&types) };
    const input_mask codeMask { EV_KEY, sizeof codes, reinterpret_cast<std::uintptr_t>(codes.data()) };
    if (ioctl(device, EVIOCSMASK, &typeMask) < 0 || ioctl(device, EVIOCSMASK, &codeMask) < 0)
        return false;
    input_event unmasked[64];
    while (::read(device, unmasked, sizeof unmasked) > 0)
        continue;
    explicit_bzero(unmasked, sizeof unmasked);
    return true;
}

}

Devices::Arrived& Devices::Arrived::operator+=(const Arrived& other)
{
    presses.keys += other.presses.keys;
    presses.clicks += other.presses.clicks;
    isRepeated |= other.isRepeated;
    isGone |= other.isGone;
    return *this;
}

Devices::Devices(int epoll)
    : epoll(epoll)
{
    // However few descriptors there may be, some are left to ask who sits at the machine.
    constexpr rlim_t others = 12;
    rlimit limit {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t most = limit.rlim_max - std::min(limit.rlim_max, others);
    sources = std::span(places).first(std::min<rlim_t>(most, mostSources));
}

Devices::Access Devices::access()
{
    Access found;
    forEachEntry(deviceFolder, [&](int folder, const char* name) {
        if (deviceNumber(name) < 0)
            return;
        if (faccessat(folder, name, R_OK, AT_EACCESS) == 0) {
            ++found.allowed;
        } else {
            found.denied += errno == EACCES || errno == EPERM;
        }
    });
    return found;
}

void Devices::openAll()
{
    forEachEntry(deviceFolder, [&](int folder, const char* name) {
        open(folder, name, PressKind::Key);
        open(folder, name, PressKind::Click);
    });
}

void Devices::closeAll()
{
    for (Source& source : sources)
        close(source);
}

Devices::Arrived Devices::read(std::uint32_t place)
{
    Source& source = sources[place];
    Arrived arrived;
    std::uint32_t& presses = source.kind == PressKind::Key ? arrived.presses.keys : arrived.presses.clicks;
    input_event events[64];
    ssize_t size = 0;
    do {
        size = ::read(source.descriptor, events, sizeof events);
        // A full queue loses events, which the kernel then says in one of another type: what is left counts.
        for (ssize_t i = 0; i < size / static_cast<ssize_t>(sizeof *events); ++i) {
            if (events[i].type != EV_KEY)
                continue;
            presses += events[i].value == 1;
            arrived.isRepeated |= events[i].value == 2;
        }
        explicit_bzero(events, sizeof events);
    } while (size == sizeof events);

    arrived.isGone = size < 0 && errno != EAGAIN && errno != EINTR;
    if (arrived.isGone)
        close(source);
    return arrived;
}

const CodeMask& Devices::codesOf(PressKind kind)
{
    return kind == PressKind::Key ? countableKeys : mouseButtons;
}

void Devices::open(int folder, const char* name, PressKind kind)
{
    const int device = deviceNumber(name);
    if (device < 0)
        return;
    Source* place = freePlace();
    if (!place || isOpen(device, kind))
        return;
    const int descriptor = openat(folder, name, openFlags);
    if (descriptor < 0)
        return;
    epoll_event wanted { .events = EPOLLIN,
        .data = { .u32 = static_cast<std::uint32_t>(place - sources.data()) } };
    if (hasAny(descriptor, codesOf(kind)) && deliverOnly(descriptor, codesOf(kind))
        && epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &wanted) == 0) {
        *place = { device, kind, descriptor };
    } else {
        ::close(descriptor);
    }
}

Devices::Source* Devices::freePlace()
{
    for (Source& source : sources) {
        if (source.descriptor < 0)
            return &source;
    }
    return nullptr;
}

bool Devices::isOpen(int device, PressKind kind) const
{
    for (const Source& source : sources) {
        if (source.descriptor >= 0 && source.device == device && source.kind == kind)
            return true;
    }
    return false;
}

void Devices::close(Source& source)
{
    if (source.descriptor >= 0)
        ::close(source.descriptor);
    source = {};
}
