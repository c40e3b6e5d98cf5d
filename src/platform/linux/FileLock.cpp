#include "platform/linux/FileLock.h"

#include <sys/file.h>

#include <cerrno>
#include <thread>

using namespace std::chrono_literals;

LockResult lockFile(const FileDescriptor& file, std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR)
            continue;
        if (errno != EWOULDBLOCK)
            return LockResult::Impossible;
        if (std::chrono::steady_clock::now() >= deadline)
            return LockResult::HeldByAnother;
        // Asked again, because a wait for a lock in the kernel has no limit.
        std::this_thread::sleep_for(10ms);
    }
    return LockResult::Taken;
}
