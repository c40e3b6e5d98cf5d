#pragma once

#include "platform/Clock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// Steps through time by whole days of one calendar and time zone.
class DayCalendar final {
public:
    /// Named as for `DayFormatter`.
    DayCalendar(const std::string& locale, const std::string& zone);
    /// The user's own calendar and the zone of the machine, as they are now.
    static DayCalendar forUser();
    DayCalendar(DayCalendar&&) noexcept;
    ~DayCalendar();

    /// The same time of day so many days later, earlier for a negative number; nothing where the calendar
    /// gives no date. A time of day that the clock skips on that day moves, but never into another day.
    std::optional<Moment> addDays(std::int64_t days, Moment moment) const;

private:
    struct Icu;
    std::unique_ptr<Icu> icu;
};
