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
/// ends. Waits for nobody.
LockResult lockFile(const FileDescriptor& file);

/// The lock of a place for files, taken on a file in it for as long as this object lives. Where the file
/// system knows no locks, as that of some network homes, a file beside it names who has the place.
class FileLock final {
public:
    FileLock() = default;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    /// Makes the file where there is none. Waits only while who has the lock may be about to let go of it.
    LockResult take(const std::filesystem::path& file, std::chrono::milliseconds patience);
    /// Who has the lock stays: from here on nobody waits for it, until `beginEnd`. The file says so.
    void stay();
    void beginEnd();

private:
    LockResult takeOwnerFile(const std::filesystem::path& file, std::chrono::milliseconds patience);

    FileDescriptor lock;
    std::optional<std::filesystem::path> ownerFile;
};
