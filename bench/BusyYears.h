#pragma once

#include "model/DayCount.h"
#include "platform/Clock.h"

#include <cstdint>

/// Days of much typing, without a gap, up to the moment: what the program holds after so many years.
DayTable busyYears(std::int64_t years, Moment moment);
