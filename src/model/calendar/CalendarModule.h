#pragma once

#include "model/DayKeys.h"

/// What the calendar module, knucklet-calendar.so, is loaded for: keys in the calendars and digits that ICU
/// knows. It is given days and never a moment or a zone. The keys belong to the caller; null for another
/// build than the module's own, and where ICU has no data.
extern "C" [[gnu::visibility("default")]] DayKeys* knuckletCalendar(const char* build, const char* locale);
