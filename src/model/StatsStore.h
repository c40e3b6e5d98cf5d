#pragma once

#include "model/CivilDay.h"
#include "model/DayCount.h"
#include "platform/Clock.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

class DayFormatter;
class Folders;

/// The counts of every day on which something was counted, in memory and in one small file. Used from the
/// main thread only.
class StatsStore final {
public:
    struct Day {
        std::string day;
        /// The moment that the day's key was made from; not midnight.
        Moment date;
        CivilDay civilDay;
        DayCount count;
    };
    struct BestDay {
        std::string day;
        DayCount count;

        bool operator==(const BestDay&) const = default;
    };

    /// Makes the program's folder and reads the file. A file that is missing or unreadable gives an empty
    /// table and is left alone until the first save. Without an application-data folder: fatal. The clock
    /// must outlive the store.
    StatsStore(const Folders& folders, const Clock& clock);
    StatsStore(const StatsStore&) = delete;
    StatsStore& operator=(const StatsStore&) = delete;

    /// Counts in memory; a sum that overflows is fatal.
    void add(std::int64_t keys, std::int64_t clicks, const std::string& day);
    /// Writes the whole table if something was added since the last attempt. A failed write keeps the old
    /// file and is tried again only after the next `add`.
    void saveIfDirty();

    /// 0 and 0 for a day without a record.
    DayCount count(const std::string& day) const;
    /// The last n days, oldest first and today last; a negative n is fatal.
    std::vector<Day> lastDays(std::int64_t n) const;
    /// The day with the greatest total. Of several, the one that the table holds first.
    std::optional<BestDay> bestDay() const;
    DayCount allTime() const;

    /// Makes the key of a day, such as "2026-11-15", in the locale and calendar that the user had when it was
    /// first used. Asking for it looks at the machine's zone, which may have changed.
    static const DayFormatter& dayFormatter();

private:
    const Clock& clock;
    std::filesystem::path fileURL;
    DayTable days;
    bool dirty = false;
};
