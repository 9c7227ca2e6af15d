// The reconstructed valve signal.
#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "signal/modModulator.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

using test::CurveSpec;
using testing::ElementsAre;

constexpr std::int32_t samples = 400;
constexpr std::size_t cycleBoundaries = 11;

TEST(ValveArithmetic, ElapsedTimeFollowsTheTimerAcrossItsWrap) {
    EXPECT_EQ(ElapsedTicks(65000, 200), 19);
    EXPECT_EQ(ElapsedTicks(0, 39062.5), 1000);
    EXPECT_EQ(ElapsedTicks(39062.5, 39062.5), 0);
    EXPECT_EQ(ElapsedTicks(100, 0), 1675);  // wraps to -65436, -1675.16; a zero timer is time 0
    EXPECT_EQ(ElapsedTicks(-7e10, 7e10), 0) << "beyond 32 bits";
}

TEST(ValveArithmetic, RampIsStraightBetweenTwoStates) {
    double remembered = 1.0;
    EXPECT_EQ(RampValue(10, 10, 20, 1, 3, remembered), 1.0F);
    EXPECT_EQ(RampValue(12.5, 10, 20, 1, 3, remembered), 0.5F);
    EXPECT_EQ(RampValue(20, 10, 20, 1, 3, remembered), -1.0F);
    EXPECT_EQ(RampValue(25, 10, 20, 2, 4, remembered), 1.0F);
    EXPECT_EQ(RampValue(10, 10, 10, 3, 1, remembered), -1.0F) << "changes at one time write the old state";
}

TEST(ValveArithmetic, AnUnknownCodeKeepsTheStateReturnedLast) {
    double remembered = 1.0;
    EXPECT_EQ(RampValue(15, 10, 20, 1, 5, remembered), 1.0F) << "no ramp";
    EXPECT_EQ(RampValue(15, 10, 20, 5, 3, remembered), 0.0F) << "the first state is asked for first";
    EXPECT_EQ(RampValue(15, 10, 20, 5, 3, remembered), -1.0F) << "and by now it is that of code 3";
}

class Modulator : public test::DravikFixture {
  protected:
    void SetUp() override {
        DravikFixture::SetUp();
        SetCycleAnalysis(
            {[this](std::size_t dataset, std::int32_t boundary) {
                 boundaries.push_back(boundary);
                 signalEnds.push_back(
                     ReadCurve(CurrentSelection().datasets[dataset].dataset, "PVLSIG").info.extentLast);
                 AppendCycle(CurrentSelection().datasets[dataset].cycles);
                 return takesBoundaries;
             },
             [this](std::size_t) {
                 ++finished;
                 return true;
             },
             [this](std::size_t dataset, CycleSource source) {
                 CurrentSelection().datasets[dataset].cycleSource = source;
                 ++recalculated;
                 return true;
             }});
    }
    void TearDown() override {
        SetCycleAnalysis({});
        DravikFixture::TearDown();
    }

    /// A valve of 1.93 s period whose boundaries lie between samples; the curves of a whole dataset, first
    /// index 500.
    static std::vector<CurveSpec> Level(std::int32_t count = samples) {
        const auto flat = [&](const char* name, const char* unit) {
            return CurveSpec{name, unit, count, [](std::int32_t) { return 1.0; }, 500};
        };
        std::vector<CurveSpec> curves{flat("ZG", "psi"), flat("RTC", "rps"), flat("ZG_p", "psi"),
                                      flat("RTC_qs", "rps")};
        for (CurveSpec& curve : test::ValveCurves({555, 386, count, 500, 10}))
            curves.push_back(std::move(curve));
        return curves;
    }
    /// The same with gaps in two curves and codes that are none.
    static std::vector<CurveSpec> AwkwardLevel() {
        std::vector<CurveSpec> curves = Level();
        for (CurveSpec& curve : curves) {
            const auto plain = curve.value;
            if (curve.name == "PVLID")
                curve.value = [plain](std::int32_t t) -> std::optional<double> {
                    if (t % 770 < 40)
                        return std::nullopt;
                    return t % 1130 < 60 ? 5.0 : plain(t);
                };
            if (curve.name == "PVLT")
                curve.value = [plain](std::int32_t t) { return t % 910 < 30 ? std::nullopt : plain(t); };
        }
        return curves;
    }
    void MakeLevel(const std::string& name, std::vector<CurveSpec> curves) {
        AddCurves(name, curves);
        Select({name});
    }
    /// The signal by the plain rules, sample by sample over whole arrays.
    std::vector<std::optional<float>> Reference(const std::string& dataset,
                                                std::vector<std::int32_t>& cycleStarts) {
        const auto code = ReadCurve(dataset, "PVLID").samples;
        const auto changeTimer = ReadCurve(dataset, "PVLIDT").samples;
        const auto timer = ReadCurve(dataset, "PVLT").samples;
        std::vector<std::optional<float>> signal(code.size());
        signal[0] = 0.0F;
        double state = 1.0;
        int last = static_cast<int>(*code[0]);
        int previous = 500;
        int written = 0;
        for (std::size_t k = 0; k < code.size(); ++k) {
            if (!code[k] || !changeTimer[k] || !timer[k] || static_cast<int>(*code[k]) == last)
                continue;
            const int change = 500 + static_cast<int>(k) * 10 - ElapsedTicks(*changeTimer[k], *timer[k]);
            for (int t = (previous + 9) / 10 * 10; t <= change; t += 10) {
                written = (t - 500) / 10;
                signal[static_cast<std::size_t>(written)] =
                    RampValue(t, previous, change, last, static_cast<int>(*code[k]), state);
            }
            last = static_cast<int>(*code[k]);
            if (last == 3)
                cycleStarts.push_back(change);
            previous = change;
        }
        signal.resize(static_cast<std::size_t>(written) + 1);
        return signal;
    }

    std::vector<std::int32_t> boundaries;
    std::vector<std::int32_t> signalEnds;  ///< last index of PVLSIG that a second handle saw at each boundary
    bool takesBoundaries = true;
    int finished = 0;
    int recalculated = 0;
};

TEST_F(Modulator, BoundariesAreFoundWhereTheTimerSaysWhateverTheSampling) {
    MakeLevel("L", Level());
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    ASSERT_EQ(boundaries.size(), cycleBoundaries);
    for (std::size_t i = 0; i < boundaries.size(); ++i) {
        constexpr int timerRounding = 1;  // hundredths of a second
        EXPECT_NEAR(boundaries[i], 555 + 386 * static_cast<int>(i), timerRounding);
        EXPECT_GE(signalEnds[i], boundaries[i] / 10 * 10)
            << "the analysis must see the signal up to the boundary";
    }
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(CurrentSelection().datasets[0].cycleSource, CycleSource::filtered);
    EXPECT_THAT(ports.statusTexts, testing::Contains(testing::StartsWith("Creating Vorela valve curves ")));
    EXPECT_EQ(ports.highestValue, 20);
}

TEST_F(Modulator, SignalIsThePlainReconstructionAndItsSpanEndsAtTheLastChange) {
    MakeLevel("L", Level());
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    std::vector<std::int32_t> cycleStarts;
    const test::StoredCurve signal = ReadCurve("L", "PVLSIG");
    EXPECT_EQ(signal.samples, Reference("L", cycleStarts));
    EXPECT_EQ(boundaries, cycleStarts);
    EXPECT_EQ(signal.info.validFirst, 500);
    EXPECT_NEAR(signal.info.validLast, 555 + 386 * 10, 1);
    EXPECT_EQ(signal.info.extentLast, signal.info.validLast / 10 * 10);
}

TEST_F(Modulator, GapsAndUnknownCodesFollowThePlainRules) {
    MakeLevel("L", AwkwardLevel());
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    std::vector<std::int32_t> cycleStarts;
    EXPECT_EQ(ReadCurve("L", "PVLSIG").samples, Reference("L", cycleStarts));
    EXPECT_EQ(boundaries, cycleStarts);
}

TEST_F(Modulator, ExtendingInAnyPiecesIsOneRun) {
    MakeLevel("WHOLE", AwkwardLevel());
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    const test::StoredCurve whole = ReadCurve("WHOLE", "PVLSIG");
    const std::vector<std::int32_t> wholeBoundaries = boundaries;
    std::mt19937 random(11);
    for (const int piece : {1, 2, 7, 37, 0}) {
        const std::string name = "P" + std::to_string(piece);
        test::Recorder recorder(DatabasePath(), name, AwkwardLevel());
        recorder.Record(1);
        Select({name});
        boundaries.clear();
        ASSERT_TRUE(ReconstructValveCurve(0, piece % 2 == 1)) << "begun by hand or by the timer";
        while (recorder.Recorded() < samples) {
            const std::int32_t more = piece > 0 ? piece : std::uniform_int_distribution(1, 90)(random);
            recorder.Record(std::min(more, samples - recorder.Recorded()));
            ASSERT_TRUE(ReconstructValveCurve(0, true));
        }
        const test::StoredCurve pieces = ReadCurve(name, "PVLSIG");
        EXPECT_EQ(pieces.samples, whole.samples) << piece;
        EXPECT_EQ(pieces.info.validLast, whole.info.validLast);
        EXPECT_EQ(boundaries, wholeBoundaries) << piece;
    }
}

TEST_F(Modulator, ANewSelectionStartsTheCyclesAfresh) {
    MakeLevel("L", Level());
    ASSERT_TRUE(ReconstructValveCurve(0, true));
    ASSERT_TRUE(ReconstructValveCurve(0, true));
    EXPECT_EQ(boundaries.size(), cycleBoundaries);
    Select({"L"});
    ASSERT_TRUE(ReconstructValveCurve(0, true));
    EXPECT_EQ(boundaries.size(), 2 * cycleBoundaries);
    EXPECT_EQ(CurrentSelection().datasets[0].cycles.count, static_cast<std::int32_t>(cycleBoundaries));
    takesBoundaries = false;
    Select({"L"});
    EXPECT_FALSE(ReconstructValveCurve(0, true));
    takesBoundaries = true;
    ASSERT_TRUE(ReconstructValveCurve(0, true));
    EXPECT_EQ(CurrentSelection().datasets[0].cycles.count, static_cast<std::int32_t>(cycleBoundaries))
        << "no boundary lost, none twice";
}

TEST_F(Modulator, ADatasetImportedAgainIsWalkedFromItsStart) {
    MakeLevel("L", Level());
    ASSERT_TRUE(ReconstructValveCurve(0, true));
    DeleteItem("L");
    AddCurves("L", Level(90));
    boundaries.clear();
    ASSERT_TRUE(ReconstructValveCurve(0, true));
    EXPECT_EQ(boundaries.size(), 3U);
    EXPECT_EQ(CurrentSelection().datasets[0].cycles.count, 3);
}

TEST_F(Modulator, SignalLiesOnTheDatasetsGridWhateverTheToolsSampling) {
    std::vector<CurveSpec> curves = Level();
    for (CurveSpec& curve : curves) {
        if (curve.name.starts_with("PVL")) {
            curve.step = 40;
            curve.count = samples / 4;
        }
    }
    MakeLevel("L", curves);
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    EXPECT_EQ(boundaries.size(), cycleBoundaries);
    EXPECT_NEAR(boundaries[1], 941, 1);
    const test::StoredCurve signal = ReadCurve("L", "PVLSIG");
    EXPECT_EQ(signal.info.step, 10);
    EXPECT_NEAR(*signal.At(640), 1.0 - 2.0 * (941 - 193 - 640) / 193, 0.02);
    EXPECT_NEAR(*signal.At(850), 1.0 - 2.0 * (850 - 748) / 193.0, 0.02);
}

TEST_F(Modulator, CyclesAreFoundWithoutWritingWhereTheSignalExists) {
    MakeLevel("L", Level());
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    const std::vector<std::int32_t> found = std::exchange(boundaries, {});
    const std::string bytes = test::ReadAll(DatabasePath());
    ASSERT_TRUE(FindValveCycles(0));
    EXPECT_EQ(boundaries, found);
    EXPECT_EQ(CurrentSelection().datasets[0].cycles.count, static_cast<std::int32_t>(cycleBoundaries));
    EXPECT_EQ(test::ReadAll(DatabasePath()), bytes);
}

TEST_F(Modulator, RecordedCurvesStayAsTheyWere) {
    MakeLevel("L", Level());
    const auto recorded = [&] {
        std::vector<std::vector<std::optional<float>>> all;
        for (const char* name : {"ZG", "RTC", "PVLPOS", "PVLID", "PVLIDT", "PVLT"})
            all.push_back(ReadCurve("L", name).samples);
        return all;
    };
    const auto before = recorded();
    ports.answers = {true};
    ASSERT_TRUE(CreateReconstructedValveCurves(false));
    ASSERT_TRUE(CreateReconstructedValveCurves(true));
    EXPECT_EQ(recorded(), before);
}

TEST_F(Modulator, InteractiveEntryAsksBeforeOverwritingAndNoEndsIt) {
    MakeLevel("L", Level());
    EXPECT_FALSE(ValveSignalPresent());
    ASSERT_TRUE(CreateReconstructedValveCurves(true));
    EXPECT_TRUE(ports.questions.empty());
    EXPECT_TRUE(ValveSignalPresent());
    boundaries.clear();
    ports.answers = {false};
    EXPECT_FALSE(CreateReconstructedValveCurves(true));
    ASSERT_EQ(ports.questions.size(), 1U);
    EXPECT_EQ(ports.questions[0].text,
              "The reconstructed valve curve already exists.\rDo you want to overwrite the existing curves?");
    EXPECT_TRUE(boundaries.empty());
}

TEST_F(Modulator, WithoutFilteredCurvesTheEntryOffersToMakeThem) {
    std::vector<CurveSpec> curves = Level();
    std::erase_if(curves, [](const CurveSpec& curve) { return curve.name == "ZG_p"; });
    MakeLevel("L", curves);
    ports.answers = {false};
    EXPECT_FALSE(CreateReconstructedValveCurves(true));
    ASSERT_EQ(ports.questions.size(), 1U);
    EXPECT_EQ(ports.questions[0].text,
              "The filtered pressure and flow curves must be created before the valve data and cycle "
              "information can "
              "be calculated.\rDo you want to create the filtered curves now?");
    EXPECT_FALSE(HasCurve("L", "PVLSIG"));
}

TEST_F(Modulator, AMissingToolCurveIsNamed) {
    for (const std::string missing : {"PVLID", "PVLIDT", "PVLT"}) {
        std::vector<CurveSpec> curves = Level();
        std::erase_if(curves, [&](const CurveSpec& curve) { return curve.name == missing; });
        MakeLevel("NO" + missing, curves);
        ports.boxes.clear();
        EXPECT_FALSE(CreateReconstructedValveCurves(true));
        ASSERT_EQ(ports.boxes.size(), 1U);
        EXPECT_EQ(ports.boxes[0].icon, MessageIcon::critical);
        EXPECT_EQ(ports.boxes[0].title, "PVL Curves");
        EXPECT_EQ(ports.boxes[0].text, "Can not find " + missing + " curve in all datasets.");
    }
}

TEST_F(Modulator, RecalculationNeedsCyclesOfTheRightSource) {
    const std::string advice = "\rDo this using the Calculate cycle info... option in the Action menu.";
    MakeLevel("L", Level());
    EXPECT_FALSE(RecalculateWithUnfilteredCurves());
    EXPECT_FALSE(RecalculateWithMotorPosition());
    ASSERT_EQ(ports.boxes.size(), 2U);
    EXPECT_EQ(ports.boxes[0].text,
              "To re-calculate cycle information using unfiltered pressure and flow the cycle information "
              "must first "
              "be calculated normally." +
                  advice);
    EXPECT_EQ(
        ports.boxes[1].text,
        "To re-calculate cycle information using PVLPOS the cycle information must first be calculated using "
        "PVLSIG." +
            advice);
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    EXPECT_TRUE(RecalculateWithUnfilteredCurves());
    EXPECT_TRUE(RecalculateWithMotorPosition());
    EXPECT_FALSE(RecalculateWithMotorPosition());
    EXPECT_FALSE(RecalculateWithUnfilteredCurves());
    EXPECT_EQ(recalculated, 2);
    EXPECT_THAT(ports.statusTexts, testing::Contains("Recalculating cycle info"));
}

TEST_F(Modulator, AFailureIsReportedAndTheNextExtensionGoesOn) {
    MakeLevel("L", Level());
    ASSERT_TRUE(ReconstructValveCurve(0, false));
    const std::vector<std::int32_t> found = boundaries;
    DeleteItem("L/PVLIDT/1");
    EXPECT_FALSE(ReconstructValveCurve(0, true));
    ASSERT_EQ(ports.boxes.size(), 1U);
    EXPECT_THAT(ports.boxes[0].text,
                testing::AllOf(testing::HasSubstr("Error creating reconstructed mod curves: "),
                               testing::HasSubstr("L/PVLIDT/1 in ")));
    EXPECT_EQ(ports.value, 0);
    const std::vector<CurveSpec> curves = Level();
    AddCurve("L",
             *std::find_if(curves.begin(), curves.end(), [](const auto& c) { return c.name == "PVLIDT"; }));
    EXPECT_TRUE(ReconstructValveCurve(0, true));
    EXPECT_EQ(boundaries, found);
}

}  // namespace
}  // namespace vorela
