#include "BusyYears.h"

#include "model/DayFormatter.h"
#include "model/StatsStore.h"

DayTable busyYears(std::int64_t years, Moment moment)
{
    const auto& formatter = StatsStore::dayFormatter();
    DayTable days;
    for (std::int64_t day = 0; day < years * 365; ++day) {
        const auto key = formatter.key(moment - std::chrono::days(day));
        days[key] = { .keys = 20'000 + day * 7919 % 30'000, .clicks = 2'000 + day * 104'729 % 3'000 };
    }
    return days;
}
