// The filtered curves in a real database: what is written, how it is marked, what is kept.

#include "signal/CurveCoverage.h"
#include "signal/DerivedRun.h"
#include "signal/FilterProgress.h"
#include "signal/modFilteredCurves.h"
#include "signal/modParameters.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {
namespace {

/// A pressure-like signal: high level, drift, ripple of the period of test, noise that repeats.
double Signal(std::int32_t t) {
    const double seconds = t / 100.0;
    return 3000.0 + 0.001 * seconds + std::sin(2 * std::numbers::pi * seconds / 20.0) +
           0.01 * static_cast<double>(t * 7919LL % 101);
}

class FilteredCurves : public DravikFixture {
  protected:
    FilteredCurves() {
        CurrentParameters() = ParameterSet{};
        CurrentParameters().period = 20;
    }
    static std::vector<RecordedCurve> Level(std::int32_t count) {
        return {{"ZG", "psi", count, Signal, 500},
                {"RTC", "rps", count, [](std::int32_t t) { return 5.0 - Signal(t + 300) / 1000; }, 500},
                {"PVLPOS", "", count, [](std::int32_t) { return 1.0; }, 500}};
    }
    static RecordedCurve Pressure() { return Level(0)[0]; }
    void SelectLevel(const std::vector<RecordedCurve>& curves, const std::string& pressure = "ZG") {
        AddCurves("LEVEL1", curves);
        SetPresentation("LEVEL1", {});
        Select({"LEVEL1"}, pressure);
    }
    static std::vector<CurveStanding> Standings() {
        return FilteredCurveStandings(DravikDatabase(SelectedDataset(0).database), 0);
    }
    StoredCurve Filtered() { return ReadCurve("LEVEL1", "ZG_p"); }
};

void ExpectSameCurve(const StoredCurve& a, const StoredCurve& b) {
    EXPECT_EQ(a.Attributes(), b.Attributes());
    EXPECT_EQ(a.samples, b.samples);
}

TEST_F(FilteredCurves, OfThreePassesEndThreePeriodsBeforeTheInputAndSayHowTheyWereMade) {
    SelectLevel(Level(1001));
    EXPECT_FALSE(FilteredCurvesExist());
    const StoredCurve input = ReadCurve("LEVEL1", "ZG");
    std::vector<std::string> percentages;
    SetPercentageDisplay([&](const std::string& text) { percentages.push_back(text); });
    ASSERT_TRUE(CreateFilteredCurvesInAll(3));
    SetPercentageDisplay({});
    EXPECT_TRUE(FilteredCurvesExist()) << "the common curves are refreshed";
    EXPECT_EQ(CurrentParameters().filterN, 3);
    EXPECT_THAT(Settings(), HasSubstr("FilterN=3"));

    const StoredCurve output = Filtered();
    EXPECT_EQ(output.info.extentFirst, 500);
    EXPECT_EQ(output.info.extentLast, 10500 - 3 * 2000);
    EXPECT_EQ(output.info.validLast, 10500 - 5 * 2000);
    EXPECT_EQ(output.info.made, "half-period difference, 3 passes, period 20 s");
    EXPECT_EQ(ReadCurve("LEVEL1", "RTC_qs").info.extentLast, output.info.extentLast);
    ExpectSameCurve(ReadCurve("LEVEL1", "ZG"), input);

    EXPECT_EQ(percentages.at(0), "0%");
    EXPECT_THAT(percentages, testing::Contains("50%"));
    EXPECT_EQ(percentages.back(), "100%");
    EXPECT_THAT(ports.statusTexts,
                ElementsAre("Initialising information",
                            "Filtering LEVEL1, ZG to ZG_p (half-period difference, 3 passes)",
                            "Filtering LEVEL1, RTC to RTC_qs (half-period difference, 3 passes)",
                            "Updating Information", ""));
    EXPECT_EQ(ports.highestValue, 20);
    EXPECT_EQ(ports.value, 0) << "the bar is put to rest";
}

TEST_F(FilteredCurves, WhatWillBeValidIsToldBeforeTheyAreMadeAndWhichAreStaleAfterwards) {
    std::vector<RecordedCurve> level = Level(1403);
    level[1].count = 1391;  // the flow ends earlier
    SelectLevel(level);
    CurrentParameters().period = 20.03;  // off the sample grid
    for (const auto& [bandPass, passes, wholeCycles] :
         {std::tuple(0, 1, 5), {0, 2, 3}, {0, 3, 1}, {0, 4, 0}, {1, 2, 4}, {1, 3, 3}}) {
        CurrentParameters().bandPass = static_cast<std::int16_t>(bandPass);
        const LevelCoverage told = FilteredCoverage(passes).at(0);
        ASSERT_TRUE(CreateFilteredCurvesInAll(passes));
        if (wholeCycles > 0) {
            EXPECT_EQ(told.from * 100, Filtered().info.validFirst) << bandPass << passes;
            EXPECT_EQ(told.to * 100, ReadCurve("LEVEL1", "RTC_qs").info.validLast) << bandPass << passes;
        }
        EXPECT_EQ(told.wholeCycles, wholeCycles) << bandPass << passes;
        EXPECT_EQ(DescribeCoverage(passes).warning, wholeCycles == 0);
    }
    EXPECT_EQ(DescribeCoverage(3).text, "LEVEL1: valid from 35 s to 113.9 s, 3 whole cycles");
    EXPECT_THAT(StaleCurveLines(), ElementsAre());
    CurrentParameters().period = 20;
    EXPECT_THAT(StaleCurveLines(),
                ElementsAre("ZG_p, RTC_qs of LEVEL1 were made by \"band pass, filter N 3, period 20.03 s\", "
                            "the settings say \"band pass, filter N 3, period 20 s\""));
}

TEST_F(FilteredCurves, StandAgainstWhatOneRunWouldLeave) {
    SelectLevel(Level(2300));
    const auto standing = [&] { return Standings()[0].standing; };
    EXPECT_EQ(standing(), Standing::missing);
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, false));
    EXPECT_EQ(standing(), Standing::complete);
    Append("LEVEL1", Pressure(), 1);
    EXPECT_EQ(standing(), Standing::incomplete) << "one sample further";
    EXPECT_EQ(Standings()[1].standing, Standing::complete);
    CurrentParameters().period = 2;
    EXPECT_EQ(StandingText(Standings()[0]),
              "LEVEL1/ZG_p/1 was made by \"half-period difference, 1 pass, period 20 s\", the parameters say "
              "\"half-period difference, 1 pass, period 2 s\"");
}

TEST_F(FilteredCurves, OfAConstantAreZeroAndKeepUnitAndScaleButNoOffset) {
    std::vector<RecordedCurve> curves = Level(300);
    curves.push_back({"GAUGE", "kPa", 300, [](std::int32_t) { return 812.5; }, 500, 10, 6.9F, 101.3F});
    SelectLevel(curves, "GAUGE");
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, false));
    const StoredCurve output = ReadCurve("LEVEL1", "GAUGE_p");
    EXPECT_THAT(output.samples, testing::Each(std::optional(0.0F)));
    EXPECT_EQ(output.samples.size(), 100);
    EXPECT_EQ(output.info.scale, 6.9F);
    EXPECT_EQ(output.info.offset, 0.0F);
    EXPECT_EQ(output.info.unitCode, ReadCurve("LEVEL1", "GAUGE").info.unitCode);
}

TEST_F(FilteredCurves, ByBandPassAreBlankedHalfAKernelAndValidBetween) {
    CurrentParameters().bandPass = 1;
    CurrentParameters().period = 20.09;
    std::vector<RecordedCurve> level = Level(1001);
    for (RecordedCurve& curve : level)
        curve.step = 20;
    SelectLevel(level);
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, false));
    // The step enters in hundredths. Kernel 1 × 20.09 × 20 = 401.8, rounded 402 samples: 201 zeros at the
    // start, 202 at the end.
    EXPECT_THAT(GetPassBand(1).text, HasSubstr("periods from 40.2 s to 160.7 s"));
    const StoredCurve output = Filtered();
    ASSERT_EQ(output.samples.size(), 1001);
    EXPECT_EQ(output.info.validFirst, 500 + 201 * 20);
    EXPECT_EQ(output.info.validLast, 500 + 798 * 20);
    EXPECT_EQ(output.info.made, "band pass, filter N 1, period 20.09 s");
    for (std::size_t k = 0; k < 1001; ++k)
        EXPECT_EQ(*output.samples[k] == 0.0F, k < 201 || k >= 799) << k;
}

TEST_F(FilteredCurves, AreMadeAnewWhenSettingsChangedOrTheCurveWasReplaced) {
    SelectLevel(Level(900));
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, true));
    const StoredCurve first = Filtered();
    EXPECT_GE(FirstProvisionalIndex(0), 500);
    EXPECT_LE(FirstProvisionalIndex(0), first.info.validLast + 10);

    for (const std::size_t added : {1U, 2U}) {
        DeleteItem("LEVEL1/ZG_p/1");
        if (added == 2)  // somebody else's, made the same way
            AddCurve("LEVEL1", {"ZG_p", "psi", 0, Signal, 500, 10, 1.0F, 0.0F, 1, first.info.made});
        Append("LEVEL1", Pressure(), 1);
        ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, true));
        EXPECT_EQ(Filtered().samples.size(), first.samples.size() + added);
    }
    CurrentParameters().period = 30;
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, true));
    EXPECT_EQ(Filtered().info.made, "half-period difference, 1 pass, period 30 s");
    EXPECT_EQ(Filtered().info.extentLast, 9510 - 3000) << "nothing of the older, longer curve is left";
    EXPECT_TRUE(ports.statusTexts.empty()) << "extensions are silent";
}

TEST_F(FilteredCurves, LeaveGapsWhereTheBandPassTouchesOneEvenWhereZerosStoodBefore) {
    CurrentParameters().bandPass = 1;
    RecordedCurve withGap = Pressure();
    withGap.value = [](std::int32_t t) {
        return t >= 8500 && t < 8600 ? std::nullopt : std::optional(Signal(t));
    };
    SelectLevel(Level(790));
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, true));
    Append("LEVEL1", withGap, 400);
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, true));
    const StoredCurve live = Filtered();
    EXPECT_FALSE(live.At(8500)) << "within the gap";
    EXPECT_FALSE(live.At(7600)) << "its kernel reaches the gap; a zero of the blanked end stood here";
    EXPECT_TRUE(live.At(7400));
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, false));
    ExpectSameCurve(live, Filtered());
}

TEST_F(FilteredCurves, ThatCannotBeMadeAreReportedOnceAndTheOldOnesStay) {
    SelectLevel(Level(900));
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, false));
    const StoredCurve old = Filtered();
    const auto expectRefusal = [&](const std::string& text) {
        EXPECT_FALSE(WithDatabase(0, CreateFilteredCurves, false));
        EXPECT_THAT(ports.TakeBox().text, HasSubstr(text));
        EXPECT_EQ(ports.value, 0);
    };
    CurrentParameters().bandPass = 1;
    CurrentParameters().filterN = 164;  // 164 × 20 × 10 = 32800 samples: more than 16 bits
    expectRefusal("#6 was generated by modFilteredCurves\rError creating Vorela filtered curves: Overflow");
    CurrentParameters().filterN = 0;
    expectRefusal("Error #9");
    CurrentParameters() = ParameterSet{};
    CurrentSelection().choice.flow = "GONE";
    expectRefusal("LEVEL1/GONE/1");
    CurrentSelection().choice.pressure = "PRESSURE12A";
    CurrentSelection().choice.flow = "PRESSURE12B";
    expectRefusal("would both be named PRESSURE12");
    ExpectSameCurve(Filtered(), old);
}

TEST_F(FilteredCurves, OfALongRunThatFailsStayAsFarAsTheyAreFinal) {
    CurrentParameters().bandPass = 1;
    std::vector<RecordedCurve> curves = Level(10);
    constexpr auto committed = static_cast<std::int32_t>(samplesPerCommit);
    curves[0].count = committed + 8000;
    curves[0].value = [](std::int32_t t) {
        return t < (committed + 7000) * 10 ? Signal(t) : t % 20 == 0 ? 3e38 : -3e38;
    };
    SelectLevel(curves);
    EXPECT_FALSE(WithDatabase(0, CreateFilteredCurves, false));
    const ItemInfo output = Filtered().info;
    EXPECT_GT(output.validLast, committed * 10 - 21000);
    EXPECT_LE(output.validLast, output.extentLast);
    EXPECT_EQ(output.validFirst, 500 + 100 * 10);
}

TEST_F(FilteredCurves, OfADatabaseThatDoesNotOpenStopBeforeAnyDatasetIsTouched) {
    SelectLevel(Level(900));
    CurrentSelection().datasets.push_back(CurrentSelection().datasets[0]);
    CurrentSelection().datasets[1].database = folder.File("gone.vdb");
    EXPECT_FALSE(CreateFilteredCurvesInAll(1));
    EXPECT_EQ(ports.TakeBox().title, "Error opening Dravik database");
    EXPECT_FALSE(HasCurve("LEVEL1", "ZG_p"));
}

TEST_F(FilteredCurves, OfARecordingWithoutSamplesAreEmptyUntilThereAreSome) {
    SelectLevel(Level(0));
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, true));
    EXPECT_TRUE(Filtered().info.IsEmpty());
    Record("LEVEL1", Level(0), 0, 300);
    ASSERT_TRUE(WithDatabase(0, CreateFilteredCurves, true));
    EXPECT_EQ(Filtered().samples.size(), 100U);
}

TEST_F(FilteredCurves, InformationStatesBandAndGainAtThePeriodOfTest) {
    SelectLevel(Level(300));
    const FilterInformation information = GetFilterInformation();
    EXPECT_EQ(information.inputPressure, "ZG");
    EXPECT_EQ(information.outputFlow, "RTC_qs");
    EXPECT_EQ(information.passChoices[2], 3);
    EXPECT_THAT(GetPassBand(1).text, HasSubstr("gain 1 at 20 s"));
    EXPECT_FALSE(GetPassBand(1).warning);

    CurrentParameters().bandPass = 1;
    EXPECT_THAT(GetPassBand(1).text, HasSubstr("periods from 10 s to 40 s"));
    EXPECT_TRUE(GetPassBand(1).warning) << "one period of kernel cannot resolve the band";
    EXPECT_FALSE(GetPassBand(10).warning) << GetPassBand(10).text;
    EXPECT_THAT(GetPassBand(1000).text, HasSubstr("1 to 32767"));
    EXPECT_TRUE(ports.boxes.empty());
}

}  // namespace
}  // namespace vorela::test
