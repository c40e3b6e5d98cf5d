#include "BusyYears.h"
#include "model/DayFormatter.h"
#include "model/StatsFile.h"
#include "model/StatsStore.h"
#include "platform/Folders.h"
#include "support/AtomicFile.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

// Times are reported with their budget and not judged: they are those of the machine. The budgets are what
// keeps a counted event and a save unnoticeable on a slow one.

namespace {

class SystemClock final : public Clock {
public:
    Moment now() const override
    {
        return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    }
};

class TemporaryFolder final : public Folders {
public:
    TemporaryFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "StatsStoreBench-XXXXXX";
        if (mkdtemp(name.data()))
            folder = name;
    }

    ~TemporaryFolder() override
    {
        std::error_code ignored;
        if (folder)
            std::filesystem::remove_all(*folder, ignored);
    }

    std::optional<std::filesystem::path> applicationSupport() const override { return folder; }
    std::optional<std::filesystem::path> picture(std::string_view) const override { return {}; }

private:
    std::optional<std::filesystem::path> folder;
};

const SystemClock systemClock;

void fill(StatsStore& store, std::int64_t years)
{
    for (const auto& [day, count] : busyYears(years, systemClock.now()))
        store.add(count.keys, count.clicks, day);
}

/// A counted event in a table of ten years. Budget: 100 ns.
void add(benchmark::State& state)
{
    const TemporaryFolder folder;
    StatsStore store(folder, systemClock);
    fill(store, 10);
    const auto today = StatsStore::dayFormatter().key(systemClock.now());
    for (auto _ : state)
        store.add(1, 0, today);
}
BENCHMARK(add);

/// Whether it is still the same day, the clock read. Budget: 50 ns, for every counted event.
void spanCheck(benchmark::State& state)
{
    const auto span = StatsStore::dayFormatter().span(systemClock.now());
    for (auto _ : state)
        benchmark::DoNotOptimize(span.contains(systemClock.now()));
}
BENCHMARK(spanCheck);

/// What the check saves. No budget; it is here to be compared with the check.
void key(benchmark::State& state)
{
    const auto& formatter = StatsStore::dayFormatter();
    for (auto _ : state)
        benchmark::DoNotOptimize(formatter.key(systemClock.now()));
}
BENCHMARK(key);

/// A new day, a moved clock, and each tick. Budget: 50 µs.
void span(benchmark::State& state)
{
    const auto& formatter = StatsStore::dayFormatter();
    for (auto _ : state)
        benchmark::DoNotOptimize(formatter.span(systemClock.now()));
}
BENCHMARK(span);

/// The week of the panel, asked at each of its changes. Budget: 200 µs.
void lastSevenDays(benchmark::State& state)
{
    const TemporaryFolder folder;
    StatsStore store(folder, systemClock);
    fill(store, 10);
    for (auto _ : state)
        benchmark::DoNotOptimize(store.lastDays(7));
}
BENCHMARK(lastSevenDays)->Unit(benchmark::kMicrosecond);

/// The totals of the panel. Budget: 200 µs for ten years.
void totals(benchmark::State& state)
{
    const TemporaryFolder folder;
    StatsStore store(folder, systemClock);
    fill(store, state.range());
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.allTime());
        benchmark::DoNotOptimize(store.bestDay());
    }
}
BENCHMARK(totals)->ArgName("years")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// Budget: 0.5 ms for ten years, as part of each save.
void encode(benchmark::State& state)
{
    const auto days = busyYears(state.range(), systemClock.now());
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeStats(days));
    state.counters["bytesPerDay"]
        = static_cast<double>(encodeStats(days).size()) / static_cast<double>(days.size());
}
BENCHMARK(encode)->ArgName("years")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// Budget: 10 ms for ten years, once at the start.
void decode(benchmark::State& state)
{
    const auto text = encodeStats(busyYears(state.range(), systemClock.now()));
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeStats(text));
}
BENCHMARK(decode)->ArgName("years")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// A whole save with its two syncs, at most every ten seconds. Budget: 20 ms for ten years on a solid-state
/// disk; all that is ours of it is the encoding, the rest is the disk's.
void save(benchmark::State& state)
{
    const TemporaryFolder folder;
    StatsStore store(folder, systemClock);
    fill(store, state.range());
    const auto today = StatsStore::dayFormatter().key(systemClock.now());
    for (auto _ : state) {
        store.add(1, 0, today);
        store.saveIfDirty();
    }
}
BENCHMARK(save)->ArgName("years")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
