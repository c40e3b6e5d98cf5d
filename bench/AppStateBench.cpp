#include "BusyYears.h"
#include "model/AppState.h"
#include "model/StatsFile.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/process/SystemClock.h"
#include "support/AtomicFile.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>
#include <tuple>

// Times are reported with their budget and not judged: they are those of the machine.

namespace {

class NoOnboarding final : public OnboardingWindow {
public:
    void show(AppState&, int) override { }
    void close() override { }
};

class NoShareCard final : public ShareCardWindow {
public:
    void show(AppState&) override { }
};

/// The fake platform, with the clock of the real one: reading the time is part of what a press costs.
class PlatformOnTime final : public Platform {
public:
    explicit PlatformOnTime(FakePlatform& fake)
        : fake(fake)
    {
    }

    int run() override { return fake.run(); }
    Clock& clock() override { return wallClock; }
    Desktop& desktop() override { return fake.desktop(); }
    EventTap& eventTap() override { return fake.eventTap(); }
    Folders& folders() override { return fake.folders(); }
    Instance& instance() override { return fake.instance(); }
    ListenAccess& listenAccess() override { return fake.listenAccess(); }
    LoginItem& loginItem() override { return fake.loginItem(); }
    MenuBarItem& menuBarItem() override { return fake.menuBarItem(); }
    MouseMonitor& mouseMonitor() override { return fake.mouseMonitor(); }
    Settings& settings() override { return fake.settings(); }
    Timers& timers() override { return fake.timers(); }

private:
    FakePlatform& fake;
    SystemClock wallClock;
};

/// The model of a program that has been used for ten years, the tap running and nothing visible.
class CountingProgram final {
public:
    CountingProgram()
        : fake(folder.path().toStdString(), clock.now())
        , platform(fake)
    {
        const auto file = std::filesystem::path(folder.path().toStdString()) / "Knucklet" / "stats.json";
        std::filesystem::create_directory(file.parent_path());
        std::ignore = replaceFile(file, encodeStats(busyYears(10, clock.now())));
        fake.grantAccess();
        state = std::make_unique<AppState>(platform,
            WindowFactories { [] { return std::make_unique<NoOnboarding>(); },
                [] { return std::make_unique<NoShareCard>(); } });
        observation = state->observe([this] { labelIsPending = true; });
    }

    FakePlatform& hands() { return fake; }
    bool hasCounted() const { return labelIsPending; }

private:
    QTemporaryDir folder;
    SystemClock clock;
    FakePlatform fake;
    PlatformOnTime platform;
    std::unique_ptr<AppState> state;
    Observers::Subscription observation;
    bool labelIsPending = false;
};

/// A key press, from the tap's callback on. Budget: 200 ns.
void key(benchmark::State& run)
{
    CountingProgram program;
    for (auto _ : run)
        program.hands().press();
    if (!program.hasCounted())
        run.SkipWithError("Nothing was counted.");
}
BENCHMARK(key);

/// A click, likewise. Budget: 200 ns.
void click(benchmark::State& run)
{
    CountingProgram program;
    for (auto _ : run)
        program.hands().click();
    if (!program.hasCounted())
        run.SkipWithError("Nothing was counted.");
}
BENCHMARK(click);

}

BENCHMARK_MAIN();
