#include "support/ShownPanel.h"

#include <QApplication>
#include <QImage>

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

const std::string week
    = R"({"2026-11-09":{"keys":5213,"clicks":1820},"2026-11-10":{"keys":8021,"clicks":2410},)"
      R"("2026-11-11":{"keys":3002,"clicks":950},"2026-11-12":{"keys":0,"clicks":12},)"
      R"("2026-11-13":{"keys":9120,"clicks":3010},"2026-11-15":{"keys":4567,"clicks":1234},)"
      R"("2026-03-05":{"keys":12345,"clicks":2310}})";

std::unique_ptr<ShownPanel> openPanel()
{
    auto panel = std::make_unique<ShownPanel>();
    panel->program.platform.grantAccess();
    panel->program.platform.setAppearance(ColorScheme::Light, Motion::Reduced);
    panel->program.writeStatsFile(week);
    panel->open();
    QCoreApplication::processEvents();
    return panel;
}

/// A key press while the panel is open, up to the widgets being up to date. Budget: 1 ms.
void renderAfterAKeyPress(benchmark::State& run)
{
    const auto panel = openPanel();
    for (auto _ : run) {
        panel->program.platform.press();
        panel->host->renderNow();
    }
}

/// Describing the panel again when nothing has changed. Budget: 1 ms.
void renderWithoutADifference(benchmark::State& run)
{
    const auto panel = openPanel();
    for (auto _ : run)
        panel->host->renderNow();
}

/// Painting the whole panel. Budget: 5 ms.
void paintTheWholePanel(benchmark::State& run)
{
    const auto panel = openPanel();
    QImage image(panel->host->size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : run)
        panel->host->render(&image);
}

/// Building the panel for its first opening, fonts already loaded. Budget: 40 ms.
void buildThePanel(benchmark::State& run)
{
    const auto panel = openPanel();
    auto& platform = panel->program.platform;
    for (auto _ : run) {
        Host host([&] {
            return StatsView { *panel->state, panel->dates, platform.listenAccess(), platform.desktop() }
                .body();
        });
        host.renderNow();
    }
}

/// Opening the panel once more. Budget: 5 ms.
void openAgain(benchmark::State& run)
{
    const auto panel = openPanel();
    for (auto _ : run) {
        panel->host->hide();
        panel->host->show();
        QCoreApplication::processEvents();
    }
}

/// Making the formatters of one locale. Budget: 10 ms.
void makeDateTexts(benchmark::State& run)
{
    for (auto _ : run)
        benchmark::DoNotOptimize(DateTexts("de_DE"));
}

}

BENCHMARK(renderAfterAKeyPress)->Unit(benchmark::kMicrosecond);
BENCHMARK(renderWithoutADifference)->Unit(benchmark::kMicrosecond);
BENCHMARK(paintTheWholePanel)->Unit(benchmark::kMicrosecond);
BENCHMARK(buildThePanel)->Unit(benchmark::kMicrosecond);
BENCHMARK(openAgain)->Unit(benchmark::kMicrosecond);
BENCHMARK(makeDateTexts)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("TZ", "UTC");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
