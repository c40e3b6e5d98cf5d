#include "model/StatsStore.h"

#include "model/DayFormatter.h"
#include "model/StatsFile.h"
#include "platform/Folders.h"
#include "support/AtomicFile.h"
#include "support/Fatal.h"

#include <algorithm>
#include <ctime>
#include <system_error>
#include <tuple>
#include <utility>

namespace {

std::filesystem::path statsFile(const Folders& folders)
{
    const auto applicationSupport = folders.applicationSupport();
    if (!applicationSupport)
        fatal();
    return *applicationSupport / "Knucklet" / "stats.json";
}

DayTable readTable(const std::filesystem::path& file)
{
    const auto text = readFile(file);
    if (!text)
        return {};
    return decodeStats(*text).value_or(DayTable {});
}

} // namespace

StatsStore::StatsStore(const Folders& folders, const Clock& clock)
    : clock(clock)
    , fileURL(statsFile(folders))
{
    // Without the folder the counts still live as long as the program does, and every save fails.
    std::error_code ignored;
    std::filesystem::create_directories(fileURL.parent_path(), ignored);
    days = readTable(fileURL);
}

void StatsStore::add(std::int64_t keys, std::int64_t clicks, const std::string& day)
{
    auto& count = days[day];
    count.keys = checkedAdd(count.keys, keys);
    count.clicks = checkedAdd(count.clicks, clicks);
    dirty = true;
}

void StatsStore::saveIfDirty()
{
    if (!dirty)
        return;

    // Cleared before writing, so that a failed save waits for the next count.
    dirty = false;
    // Nobody is told of a failure: the old file is still there, and the next save writes the whole table
    // again.
    std::ignore = replaceFile(fileURL, encodeStats(days));
}

DayCount StatsStore::count(const std::string& day) const
{
    const auto found = days.find(day);
    return found == days.end() ? DayCount {} : found->second;
}

std::vector<StatsStore::Day> StatsStore::lastDays(std::int64_t n) const
{
    if (n < 0)
        fatal();

    const auto& formatter = dayFormatter();
    std::vector<Day> lastDays;
    for (auto offset = 1 - n; offset <= 0; ++offset) {
        const auto date = addDays(offset, clock.now());
        if (!date)
            continue;
        const auto day = civilDay(*date);
        const auto key = formatter.key(day);
        lastDays.push_back({ .day = key, .date = *date, .civilDay = day, .count = count(key) });
    }
    return lastDays;
}

std::optional<StatsStore::BestDay> StatsStore::bestDay() const
{
    // Of equal days max_element gives the first.
    const auto best
        = std::ranges::max_element(days, {}, [](const auto& entry) { return total(entry.second); });
    if (best == days.end())
        return {};
    return BestDay { .day = best->first, .count = best->second };
}

DayCount StatsStore::allTime() const
{
    DayCount sum;
    for (const auto& [day, count] : days) {
        sum.keys = checkedAdd(sum.keys, count.keys);
        sum.clicks = checkedAdd(sum.clicks, count.clicks);
    }
    return sum;
}

const DayFormatter& StatsStore::dayFormatter()
{
    tzset();
    static const auto formatter = DayFormatter::forUser();
    return formatter;
}
