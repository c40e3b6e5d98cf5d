#pragma once

#include "model/DayCount.h"

#include <optional>
#include <string>
#include <string_view>

/// What `decodeStats` must answer, found out in the plainest way and without any library for JSON.
std::optional<DayTable> referenceDecode(std::string_view text);

/// How the reader and the reference differ about the text, or how its table fails to come back when written;
/// empty when all is well.
std::string difference(std::string_view text);
