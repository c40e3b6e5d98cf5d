#include "model/DayCardData.h"

#include "model/AppState.h"

namespace {

// Today is itself part of the store: once it leads, it is compared with itself. To equal the record is to be
// a best day, too.
bool isBest(std::int64_t today, const StatsStore& store)
{
    if (today < 1)
        return false;
    const auto best = store.bestDay();
    return today >= (best ? total(best->count) : 0);
}

}

DayCardData::DayCardData(const AppState& state, const Clock& clock)
    : date(clock.now())
    , keys(state.todayKeys)
    , clicks(state.todayClicks)
    , week(state.store.lastDays(7))
    , today(week.empty() ? StatsStore::Day {} : week.back())
    , isBestDay(isBest(checkedAdd(keys, clicks), state.store))
{
}
