#include "DayFormatter.h"

#include "support/Fatal.h"
#include "support/UserLocale.h"

#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/ucal.h>

#include <algorithm>

namespace {

UDate toIcu(Moment moment) { return static_cast<UDate>(moment.time_since_epoch().count()); }

Moment fromIcu(UDate date) { return Moment(std::chrono::milliseconds(static_cast<std::int64_t>(date))); }

// Everything asked of ICU here works for any locale and zone; it fails only without its data or without
// memory.
void check(UErrorCode status)
{
    if (U_FAILURE(status))
        fatal();
}

} // namespace

struct DayFormatter::Icu {
    Icu(const icu::Locale& locale, const icu::UnicodeString& zone);

    /// What local time is ahead of UTC.
    std::chrono::milliseconds offset(Moment moment) const;
    /// The nearest change of the zone's clock in that direction, if there is one.
    std::optional<Moment> change(Moment moment, UTimeZoneTransitionType direction) const;

    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format;
    // The C++ classes tell the changes of a zone only after a downcast.
    icu::LocalUCalendarPointer zoneCalendar;
};

DayFormatter::Icu::Icu(const icu::Locale& locale, const icu::UnicodeString& zone)
    : format(icu::UnicodeString(u"yyyy-MM-dd"), locale, status)
    , zoneCalendar(ucal_open(zone.getBuffer(), zone.length(), locale.getName(), UCAL_GREGORIAN, &status))
{
    auto calendar = std::unique_ptr<icu::Calendar>(
        icu::Calendar::createInstance(icu::TimeZone::createTimeZone(zone), locale, status));
    check(status);

    // A day whose midnight is skipped begins with its first moment, one whose midnight comes twice with the
    // first.
    calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
    calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    format.adoptCalendar(calendar.release());
}

std::chrono::milliseconds DayFormatter::Icu::offset(Moment moment) const
{
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t standard = 0;
    std::int32_t daylight = 0;
    format.getTimeZone().getOffset(toIcu(moment), false, standard, daylight, error);
    check(error);
    return std::chrono::milliseconds(standard + daylight);
}

std::optional<Moment> DayFormatter::Icu::change(Moment moment, UTimeZoneTransitionType direction) const
{
    UErrorCode error = U_ZERO_ERROR;
    UDate date = 0;
    ucal_setMillis(zoneCalendar.getAlias(), toIcu(moment), &error);
    const bool exists = ucal_getTimeZoneTransitionDate(zoneCalendar.getAlias(), direction, &date, &error);
    check(error);
    if (!exists)
        return {};
    return fromIcu(date);
}

DayFormatter::DayFormatter(const std::string& locale, const std::string& zone)
    : icu(std::make_unique<Icu>(icu::Locale(locale.c_str()), icu::UnicodeString::fromUTF8(zone)))
{
}

DayFormatter DayFormatter::forUser() { return DayFormatter(userDateLocale(), userTimeZone()); }

DayFormatter::DayFormatter(DayFormatter&&) noexcept = default;
DayFormatter::~DayFormatter() = default;

std::string DayFormatter::key(Moment moment) const
{
    icu::UnicodeString text;
    std::string key;
    return icu->format.format(toIcu(moment), text).toUTF8String(key);
}

DaySpan DayFormatter::span(Moment moment) const
{
    const auto offset = icu->offset(moment);
    const Moment midnight = std::chrono::floor<std::chrono::days>(moment + offset) - offset;
    DaySpan span { .key = key(moment), .begin = midnight, .end = midnight + std::chrono::days(1) };

    // Up to a change of the clock the offset holds. What lies beyond may be another day or this one once
    // more.
    if (const auto change = icu->change(moment, UCAL_TZ_TRANSITION_PREVIOUS_INCLUSIVE))
        span.begin = std::max(span.begin, *change);
    if (const auto change = icu->change(moment, UCAL_TZ_TRANSITION_NEXT))
        span.end = std::min(span.end, *change);
    return span;
}

std::optional<Moment> DayFormatter::parse(const std::string& key) const
{
    icu::ParsePosition position;
    const auto date = icu->format.parse(icu::UnicodeString::fromUTF8(key), position);
    if (position.getIndex() == 0)
        return {};

    // Strict parsing refuses a day without a midnight and accepts a tail, so it is the way back that decides:
    // it shows the 13th month, a tail, missing zeros and the digits of another locale.
    const auto begin = fromIcu(date);
    if (this->key(begin) != key)
        return {};
    return begin;
}
