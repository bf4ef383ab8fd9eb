// Measures the time of the search for QR codes in one band, without a code and with one.
//
//   panel_benchmark [Google Benchmark's options]

#include "simulate/Panel.h"

#include "platform/panel/CodeReader.h"

#include <benchmark/benchmark.h>

#include <random>

namespace tessik::target {
namespace {

/// Raw values of coarse ground with noise, and of a panel on it.
BandMatrix rawBand(Eigen::Index width, Eigen::Index height, bool hasPanel) {
    constexpr double kWavelengthNm = 560.0;
    const simulate::Panel panel(1);
    simulate::PanelView view = panel.view(0, 0, width, height);
    if (!hasPanel) {
        view.middle.x() += 10.0 * static_cast<double>(width);
    }
    constexpr double kDark = 4800.0;
    constexpr double kPerReflectance = 55000.0;
    constexpr double kNoise = 400.0;
    std::mt19937 random(7); // NOLINT(bugprone-random-generator-seed): the same band each run
    std::normal_distribution<double> noise(kDark, kNoise);
    return panel.reflectance(kWavelengthNm, view).unaryExpr([&](float reflectance) {
        return static_cast<float>(kPerReflectance * static_cast<double>(reflectance) +
                                  noise(random));
    });
}

void search(benchmark::State& state, bool hasPanel) {
    const BandMatrix band = rawBand(state.range(0), state.range(1), hasPanel);
    for (auto iteration : state) {
        const std::vector<Code> codes = readCodes(band);
        if (codes.empty() == hasPanel) {
            state.SkipWithError(hasPanel ? "the code is not read"
                                         : "a code is read where there is none");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * band.size());
}

void withoutCode(benchmark::State& state) {
    search(state, false);
}

void withCode(benchmark::State& state) {
    search(state, true);
}

BENCHMARK(withoutCode)->Args({1280, 960})->Args({5472, 3648})->Unit(benchmark::kMillisecond);
BENCHMARK(withCode)->Args({1280, 960})->Args({5472, 3648})->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tessik::target

BENCHMARK_MAIN();
