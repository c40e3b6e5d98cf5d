#pragma once

#include "support/Fatal.h"

#include <cstdint>
#include <string>
#include <unordered_map>

/// What was counted on one day.
struct DayCount {
    std::int64_t keys = 0;
    std::int64_t clicks = 0;

    bool operator==(const DayCount&) const = default;
};

/// Key presses and clicks together; fatal when the sum does not fit in 64 bits.
inline std::int64_t total(const DayCount& count) { return checkedAdd(count.keys, count.clicks); }

/// The counts of many days, each under its day key.
using DayTable = std::unordered_map<std::string, DayCount>;
