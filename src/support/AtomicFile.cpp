#include "support/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <tuple>

namespace {

constexpr std::size_t readLimit = std::size_t { 64 } * 1024 * 1024;

/// The descriptor's bytes to its end, unless there are too many.
std::optional<std::string> readToEnd(int descriptor)
{
    // The size that the file says it has is not asked for: it may be changing, and files of /proc say 0.
    std::string content;
    std::array<char, 64 * 1024> buffer;
    for (;;) {
        const auto count = read(descriptor, buffer.data(), buffer.size());
        if (count == 0)
            return content;
        if (count < 0 && errno != EINTR)
            return {};
        if (count > 0)
            content.append(buffer.data(), static_cast<std::size_t>(count));
        if (content.size() > readLimit)
            return {};
    }
}

/// Where a file really lies when a symbolic link, or a chain of them, stands in its place. The file itself
/// need not exist.
std::optional<std::filesystem::path> followLinks(std::filesystem::path file)
{
    // As many links as the kernel follows before it takes them for a circle.
    constexpr int linkLimit = 40;
    for (int link = 0; link < linkLimit; ++link) {
        std::array<char, PATH_MAX> buffer;
        const auto length = readlink(file.c_str(), buffer.data(), buffer.size());
        const bool isNoLink = length < 0 && (errno == EINVAL || errno == ENOENT);
        if (isNoLink)
            return file;
        if (length < 0)
            return {};
        file = file.parent_path() / std::string_view(buffer.data(), static_cast<std::size_t>(length));
    }
    return {};
}

/// What the user's own setting for new files takes its part from.
constexpr mode_t defaultPermissions = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

struct Existing {
    bool mayBeReplaced = false;
    /// Only for a regular file.
    std::optional<mode_t> permissions;
};

Existing inspect(const std::filesystem::path& file)
{
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0)
        return { .mayBeReplaced = errno == ENOENT, .permissions = {} };
    if (S_ISREG(status.st_mode))
        // A new file that its owner could not read would be lost at the next start.
        return { .mayBeReplaced = true, .permissions = (status.st_mode & ALLPERMS) | S_IRUSR };

    // A device is left alone: a link to /dev/null is how some people say that nothing is to be kept.
    return { .mayBeReplaced = !S_ISCHR(status.st_mode) && !S_ISBLK(status.st_mode), .permissions = {} };
}

bool setPermissions(int descriptor, mode_t permissions)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        return false;
    // File systems without permissions refuse the change, but they do not need it either.
    return (status.st_mode & ALLPERMS) == permissions || fchmod(descriptor, permissions) == 0;
}

bool writeAll(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const auto count = write(descriptor, content.data(), content.size());
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
        if (count > 0)
            content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// A descriptor of a file that did not exist yet; negative when it cannot be made.
int createNew(const std::filesystem::path& file, mode_t permissions)
{
    return open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, permissions);
}

/// Writes an empty file down to the disk and closes it.
bool fill(int descriptor, std::string_view content, std::optional<mode_t> permissions)
{
    const bool isWritten = (!permissions || setPermissions(descriptor, *permissions))
        && writeAll(descriptor, content) && fsync(descriptor) == 0;
    const bool isClosed = close(descriptor) == 0;
    return isWritten && isClosed;
}

/// Writes a file that must not exist yet, down to the disk.
bool writeNew(const std::filesystem::path& file, std::string_view content, std::optional<mode_t> permissions)
{
    const int descriptor = createNew(file, S_IRUSR | S_IWUSR);
    return descriptor >= 0 && fill(descriptor, content, permissions);
}

struct NewFile {
    std::filesystem::path name;
    /// Negative when it could not be made.
    int descriptor = -1;
    /// Why not; 0 when it was made.
    int error = 0;
};

/// Makes a file of a name of its own in the folder of another one.
NewFile createBeside(const std::filesystem::path& file)
{
    NewFile made { .name = {}, .error = EEXIST };
    constexpr int attempts = 100;
    for (int i = 0; i < attempts && made.error == EEXIST; ++i) {
        // Not longer than the name of any file may be.
        made.name = file.parent_path() / (".knucklet-" + std::to_string(i) + ".part");
        made.descriptor = createNew(made.name, defaultPermissions);
        made.error = made.descriptor < 0 ? errno : 0;
    }
    return made;
}

/// Overwrites the file where it is, or makes it. Of a file that was made, nothing is left when that fails.
bool overwrite(const std::filesystem::path& file, std::string_view content)
{
    int descriptor = createNew(file, defaultPermissions);
    const bool isNew = descriptor >= 0;
    // Not blocking, because opening a pipe would otherwise wait for a reader.
    if (!isNew)
        descriptor = open(file.c_str(), O_WRONLY | O_TRUNC | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool isWritten = fill(descriptor, content, {});
    if (!isWritten && isNew)
        std::ignore = std::remove(file.c_str());
    return isWritten;
}

/// Makes a rename in the folder last through a power cut.
bool syncFolder(const std::filesystem::path& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return false;

    const bool isSynced = fsync(descriptor) == 0;
    const bool isClosed = close(descriptor) == 0;
    return isSynced && isClosed;
}

} // namespace

std::optional<std::string> readFile(const std::filesystem::path& file)
{
    // Not blocking, because opening a pipe would otherwise wait for its other end.
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return {};

    std::optional<std::string> content;
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        content = readToEnd(descriptor);
    close(descriptor);
    return content;
}

bool replaceFile(const std::filesystem::path& file, std::string_view content)
{
    const auto target = followLinks(file);
    if (!target)
        return false;
    const auto existing = inspect(*target);
    if (!existing.mayBeReplaced)
        return false;

    // Always the same name, so that a process that was killed leaves one file behind and not one each time.
    // Whatever lies there is removed, never opened: it may be a link to a file of somebody else's or a pipe
    // without a reader.
    auto temporary = *target;
    temporary += ".new";
    std::ignore = std::remove(temporary.c_str());

    if (!writeNew(temporary, content, existing.permissions)
        || std::rename(temporary.c_str(), target->c_str()) != 0) {
        std::ignore = std::remove(temporary.c_str());
        return false;
    }
    // The dot stands for the folder of a name without one.
    return syncFolder(target->parent_path() / ".");
}

bool exportFile(const std::filesystem::path& file, std::string_view content)
{
    const auto target = followLinks(file);
    if (!target)
        return false;
    const auto existing = inspect(*target);
    if (!existing.mayBeReplaced)
        return false;

    const auto made = createBeside(*target);
    // Where there is no room for another file, overwriting would only lose the old one.
    if (made.error == ENOSPC || made.error == EDQUOT)
        return false;
    if (made.descriptor < 0)
        return overwrite(*target, content);

    const bool isWritten = fill(made.descriptor, content, existing.permissions);
    if (isWritten && std::rename(made.name.c_str(), target->c_str()) == 0)
        return syncFolder(target->parent_path() / ".");
    std::ignore = std::remove(made.name.c_str());
    // Some folders let a file be written and not be renamed.
    return isWritten && overwrite(*target, content);
}
