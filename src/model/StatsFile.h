#pragma once

#include "model/DayCount.h"

#include <optional>
#include <string>
#include <string_view>

/// The stats file's text for a table: {"2026-11-14":{"keys":5120,"clicks":830}}, the days in no particular
/// order.
std::string encodeStats(const DayTable& days);

/// The table that a stats file's text holds; nothing when any part of it is not as it must be. Both counts of
/// a day must be integers that fit in 64 bits and are written as such; its other members may be anything.
/// Where a name is repeated, each value is checked and the last one counts.
std::optional<DayTable> decodeStats(std::string_view text);
