#pragma once

#include "windows/ui/View.h"

#include <cstdint>

/// A whole number in plain digits of equal width, on one line. When the number changes before the user's
/// eyes, the digits that differ roll upwards. A number too wide for its place is truncated at its end.
View rollingNumber(std::int64_t value);
