#pragma once

#include "platform/linux/process/EventLoop.h"

#include <functional>
#include <optional>

/// Whether the compositor of a Wayland session is still there. A connection is held to it on which nothing is
/// ever said: it ends when the compositor does, and with it the session. In other sessions, and where there
/// is no compositor to be found, none is missed.
class WaylandDisplay final {
public:
    /// `lost` is called once, from the loop, which must outlive it.
    WaylandDisplay(EventLoop& loop, std::function<void()> lost);

    bool isConnected() const { return connection.isOpen() && !hasEnded; }
    /// Known at once, also before `lost` has been called.
    bool isLost();

private:
    void readConnection();

    std::function<void()> lost;
    FileDescriptor connection;
    bool hasEnded = false;
    std::optional<DescriptorWatch> watch;
};
