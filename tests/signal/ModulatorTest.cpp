#include "signal/ValveChanges.h"
#include "signal/ValveSignal.h"
#include "signal/modModulator.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {
namespace {

constexpr std::int32_t samples = 400;
constexpr int cycleBoundaries = 11;

TEST(ValveArithmetic, ElapsedTimeFollowsTheTimerAcrossItsWrap) {
    EXPECT_EQ(ElapsedTicks(65008, 200), 19);  // wraps to -528, -13.52; 5.12
    EXPECT_EQ(ElapsedTicks(0, 39062.5), 1000);
    EXPECT_EQ(ElapsedTicks(39062.5, 39062.5), 0);
    EXPECT_EQ(ElapsedTicks(100, 0), 1675);  // wraps to -65436, -1675.16; a zero timer is time 0
    EXPECT_EQ(ElapsedTicks(-7e10, 7e10), 0) << "beyond 32 bits";
}

TEST(ValveArithmetic, RampIsStraightBetweenTwoStatesAndAnUnknownCodeKeepsTheStateReturnedLast) {
    double remembered = 1.0;
    EXPECT_EQ(RampValue(10, 10, 20, 1, 3, remembered), 1.0F);
    EXPECT_EQ(RampValue(12.5, 10, 20, 1, 3, remembered), 0.5F);
    EXPECT_EQ(RampValue(20, 10, 20, 1, 3, remembered), -1.0F);
    EXPECT_EQ(RampValue(25, 10, 20, 2, 4, remembered), 1.0F);
    EXPECT_EQ(RampValue(10, 10, 10, 3, 1, remembered), -1.0F) << "changes at one time write the old state";
    EXPECT_EQ(RampValue(15, 10, 20, 1, 5, remembered), 1.0F) << "no ramp";
    EXPECT_EQ(RampValue(15, 10, 20, 5, 3, remembered), 0.0F) << "the first state is asked for first";
    EXPECT_EQ(RampValue(15, 10, 20, 5, 3, remembered), -1.0F) << "and by now it is that of code 3";
}

class Modulator : public DravikFixture {
  protected:
    Modulator() {
        SetCycleAnalysis(
            {[this](std::size_t dataset, std::int32_t boundary) {
                 DatasetRecord& record = CurrentSelection().datasets[dataset];
                 boundaries.push_back(boundary);
                 EXPECT_GE(ReadCurve(record.dataset, "PVLSIG").info.extentLast, boundary / 10 * 10)
                     << "the analysis must see the signal up to the boundary";
                 AppendCycle(record.cycles);
                 return takesBoundaries;
             },
             [this](const Database&, std::size_t) { return ++finished > 0; },
             [this](const Database&, std::size_t dataset, CycleSource source) {
                 CurrentSelection().datasets[dataset].cycleSource = source;
                 return ++recalculated > 0;
             }});
    }
    ~Modulator() override { SetCycleAnalysis({}); }

    /// A valve of 1.93 s period whose boundaries lie between samples; the curves of a whole dataset, first
    /// index 500.
    static std::vector<RecordedCurve> Level(std::int32_t count = samples, const std::string& without = "",
                                            std::int16_t toolStep = 10) {
        std::vector<RecordedCurve> curves;
        for (const char* name : {"ZG", "RTC", "ZG_p", "RTC_qs"})
            curves.push_back({name, "", count, [](std::int32_t) { return 1.0; }, 500});
        std::ranges::move(ValveCurves({555, 386, count * 10 / toolStep, 500, toolStep}),
                          std::back_inserter(curves));
        std::erase_if(curves, [&](const RecordedCurve& curve) { return curve.name == without; });
        return curves;
    }
    /// The same with gaps in two curves and codes that are none.
    static std::vector<RecordedCurve> AwkwardLevel() {
        std::vector<RecordedCurve> curves = Level();
        for (RecordedCurve& curve : curves) {
            const bool code = curve.name == "PVLID";
            if (code || curve.name == "PVLT")
                curve.value = [code, plain = curve.value](std::int32_t t) {
                    const bool gap = code ? t % 770 < 40 : t % 910 < 30;
                    return gap ? std::nullopt : code && t % 1130 < 60 ? 5.0 : plain(t);
                };
        }
        return curves;
    }
    void MakeLevel(const std::string& name, const std::vector<RecordedCurve>& curves) {
        AddCurves(name, curves);
        Select({name});
    }
    std::int32_t CyclesOfTheLevel() const { return CurrentSelection().datasets[0].cycles.count; }
    /// The signal by the plain rules, sample by sample over whole arrays.
    std::vector<std::optional<float>> Reference(const std::string& dataset,
                                                std::vector<std::int32_t>& cycleStarts) {
        const auto code = ReadCurve(dataset, "PVLID").samples;
        const auto changeTimer = ReadCurve(dataset, "PVLIDT").samples;
        const auto timer = ReadCurve(dataset, "PVLT").samples;
        std::vector<std::optional<float>> signal{0.0F};
        double state = 1.0;
        int last = static_cast<int>(*code[0]);
        int previous = 500;
        for (std::size_t k = 0; k < code.size(); ++k) {
            if (!code[k] || !changeTimer[k] || !timer[k] || static_cast<int>(*code[k]) == last)
                continue;
            const int change = 500 + static_cast<int>(k) * 10 - ElapsedTicks(*changeTimer[k], *timer[k]);
            for (int t = (previous + 9) / 10 * 10; t <= change; t += 10) {
                signal.resize(static_cast<std::size_t>(t - 500) / 10 + 1);
                signal.back() = RampValue(t, previous, change, last, static_cast<int>(*code[k]), state);
            }
            last = static_cast<int>(*code[k]);
            if (last == 3)
                cycleStarts.push_back(change);
            previous = change;
        }
        return signal;
    }

    std::vector<std::int32_t> boundaries;
    bool takesBoundaries = true;
    int finished = 0;
    int recalculated = 0;
};

TEST_F(Modulator, BoundariesAreFoundWhereTheTimerSaysWhateverTheSampling) {
    MakeLevel("L", Level());
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, false));
    ASSERT_EQ(boundaries.size(), cycleBoundaries);
    constexpr int timerRounding = 1;  // hundredths of a second
    for (int i = 0; i < cycleBoundaries; ++i)
        EXPECT_NEAR(boundaries[static_cast<std::size_t>(i)], 555 + 386 * i, timerRounding);
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(CurrentSelection().datasets[0].cycleSource, CycleSource::filtered);
    EXPECT_THAT(ports.statusTexts, testing::Contains(testing::StartsWith("Creating Vorela valve curves ")));
    EXPECT_EQ(ports.highestValue, 20);
    const StoredCurve signal = ReadCurve("L", "PVLSIG");
    EXPECT_EQ(signal.info.validFirst, 500);
    EXPECT_NEAR(signal.info.validLast, 555 + 386 * 10, timerRounding) << "the last change";
    EXPECT_EQ(signal.info.extentLast, signal.info.validLast / 10 * 10);
}

TEST_F(Modulator, SignalFollowsThePlainRulesWithGapsAndUnknownCodesInAnyPieces) {
    for (const auto& [name, curves] : {std::pair("PLAIN", Level()), std::pair("AWKWARD", AwkwardLevel())}) {
        MakeLevel(name, curves);
        std::vector<std::int32_t> cycleStarts;
        const auto expected = Reference(name, cycleStarts);
        boundaries.clear();
        ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, false));
        EXPECT_EQ(ReadCurve(name, "PVLSIG").samples, expected);
        EXPECT_EQ(boundaries, cycleStarts);

        std::vector<RecordedCurve> oneSample = curves;
        for (RecordedCurve& curve : oneSample)
            curve.count = 1;
        for (const std::int32_t piece : {1, 7, 90}) {
            const std::string pieces = name + std::to_string(piece);
            MakeLevel(pieces, oneSample);
            boundaries.clear();
            for (std::int32_t count = 1; count < samples; count += piece) {
                // The recorder writes one curve after the other: a pass between them sees the code alone.
                for (const RecordedCurve& curve : curves) {
                    Record(pieces, {curve}, count, std::min(piece, samples - count));
                    ASSERT_TRUE(curve.name != "PVLID" || WithDatabase(0, ReconstructValveCurve, true));
                }
                ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
            }
            EXPECT_EQ(ReadCurve(pieces, "PVLSIG").samples, expected) << pieces;
            EXPECT_EQ(boundaries, cycleStarts) << pieces;
        }
    }
}

TEST_F(Modulator, CyclesStartAfreshWithANewSelectionAndWithADatasetImportedAgain) {
    MakeLevel("L", Level());
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
    EXPECT_EQ(boundaries.size(), cycleBoundaries);
    Select({"L"});
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
    EXPECT_EQ(boundaries.size(), 2 * cycleBoundaries);
    EXPECT_EQ(CyclesOfTheLevel(), cycleBoundaries);
    takesBoundaries = false;
    Select({"L"});
    EXPECT_FALSE(WithDatabase(0, ReconstructValveCurve, true));
    takesBoundaries = true;
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
    EXPECT_EQ(CyclesOfTheLevel(), cycleBoundaries) << "no boundary lost, none twice";
    DeleteItem("L");
    AddCurves("L", Level(90));
    boundaries.clear();
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
    EXPECT_EQ(boundaries.size(), 3U);
    EXPECT_EQ(CyclesOfTheLevel(), 3);
    DeleteItem("L");
    AddCurves("L", Level(3));
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, false));
    EXPECT_THAT(ReadCurve("L", "PVLSIG").samples, testing::ElementsAre(0.0F)) << "no change yet";
}

TEST_F(Modulator, SignalLiesOnTheDatasetsGridWhateverTheToolsSampling) {
    MakeLevel("L", Level(samples, "", 40));
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, false));
    EXPECT_EQ(boundaries.size(), cycleBoundaries);
    EXPECT_NEAR(boundaries[1], 941, 1);
    const StoredCurve signal = ReadCurve("L", "PVLSIG");
    EXPECT_EQ(signal.info.step, 10);
    EXPECT_NEAR(*signal.At(640), 1.0 - 2.0 * (941 - 193 - 640) / 193, 0.02);
    EXPECT_NEAR(*signal.At(850), 1.0 - 2.0 * (850 - 748) / 193.0, 0.02);
}

TEST_F(Modulator, CyclesAreFoundWithoutWritingWhereTheSignalExists) {
    MakeLevel("L", Level());
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, false));
    const std::vector<std::int32_t> found = std::exchange(boundaries, {});
    const std::string bytes = ReadAll(DatabasePath());
    ASSERT_TRUE(FindValveCycles(DravikDatabase(DatabasePath()), 0));
    EXPECT_EQ(boundaries, found);
    EXPECT_EQ(CyclesOfTheLevel(), cycleBoundaries);
    EXPECT_EQ(ReadAll(DatabasePath()), bytes);
}

TEST_F(Modulator, InteractiveEntryAsksBeforeOverwritingAndRecordedCurvesStayAsTheyWere) {
    MakeLevel("L", Level());
    const auto recorded = [&] {
        std::vector<std::vector<std::optional<float>>> all;
        for (const RecordedCurve& curve : Level())
            all.push_back(ReadCurve("L", curve.name).samples);
        return all;
    };
    const auto before = recorded();
    EXPECT_FALSE(ValveSignalPresent());
    ASSERT_TRUE(CreateReconstructedValveCurves(true));
    EXPECT_TRUE(ports.questions.empty());
    EXPECT_TRUE(ValveSignalPresent());
    boundaries.clear();
    ports.answers = {false, true};
    EXPECT_FALSE(CreateReconstructedValveCurves(true));
    EXPECT_TRUE(boundaries.empty());
    EXPECT_EQ(ports.questions.at(0).text,
              "The reconstructed valve curve already exists.\rDo you want to overwrite the existing curves?");
    EXPECT_TRUE(CreateReconstructedValveCurves(true));
    EXPECT_TRUE(CreateReconstructedValveCurves(false)) << "does not ask";
    EXPECT_EQ(boundaries.size(), 2 * cycleBoundaries);
    EXPECT_EQ(recorded(), before);
}

TEST_F(Modulator, WithoutFilteredCurvesTheEntryOffersToMakeThem) {
    MakeLevel("L", Level(samples, "ZG_p"));
    ports.answers = {false};
    EXPECT_FALSE(CreateReconstructedValveCurves(true));
    EXPECT_EQ(ports.questions.at(0).text,
              "The filtered pressure and flow curves must be created before the valve data and cycle "
              "information can be calculated.\rDo you want to create the filtered curves now?");
    EXPECT_FALSE(HasCurve("L", "PVLSIG"));
}

TEST_F(Modulator, AMissingToolCurveIsNamed) {
    for (const std::string missing : {"PVLID", "PVLIDT", "PVLT"}) {
        MakeLevel("NO" + missing, Level(samples, missing));
        EXPECT_FALSE(CreateReconstructedValveCurves(true));
        EXPECT_EQ(ports.TakeBox(), (ShownBox{MessageIcon::critical, "PVL Curves",
                                             "Can not find " + missing + " curve in all datasets."}));
    }
}

TEST_F(Modulator, RecalculationNeedsCyclesOfTheRightSource) {
    const std::string advice = "\rDo this using the Calculate cycle info... option in the Action menu.";
    MakeLevel("L", Level());
    EXPECT_FALSE(RecalculateWithUnfilteredCurves());
    EXPECT_EQ(ports.TakeBox().text,
              "To re-calculate cycle information using unfiltered pressure and flow the cycle information "
              "must first be calculated normally." +
                  advice);
    EXPECT_FALSE(RecalculateWithMotorPosition());
    EXPECT_EQ(ports.TakeBox().text,
              "To re-calculate cycle information using PVLPOS the cycle information must first be "
              "calculated using PVLSIG." +
                  advice);
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, false));
    EXPECT_TRUE(RecalculateWithUnfilteredCurves());
    EXPECT_TRUE(RecalculateWithMotorPosition());
    EXPECT_FALSE(RecalculateWithMotorPosition());
    EXPECT_FALSE(RecalculateWithUnfilteredCurves());
    EXPECT_EQ(recalculated, 2);
    EXPECT_THAT(ports.statusTexts, testing::Contains("Recalculating cycle info"));
}

TEST_F(Modulator, AFailureIsReportedAndTheNextExtensionGoesOn) {
    MakeLevel("L", Level());
    ASSERT_TRUE(WithDatabase(0, ReconstructValveCurve, false));
    const std::vector<std::int32_t> found = boundaries;
    DeleteItem("L/PVLIDT/1");
    EXPECT_FALSE(WithDatabase(0, ReconstructValveCurve, true));
    EXPECT_THAT(ports.TakeBox().text,
                testing::ContainsRegex("Error creating reconstructed mod curves: .*L/PVLIDT/1 in "));
    EXPECT_EQ(ports.value, 0);
    const RecordedCurve timer = Level()[6];
    ASSERT_EQ(timer.name, "PVLIDT");
    AddCurve("L", timer);
    EXPECT_TRUE(WithDatabase(0, ReconstructValveCurve, true));
    EXPECT_EQ(boundaries, found);
}

}  // namespace
}  // namespace vorela::test
