#include "platform/linux/input/ServerTime.h"

#include <algorithm>

namespace {

std::uint32_t milliseconds(ServerTime::Clock::time_point moment)
{
    return static_cast<std::uint32_t>(
        std::chrono::floor<std::chrono::milliseconds>(moment.time_since_epoch()).count());
}

/// From one time to another, whichever is later.
std::int32_t distance(std::uint32_t from, std::uint32_t to) { return static_cast<std::int32_t>(to - from); }

}

void ServerTime::set(std::uint32_t time, Clock::time_point now) { lead = milliseconds(now) - time; }

// The shortest way to us is the truest: what arrives late only looks as if our clock were further ahead.
void ServerTime::hasShown(std::uint32_t time, Clock::time_point now)
{
    const std::uint32_t seen = milliseconds(now) - time;
    if (!lead || distance(*lead, seen) < 0)
        lead = seen;
}

std::chrono::milliseconds ServerTime::age(std::uint32_t time, Clock::time_point now) const
{
    const std::uint32_t serverNow = milliseconds(now) - lead.value_or(milliseconds(now) - time);
    return std::chrono::milliseconds(std::max(distance(time, serverNow), 0));
}
