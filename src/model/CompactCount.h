#pragma once

#include <cstdint>
#include <string>

/// The short form of a count: 999, 1.2k, 3.4M. Always with a full stop and one digit after it, whatever the
/// locale. The unit is chosen before rounding, so 999,950 is "1000.0k".
std::string compactCount(std::int64_t n);
