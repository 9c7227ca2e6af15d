// Cycles of signals of known phase and amplitude, in real databases.

#include "analysis/modMatchFilter.h"
#include "db/modSelectData.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"
#include "signal/modParameters.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {
namespace {

constexpr double phaseTolerance = 1e-4;  // degrees; samples are single precision
constexpr double relativeTolerance = 1e-6;
constexpr std::int32_t firstBoundary = 1000;  // hundredths of a second

using Signal = std::function<std::optional<double>(std::int32_t)>;

/// amplitude · cos(2πt/T − phase): its phase in the record is `phase`.
Signal Cosine(double amplitude, double phaseDegrees, double periodCs, double offset = 0.0) {
    return [=](std::int32_t t) {
        return offset + amplitude * std::cos(2 * pi * t / periodCs - DegreesToRadians(phaseDegrees));
    };
}

class CycleAnalysis : public DravikFixture {
  protected:
    CycleAnalysis() {
        CurrentParameters() = ParameterSet{};
        SetCursorSpanSource(nullptr);
        SetSelectedCycleSource(nullptr);
        InstallCycleAnalysis();
    }

    /// The dataset L1, selected, with these pressure and flow signals and a valve of this period whose first
    /// boundary is at 10 s.
    void MakeLevel(const Signal& pressure, const Signal& flow, std::int32_t periodCs, std::int32_t samples) {
        AddCurves("L1", {{"ZG", "psi", samples, pressure}, {"RTC", "rps", samples, flow}});
        AddCurves("L1", ValveCurves({firstBoundary, periodCs, samples}));
        Select({"L1"});
    }
    static bool CreateCurves() {
        return WithDatabase(0, CreateFilteredCurves, false) && WithDatabase(0, ReconstructValveCurve, false);
    }

    static CycleRecord& Cycles() { return CurrentSelection().datasets[0].cycles; }
};

/// A single cycle between two boundaries of the test's choice, analysed from raw pressure and flow.
class OneCycle : public CycleAnalysis {
  protected:
    void MakeLevel(const Signal& pressure, const Signal& flow, std::int32_t periodCs, std::int32_t samples) {
        CycleAnalysis::MakeLevel(pressure, flow, periodCs, samples);
        AddCurve("L1", {"PVLSIG", "", samples, [](std::int32_t) { return 1.0; }});
    }
    static bool Analyse(std::int32_t a, std::int32_t b) {
        ResetDatasetCycles(0);
        for (const std::int32_t boundary : {a, b}) {
            Cycles().start.back() = boundary;
            AppendCycle(Cycles());
        }
        CurrentSelection().datasets[0].cycleSource = CycleSource::filtered;
        return RecalculateWithUnfilteredCurves();
    }
};

TEST_F(OneCycle, CosineIsAt0SineAt90AndMinusSineAt270WithHalfTheAmplitude) {
    for (const double phase : {0.0, 90.0, 270.0, 33.25, 359.5}) {
        MakeLevel(Cosine(7.5, phase, 24000, 1000), Cosine(0.25, 0, 24000), 24000, 2401);
        ASSERT_TRUE(Analyse(0, 24000));
        const double measured = Cycles().pressure[0].phase;
        EXPECT_NEAR(std::remainder(measured - phase, 360), 0, phaseTolerance) << phase;
        EXPECT_GE(measured, 0);
        EXPECT_NEAR(Cycles().pressure[0].magnitude, 3.75, 3.75e-5);
        EXPECT_NEAR(Cycles().flow[0].magnitude, 0.125, 0.125 * relativeTolerance);
        EXPECT_NEAR(Cycles().ratio[0], 0.125 / 3.75, 1e-6);
        EXPECT_DOUBLE_EQ(Cycles().period[0], 240);
        DeleteItem("L1");
    }
}

TEST_F(OneCycle, PhaseLagIsThePhaseDifferencePlus180AndWithoutAResponseTheFlowIsTheRatio) {
    MakeLevel(Cosine(2, 70, 24000), Cosine(1, 20, 24000), 24000, 2401);
    ASSERT_TRUE(Analyse(0, 24000));
    EXPECT_NEAR(Cycles().phaseLag[0], 70 - 20 + 180 - 360, phaseTolerance);
    const auto replace = [&](const char* curve, const Signal& signal) {
        DeleteItem(std::string("L1/") + curve + "/1");
        AddCurve("L1", {curve, "", 2401, signal});
        EXPECT_TRUE(Analyse(0, 24000));
    };
    replace("RTC", Cosine(2, 70, 24000));
    EXPECT_EQ(Cycles().phaseLag[0], -180) << "equal phases";
    replace("ZG", [](std::int32_t) { return 0.0; });
    EXPECT_EQ(Cycles().pressure[0].magnitude, 0);
    EXPECT_EQ(Cycles().ratio[0], Cycles().flow[0].magnitude);
}

TEST_F(OneCycle, CycleOffTheSampleGridIsInterpolatedBetweenNeighbours) {
    MakeLevel(Cosine(1, 0, 24000), Cosine(1, 0, 24000), 24000, 3000);
    constexpr std::int32_t a = 1003;
    constexpr std::int32_t b = 25317;
    ASSERT_TRUE(Analyse(a, b));
    constexpr int n = (b - a + 5) / 10;
    double c = 0, s = 0;
    const auto sample = [](int t) {
        return static_cast<double>(static_cast<float>(std::cos(2 * pi * t / 24000.0)));
    };
    for (int i = 0; i < n; ++i) {
        const int t = static_cast<int>(std::nearbyint(a + i * (static_cast<double>(b - a) / n)));
        const int before = t / 10 * 10;
        const double value = sample(before) + (sample(before + 10) - sample(before)) * (t - before) / 10.0;
        c += value * std::cos(2 * pi * i / n);
        s += value * std::sin(2 * pi * i / n);
    }
    EXPECT_NEAR(Cycles().pressure[0].magnitude, std::hypot(c, s) / n, 1e-12);
    EXPECT_NEAR(Cycles().pressure[0].phase, ToPolar({c, s}).phase, 1e-9);
}

TEST_F(OneCycle, PeriodOfTestReplacesAMeasuredPeriodThatIsNegativeOrNotWanted) {
    MakeLevel(Cosine(1, 0, 24000), Cosine(1, 0, 24000), 24000, 6000);
    CurrentParameters().period = 120;
    const auto measured = [&](std::int32_t a, std::int32_t b) {
        EXPECT_TRUE(Analyse(a, b));
        return Cycles().period[0];
    };
    EXPECT_DOUBLE_EQ(measured(0, 24300), 243);
    EXPECT_DOUBLE_EQ(measured(24000, 12000), 120);
    CurrentParameters().usePeriodInMatch = 1;
    EXPECT_DOUBLE_EQ(measured(0, 24300), 120);
    CurrentParameters().usePeriodInMatch = 0;
    EXPECT_TRUE(Analyse(500, 500)) << "a fault of the cycle, not of the run";
    EXPECT_THAT(ports.TakeBox().text, testing::EndsWith("cycle 1 without results: Division by zero"));
    EXPECT_EQ(Cycles().analysed[0], 0);
}

TEST(PointsPerCycle, IsTheNumberOfSamplesWhateverTheSignOfTheStepAndTwentyWithoutOne) {
    EXPECT_EQ(PointsPerCycle(10, 240), 2400);
    EXPECT_EQ(PointsPerCycle(-10, 240), 2400);
    EXPECT_EQ(PointsPerCycle(0, 240), 20);
    EXPECT_EQ(PointsPerCycle(100, 2.5), 2) << "halves go to the even neighbour";
    EXPECT_EQ(PointsPerCycle(100, 3.5), 4);
    EXPECT_THROW(PointsPerCycle(1, 2147483647), RunTimeError);
}

TEST_F(CycleAnalysis, GapInACycleLeavesThatCycleAloneWithoutResults) {
    const Signal gapped = [](std::int32_t t) { return t == 30000 ? std::nullopt : Cosine(1, 0, 24000)(t); };
    MakeLevel(gapped, Cosine(1, 0, 24000), 24000, 12000);
    ASSERT_TRUE(CreateCurves());
    ASSERT_TRUE(RecalculateWithUnfilteredCurves());
    ASSERT_EQ(Cycles().RealCycles(), 4);
    EXPECT_EQ(Cycles().analysed[0], 1);
    EXPECT_EQ(Cycles().analysed[1], 0);
    EXPECT_EQ(Cycles().pressure[1].magnitude, 0);
    EXPECT_GT(Cycles().valve[1].magnitude, 0) << "the valve is known";
    EXPECT_EQ(Cycles().analysed[2], 1);
}

// B boundaries: count B, B − 1 real cycles, the window entry and a blank one behind them.
TEST_F(CycleAnalysis, FirstBoundaryOnlyOpensACycleAndTheWindowStandsBehindTheLastRealOne) {
    MakeLevel(Cosine(5, 40, 24300), Cosine(1, 250, 24300), 24300, 24300 * 6 / 10 + 1);
    CurrentParameters().period = 243;
    SetCursorSpanSource([](std::size_t) { return CursorSpan{81.125, 20.375, 40, 440}; });
    ASSERT_TRUE(CreateCurves());
    const CycleRecord& cycles = Cycles();
    ASSERT_EQ(cycles.count, 6) << "boundaries at 10, 253, … 1225 s";
    EXPECT_EQ(cycles.RealCycles(), 5);
    for (const std::size_t size :
         {cycles.start.size(), cycles.period.size(), cycles.valve.size(), cycles.pressure.size(),
          cycles.flow.size(), cycles.ratio.size(), cycles.phaseLag.size(), cycles.analysed.size()})
        EXPECT_EQ(size, 7U);
    EXPECT_EQ(cycles.start[5], 122500) << "start of the cycle in progress";
    EXPECT_EQ(cycles.start[6], 0);
    for (std::size_t n = 1; n < 5; ++n)
        EXPECT_DOUBLE_EQ(cycles.period[n], 243.00) << n;
    // The window: 121.5 s to 364.5 s, cursors in either order; its own phases turn with its start, the lag
    // does not.
    EXPECT_EQ(cycles.analysed[5], 1);
    EXPECT_NEAR(std::remainder(cycles.pressure[5].phase - (40 - 180), 360), 0, 1e-3);
    EXPECT_NEAR(cycles.phaseLag[5], cycles.phaseLag[1], 1e-3);
    EXPECT_DOUBLE_EQ(cycles.period[5], 0) << "the window has no measured period";
    SetCursorSpanSource([](std::size_t) { return CursorSpan{1e9, 25, 0, 486}; });
    for (const std::size_t boxes : {1U, 1U}) {  // told once, however often it is tried
        EXPECT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
        EXPECT_EQ(ports.boxes.size(), boxes);
        EXPECT_EQ(cycles.analysed[5], 0);
    }
    EXPECT_THAT(ports.TakeBox().text, testing::EndsWith("Dataset L1, window without results: Overflow"));
}

TEST_F(CycleAnalysis, CycleThatEndsBehindTheFilteredCurvesWaits) {
    CurrentParameters().period = 30;
    SetCursorSpanSource([](std::size_t) { return CursorSpan{10, 90, 30, 60}; });
    MakeLevel(Cosine(5, 40, 3000, 12), Cosine(1, 250, 3000), 3000, 3050);  // nine cycles and a bit
    ASSERT_TRUE(CreateCurves());
    ASSERT_EQ(Cycles().RealCycles(), 9);
    EXPECT_EQ(Cycles().analysed[7], 1);
    EXPECT_EQ(Cycles().analysed[8], 0);
    EXPECT_EQ(Cycles().analysed[9], 1) << "the window";
}

TEST_F(CycleAnalysis, RecalculationsUseTheirCurvesAndAreRefusedWithoutCycles) {
    MakeLevel(Cosine(5, 40, 24000, 1000), Cosine(1, 250, 24000), 24000, 24000);
    EXPECT_FALSE(RecalculateWithUnfilteredCurves());
    EXPECT_FALSE(RecalculateWithMotorPosition());
    ports.boxes.clear();
    ASSERT_TRUE(CreateCurves());
    const CycleRecord filtered = Cycles();
    ASSERT_TRUE(RecalculateWithUnfilteredCurves());
    EXPECT_NEAR(Cycles().pressure[1].magnitude, 2.5, 1e-4);
    EXPECT_EQ(Cycles().valve[1].magnitude, filtered.valve[1].magnitude);
    ASSERT_TRUE(CreateCurves());
    ASSERT_TRUE(RecalculateWithMotorPosition());
    EXPECT_EQ(Cycles().pressure[1].phase, filtered.pressure[1].phase);
    // A square wave of ±1 has a fundamental of 4/π, a triangle one of 8/π².
    EXPECT_NEAR(Cycles().valve[1].magnitude, 2 / pi, 1e-3);
    const auto waiting = static_cast<std::size_t>(Cycles().RealCycles()) - 1;
    EXPECT_EQ(Cycles().analysed[waiting], 0);
    EXPECT_NEAR(Cycles().valve[waiting].magnitude, 2 / pi, 1e-3) << "nothing is left of the other curve";
    EXPECT_EQ(CurrentSelection().datasets[0].cycleSource, CycleSource::motorPosition);
    EXPECT_NEAR(filtered.valve[1].magnitude, 4 / (pi * pi), 1e-3);
    EXPECT_TRUE(ports.boxes.empty());
}

}  // namespace
}  // namespace vorela::test
