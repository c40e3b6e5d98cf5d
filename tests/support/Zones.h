#pragma once

#include "platform/Clock.h"

#include <unicode/ucal.h>

#include <string>
#include <vector>

/// The ids of the time zones that ICU knows: all, or without those that are merely another name of one.
std::vector<std::string> zones(USystemTimeZoneType type);

/// The moments at which the zone's clock changes from 2000 to 2037.
std::vector<Moment> clockChanges(const std::string& zone);
