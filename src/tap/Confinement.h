#pragma once

#include <fcntl.h>

/// The only folders in which anything can be opened after `confine`, where the kernel has Landlock, and how.
inline constexpr const char* deviceFolder = "/dev/input";
inline constexpr const char* seatFolder = "/run/systemd/seats";
inline constexpr int openFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;

/// Gives up, for good, all that counting does not need: to open anything for writing or, where the kernel has
/// Landlock, outside the two folders, every system call but a few, more privileges, other processes, being
/// traced. A forbidden system call from then on ends the process. False when the kernel refuses.
[[nodiscard]] bool confine();
