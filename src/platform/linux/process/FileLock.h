#pragma once

#include "platform/linux/process/FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <optional>

enum class LockResult {
    Taken,
    /// Somebody else had it until the time was over.
    HeldByAnother,
    /// The file is not there, or its file system knows no locks.
    Impossible,
};

/// Locks an open file for as long as its descriptor is open, at the latest until the process ends, however it
/// ends. Waits for at most so long for another process to let go of it.
LockResult lockFile(const FileDescriptor& file, std::chrono::milliseconds patience);

/// The lock of a place for files, taken on a file in it for as long as this object lives. Where the file
/// system knows no locks, as that of some network homes, a file beside it names who has the place.
class FileLock final {
public:
    FileLock() = default;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    /// Makes the file where there is none.
    LockResult take(const std::filesystem::path& file, std::chrono::milliseconds patience);

private:
    LockResult takeOwnerFile(const std::filesystem::path& file, std::chrono::milliseconds patience);

    FileDescriptor lock;
    std::optional<std::filesystem::path> ownerFile;
};
