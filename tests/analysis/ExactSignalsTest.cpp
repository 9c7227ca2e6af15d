// Gaps, drift and harmonics on made signals whose harmonics are known.
#include "tests/analysis/ExactSupport.h"

namespace vorela::test {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;
constexpr double degrees = 180.0 / pi;

/// A valve's wave of five odd harmonics on a trend over time in periods.
double Wave(double t) {
    double sum = 0;
    for (const int n : {1, 3, 5})
        sum += 50.0 / n * std::sin(2 * pi * n * t - 0.3 * n);
    return sum;
}

SampledCurve CurveWith(const std::function<double(double)>& value, double periods, double perPeriod,
                       double first = 0) {
    SampledCurve curve;
    curve.step = 24000.0 / perPeriod;
    curve.first = first * 24000.0;
    for (double t = first; t <= first + periods + 1e-9; t += 1 / perPeriod)
        curve.values.push_back(value(t));
    curve.states.assign(curve.values.size(), SampledCurve::present);
    return curve;
}

/// Phase of harmonic n over cycles from `from` on, less the true one, degrees.
double PhaseError(const SampledCurve& curve, double from, int cycles, int n) {
    const auto window = curve.SpanOf(from * 24000, (from + cycles) * 24000);
    const SampledCurve::Span all{0, curve.values.size(), true};
    const std::vector<double> rest =
        WithoutPeriodMean(curve, all, PeriodMean(curve.values, 24000 / curve.step));
    const PhaseGrid grid{curve.TimeOf(window.begin) / 24000 - from, curve.step / 24000, window.Size()};
    const std::span<const double> samples = rest;
    const HarmonicFit fit(samples.subspan(window.begin, window.Size()), grid);
    const Complex truth = Complex{0, -1} * std::polar(1.0, n * (2 * pi * from - 0.3));
    return std::arg(fit.Amplitude(n) / truth) * degrees;
}

TEST(ExactSignals, LineAndParabolaLeaveThePhaseAloneWithAndWithoutMargins) {
    const auto drifting = [](double t) { return Wave(t) + 50 * t + 5 * t * t; };
    for (const double perPeriod : {480.0, 487.3})
        for (const double margin : {0.5, 0.2, 0.0}) {
            const SampledCurve curve = CurveWith(drifting, 9 + 2 * margin, perPeriod, -margin);
            for (const int n : {1, 3, 5})
                EXPECT_NEAR(PhaseError(curve, 0, 9, n), 0, perPeriod == 480.0 ? 1e-6 : 2e-3)
                    << margin << " " << n;
        }
}

TEST(ExactSignals, PeriodMeanOfAPeriodicSignalIsItsMeanAndOfALineItsMiddle) {
    const SampledCurve curve = CurveWith([](double t) { return Wave(t) + 7; }, 4, 480);
    const PeriodMean mean(curve.values, 480);
    for (const double at : {0.0, 100.0, 960.5, 1900.0})
        EXPECT_NEAR(mean.At(at), 7, 1e-9) << at;
    const SampledCurve line = CurveWith([](double t) { return 3 * t; }, 1.5, 480);
    EXPECT_NEAR(PeriodMean(line.values, 480).At(360), 2.25, 1e-9);
    const SampledCurve little = CurveWith([](double t) { return 3 * t; }, 0.5, 480);
    EXPECT_NEAR(PeriodMean(little.values, 480).At(0), 0.75, 1e-9) << "not one period: the mean of all";
}

TEST(ExactSignals, GapsOfACubicTrendUnderAPeriodicSignalComeBackExactly) {
    const auto cubic = [](double t) { return Wave(t) + t - 2 * t * t + 0.3 * t * t * t; };
    const SampledCurve whole = CurveWith(cubic, 9, 480);
    SampledCurve gappy = whole;
    for (std::size_t i = 1500; i < 1600; ++i)
        gappy.states[i] = SampledCurve::missing;
    FillGaps(gappy, 24000);
    for (std::size_t i = 1500; i < 1600; ++i) {
        ASSERT_EQ(gappy.states[i], SampledCurve::filled);
        ASSERT_NEAR(gappy.values[i], whole.values[i], 1e-9);
    }
    SampledCurve edge = CurveWith([](double t) { return Wave(t) + t - 2 * t * t; }, 3, 480);
    const double before = edge.values[3];
    edge.states[3] = edge.states[5] = edge.states[485] = SampledCurve::missing;
    FillGaps(edge, 24000);
    EXPECT_NEAR(edge.values[3], before, 1e-9) << "three neighbours: second degree";
    EXPECT_EQ(edge.states[5], SampledCurve::missing) << "two neighbours are not enough";
}

TEST(ExactSignals, CorrelationAndLeastSquaresAreThoseOfTheDefinition) {
    std::mt19937_64 random(5);
    std::normal_distribution<double> normal;
    std::vector<double> samples(4777);  // more than are summed at once, and so are the frequencies
    for (double& sample : samples)
        sample = normal(random);
    const PhaseGrid grid{0.0123, 4.0 / 1777.4, samples.size()};
    std::vector<double> frequencies{0, 0.25, 1, 2.5, 5.75};
    for (int d = 1; d <= 20; ++d)
        frequencies.push_back(3 + d / 21.0);
    const HarmonicFit fit(samples, grid);
    const auto sums = Correlate(samples, grid, frequencies);
    const auto rest = fit.ResidualAt(samples, frequencies);
    for (std::size_t j = 0; j < frequencies.size(); ++j) {
        Complex sum;
        Complex left;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double phase = 2 * pi * (grid.first + grid.step * static_cast<double>(i));
            double fitted = 0;
            for (int n = 0; n <= fit.Highest(); ++n)
                fitted += (fit.Amplitude(n) * std::polar(1.0, n * phase)).real();
            sum += samples[i] * std::polar(1.0, -frequencies[j] * phase);
            left += (samples[i] - fitted) * std::polar(1.0, -frequencies[j] * phase);
        }
        EXPECT_LT(std::abs(sums[j] - sum), 1e-9);
        EXPECT_LT(std::abs(rest[j] - left), 1e-9);
        if (frequencies[j] < 2) {
            EXPECT_EQ(std::abs(left) < 1e-9, frequencies[j] != 0.25)
                << "the rest is orthogonal to the columns";
        }
    }
}

/// Single result and errors of a well after a change of its records.
void ExpectSingle(const SimulatedWell& well, const Change& change, double k, double skin, double sigma) {
    const ExactInterval interval = Analysed(SimulationOf(well), {}, change);
    ASSERT_TRUE(interval.single.HasSolution()) << interval.messages.front();
    EXPECT_NEAR(std::log(*interval.single.permeability / k), 0, 0.02 * sigma);
    if (skin != 0) {
        EXPECT_NEAR(*interval.single.skin, skin, 0.02 * sigma * 10);
        EXPECT_NEAR(*interval.single.sigmaLnPermeability / sigma, 1, 0.02);
    }
}

TEST(ExactSignals, GapsLostMarksAndMissingMarginsGiveTheNumbersOfAnIndependentComputation) {
    const SimulatedWell eight{100, 5, 30, 240, 10, 50, 0.02, 1, 1e-5, 6, 18};
    const SimulatedWell ten{500, 3, 20, 1200, 6, 200, 0.005, 0.05, 1e-5, 12.25, 20};
    const auto missing = [](SampledCurve& curve, std::size_t modulus, std::size_t count) {
        for (std::size_t i = 0; i < curve.states.size(); ++i)
            if (i % modulus < count)
                curve.states[i] = SampledCurve::missing;
    };
    const Change gaps = [&](LevelRecord& record) {
        missing(record.pressure, 97, 6);
        missing(record.flow, 89, 5);
    };
    ExpectSingle(eight, gaps, 98.6439, 4.87566, .0305386);
    ExpectSingle(ten, gaps, 502.647, 3.03966, .00329262);
    const Change cut = [](LevelRecord& record) {
        for (SampledCurve* curve : {&record.pressure, &record.flow}) {
            const auto rows = static_cast<std::size_t>(record.boundaries.back() / curve->step);
            curve->values.resize(rows);
            curve->states.resize(rows);
        }
    };
    ExpectSingle(eight, cut, 98.4769, 4.86038, .0276416);
    ExpectSingle(ten, cut, 502.332, 3.03594, .00369711);
    const auto flowOfCycleThree = [](LevelRecord& record) {
        const auto from = static_cast<std::size_t>(record.boundaries[2] / record.flow.step) + 20;
        const auto count =
            static_cast<std::size_t>(0.3 * (record.boundaries[1] - record.boundaries[0]) / record.flow.step);
        for (std::size_t i = from; i < from + count; ++i)
            record.flow.states[i] = SampledCurve::missing;
    };
    ExpectSingle(eight, flowOfCycleThree, 97.4302, 0, .0305);
    ExpectSingle(ten, flowOfCycleThree, 504.264, 0, .0037);
    const auto whole = Analysed(SimulationOf(eight)).single;
    const ExactInterval lost = Analysed(SimulationOf(eight), {}, [](LevelRecord& record) {
        record.boundaries.erase(record.boundaries.begin() + 6);
        record.boundaries.erase(record.boundaries.begin() + 3);
    });
    EXPECT_NEAR(*lost.single.permeability, *whole.permeability, 1e-9);
    EXPECT_NEAR(*lost.single.sigmaLnPermeability, *whole.sigmaLnPermeability, 1e-9);
}

TEST(ExactSignals, CyclesCarryLostMarksFilledSharesAndGrades) {
    LevelRecord record = RecordOf(SimulationOf({100, 5, 30, 240, 10, 50, 0.02, 1, 1e-5, 6, 18}), 0);
    record.boundaries.erase(record.boundaries.begin() + 4);  // cycles 4 and 5 become one
    const SampledCurve::Span second = record.pressure.SpanOf(record.boundaries[1], record.boundaries[2]);
    for (std::size_t i = 0; i < second.Size() / 10; ++i)
        record.pressure.states[second.begin + 40 + i] = SampledCurve::missing;
    const ExactLevel level = AnalyseLevel(record, {});
    ASSERT_EQ(level.cycles.size(), 8U);
    EXPECT_EQ(level.cycles[2].number, 4);
    EXPECT_EQ(level.cycles[2].periods, 2);
    EXPECT_NEAR(level.cycles[0].filled, 0.1, 0.003);
    EXPECT_EQ(level.periods, 9);
    EXPECT_NEAR(*level.cycles[2].phaseSigma * std::sqrt(2.0), *level.cycles[0].phaseSigma, 1e-12);
    EXPECT_EQ(level.cycles[1].grade, 'A');
    LevelRecord drifting = record;
    for (std::size_t i = 0; i < drifting.pressure.values.size(); ++i)
        drifting.pressure.values[i] += 40 * static_cast<double>(i) / 480;
    const ExactLevel drifted = AnalyseLevel(drifting, {});
    EXPECT_EQ(drifted.cycles[1].grade, 'B') << "one worse for a drift of " << drifted.cycles[1].drift;
    EXPECT_NEAR(drifted.cycles[1].drift - level.cycles[1].drift, 40.0 / 50, 0.01);
    EXPECT_LT(*level.cycles[1].deviation, 3);
    // One bad cycle parts the record; the longer run counts.
    record.boundaries[6] += 3000;
    const ExactLevel parted = AnalyseLevel(record, {});
    EXPECT_EQ(parted.firstCycle, 2);
    EXPECT_EQ(parted.lastCycle, 5);
    EXPECT_THAT(parted.notes, Contains(HasSubstr("only cycles 2 to 5")));
    ExactSettings far;
    far.firstCycle = 30;
    EXPECT_THAT(AnalyseLevel(record, far).fault, HasSubstr("there is no cycle 30"));
}

TEST(ExactSignals, AStartFromRestIsOutOfTheSecondCycle) {
    Simulation simulation = SimulationOf({100, 5, 30, 240, 3, 10});
    simulation.fromRest = true;
    simulation.ramp = 0.2;
    const dravik::Truth truth = dravik::TruthOf(simulation);
    ExactSettings settings;
    for (const int cycle : {1, 2}) {
        settings.firstCycle = settings.lastCycle = cycle;
        const ExactLevel level = AnalyseLevel(RecordOf(simulation, 0), settings);
        const double error = std::arg(level.harmonics.front().index) * degrees - truth.levels[0].phaseLag;
        EXPECT_EQ(std::abs(error) < 0.1, cycle == 2) << error;
    }
}

}  // namespace
}  // namespace vorela::test
