#include "DayCalendar.h"

#include "support/Fatal.h"
#include "support/UserLocale.h"

#include <unicode/calendar.h>
#include <unicode/timezone.h>

#include <utility>

struct DayCalendar::Icu {
    std::unique_ptr<icu::Calendar> calendar;
};

DayCalendar::DayCalendar(const std::string& locale, const std::string& zone)
    : icu(std::make_unique<Icu>())
{
    UErrorCode status = U_ZERO_ERROR;
    auto* timeZone = icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone));
    icu->calendar.reset(icu::Calendar::createInstance(timeZone, icu::Locale(locale.c_str()), status));
    if (U_FAILURE(status))
        fatal();
}

DayCalendar DayCalendar::forUser() { return DayCalendar(userDateLocale(), userTimeZone()); }

DayCalendar::DayCalendar(DayCalendar&&) noexcept = default;
DayCalendar::~DayCalendar() = default;

std::optional<Moment> DayCalendar::addDays(std::int64_t days, Moment moment) const
{
    if (!std::in_range<std::int32_t>(days))
        return {};

    auto& calendar = *icu->calendar;
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(static_cast<UDate>(moment.time_since_epoch().count()), status);

    // A skipped time moves away from midnight: Santiago skips 00:30 on a day each year, Dhaka once skipped
    // 23:30, and moving always the same way would end in a neighboring day for one of them.
    constexpr std::int32_t noon = 12 * 60 * 60 * 1000;
    const bool isMorning = calendar.get(UCAL_MILLISECONDS_IN_DAY, status) < noon;
    calendar.setSkippedWallTimeOption(isMorning ? UCAL_WALLTIME_LAST : UCAL_WALLTIME_FIRST);

    calendar.add(UCAL_DATE, static_cast<std::int32_t>(days), status);
    const auto date = calendar.getTime(status);
    if (U_FAILURE(status))
        return {};
    return Moment(std::chrono::milliseconds(static_cast<std::int64_t>(date)));
}
