#include <unistd.h>

#include "BuildPaths.h"
#include "follow/ActionQueue.h"
#include "follow/CurveChecks.h"
#include "platform/DravikLibraries.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"
#include "tests/live/LiveSupport.h"

namespace vorela::test {
namespace {

/// Piece sizes in samples; 0: drawn at random.
constexpr int randomPieces = 0;
constexpr int periodLessOne = 79;

struct Case {
    Way way;
    int piece = 1;
    bool gaps = false;
    int restartAfter = -1;  ///< samples; the program is started again there
    int createdAfter = -1;  ///< samples; there the curves are created interactively, then followed
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << (c.way.bandPass ? "band pass" : "difference") << " N " << c.way.filterN << ", spinner filter "
         << c.way.spinnerFilter << ", pieces of " << c.piece << (c.gaps ? ", gaps" : "") << ", restart "
         << c.restartAfter << ", created " << c.createdAfter;
}

class LiveEqualsBatchTest : public LiveFixture {
  protected:
    int NextPiece(int piece) { return piece == randomPieces ? 1 + static_cast<int>(random_() % 150) : piece; }
    /// What was followed of a recording that grows in pieces behind its first samples. `beforePass` gets the
    /// number of samples written and tells whether the pass takes place.
    Outcome Follow(
        const std::vector<RecordedCurve>& curves, int piece,
        const std::function<bool(int)>& beforePass = [](int) { return true; }, int first = 1) {
        const std::string dataset = NewName();
        Recording recording(*this, dataset, curves);
        recording.Append(first);
        Select({dataset});
        while (recording.Left() > 0) {
            recording.Append(NextPiece(piece));
            EXPECT_TRUE(!beforePass(curves[0].count - recording.Left()) || ExtendDataset(0));
        }
        EXPECT_EQ(CurrentSelection().datasets[0].pendingFlag, 0);
        return Observe(dataset);
    }
    void ExpectSame(const Outcome& live, const std::vector<RecordedCurve>& curves, bool gaps = false) {
        ExpectOneRun(live, curves);
        EXPECT_GE(live.cycles.RealCycles(), 4);
        EXPECT_TRUE(gaps || std::ranges::count(live.cycles.analysed, 1) > 0);
        EXPECT_EQ(ports.boxes, std::vector<ShownBox>{});
    }

  private:
    std::mt19937 random_{7};
};

class LiveEqualsBatch : public LiveEqualsBatchTest, public ::testing::WithParamInterface<Case> {};

TEST_P(LiveEqualsBatch, ForDerivedCurvesAndCycleRecord) {
    const Case& c = GetParam();
    TestPlan plan;
    plan.gaps = c.gaps;
    Use(c.way, plan.periodSeconds);
    if (c.way.bandPass && c.way.filterN > 1)
        plan.samples += 400;  // the long kernel leaves little of a short test
    const auto curves = CurvesOf(plan);
    bool restarted = false;
    bool created = false;
    const Outcome live = Follow(curves, c.piece, [&](int written) {
        if (c.restartAfter >= 0 && written >= c.restartAfter && !std::exchange(restarted, true))
            Select({CurrentSelection().datasets[0].dataset});
        if (c.createdAfter >= 0 && written >= c.createdAfter && !std::exchange(created, true)) {
            EXPECT_TRUE(CreateAll(0));
        }
        return written >= c.createdAfter;
    });
    ExpectSame(live, curves, c.gaps);
}

constexpr Way difference1{1, false, 0, 0.0};
constexpr Way difference3{3, false, 1, 1.7};
constexpr Way bandPass1{1, true, 2, 2.5};
constexpr Way bandPass3{3, true, 3, 4.0};

std::vector<Case> Cases() {
    // The spinner filters with the other pieces, gaps, a restart in the middle, curves created before
    // following.
    std::vector<Case> cases{{{3, false, 2, 2.5}, 7},           {{3, false, 3, 2.5}, 1},
                            {{1, true, 1, 0.9}, randomPieces}, {difference3, 7, true},
                            {bandPass3, randomPieces, true},   {bandPass1, 1, true},
                            {difference1, 7, true, 250},       {difference3, randomPieces, false, 300},
                            {bandPass3, 7, false, 301},        {bandPass1, periodLessOne, true, 200},
                            {difference3, 7, true, -1, 205},   {bandPass3, 7, true, -1, 205},
                            {bandPass1, 2, true, 400, 260},    {difference1, 1, false, 400, 100}};
    for (const Way& way : {difference1, difference3, bandPass1, bandPass3})
        for (const int piece : {1, 2, 7, periodLessOne, randomPieces})
            cases.push_back({way, piece});
    return cases;
}
INSTANTIATE_TEST_SUITE_P(Pieces, LiveEqualsBatch, ::testing::ValuesIn(Cases()));

// A code that is wrong for one sample makes a boundary at the same time as the one before; a code or timer
// that no tool has, and a change that would lie in the future, tell nothing.
TEST_F(LiveEqualsBatchTest, WithDisturbedToolSamplesThatCostOneCycleOnly) {
    auto curves = CurvesOf({.samples = 900});
    for (RecordedCurve& curve : curves) {
        const std::map<std::string, std::map<std::int32_t, double>> disturbed{
            {"PVLID", {{3000, 1}, {4100, 1e20}, {4600, 2}}},
            {"PVLIDT", {{4600, 3e5}}},
            {"PVLT", {{4900, -4e12}}}};
        if (const auto found = disturbed.find(curve.name); found != disturbed.end())
            curve.value = [values = found->second, plain = curve.value](std::int32_t t) {
                return values.contains(t) ? values.at(t) : plain(t);
            };
    }
    for (const Way& way : {difference1, bandPass1}) {
        for (const int piece : {3, periodLessOne}) {
            Use(way, TestPlan{}.periodSeconds);
            const Outcome live = Follow(curves, piece);
            EXPECT_EQ(live.cycles.start[3], live.cycles.start[4]);
            EXPECT_EQ(live.cycles.RealCycles(), 11);
            for (const std::size_t n : {2, 3, 4, 5, 6})
                EXPECT_EQ(live.cycles.analysed[n], n != 3) << n;
            EXPECT_THAT(
                ports.TakeBox().text,
                testing::ContainsRegex("Analysing cycle: Dataset .*, cycle 4 without results: Division"));
            ExpectOneRun(live, curves);
            ports.TakeBox();
            EXPECT_TRUE(RecalculateWithMotorPosition());
            EXPECT_EQ(CurrentSelection().datasets[0].cycles.analysed[3], 0);
            EXPECT_EQ(CurrentSelection().datasets[0].cycles.analysed[4], 1);
            EXPECT_THAT(ports.TakeBox().text, testing::HasSubstr(", cycle 4 without results"));
        }
    }
}

/// Levels recorded one after the other, or side by side: each pass advances the first pending one only.
TEST_F(LiveEqualsBatchTest, ForLevelsPendingInTurn) {
    for (const int levels : {2, 3}) {
        for (const bool sideBySide : {false, true}) {
            Use(levels == 2 ? difference3 : bandPass1, TestPlan{}.periodSeconds);
            std::vector<Recording> recordings;
            std::vector<std::vector<RecordedCurve>> plans;
            std::vector<std::string> names;
            for (int i = 0; i < levels; ++i) {
                plans.push_back(CurvesOf(
                    {.samples = 760 - 37 * i, .first = 240 + 30 * i, .depth = 5000.0 - 100 * i, .seed = i}));
                names.push_back(NewName());
                recordings.emplace_back(*this, names.back(), plans.back());
                recordings.back().Append(1);
            }
            Select(names);
            bool timer = true;
            const ActionQueueView view{[] { return 1; }, [](int) {}, [](std::size_t) {},
                                       [&](bool on) { timer = on; }};
            for (int pass = 0; timer && pass < 1000; ++pass) {
                for (Recording& recording : recordings) {
                    if (recording.Left() > 0) {
                        recording.Append(NextPiece(randomPieces));
                        if (!sideBySide)
                            break;
                    }
                }
                EXPECT_TRUE(RunActionQueuePass(view));
                auto& datasets = CurrentSelection().datasets;
                if (pass % 5 == 3)  // what is remembered belongs to the dataset, not to its place
                    std::rotate(datasets.begin(), datasets.begin() + 1, datasets.end());
            }
            EXPECT_FALSE(timer);
            std::vector<Outcome> live;
            for (const std::string& name : names)
                live.push_back(Observe(name));
            for (std::size_t i = 0; i < live.size(); ++i)
                ExpectSame(live[i], plans[i]);
        }
    }
}

/// Nothing to filter, no valve change, no boundary, half a cycle.
TEST_F(LiveEqualsBatchTest, ForRecordsTooShortForAnything) {
    for (const Way& way : {difference3, bandPass1})
        for (const int samples : {1, 2, 20, 60, periodLessOne, 82}) {
            const TestPlan plan{.samples = samples};
            Use(way, plan.periodSeconds);
            const Outcome live = Follow(
                CurvesOf(plan), 7, [](int) { return true; }, 0);
            ExpectOneRun(live, CurvesOf(plan));
        }
}

/// A session ends (is killed) while the recording goes on; the next one finds the whole of it.
TEST_F(LiveEqualsBatchTest, ForARecordingThatWentOnAfterTheSessionAndIsCompletedAtTheNextSelection) {
    for (const Way& way : {difference1, difference3, bandPass1})
        for (const auto& [before, after] : {std::pair(0, 30), {1, 2}, {60, 210}, {200, 201}, {480, 520}}) {
            const TestPlan plan{.samples = after};
            Use(way, plan.periodSeconds);
            const std::string name = NewName();
            Recording recording(*this, name, CurvesOf(plan));
            recording.Append(before);
            Select({name});
            ASSERT_TRUE(CreateAll(0));
            recording.AppendAll();
            const SelectDataView view{[&] { Select({name}); }, [] { return true; }, [] {}, [] {}, [] {}};
            std::int32_t other = 0;
            ASSERT_EQ(
                LoadedLibraries().database.DBclaimA(DatabasePath().c_str(), "analysis", &other, nullptr),
                DK_OK);
            ASSERT_TRUE(SelectData(view));
            EXPECT_THAT(CurveNotes(),
                        testing::Contains(name + "/RTC_f/1 ends before the record does: " + DatabasePath() +
                                          " is being analysed by process " + std::to_string(getpid()) +
                                          "; select again when it has finished"));
            LoadedLibraries().database.DBunclaim(other);
            ASSERT_TRUE(SelectData(view));
            EXPECT_THAT(CurveNotes(),
                        testing::Contains(name + "/RTC_f/1 ended before the record did and was completed"));
            ASSERT_TRUE(SelectData(view));
            EXPECT_THAT(CurveNotes(), testing::IsEmpty()) << before << " " << after;
            ASSERT_TRUE(FindValveCycles(DravikDatabase(SelectedDataset(0).database), 0));
            ExpectOneRun(Observe(name), CurvesOf(plan));
        }
}

/// An analysed dataset that was exported and is recorded once more: its own curves are used, live too.
TEST_F(LiveEqualsBatchTest, ForRecordingsThatStandInThePlaceOfDerivedCurves) {
    const TestPlan plan;
    Use(difference1, plan.periodSeconds);
    const Outcome analysed = OneRunOver(CurvesOf(plan));
    std::vector<RecordedCurve> curves = CurvesOf(plan);
    for (const auto& [name, curve] : analysed.curves)
        curves.push_back({name, "", plan.samples,
                          [curve = curve](std::int32_t t) -> std::optional<double> { return curve.At(t); },
                          plan.first});
    const auto expectAsRecorded = [&](const Outcome& now) {
        for (const auto& [name, curve] : now.curves) {
            EXPECT_EQ(curve.samples, analysed.curves.at(name).samples) << name;
            EXPECT_EQ(curve.info.made, "") << name;
        }
        EXPECT_EQ(Difference({{}, now.cycles}, {{}, analysed.cycles}), "");
    };
    for (const int piece : {periodLessOne, plan.samples})
        expectAsRecorded(Follow(curves, piece));
    const std::string level = CurrentSelection().datasets[0].dataset;
    EXPECT_TRUE(CreateReconstructedValveCurves(false)) << "the cycles are found all the same";
    const std::pair<std::function<bool()>, const char*> entries[] = {
        {[] { return CreateFilteredCurvesInAll(); }, "/ZG_p/1"},
        {[] { return CreateReconstructedValveCurves(true); }, "/PVLSIG/1"},
        {[] { return CreateFilteredFlow(true); }, "/RTC_f/1"}};
    for (const auto& [entry, name] : entries) {
        EXPECT_FALSE(entry());
        EXPECT_THAT(ports.TakeBox().text, testing::HasSubstr(level + name));
    }
    EXPECT_TRUE(ports.questions.empty());
    expectAsRecorded(Observe(level));
}

/// What was analysed before the change of a parameter is analysed anew: no mixture of two filters.
TEST_F(LiveEqualsBatchTest, AfterParametersWereChangedOnTheWay) {
    const TestPlan plan{.samples = 900};
    const auto curves = CurvesOf(plan);
    const struct {
        Way way;
        double period;
        std::int16_t usePeriodInMatch;
    } changes[] = {{{3, false, 1, 1.0}, 8.0, 0},  // cycles that were covered are so no longer
                   {{1, false, 1, 1.0}, 7.0, 0},
                   {{1, true, 1, 1.0}, 8.0, 0},
                   {{1, false, 1, 1.0}, 8.0, 1}};
    for (const auto& change : changes) {
        Use(Way{1, false, 1, 1.0}, plan.periodSeconds);
        const Outcome live = Follow(curves, 50, [&](int written) {
            if (written > plan.samples - 200) {
                Use(change.way, change.period);
                CurrentParameters().usePeriodInMatch = change.usePeriodInMatch;
            }
            return true;
        });
        ExpectOneRun(live, curves);
        EXPECT_GE(live.cycles.RealCycles(), 4);
        EXPECT_THAT(live.cycles.analysed, Contains(1));
    }
}

/// A measured sinusoidal pumping test of 18 cycles of 90 s at 1 Hz; its pressure takes one of ten levels
/// only.
TEST_F(LiveEqualsBatchTest, ForAMeasuredRecord) {
    std::ifstream file(VORELA_SOURCE_DIR "/../shared/data/sinusoidal-pumping-90s/test.csv");
    if (!file)
        GTEST_SKIP() << "the measured record is not here";
    std::vector<double> flow, pressure;
    std::string header;
    std::getline(std::getline(file, header), header);
    char comma = 0;
    for (double time = 0, f = 0, p = 0; file >> time >> comma >> f >> comma >> p;) {
        flow.push_back(f);
        pressure.push_back(p);
    }
    ASSERT_TRUE(file.eof());
    const auto count = static_cast<std::int32_t>(flow.size());
    const auto curve = [&](const char* name, const std::vector<double>& values) {
        const auto value = [&values](std::int32_t t) { return values.at(static_cast<std::size_t>(t) / 100); };
        return RecordedCurve{name, "", count, value, 0, 100};
    };
    std::vector<RecordedCurve> curves{curve("ZG", pressure), curve("RTC", flow)};
    for (auto& valve : ValveCurves({9000, 9000, count, 0, 100}))
        curves.push_back(std::move(valve));
    for (const Way& way : {difference1, difference3, bandPass1})
        for (const int piece : {7, 89, randomPieces}) {
            // The band pass takes the step as it stands: at 1 Hz its kernel is a hundred periods' samples
            // long.
            Use(way, way.bandPass ? 9.0 : 90.0);
            const Outcome live = Follow(curves, piece);
            ExpectOneRun(live, curves);
            EXPECT_EQ(live.cycles.RealCycles(), 16);
        }
}

}  // namespace
}  // namespace vorela::test
