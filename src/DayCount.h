#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

/// What was counted on one day.
struct DayCount {
    std::int64_t keys = 0;
    std::int64_t clicks = 0;

    bool operator==(const DayCount&) const = default;
};

/// The counts of many days, each under its day key.
using DayTable = std::unordered_map<std::string, DayCount>;
