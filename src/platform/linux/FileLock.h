#pragma once

#include "platform/linux/FileDescriptor.h"

#include <chrono>

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
