#include "tap/Confinement.h"

#include "tap/CountableKeys.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/input.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace {

bool limitResources()
{
    // Enough for two descriptors for each of 64 devices. No core file, no file that grows, no new process.
    // What is limited further already stays so.
    const auto limit = [](auto resource, rlim_t most) {
        rlimit both {};
        if (getrlimit(resource, &both) != 0)
            return false;
        both.rlim_max = std::min(both.rlim_max, most);
        both.rlim_cur = both.rlim_max;
        return setrlimit(resource, &both) == 0;
    };
    return limit(RLIMIT_NOFILE, 144) && limit(RLIMIT_CORE, 0) && limit(RLIMIT_FSIZE, 0)
        && limit(RLIMIT_NPROC, 0);
}

void allowReading(int rules, const char* folder)
{
    const int descriptor = open(folder, O_PATH | O_CLOEXEC);
    if (descriptor < 0)
        return;
    const landlock_path_beneath_attr beneath { LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR,
        descriptor };
    syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &beneath, 0);
    close(descriptor);
}

/// A kernel without Landlock leaves the process the files that its user may read; the filter of system calls
/// still keeps it from writing any, and from telling anybody.
bool limitFiles()
{
    // All that the first version of Landlock can forbid.
    landlock_ruleset_attr handled {};
    handled.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
    const int rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0));
    if (rules < 0)
        return true;
    allowReading(rules, deviceFolder);
    allowReading(rules, seatFolder);
    const bool done = syscall(SYS_landlock_restrict_self, rules, 0) == 0;
    close(rules);
    return done;
}

// The few instructions of the filter's language that are needed.
constexpr sock_filter load(std::size_t offset)
{
    return { BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<std::uint32_t>(offset) };
}

constexpr sock_filter loadArgument(std::size_t number)
{
    // Its lower half, which comes first on the machines that Knucklet is built for.
    return load(offsetof(seccomp_data, args) + sizeof(std::uint64_t) * number);
}

constexpr sock_filter skipIf(unsigned long value, std::uint8_t skipped)
{
    return { BPF_JMP | BPF_JEQ | BPF_K, skipped, 0, static_cast<std::uint32_t>(value) };
}

constexpr sock_filter skipUnless(unsigned long value, std::uint8_t skipped)
{
    return { BPF_JMP | BPF_JEQ | BPF_K, 0, skipped, static_cast<std::uint32_t>(value) };
}

constexpr sock_filter allow { BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW };
constexpr sock_filter kill { BPF_RET | BPF_K, 0, 0, SECCOMP_RET_KILL_PROCESS };

bool limitSystemCalls()
{
    std::array filter {
        load(offsetof(seccomp_data, arch)),
        skipIf(KNUCKLET_AUDIT_ARCH, 1),
        kill,
        load(offsetof(seccomp_data, nr)),
        // To open: for reading, and nothing else.
        skipUnless(SYS_openat, 4),
        loadArgument(2),
        skipUnless(openFlags, 1),
        allow,
        kill,
        // To ask a device which keys it has, and to mask those that do not count; not to ask which are down.
        skipUnless(SYS_ioctl, 5),
        loadArgument(1),
        skipIf(EVIOCGBIT(EV_KEY, sizeof(CodeMask)), 1),
        skipUnless(EVIOCSMASK, 1),
        allow,
        kill,
        // The rest whatever the arguments.
        skipIf(SYS_read, 12),
        skipIf(SYS_write, 11),
        skipIf(SYS_close, 10),
        skipIf(SYS_getdents64, 9),
        skipIf(SYS_epoll_ctl, 8),
        skipIf(SYS_epoll_pwait2, 7),
        skipIf(SYS_clock_gettime, 6),
        skipIf(SYS_clock_nanosleep, 5),
        skipIf(SYS_getuid, 4),
        skipIf(SYS_getgid, 3),
        skipIf(SYS_getegid, 2),
        skipIf(SYS_exit_group, 1),
        kill,
        allow,
    };
    const sock_fprog program { static_cast<unsigned short>(filter.size()), filter.data() };
    return syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}

}

bool confine()
{
    return prctl(PR_SET_DUMPABLE, 0) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && limitResources()
        && limitFiles() && limitSystemCalls();
}
