#include "support/ShownCard.h"
#include "windows/ui/UtilityWindow.h"

#include <QApplication>
#include <QPushButton>

#include <benchmark/benchmark.h>

namespace {

/// Drawing the exported picture, with decoding what stands behind it. Budget: 40 ms.
void renderTheCardCold(benchmark::State& run)
{
    FakeCard card(ordinaryWeek());
    for (auto _ : run)
        benchmark::DoNotOptimize(card.view(cardPicture()).rendered());
}

/// Drawing the exported picture once that is decoded. Budget: 15 ms.
void renderTheCard(benchmark::State& run)
{
    FakeCard card(ordinaryWeek());
    const auto picture = cardPicture();
    for (auto _ : run)
        benchmark::DoNotOptimize(card.view(picture).rendered());
}

/// From the click in the panel until the card is on the screen. Budget: 80 ms.
void openTheWindow(benchmark::State& run)
{
    ShownCard card;
    for (auto _ : run) {
        card.show();
        card.window()->repaint();
        run.PauseTiming();
        card.window()->close();
        QCoreApplication::processEvents();
        run.ResumeTiming();
    }
}

/// From the click on Copy until the clipboard has the picture. Budget: 150 ms.
void copyTheCard(benchmark::State& run)
{
    ShownCard card;
    card.show();
    QCoreApplication::processEvents();
    for (auto _ : run)
        card.button("Copy")->click();
}

}

BENCHMARK(renderTheCardCold)->Unit(benchmark::kMillisecond);
BENCHMARK(renderTheCard)->Unit(benchmark::kMillisecond);
BENCHMARK(openTheWindow)->Unit(benchmark::kMillisecond);
BENCHMARK(copyTheCard)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("TZ", "UTC");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
