#include "model/CivilDay.h"

#include "support/Fatal.h"

#include <algorithm>
#include <ctime>

namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

/// What a clock on the wall shows.
local_seconds localTime(sys_seconds moment)
{
    const std::time_t time = moment.time_since_epoch().count();
    std::tm shown = {};
    if (!localtime_r(&time, &shown))
        fatal();
    const year_month_day date(year(shown.tm_year + 1900), month(static_cast<unsigned>(shown.tm_mon + 1)),
        day(static_cast<unsigned>(shown.tm_mday)));
    // Zones with leap seconds show a 61st. Taken for the 60th once more it stays within its day.
    return local_days(date) + hours(shown.tm_hour) + minutes(shown.tm_min)
        + seconds(std::min(shown.tm_sec, 59));
}

seconds offsetAt(sys_seconds moment)
{
    return localTime(moment).time_since_epoch() - moment.time_since_epoch();
}

milliseconds timeOfDay(Moment moment)
{
    const auto local = moment + localOffset(moment);
    return local - floor<days>(local);
}

/// The last second on the way from one to the other that has the offset of the first.
sys_seconds lastOfOffset(sys_seconds from, sys_seconds to)
{
    // The C library does not tell when the clock changes, so that it is asked on the way. In no zone of the
    // world have two changes ever come within four days; a rule that somebody wrote into TZ can have them
    // closer, and what comes and goes between two questions stays unseen.
    constexpr seconds step = 15min;

    const auto offset = offsetAt(from);
    while (from != to) {
        auto next = abs(to - from) <= step ? to : from + (from < to ? step : -step);
        if (offsetAt(next) == offset) {
            from = next;
            continue;
        }
        while (abs(next - from) > 1s) {
            const auto middle = from + (next - from) / 2;
            (offsetAt(middle) == offset ? from : next) = middle;
        }
        return from;
    }
    return to;
}

} // namespace

std::chrono::seconds localOffset(Moment moment) { return offsetAt(floor<seconds>(moment)); }

CivilDay civilDay(Moment moment) { return floor<days>(localTime(floor<seconds>(moment))); }

CivilSpan civilSpan(Moment moment)
{
    const auto second = floor<seconds>(moment);
    const auto offset = offsetAt(second);
    const auto midnight = floor<days>(second + offset) - offset;
    return {
        .day = civilDay(moment),
        .begin = lastOfOffset(second, midnight),
        .end = lastOfOffset(second, midnight + days(1) - 1s) + 1s,
    };
}

std::optional<Moment> addDays(std::int64_t days, Moment moment)
{
    // The years of the standard library end a little further on.
    constexpr std::int64_t furthest = 10'000'000;
    if (days < -furthest || furthest < days)
        return {};

    // A zone that leaves out a day changes its clock by 24 hours, which move no time of day.
    const auto elapsed = moment + std::chrono::days(days);
    const auto adjusted = elapsed + (localOffset(moment) - localOffset(elapsed)) % 24h;
    const auto time = timeOfDay(moment);
    if (timeOfDay(adjusted) == time)
        return adjusted;

    // A skipped time moves away from midnight: Santiago skips 00:30 on a day each year, Dhaka once skipped
    // 23:30, and moving always the same way would end in a neighboring day for one of them.
    return time < 12h ? std::max(elapsed, adjusted) : std::min(elapsed, adjusted);
}
