#pragma once

#include <cstdint>
#include <functional>
#include <optional>

enum class MouseMonitorId : std::uint64_t {};

/// Reports mouse presses of other programs without any permission, for the time in which no event tap runs.
class MouseMonitor {
public:
    virtual ~MouseMonitor() = default;

    /// Calls the handler on the main thread, once for each press whose type is in the mask (see
    /// `EventTap.h`). Nothing when the system offers no such monitor. Dropping the id does not remove the
    /// monitor.
    virtual std::optional<MouseMonitorId> add(std::uint64_t eventMask, std::function<void()> handler) = 0;
    virtual void remove(MouseMonitorId monitor) = 0;
};
