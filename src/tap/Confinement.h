#pragma once

#include <fcntl.h>

/// The only folders in which anything can be opened after `confine`, and how.
inline constexpr const char* deviceFolder = "/dev/input";
inline constexpr const char* seatFolder = "/run/systemd/seats";
inline constexpr int openFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;

/// Gives up, for good, all that counting does not need: to open anything outside the two folders or for
/// writing, every system call but a few, more privileges, other processes, being traced. A forbidden system
/// call from then on ends the process. False when the kernel refuses.
[[nodiscard]] bool confine();
