// knucklet-tap: counts the presses of keys and mouse buttons, and writes two numbers to a pipe, at the end of
// a tenth of a second in which there were any. It is the one part of Knucklet that may read input devices,
// and small enough that everybody can see what it does with them. It needs the C library and nothing else.
//
// usage: knucklet-tap            counts until its input or its output is closed at the other end
//        knucklet-tap --probe    says by its exit code whether it may count

#include "tap/ActiveUser.h"
#include "tap/Confinement.h"
#include "tap/Devices.h"
#include "tap/TapProtocol.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <limits>
#include <span>
#include <string_view>

namespace {

// In nanoseconds, as is all time here.
constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t recordInterval = second / 10;

// The kernel lets a wait take longer by one two-hundredth of it at most, but at least by this. So all waits
// for a record take longer by the same, and do not tell when they began.
constexpr unsigned long waitSlack = recordInterval / 100;

// What an event of epoll belongs to, if not to a device.
constexpr std::uint32_t changes = Devices::mostSources;
constexpr std::uint32_t otherEnd = changes + 1;

std::int64_t currentTime()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t { now.tv_sec } * second + now.tv_nsec;
}

timespec timespecOf(std::int64_t time) { return { time / second, time % second }; }

/// The end of this tenth of a second. Records are written at such moments only: if a press could choose the
/// moment, that would say to the microsecond when somebody types.
std::int64_t nextRecordTime()
{
    const std::int64_t now = currentTime();
    return now - now % recordInterval + recordInterval;
}

TapExit accessToDevices()
{
    const auto found = Devices::access();
    // Without the group, one device may be readable that the others are not like: some game controllers are
    // there for everybody. With it, one may be denied whose group somebody has changed.
    if (found.denied > 0 && (found.allowed == 0 || getegid() == getgid()))
        return TapExit::NotPermitted;
    return found.allowed > 0 ? TapExit::Done : TapExit::NoDevice;
}

class Tap {
public:
    /// Opens all that is not a device. False when the machine lacks something of it.
    bool watchMachine()
    {
        // A device that is plugged in becomes readable only when its group has been set. The login manager
        // replaces its files whenever somebody else comes to sit at the machine.
        deviceWatch = inotify_add_watch(inotify, deviceFolder, IN_CREATE | IN_ATTRIB);
        return deviceWatch >= 0 && inotify_add_watch(inotify, seatFolder, IN_MOVED_TO | IN_DELETE) >= 0
            && watch(inotify, EPOLLIN, changes);
    }

    /// False when the input and the output are not pipes.
    bool watchOtherEnds()
    {
        for (const int descriptor : { STDIN_FILENO, STDOUT_FILENO }) {
            // No event is wanted: that the other end is gone is told unasked.
            struct stat status { };
            if (fstat(descriptor, &status) != 0 || !S_ISFIFO(status.st_mode)
                || !watch(descriptor, 0, otherEnd))
                return false;
        }
        return fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK) == 0;
    }

    void run()
    {
        followActiveUser();
        bool isWanted = writeRecord();
        while (isWanted)
            isWanted = awaitPresses() && (!isRecordDue() || writeRecord());
        // The other end has said goodbye. If it still reads, it gets what is left.
        if (sum != TapRecord {})
            writeRecord();
    }

private:
    bool watch(int descriptor, std::uint32_t events, std::uint32_t purpose) const
    {
        epoll_event wanted { events, { .u32 = purpose } };
        return epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &wanted) == 0;
    }

    /// Counts what arrives, and returns when a record is due at the latest. False when the other end is gone.
    bool awaitPresses()
    {
        std::array<epoll_event, 32> room {};
        const bool isIdle = sum == TapRecord {};
        const timespec time = timespecOf(std::max<std::int64_t>(0, recordTime - currentTime()));
        const int size = epoll_pwait2(epoll, room.data(), room.size(), isIdle ? nullptr : &time, nullptr);
        if (size <= 0)
            return true;

        bool isWanted = true;
        Devices::Arrived arrived;
        for (const epoll_event& event : std::span(room.data(), static_cast<std::size_t>(size))) {
            isWanted &= event.data.u32 != otherEnd;
            if (event.data.u32 < Devices::mostSources)
                arrived += devices.read(event.data.u32);
        }
        followChanges(arrived);

        if (isIdle)
            recordTime = nextRecordTime();
        sum.keys += arrived.presses.keys;
        sum.clicks += arrived.presses.clicks;
        if (arrived.isRepeated && arrived.presses == TapRecord {} && isWanted)
            rest();
        return isWanted;
    }

    /// A key that is held down repeats some thirty times a second, which nobody needs to hear of one by one.
    /// Presses wait in the kernel meanwhile.
    void rest() const
    {
        const timespec end = timespecOf(nextRecordTime());
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr);
    }

    /// Looks for notices after the devices have been read, and whether or not one has been announced: its
    /// user can stop this process between any two steps and let it go on when somebody else has typed. So
    /// what has been read counts only if nobody had sat down or left by then, and what waits in the devices
    /// when somebody does is thrown away with them.
    void followChanges(Devices::Arrived& arrived)
    {
        const Changes found = readNotices();
        if (found.ofSeats) {
            devices.closeAll();
            arrived.presses = {};
        }
        if (found.ofSeats || found.ofDevices || arrived.isGone)
            followActiveUser();
    }

    struct Changes {
        bool ofDevices = false;
        bool ofSeats = false;
    };

    Changes readNotices() const
    {
        // Which device or seat it was is soon seen: it may be one or twenty, plugged in with their dock.
        Changes found;
        alignas(inotify_event) char notices[4096];
        ssize_t size = 0;
        while ((size = read(inotify, notices, sizeof notices)) > 0) {
            for (const char* next = notices; next < notices + size;) {
                const auto& notice = *reinterpret_cast<const inotify_event*>(next);
                // A notice of neither folder says that there were too many, and some are lost.
                (notice.wd == deviceWatch ? found.ofDevices : found.ofSeats) = true;
                next += sizeof notice + notice.len;
            }
        }
        return found;
    }

    /// While somebody else sits at the machine, no device is open.
    void followActiveUser()
    {
        if (isActiveUser()) {
            devices.openAll();
        } else {
            devices.closeAll();
        }
    }

    bool isRecordDue() const { return sum != TapRecord {} && currentTime() >= recordTime; }

    /// False when nobody can read it any more. A reader that is only busy gets the presses with a later
    /// record.
    bool writeRecord()
    {
        recordTime = nextRecordTime();
        if (write(STDOUT_FILENO, &sum, sizeof sum) != sizeof sum)
            return errno == EAGAIN;
        sum = {};
        return true;
    }

    int epoll = epoll_create1(EPOLL_CLOEXEC);
    int inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    Devices devices { epoll };
    int deviceWatch = -1;
    TapRecord sum;
    std::int64_t recordTime = 0;
};

TapExit work(std::span<char*> arguments)
{
    const bool probes = arguments.size() == 2 && std::string_view(arguments[1]) == "--probe";
    if (arguments.size() != 1 && !probes)
        return TapExit::WrongUse;
    // Nothing of the one who started this gets in but the two pipes.
    if (close_range(STDERR_FILENO + 1, std::numeric_limits<unsigned>::max(), 0) != 0)
        return TapExit::Failed;

    // The end of a session tells every process to end, and the program, which is told as well, must still get
    // its last record. Its end is what ends this one, and shows in what writing returns.
    for (const int signal : { SIGTERM, SIGINT, SIGHUP, SIGPIPE })
        std::signal(signal, SIG_IGN);

    Tap tap;
    if (!tap.watchMachine())
        return TapExit::Failed;
    if (!probes && !tap.watchOtherEnds())
        return TapExit::WrongUse;
    const TapExit answer = accessToDevices();
    if (prctl(PR_SET_TIMERSLACK, waitSlack) != 0 || !confine())
        return TapExit::Failed;
    if (probes || answer == TapExit::NotPermitted)
        return answer;

    tap.run();
    return TapExit::Done;
}

}

int main(int count, char* arguments[])
{
    return static_cast<int>(work({ arguments, static_cast<std::size_t>(count) }));
}
