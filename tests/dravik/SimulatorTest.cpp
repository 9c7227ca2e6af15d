// Simulated curves against the truth that is printed with them, and the valve's log against cells computed by
// hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <map>
#include <numbers>

#include "dravik/tool/RestResponse.h"
#include "dravik/tool/Simulator.h"
#include "dravik/tool/ToolError.h"

namespace dravik {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;
constexpr double degrees = 180.0 / pi;

Simulation TwoLevels() {
    Simulation simulation;
    simulation.levels = {{9800.0, {100.0, 5.0}}, {9900.0, {40.0, 1.0}}};
    simulation.cycles = 3;
    return simulation;
}

std::vector<float> ReadCurve(CurveSource& source, std::size_t curve) {
    const auto rows = static_cast<std::size_t>(source.Grid().rowCount);
    std::vector<float> values(rows);
    std::vector<std::uint8_t> present(rows);
    source.Read(curve, 0, source.Grid().rowCount, values.data(), present.data());
    return values;
}

/// Complex amplitude of the fundamental over `count` samples from `from` on, which hold `periods` periods.
Complex Fundamental(const std::vector<float>& values, std::size_t from, std::size_t count, int periods = 1) {
    Complex sum;
    for (std::size_t i = 0; i < count; ++i)
        sum += static_cast<double>(values[from + i]) *
               std::polar(1.0, -2.0 * pi * periods * static_cast<double>(i) / static_cast<double>(count));
    return 2.0 * sum / static_cast<double>(count);
}

/// Minus flow over pressure: the level's index in rps/psi.
Complex MeasuredIndex(SimulatedLevel& level, std::size_t from, std::size_t count) {
    return -Fundamental(ReadCurve(level, 1), from, count) / Fundamental(ReadCurve(level, 0), from, count);
}

TEST(Simulator, FundamentalOfTheCurvesIsThePrintedTruthAtEveryLevel) {
    constexpr double ratioTolerance = 1e-6;  // singles near 4,000 psi with an amplitude of 50 psi
    constexpr double phaseTolerance = 1e-4;  // degrees
    for (const std::int32_t period : {24000, 24300, 9070}) {
        Simulation simulation = TwoLevels();
        simulation.period = period;
        const Truth truth = TruthOf(simulation);
        for (std::size_t i = 0; i < 2; ++i) {
            SimulatedLevel level(simulation, i);
            for (const std::size_t from : {std::size_t{0}, std::size_t{1234}}) {
                const Complex index = MeasuredIndex(level, from, static_cast<std::size_t>(period / 10));
                EXPECT_NEAR(std::abs(index) / truth.levels[i].hpi, 1.0, ratioTolerance) << period;
                EXPECT_NEAR(std::arg(index) * degrees, truth.levels[i].phaseLag, phaseTolerance) << period;
            }
            EXPECT_NEAR(std::abs(Fundamental(ReadCurve(level, 0), 0, static_cast<std::size_t>(period / 10))),
                        truth.levels[i].pressureAmplitude, 1e-4);
        }
    }
}

TEST(Simulator, PeriodsOffTheSampleGridAndNegativeSkinKeepTheFundamental) {
    Simulation simulation = TwoLevels();
    simulation.period = 10007;  // prime: the wave repeats after 10007 samples
    simulation.step = 30;
    simulation.cycles = 40;
    simulation.levels[0].layer.skin = -3.0;
    SimulatedLevel level(simulation, 0);
    EXPECT_NEAR(std::abs(Fundamental(ReadCurve(level, 0), 0, 10007, 30)), 50.0, 1e-4);
}

TEST(Simulator, NoiseAndDriftAreOfTheSizeAskedForAndEverySeedHasItsOwn) {
    Simulation simulation = TwoLevels();
    simulation.drift = 0.2;
    const auto read = [&](double noise, int seed) {
        simulation.noise = noise;
        simulation.seed = static_cast<decltype(simulation.seed)>(seed);
        SimulatedLevel level(simulation, 0);
        return ReadCurve(level, 0);
    };
    const std::vector<float> smooth = read(0.0, 1);
    const std::vector<float> noisy = read(0.1, 1);
    double squares = 0.0;
    for (std::size_t i = 0; i < noisy.size(); ++i)
        squares += std::pow(static_cast<double>(noisy[i]) - static_cast<double>(smooth[i]), 2);
    EXPECT_NEAR(std::sqrt(squares / static_cast<double>(noisy.size())), 5.0, 0.2);
    EXPECT_NEAR(smooth[2400] - smooth[0], 0.2 * 50.0 * 240.0 / 3600.0, 1e-3);
    EXPECT_NE(read(0.1, 2), noisy);
}

TEST(Simulator, RefusesWhatNoTestCouldHave) {
    const auto refuses = [](auto change) {
        Simulation simulation = TwoLevels();
        change(simulation);
        EXPECT_THROW(CheckSimulation(simulation), std::runtime_error);
    };
    EXPECT_NO_THROW(CheckSimulation(TwoLevels()));
    refuses([](Simulation& s) { s.levels[1].depth = s.levels[0].depth; });
    refuses([](Simulation& s) { s.well.totalDepth = 9850.0; });
    refuses([](Simulation& s) { s.levels[0].layer.skin = -4.0; });
    refuses([](Simulation& s) { s.cycles = 100000; });
    refuses([](Simulation& s) { s.step = 6001; });
    refuses([](Simulation& s) { s.period = 1000000, s.step = 1700; });
}

// --- The valve ---

using Cells = std::array<float, 4>;  // position, code, time of the change, time

void ExpectCells(const ValveSchedule& schedule, const std::map<std::int32_t, Cells>& expected) {
    for (const auto& [index, cells] : expected) {
        const ValveSample sample = schedule.At(index);
        EXPECT_EQ((Cells{sample.position, sample.code, sample.changeTimer, sample.timer}), cells) << index;
    }
}

constexpr CurveGrid everySecond{1, 100, 0, 1000};

TEST(ValveSchedule, HasTheCellsComputedByHand) {
    // 90 s from 0: 3906.25 ticks a second, modulo 65536. Boundary at 0 shows from the second sample on.
    ExpectCells(ValveSchedule(0.0, 9000.0, everySecond), {{0, {-1, 1, 0, 0}},
                                                          {100, {-1, 3, 0, 3906}},
                                                          {1700, {-1, 3, 0, 870}},
                                                          {4400, {-1, 3, 0, 40803}},
                                                          {4500, {1, 1, 44709, 44709}},
                                                          {9000, {-1, 3, 23882, 23882}},
                                                          {9100, {-1, 3, 23882, 27788}}});
    // Changes between samples: 10.25 s and 55.25 s.
    ExpectCells(ValveSchedule(1025.0, 9000.0, everySecond), {{0, {1, 1, 0, 0}},
                                                             {1000, {1, 1, 0, 39062}},
                                                             {1100, {-1, 3, 40039, 42968}},
                                                             {5600, {1, 1, 19212, 22142}}});
}

TEST(ValveSchedule, AChangeBeforeTheRecordShowsFromTheSecondSampleWhileTheTimerReachesIt) {
    // Boundaries at -90 s and 0 s; half-way at -45 s is the earlier state.
    ExpectCells(ValveSchedule(-9000.0, 9000.0, everySecond),
                {{0, {-1, 1, 20826, 0}}, {100, {-1, 3, 0, 3906}}});
    // A boundary 10 s before the record: 65536 - 39062.5, downwards.
    ExpectCells(ValveSchedule(-1000.0, 9000.0, everySecond),
                {{0, {-1, 1, 0, 0}}, {100, {-1, 3, 26473, 3906}}});
    // The next change falls due at the second sample: it shows at the third.
    ExpectCells(ValveSchedule(-100.0, 400.0, everySecond), {{0, {-1, 1, 0, 0}},
                                                            {100, {1, 3, 61629, 3906}},
                                                            {200, {1, 1, 3906, 7812}},
                                                            {300, {-1, 3, 11718, 11718}}});
    // One 20 s before: longer than the timer takes to wrap, so no time can be told; the code stands from the
    // start.
    ExpectCells(ValveSchedule(-2000.0, 9000.0, everySecond),
                {{0, {-1, 3, 52947, 0}}, {100, {-1, 3, 52947, 3906}}});
}

TEST(Simulator, EnlargedWellHasAllItsHarmonicsSoftEdgesKeepPhasesAndALateFlowShiftsThem) {
    Simulation simulation = TwoLevels();
    simulation.levels[0].layer.skin = -3.0;
    simulation.levels[0].layer.enlargedWell = true;
    const auto harmonic = [&](std::size_t curve, int n) {
        SimulatedLevel level(simulation, 0);
        return Fundamental(ReadCurve(level, curve), 0, 2400, n);
    };
    const auto index = [&](int n) { return -harmonic(1, n) / harmonic(0, n); };
    const double response = SpinnerResponse(simulation.spinnerSlope, simulation.well.casingId);
    const double omega = OmegaPerHour(simulation);
    for (const int n : {1, 3, 9}) {
        const Complex truth = LevelIndex(simulation.levels, 0, simulation.well, n * omega) * response;
        EXPECT_LT(std::abs(index(n) / truth - 1.0), 1e-4) << n;
    }
    const Complex sharp = harmonic(0, 3);
    const Complex before = index(3);
    simulation.ramp = 20.0;
    const double angle = pi * 3 * 20.0 / 240.0;
    EXPECT_LT(std::abs(harmonic(0, 3) / sharp - std::sin(angle) / angle), 1e-5);
    simulation.flowDelay = 0.7;
    EXPECT_NEAR(std::arg(index(3) / before), -2.0 * pi * 3 * 0.7 / 240.0, 1e-5);
}

TEST(Simulator, ResponseToAStepIsThatOfTheLineSourceLateOnAndItsFlowGoesOverToTheDeeperLevel) {
    const std::vector<Level> levels{{9800.0, {100.0, 5.0}}, {9900.0, {40.0, 1.0}}};
    const Wellbore empty{6.0, 10000.0, 0.0};
    const std::vector<Level> one{levels[0]};
    const StepResponse step(StepResponse::Kind::pressure, one, 0, 0, empty, 20000.0);
    const double radius = 8.5 / 24.0;
    for (const double seconds : {300.0, 3000.0, 15000.0}) {
        const double time = 0.0002637 * 100.0 / (0.2 * 1e-5) * seconds / 3600.0 / (radius * radius);
        const double line = 141.2 / (100.0 * 10.0) * (-0.5 * std::expint(-1.0 / (4.0 * time)) + 5.0);
        EXPECT_NEAR(step.At(seconds) / line, 1.0, 1e-4) << seconds;
    }
    EXPECT_EQ(step.At(-1.0), 0.0);
    EXPECT_NEAR(step.AtRamp(0.0, 2.0) / step.At(0.5), 0.5, 0.05) << "half of a ramp has passed";
    const StepResponse share(StepResponse::Kind::flow, levels, 0, 1, empty, 20000.0);
    EXPECT_GT(share.At(100.0), 0.2);
    EXPECT_LT(share.At(100.0), 0.5);
}

}  // namespace
}  // namespace dravik
