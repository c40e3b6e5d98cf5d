#include "support/Zones.h"

#include "support/Files.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <set>

namespace {

using namespace std::chrono;

long offsetAt(sys_seconds moment)
{
    const std::time_t time = moment.time_since_epoch().count();
    std::tm local = {};
    localtime_r(&time, &local);
    return local.tm_gmtoff;
}

}

void setZone(const std::string& zone)
{
    changeZone(zone);
    tzset();
}

void changeZone(const std::string& zone) { setenv("TZ", zone.c_str(), 1); }

std::vector<std::string> zones()
{
    const std::filesystem::path folder = "/usr/share/zoneinfo";
    std::vector<std::string> zones;
    std::set<std::string> contents;
    for (auto file = std::filesystem::recursive_directory_iterator(folder); file != end(file); ++file) {
        // Clocks that count leap seconds are not those of computers.
        if (file->path().filename() == "right")
            file.disable_recursion_pending();
        if (!file->is_regular_file())
            continue;
        const auto content = contentOf(file->path());
        if (content.starts_with("TZif") && contents.insert(content).second)
            zones.push_back(file->path().lexically_relative(folder));
    }
    return zones;
}

std::vector<Moment> clockChanges()
{
    constexpr sys_seconds first = sys_days(year(2000) / 1 / 1);
    constexpr sys_seconds last = sys_days(year(2038) / 1 / 1);

    std::vector<Moment> changes;
    for (auto day = first; day < last; day += days(1)) {
        const auto offset = offsetAt(day);
        auto same = day;
        auto other = day + days(1);
        if (offsetAt(other) == offset)
            continue;
        while (other - same > seconds(1)) {
            const auto middle = same + (other - same) / 2;
            (offsetAt(middle) == offset ? same : other) = middle;
        }
        changes.emplace_back(other);
    }
    return changes;
}
