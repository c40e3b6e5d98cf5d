#pragma once

#include "model/StatsStore.h"
#include "platform/Clock.h"

#include <cstdint>
#include <vector>

class AppState;

/// The numbers of one day card, as they were at one moment. They do not follow the model.
struct DayCardData {
    DayCardData(const AppState& state, const Clock& clock);

    Moment date;
    std::int64_t keys = 0;
    std::int64_t clicks = 0;
    /// The last seven days, oldest first and today last.
    std::vector<StatsStore::Day> week;
    /// What the card calls its day: the last of the week.
    StatsStore::Day today;
    /// Whether no day has a greater total than today. A day without activity is never a best day.
    bool isBestDay = false;
};
