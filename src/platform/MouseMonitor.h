#pragma once

#include "platform/Clock.h"

#include <functional>
#include <optional>

/// Reports mouse presses of other programs without any permission, for the time in which no event tap runs.
class MouseMonitor {
public:
    virtual ~MouseMonitor() = default;

    /// Calls the handler on the main thread, once for each press, with the moment of the press where the
    /// system tells it. False when the system offers no such monitor.
    [[nodiscard]] virtual bool start(std::function<void(std::optional<Moment>)> handler) = 0;
    virtual void stop() = 0;
};
