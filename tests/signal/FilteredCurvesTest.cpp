// The filtered curves in a real database: what is written, how it is marked, and that it grows as the
// recording does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "db/modSelectData.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/modFilteredCurves.h"
#include "signal/modParameters.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

using test::CurveSpec;
using test::StoredCurve;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

/// A pressure-like signal: high level, drift, ripple of the period of test, noise that repeats.
double Signal(std::int32_t t) {
    const double seconds = t / 100.0;
    return 3000.0 + 0.001 * seconds + std::sin(2 * 3.14159265358979 * seconds / 20.0) +
           0.01 * static_cast<double>(t * 7919LL % 101);
}

class FilteredCurves : public test::DravikFixture {
  protected:
    void SetUp() override {
        DravikFixture::SetUp();
        before_ = CurrentParameters();
        CurrentParameters() = ParameterSet{};
        CurrentParameters().period = 20;
    }
    void TearDown() override {
        CurrentParameters() = before_;
        SetPercentageDisplay({});
        DravikFixture::TearDown();
    }

    static CurveSpec Pressure(std::int32_t count) { return {"ZG", "psi", count, Signal, 500}; }
    static CurveSpec Flow(std::int32_t count) {
        return {"RTC", "rps", count, [](std::int32_t t) { return 5.0 - Signal(t + 300) / 1000; }, 500};
    }
    void AddLevel(const std::string& dataset, std::int32_t count) {
        AddCurves(
            dataset,
            {Pressure(count), Flow(count), {"PVLPOS", "", count, [](std::int32_t) { return 1.0; }, 500}});
        SetPresentation(dataset, {});
    }
    /// Neither filter remembers the run before, as after a restart of the program.
    static void ForgetRuns() { ++CurrentSelection().generation; }

    ParameterSet before_;
};

void ExpectSameCurve(const StoredCurve& a, const StoredCurve& b) {
    EXPECT_EQ(a.info.extentFirst, b.info.extentFirst);
    EXPECT_EQ(a.info.extentLast, b.info.extentLast);
    EXPECT_EQ(a.info.validFirst, b.info.validFirst);
    EXPECT_EQ(a.info.validLast, b.info.validLast);
    EXPECT_EQ(a.info.made, b.info.made);
    ASSERT_EQ(a.samples.size(), b.samples.size());
    for (std::size_t k = 0; k < a.samples.size(); ++k)
        ASSERT_EQ(a.samples[k], b.samples[k]) << "sample " << k;
}

TEST_F(FilteredCurves, OfThreePassesEndThreePeriodsBeforeTheInputAndSayHowTheyWereMade) {
    AddLevel("LEVEL1", 1001);
    Select({"LEVEL1"});
    EXPECT_FALSE(FilteredCurvesExist());
    const StoredCurve input = ReadCurve("LEVEL1", "ZG");
    std::vector<std::string> percentages;
    SetPercentageDisplay([&](const std::string& text) { percentages.push_back(text); });
    ASSERT_TRUE(CreateFilteredCurvesInAll(3));
    EXPECT_TRUE(FilteredCurvesExist()) << "the common curves are refreshed";
    EXPECT_EQ(CurrentParameters().filterN, 3);
    EXPECT_THAT(test::ReadAll(folder.File("Vorela.ini")), HasSubstr("FilterN=3"));

    const StoredCurve output = ReadCurve("LEVEL1", "ZG_p");
    EXPECT_EQ(output.info.extentFirst, 500);
    EXPECT_EQ(output.info.extentLast, 10500 - 3 * 2000);
    EXPECT_EQ(output.info.validLast, 10500 - 5 * 2000);
    EXPECT_EQ(output.info.made, "half-period difference, 3 passes, period 20 s");
    EXPECT_EQ(ReadCurve("LEVEL1", "RTC_qs").info.extentLast, output.info.extentLast);
    ExpectSameCurve(ReadCurve("LEVEL1", "ZG"), input);

    ASSERT_FALSE(percentages.empty());
    EXPECT_EQ(percentages.front(), "0%");
    EXPECT_THAT(percentages, Contains("50%"));
    EXPECT_EQ(percentages.back(), "100%");
    EXPECT_THAT(ports.statusTexts,
                ElementsAre("Initialising information",
                            "Filtering LEVEL1, ZG to ZG_p (half-period difference, 3 passes)",
                            "Filtering LEVEL1, RTC to RTC_qs (half-period difference, 3 passes)",
                            "Updating Information", ""));
    EXPECT_EQ(ports.highestValue, 20);
    EXPECT_EQ(ports.value, 0) << "the bar is put to rest";
}

TEST_F(FilteredCurves, OfAConstantAreZeroAndKeepUnitAndScaleButNoOffset) {
    AddLevel("LEVEL1", 300);
    AddCurve("LEVEL1", {"GAUGE", "kPa", 300, [](std::int32_t) { return 812.5; }, 500, 10, 6.9F, 101.3F});
    Select({"LEVEL1"}, "GAUGE");
    ASSERT_TRUE(CreateFilteredCurves(0, false));
    const StoredCurve output = ReadCurve("LEVEL1", "GAUGE_p");
    EXPECT_THAT(output.samples, testing::Each(std::optional(0.0F)));
    EXPECT_EQ(output.samples.size(), 100);
    EXPECT_EQ(output.info.scale, 6.9F);
    EXPECT_EQ(output.info.offset, 0.0F);
    EXPECT_EQ(output.info.unitCode, ReadCurve("LEVEL1", "GAUGE").info.unitCode);
}

TEST_F(FilteredCurves, ByBandPassAreBlankedHalfAKernelAndValidBetween) {
    CurrentParameters().bandPass = 1;
    AddLevel("LEVEL1", 1001);
    Select({"LEVEL1"});
    ASSERT_TRUE(CreateFilteredCurves(0, false));
    // Kernel 1 × 20 × 10 = 200 samples: 100 zeros at the start, 101 at the end.
    const StoredCurve output = ReadCurve("LEVEL1", "ZG_p");
    ASSERT_EQ(output.samples.size(), 1001);
    EXPECT_EQ(output.info.validFirst, 500 + 100 * 10);
    EXPECT_EQ(output.info.validLast, 500 + 899 * 10);
    EXPECT_EQ(output.info.made, "band pass, filter N 1, period 20 s");
    for (std::size_t k = 0; k < 1001; ++k)
        EXPECT_EQ(*output.samples[k] == 0.0F, k < 100 || k >= 900) << k;
}

TEST_F(FilteredCurves, GrowWithTheRecordingToTheBitsOfOneRun) {
    constexpr std::int32_t total = 1500;
    // Pieces of 1, 2, 7, a period less one, and odd ones; between them nothing new now and then.
    const std::vector<std::int32_t> pieces{1, 2, 7, 199, 1, 0, 311, 50, 7, 2, 23, 1};
    for (const std::int16_t bandPass : {std::int16_t{0}, std::int16_t{1}}) {
        for (const std::int16_t filterN : {std::int16_t{1}, std::int16_t{3}}) {
            CurrentParameters().bandPass = bandPass;
            CurrentParameters().filterN = filterN;
            const std::string name = "B" + std::to_string(bandPass) + "N" + std::to_string(filterN);
            AddLevel(name + "WHOLE", total);
            AddLevel(name + "LIVE", 5);
            Select({name + "LIVE", name + "WHOLE"});
            const std::size_t live = CurrentSelection().datasets[0].dataset == name + "LIVE" ? 0 : 1;
            ASSERT_TRUE(CreateFilteredCurves(1 - live, false));
            std::int32_t count = 5;
            for (std::size_t tick = 0; count < total; ++tick) {
                const std::int32_t piece = std::min(pieces[tick % pieces.size()], total - count);
                if (piece > 0) {
                    Append(name + "LIVE", Pressure(0), piece);
                    Append(name + "LIVE", Flow(0), piece);
                }
                count += piece;
                if (tick == 9)
                    ForgetRuns();
                ASSERT_TRUE(CreateFilteredCurves(live, true));
            }
            for (const char* curve : {"ZG_p", "RTC_qs"})
                ExpectSameCurve(ReadCurve(name + "LIVE", curve), ReadCurve(name + "WHOLE", curve));
            EXPECT_GE(FirstProvisionalIndex(live), 500);
            EXPECT_LE(FirstProvisionalIndex(live), ReadCurve(name + "LIVE", "ZG_p").info.validLast + 10);
        }
    }
    EXPECT_TRUE(ports.boxes.empty());
    EXPECT_TRUE(ports.statusTexts.empty() || ports.highestValue == 20) << "extensions are silent";
}

TEST_F(FilteredCurves, AreMadeAnewWhenSettingsChangedOrTheCurveWasReplaced) {
    AddLevel("LEVEL1", 900);
    Select({"LEVEL1"});
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    const StoredCurve first = ReadCurve("LEVEL1", "ZG_p");

    DeleteItem("LEVEL1/ZG_p/1");
    Append("LEVEL1", Pressure(0), 1);
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    EXPECT_EQ(ReadCurve("LEVEL1", "ZG_p").samples.size(), first.samples.size() + 1);

    DeleteItem("LEVEL1/ZG_p/1");
    AddCurve("LEVEL1", {"ZG_p", "psi", 0, Signal, 500, 10, 1.0F, 0.0F, 1, first.info.made});
    Append("LEVEL1", Pressure(0), 1);
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    EXPECT_EQ(ReadCurve("LEVEL1", "ZG_p").samples.size(), first.samples.size() + 2);

    CurrentParameters().period = 30;
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    const StoredCurve longer = ReadCurve("LEVEL1", "ZG_p");
    EXPECT_EQ(longer.info.made, "half-period difference, 1 pass, period 30 s");
    EXPECT_EQ(longer.info.extentLast, 9510 - 3000) << "nothing of the older, longer curve is left";
}

TEST_F(FilteredCurves, LeaveGapsWhereTheBandPassTouchesOneEvenWhereZerosStoodBefore) {
    CurrentParameters().bandPass = 1;
    const auto withGap = [](std::int32_t t) {
        return t >= 8500 && t < 8600 ? std::optional<double>() : std::optional(Signal(t));
    };
    AddLevel("LEVEL1", 790);
    Select({"LEVEL1"});
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    Append("LEVEL1", {"ZG", "psi", 0, withGap, 500}, 400);
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    const StoredCurve live = ReadCurve("LEVEL1", "ZG_p");
    EXPECT_FALSE(live.At(8500)) << "within the gap";
    EXPECT_FALSE(live.At(7600)) << "its kernel reaches the gap; a zero of the blanked end stood here";
    EXPECT_TRUE(live.At(7400));
    ASSERT_TRUE(CreateFilteredCurves(0, false));
    ExpectSameCurve(live, ReadCurve("LEVEL1", "ZG_p"));
}

TEST_F(FilteredCurves, ThatCannotBeMadeAreReportedOnceAndTheOldOnesStay) {
    AddLevel("LEVEL1", 900);
    Select({"LEVEL1"});
    ASSERT_TRUE(CreateFilteredCurves(0, false));
    const StoredCurve old = ReadCurve("LEVEL1", "ZG_p");

    CurrentParameters().bandPass = 1;
    CurrentParameters().filterN = 164;  // 164 × 20 × 10 = 32800 samples: more than 16 bits
    EXPECT_FALSE(CreateFilteredCurves(0, false));
    CurrentParameters().filterN = 0;
    EXPECT_FALSE(CreateFilteredCurves(0, false));
    CurrentParameters() = ParameterSet{};
    CurrentSelection().choice.flow = "GONE";
    EXPECT_FALSE(CreateFilteredCurves(0, false));
    CurrentSelection().choice.pressure = "PRESSURE12A";
    CurrentSelection().choice.flow = "PRESSURE12B";
    EXPECT_FALSE(CreateFilteredCurves(0, false));
    ASSERT_EQ(ports.boxes.size(), 4U);
    EXPECT_EQ(ports.boxes[0].text,
              "Error #6 was generated by modFilteredCurves\rError creating Vorela filtered curves: Overflow");
    EXPECT_THAT(ports.boxes[1].text, HasSubstr("Error #9"));
    EXPECT_THAT(ports.boxes[2].text, HasSubstr("LEVEL1/GONE/1"));
    EXPECT_THAT(ports.boxes[3].text, HasSubstr("would both be named PRESSURE12"));
    EXPECT_EQ(ports.value, 0);
    ExpectSameCurve(ReadCurve("LEVEL1", "ZG_p"), old);
}

TEST_F(FilteredCurves, OfALongRunThatFailsStayAsFarAsTheyAreFinal) {
    CurrentParameters().bandPass = 1;
    CurveSpec pressure = Pressure(270000);
    pressure.value = [](std::int32_t t) { return t < 2690000 ? Signal(t) : t % 20 == 0 ? 3e38 : -3e38; };
    AddCurves("LEVEL1", {pressure, Flow(10), {"PVLPOS", "", 10, [](std::int32_t) { return 1.0; }, 500}});
    SetPresentation("LEVEL1", {});
    Select({"LEVEL1"});
    EXPECT_FALSE(CreateFilteredCurves(0, false));
    const StoredCurve output = ReadCurve("LEVEL1", "ZG_p");
    EXPECT_GT(output.info.validLast, 2600000);
    EXPECT_LE(output.info.validLast, output.info.extentLast);
    EXPECT_EQ(output.info.validFirst, 500 + 100 * 10);
}

TEST_F(FilteredCurves, OfADatabaseThatDoesNotOpenStopBeforeAnyDatasetIsTouched) {
    AddLevel("LEVEL1", 900);
    Select({"LEVEL1"});
    CurrentSelection().datasets.push_back(CurrentSelection().datasets[0]);
    CurrentSelection().datasets[1].database = folder.File("gone.vdb");
    EXPECT_FALSE(CreateFilteredCurvesInAll(1));
    ASSERT_EQ(ports.boxes.size(), 1U);
    EXPECT_EQ(ports.boxes[0].title, "Error opening Dravik database");
    EXPECT_FALSE(HasCurve("LEVEL1", "ZG_p"));
}

TEST_F(FilteredCurves, OfARecordingWithoutSamplesAreEmptyUntilThereAreSome) {
    AddLevel("LEVEL1", 0);
    Select({"LEVEL1"});
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    EXPECT_TRUE(ReadCurve("LEVEL1", "ZG_p").info.IsEmpty());
    Append("LEVEL1", Pressure(0), 300);
    Append("LEVEL1", Flow(0), 300);
    ASSERT_TRUE(CreateFilteredCurves(0, true));
    EXPECT_EQ(ReadCurve("LEVEL1", "ZG_p").samples.size(), 100U);
}

TEST_F(FilteredCurves, InformationStatesBandAndGainAtThePeriodOfTest) {
    AddLevel("LEVEL1", 300);
    Select({"LEVEL1"});
    FilterInformation information = GetFilterInformation();
    EXPECT_EQ(information.inputPressure, "ZG");
    EXPECT_EQ(information.outputFlow, "RTC_qs");
    EXPECT_EQ(information.passChoices[2], "3");
    EXPECT_THAT(information.passBand, HasSubstr("gain 1 at 20 s"));
    EXPECT_FALSE(information.warning);

    CurrentParameters().bandPass = 1;
    information = GetFilterInformation();
    EXPECT_THAT(information.passBand, HasSubstr("periods from 10 s to 40 s"));
    EXPECT_TRUE(information.warning) << "one period of kernel cannot resolve the band";
    CurrentParameters().filterN = 10;
    information = GetFilterInformation();
    EXPECT_FALSE(information.warning) << information.passBand;
    CurrentParameters().filterN = 1000;
    EXPECT_THAT(GetFilterInformation().passBand, HasSubstr("1 to 32767"));
    EXPECT_TRUE(ports.boxes.empty());
}

}  // namespace
}  // namespace vorela
