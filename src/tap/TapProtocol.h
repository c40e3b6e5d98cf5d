#pragma once

#include <cstdint>

/// What knucklet-tap writes to its output, a pipe: the presses since the record before. The first record says
/// that counting has begun and is the only one in which both are 0.
struct TapRecord {
    std::uint32_t keys = 0;
    std::uint32_t clicks = 0;

    bool operator==(const TapRecord&) const = default;
};
static_assert(sizeof(TapRecord) == 8);

/// What knucklet-tap ends with. The values are those of sysexits.h, where it has one.
enum class TapExit : int {
    /// Nobody listens any more; or, to the question of --probe, that it may count.
    Done = 0,
    WrongUse = 64,
    /// --probe: there is no device, so that nothing is known about the right to read one.
    NoDevice = 69,
    Failed = 71,
    NotPermitted = 77,
};
