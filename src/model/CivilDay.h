#pragma once

#include "platform/Clock.h"

#include <chrono>
#include <cstdint>
#include <optional>

/// A day of the calendar, wherever it is lived.
using CivilDay = std::chrono::local_days;

/// The moments from `begin` up to but not including `end`, all of which are of one day.
struct CivilSpan {
    CivilDay day;
    Moment begin;
    Moment end;
};

// The zone is the machine's, in every form that the C library reads, as it was when `tzset` last looked.

/// What local time is ahead of UTC.
std::chrono::seconds localOffset(Moment moment);

CivilDay civilDay(Moment moment);

/// The stretch of time around the moment that shares its day and ends at the latest where the clock changes.
CivilSpan civilSpan(Moment moment);

/// The same time of day so many days later, earlier for a negative number; nothing beyond all calendars. A
/// time of day that the clock skips on that day moves, but never into another day.
std::optional<Moment> addDays(std::int64_t days, Moment moment);
