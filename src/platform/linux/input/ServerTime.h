#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

/// Tells how long ago an X server's events were made. The server stamps them with a clock of its own, in
/// milliseconds, which begins at any moment, begins again after 49 days, and may be that of another machine.
class ServerTime final {
public:
    using Clock = std::chrono::steady_clock;

    /// The server's clock has just shown this.
    void set(std::uint32_t time, Clock::time_point now);
    /// It has shown this some time ago or just now, as in an event.
    void hasShown(std::uint32_t time, Clock::time_point now);

    /// Never negative.
    std::chrono::milliseconds age(std::uint32_t time, Clock::time_point now) const;

private:
    /// How far our clock is ahead of the server's; both are taken modulo 2³².
    std::optional<std::uint32_t> lead;
};
