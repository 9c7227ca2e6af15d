// The exact analysis of a level of 24 h at 10 Hz, whole and with gaps, beside the same sums written down as
// they stand: one sine and cosine for each sample and each of the 86 frequencies that are looked at.
#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "analysis/ExactLevel.h"

namespace {

constexpr std::size_t samples = 864'000;
constexpr std::int32_t period = 24000;  // hundredths of a second
constexpr double step = 10.0;
constexpr double pi = std::numbers::pi;

vorela::SampledCurve Curve(double lag, bool gaps) {
    std::mt19937_64 random(7);
    std::normal_distribution<double> noise(0.0, 0.1);
    vorela::SampledCurve curve;
    curve.step = step;
    for (std::size_t i = 0; i < samples; ++i) {
        const double angle = 2.0 * pi * static_cast<double>(i) * step / period;
        curve.values.push_back(50.0 * std::sin(angle - lag) + 10.0 * std::sin(3.0 * angle) + noise(random));
        const bool missing = gaps && i % 97 < 5;  // never twice at one phase in a row
        curve.states.push_back(missing ? vorela::SampledCurve::missing : vorela::SampledCurve::present);
    }
    return curve;
}

vorela::LevelRecord Record(bool gaps) {
    vorela::LevelRecord record;
    record.pressure = Curve(0.0, gaps);
    record.flow = Curve(3.0, false);
    for (std::int32_t at = period / 2; at < static_cast<std::int32_t>(samples * step); at += period)
        record.boundaries.push_back(at);
    return record;
}

void AnalyseLevel(benchmark::State& state) {
    const vorela::LevelRecord record = Record(state.range(0) != 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(vorela::AnalyseLevel(record, {}));
}
BENCHMARK(AnalyseLevel)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void SumsAsTheyStand(benchmark::State& state) {
    const vorela::LevelRecord record = Record(false);
    for (auto _ : state)
        for (const vorela::SampledCurve* curve : {&record.pressure, &record.flow})
            for (int j = 0; j < 86; ++j) {
                std::complex<double> sum;
                const double turn = -2.0 * pi * j / 14.0 * step / period;
                for (std::size_t i = 0; i < samples; ++i)
                    sum += curve->values[i] * std::polar(1.0, turn * static_cast<double>(i));
                benchmark::DoNotOptimize(sum);
            }
}
BENCHMARK(SumsAsTheyStand)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
