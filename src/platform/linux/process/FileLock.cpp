#include "platform/linux/process/FileLock.h"

#include "support/AtomicFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>

using namespace std::chrono_literals;

namespace {

// What the file holds while who has it locked stays. A crash leaves it behind, which says nothing about a
// lock that can be had.
constexpr char stayMark = '1';

bool holderStays(int file)
{
    char mark = 0;
    return pread(file, &mark, sizeof mark, 0) == sizeof mark && mark == stayMark;
}

/// Asks again and again, because a wait for a lock in the kernel has no limit.
LockResult retry(const std::function<LockResult()>& attempt, const FileDescriptor& file,
    std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        const auto result = attempt();
        if (result != LockResult::HeldByAnother || holderStays(file.get())
            || std::chrono::steady_clock::now() >= deadline)
            return result;
        std::this_thread::sleep_for(10ms);
    }
}

LockResult tryToLock(int file)
{
    if (flock(file, LOCK_EX | LOCK_NB) == 0)
        return LockResult::Taken;
    if (errno == EWOULDBLOCK || errno == EINTR)
        return LockResult::HeldByAnother;
    // Some file systems know this kind only. Like the other, it belongs to the descriptor.
    struct flock whole { };
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (fcntl(file, F_OFD_SETLK, &whole) == 0)
        return LockResult::Taken;
    const bool isHeld = errno == EAGAIN || errno == EACCES || errno == EINTR;
    return isHeld ? LockResult::HeldByAnother : LockResult::Impossible;
}

/// Who has a place: a process of a machine.
struct Owner {
    std::string machine;
    /// Changes each time that the machine starts.
    std::string boot;
    /// What the process's number counts in. A container has its own.
    std::string numbers;
    long process = 0;
    /// When it was started, since numbers are used again.
    std::string start;

    bool operator==(const Owner&) const = default;
};

std::string firstLine(const std::string& file)
{
    std::string line;
    std::getline(std::ifstream(file), line);
    return line;
}

/// When a process of this machine was started; empty when it is gone.
std::string startOf(long process)
{
    const auto status = firstLine("/proc/" + std::to_string(process) + "/stat");
    // Its name, which may hold anything, is within brackets.
    std::istringstream behindName(status.substr(std::min(status.size(), status.rfind(')') + 1)));
    std::string word;
    behindName >> word;
    // One that nobody has been told of yet.
    if (word == "Z")
        return {};
    constexpr int further = 19;
    for (int i = 0; i < further; ++i)
        behindName >> word;
    return word;
}

Owner thisProcess()
{
    utsname machine {};
    uname(&machine);
    std::error_code unknown;
    return { .machine = machine.nodename,
        .boot = firstLine("/proc/sys/kernel/random/boot_id"),
        .numbers = std::filesystem::read_symlink("/proc/self/ns/pid", unknown).string(),
        .process = getpid(),
        .start = startOf(getpid()) };
}

std::string textOf(const Owner& owner)
{
    return owner.machine + ' ' + owner.boot + ' ' + owner.numbers + ' ' + std::to_string(owner.process) + ' '
        + owner.start + '\n';
}

/// Nothing when the text names nobody.
std::optional<Owner> ownerNamedBy(const std::string& text)
{
    Owner owner;
    std::istringstream words(text);
    words >> owner.machine >> owner.boot >> owner.numbers >> owner.process >> owner.start;
    return words ? std::optional(owner) : std::nullopt;
}

std::optional<Owner> ownerIn(const std::filesystem::path& file)
{
    return ownerNamedBy(readFile(file).value_or(""));
}

/// What a process of another machine, or of another container, does cannot be known from here.
bool isGone(const Owner& owner)
{
    const auto here = thisProcess();
    if (owner.machine != here.machine)
        return false;
    if (owner.boot != here.boot)
        return true;
    return owner.numbers == here.numbers && startOf(owner.process) != owner.start;
}

bool writeText(const FileDescriptor& file, const std::string& text)
{
    return write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// Where files can have no second name. Until it is written, the file names nobody.
bool makeOwnerFileInPlace(const std::filesystem::path& file, const std::string& text)
{
    const FileDescriptor made(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!made.isOpen())
        return false;
    if (writeText(made, text))
        return true;
    // One that names nobody would be waited for.
    unlink(file.c_str());
    errno = ENOSPC;
    return false;
}

/// Names this process as the owner, in a file that is there as a whole or not at all. Leaves the reason in
/// errno when it cannot: EEXIST where there is a file.
bool makeOwnerFile(const std::filesystem::path& file)
{
    // Most who come wait for somebody, and a full disk must not hide him.
    if (access(file.c_str(), F_OK) == 0) {
        errno = EEXIST;
        return false;
    }
    const auto text = textOf(thisProcess());
    auto ownName = file.string() + ".XXXXXX";
    const FileDescriptor made(mkostemp(ownName.data(), O_CLOEXEC));
    if (!made.isOpen())
        return false;
    const bool isWritten = writeText(made, text);
    const bool isMade = isWritten && link(ownName.c_str(), file.c_str()) == 0;
    const int error = isWritten ? errno : ENOSPC;
    unlink(ownName.c_str());
    if (isMade)
        return true;
    if (isWritten && error != EEXIST)
        return makeOwnerFileInPlace(file, text);
    errno = error;
    return false;
}

/// What a file means that names nobody.
enum class Nameless { IsBeingWritten, WasLeftByACrash };

/// Takes the place whose owner the file names; over from him when he is gone. Of several who see that he is,
/// one at a time can be the heir, which is a place of its own, and who comes later finds another owner.
LockResult takeByFile(const std::filesystem::path& file, Nameless nameless)
{
    if (makeOwnerFile(file))
        return LockResult::Taken;
    if (errno != EEXIST)
        return LockResult::Impossible;
    const auto predecessor = readFile(file);
    if (!predecessor)
        return LockResult::HeldByAnother;
    const auto owner = ownerNamedBy(*predecessor);
    if (owner ? !isGone(*owner) : nameless == Nameless::IsBeingWritten)
        return LockResult::HeldByAnother;

    const std::filesystem::path heirFile = file.string() + ".heir";
    if (takeByFile(heirFile, nameless) != LockResult::Taken)
        return LockResult::HeldByAnother;
    const bool isTaken = readFile(file) == predecessor && replaceFile(file, textOf(thisProcess()));
    unlink(heirFile.c_str());
    return isTaken ? LockResult::Taken : LockResult::HeldByAnother;
}

}

LockResult lockFile(const FileDescriptor& file) { return tryToLock(file.get()); }

FileLock::~FileLock()
{
    if (ownerFile && ownerIn(*ownerFile) == thisProcess())
        unlink(ownerFile->c_str());
}

LockResult FileLock::take(const std::filesystem::path& file, std::chrono::milliseconds patience)
{
    lock = FileDescriptor(
        open(file.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, S_IRUSR | S_IWUSR));
    const auto result = retry([this] { return lockFile(lock); }, lock, patience);
    if (result != LockResult::Impossible || !lock.isOpen())
        return result;
    return takeOwnerFile(file.string() + ".owner", patience);
}

// On a full disk the file may stay empty, and others wait.
void FileLock::stay() { std::ignore = pwrite(lock.get(), &stayMark, sizeof stayMark, 0); }

void FileLock::beginEnd() { std::ignore = ftruncate(lock.get(), 0); }

LockResult FileLock::takeOwnerFile(const std::filesystem::path& file, std::chrono::milliseconds patience)
{
    auto result = retry([&] { return takeByFile(file, Nameless::IsBeingWritten); }, lock, patience);
    if (result == LockResult::HeldByAnother)
        result = takeByFile(file, Nameless::WasLeftByACrash);
    if (result == LockResult::Taken)
        ownerFile = file;
    return result;
}
