#include "support/Zones.h"

#include <unicode/uenum.h>
#include <unicode/unistr.h>

std::vector<std::string> zones(USystemTimeZoneType type)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUEnumerationPointer ids(ucal_openTimeZoneIDEnumeration(type, nullptr, nullptr, &status));
    std::vector<std::string> zones;
    while (const auto* id = uenum_next(ids.getAlias(), nullptr, &status))
        zones.emplace_back(id);
    return zones;
}

std::vector<Moment> clockChanges(const std::string& zone)
{
    constexpr Moment first = std::chrono::sys_days(std::chrono::year(2000) / 1 / 1);
    constexpr Moment last = std::chrono::sys_days(std::chrono::year(2037) / 12 / 31);

    UErrorCode status = U_ZERO_ERROR;
    const auto id = icu::UnicodeString::fromUTF8(zone);
    const icu::LocalUCalendarPointer calendar(
        ucal_open(id.getBuffer(), id.length(), "en_US", UCAL_GREGORIAN, &status));
    auto next = static_cast<UDate>(first.time_since_epoch().count());
    std::vector<Moment> changes;
    for (;;) {
        ucal_setMillis(calendar.getAlias(), next, &status);
        if (!ucal_getTimeZoneTransitionDate(calendar.getAlias(), UCAL_TZ_TRANSITION_NEXT, &next, &status))
            return changes;
        const Moment change(std::chrono::milliseconds(static_cast<std::int64_t>(next)));
        if (change > last)
            return changes;
        changes.push_back(change);
    }
}
