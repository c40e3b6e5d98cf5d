#pragma once

#include <cstdint>
#include <functional>

/// The system's monitor for events that go to other programs. This is all of it that the program uses.
struct GlobalMonitor;

/// Calls the handler on the main thread at each event of the mask. Null when the system installs none.
GlobalMonitor* addGlobalMonitor(std::uint64_t mask, std::function<void()> handler);
/// The monitor is gone when this returns.
void removeGlobalMonitor(GlobalMonitor* monitor);
