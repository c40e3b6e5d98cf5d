#include "support/FaultyCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <optional>

namespace {

struct Watch {
    std::vector<Fault> faults;
    std::vector<std::string> names;
    int openDescriptors = 0;
};

// The linker calls plain functions, so what they share cannot be handed to them.
std::optional<Watch> watch;

/// Notes the call and tells what is to be done to it.
std::optional<Fault::Kind> faultOf(const char* name)
{
    if (!watch)
        return {};
    const auto number = watch->names.size();
    watch->names.emplace_back(name);
    const auto isHit = [&](const Fault& fault) {
        return number == fault.call || (fault.kind == Fault::Kind::FailsFromThenOn && number > fault.call);
    };
    const auto fault = std::ranges::find_if(watch->faults, isHit);
    if (fault == watch->faults.end())
        return {};
    errno = fault->error;
    return fault->kind;
}

bool fails(const char* name)
{
    const auto kind = faultOf(name);
    return kind == Fault::Kind::Fails || kind == Fault::Kind::FailsFromThenOn;
}

void noteDescriptors(int change)
{
    if (watch)
        watch->openDescriptors += change;
}

} // namespace

// What the linker puts in the place of each call, and the name it gives to the real one.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_close(int descriptor);
int __real_stat(const char* path, struct stat* status);
int __real_fstat(int descriptor, struct stat* status);
int __real_fchmod(int descriptor, mode_t permissions);
int __real_fsync(int descriptor);
int __real_remove(const char* path);
int __real_rename(const char* from, const char* to);
ssize_t __real_read(int descriptor, void* buffer, size_t size);
ssize_t __real_readlink(const char* path, char* buffer, size_t size);
ssize_t __real_write(int descriptor, const void* buffer, size_t size);

int __wrap_open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t permissions = (flags & O_CREAT) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (fails("open"))
        return -1;
    const int descriptor = __real_open(path, flags, permissions);
    noteDescriptors(descriptor < 0 ? 0 : 1);
    return descriptor;
}

int __wrap_close(int descriptor)
{
    // Even a close that fails has closed.
    const bool isToFail = fails("close");
    const int error = errno;
    const int result = __real_close(descriptor);
    noteDescriptors(-1);
    errno = error;
    return isToFail ? -1 : result;
}

int __wrap_stat(const char* path, struct stat* status)
{
    const auto kind = faultOf("stat");
    if (kind && kind != Fault::Kind::IsDevice)
        return -1;
    const int result = __real_stat(path, status);
    if (kind)
        status->st_mode = S_IFCHR | 0666;
    return result;
}

int __wrap_fstat(int descriptor, struct stat* status)
{
    return fails("fstat") ? -1 : __real_fstat(descriptor, status);
}

int __wrap_fchmod(int descriptor, mode_t permissions)
{
    return fails("fchmod") ? -1 : __real_fchmod(descriptor, permissions);
}

int __wrap_fsync(int descriptor) { return fails("fsync") ? -1 : __real_fsync(descriptor); }

int __wrap_remove(const char* path) { return fails("remove") ? -1 : __real_remove(path); }

int __wrap_rename(const char* from, const char* to) { return fails("rename") ? -1 : __real_rename(from, to); }

ssize_t __wrap_read(int descriptor, void* buffer, size_t size)
{
    const auto kind = faultOf("read");
    if (kind == Fault::Kind::IsShort)
        return __real_read(descriptor, buffer, std::min<size_t>(size, 1));
    return kind ? -1 : __real_read(descriptor, buffer, size);
}

ssize_t __wrap_readlink(const char* path, char* buffer, size_t size)
{
    return fails("readlink") ? -1 : __real_readlink(path, buffer, size);
}

ssize_t __wrap_write(int descriptor, const void* buffer, size_t size)
{
    const auto kind = faultOf("write");
    if (kind == Fault::Kind::IsShort)
        return __real_write(descriptor, buffer, size / 2);
    return kind ? -1 : __real_write(descriptor, buffer, size);
}
}
// NOLINTEND(readability-identifier-naming)

FaultyCalls::FaultyCalls() { watch.emplace(); }

FaultyCalls::FaultyCalls(const Fault& fault) { watch.emplace().faults = { fault }; }

FaultyCalls::FaultyCalls(const Fault& fault, const Fault& another)
{
    watch.emplace().faults = { fault, another };
}

FaultyCalls::~FaultyCalls() { watch.reset(); }

std::vector<std::string> FaultyCalls::names() const { return watch->names; }

int FaultyCalls::openDescriptors() const { return watch->openDescriptors; }
