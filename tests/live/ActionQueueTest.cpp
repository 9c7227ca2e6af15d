#include <unistd.h>

#include "analysis/modMain.h"
#include "db/AnalysisClaim.h"
#include "follow/ActionQueue.h"
#include "follow/CurveChecks.h"
#include "platform/DravikLibraries.h"
#include "tests/live/LiveSupport.h"

namespace vorela::test {
namespace {

/// Writing calls of the database library that fail from now on; the next ones go through again.
int writesToFail = 0;
decltype(&::DBwrite) writeThrough = nullptr;
std::int32_t FailingWrite(std::int32_t item, std::int32_t first, std::int32_t count, const void* buffer) {
    return writesToFail > 0 && writesToFail-- > 0 ? DK_DISK_ERROR : writeThrough(item, first, count, buffer);
}

using Calls = std::vector<std::string>;

class ActionQueueTest : public LiveFixture {
  protected:
    void SetUp() override {
        LiveFixture::SetUp();
        Use({1, false, 1, 1.0}, TestPlan{}.periodSeconds);
        writesToFail = 0;
        writeThrough = LoadedLibraries().database.DBwrite;
        LoadedLibraries().database.DBwrite = FailingWrite;
    }
    ~ActionQueueTest() override { LoadedLibraries().database.DBwrite = writeThrough; }
    /// LEVEL0 … LEVEL2, deepest first; those that are not `pending` have ended before they are selected.
    void SelectThree(std::array<bool, 3> pending) {
        const std::vector<std::string> names{"LEVEL0", "LEVEL1", "LEVEL2"};
        for (std::size_t i = 0; i < 3; ++i) {
            const TestPlan plan{.depth = 5000.0 - 100.0 * static_cast<double>(i)};
            recordings.emplace_back(*this, names[i], CurvesOf(plan));
            recordings.back().Append(pending[i] ? 300 : plan.samples);
        }
        Select(names);
    }
    bool Pass(int shownTab) {
        tab = shownTab;
        calls.clear();
        return RunActionQueuePass(view);
    }
    void ExpectPass(int shownTab, const Calls& expected) {
        EXPECT_TRUE(Pass(shownTab));
        EXPECT_EQ(calls, expected) << shownTab;
    }

    std::vector<Recording> recordings;
    int tab = 1;
    Calls calls;
    const ActionQueueView view{
        [this] { return tab; }, [this](int grid) { calls.push_back("grid " + std::to_string(grid)); },
        [this](std::size_t dataset) { calls.push_back("plot " + std::to_string(dataset)); },
        [this](bool on) { calls.push_back(on ? "timer on" : "timer off"); }};
};

TEST_F(ActionQueueTest, AdvancesTheFirstPendingDatasetOnlyAndRefreshesTheVisibleTabOnly) {
    SelectThree({false, true, true});
    const Calls refreshed[] = {{"grid 1"}, {"grid 2"}, {"grid 3"}, {"grid 4"},
                               {},         {"plot 1"}, {"plot 2"}, {}};
    int shownTab = 0;
    for (Calls expected : refreshed) {
        recordings[1].Append(5);
        expected.emplace_back("timer on");
        ExpectPass(++shownTab, expected);
    }
    EXPECT_FALSE(HasCurve("LEVEL0", "PVLSIG"));
    EXPECT_TRUE(HasCurve("LEVEL1", "PVLSIG"));
    EXPECT_FALSE(HasCurve("LEVEL2", "PVLSIG"));
    EXPECT_EQ(std::ranges::count(CurrentSelection().datasets[1].curves, "PVLSIG"), 1) << "known at once";
    EXPECT_EQ(std::ranges::count(ports.statusTexts, "Following LEVEL1 made ZG_p, RTC_qs, PVLSIG, RTC_f"), 1);
}

TEST_F(ActionQueueTest, ASelectionBringsAllCurvesOfAnEarlierSessionUpToTheRecording) {
    SelectThree({true, false, true});
    for (std::size_t i = 0; i < recordings.size(); ++i)
        EXPECT_TRUE(ExtendDataset(i));
    const auto filteredTo = [this] { return ReadCurve("LEVEL2", "RTC_f").info.extentLast; };
    const std::int32_t before = filteredTo();
    recordings[2].Append(7);
    const SelectDataView selection{
        [this] {
            Select({"LEVEL0", "LEVEL1", "LEVEL2"});
        },
        [] { return true; }, [] {},
        [&] { calls.push_back("update " + std::to_string(filteredTo() - before)); },
        [this] { calls.push_back("timer on"); }};
    EXPECT_TRUE(SelectData(selection));
    EXPECT_EQ(calls, (Calls{"update 70", "timer on", "timer on"}));
}

TEST_F(ActionQueueTest, SwitchesTheTimerOffWhenTheLastRecordingEndsAndStillExtendsAndRefreshes) {
    ExpectPass(1, {});  // nothing is selected
    SelectThree({false, true, true});
    recordings[1].AppendAll();
    ExpectPass(6, {"timer off", "timer on"});  // its plot is that of a dataset no longer pending
    EXPECT_GT(CurrentSelection().datasets[1].cycles.RealCycles(), 4);
    recordings[2].AppendAll();
    ExpectPass(2, {"timer off", "grid 2"});
    EXPECT_TRUE(HasCurve("LEVEL2", "PVLSIG"));
    ExpectPass(2, {});  // nothing is recorded
}

TEST_F(ActionQueueTest, ReportsAStepThatFailsAndTakesItUpAgainAlthoughTheRecordingHasEnded) {
    SelectThree({true, false, false});
    EXPECT_TRUE(Pass(1));
    recordings[0].AppendAll();
    writesToFail = 4;
    EXPECT_FALSE(Pass(1));
    EXPECT_FALSE(ports.boxes.empty());
    EXPECT_NE(CurrentSelection().datasets[0].pendingFlag, 0);
    writesToFail = 0;
    ports.boxes.clear();
    ExpectPass(1, {"timer off", "grid 1"});
    EXPECT_TRUE(ports.boxes.empty());
    ExpectOneRun(Observe("LEVEL0"), CurvesOf(TestPlan{}));
}

TEST_F(ActionQueueTest, WhileAnotherAnalysisHoldsTheDatabaseAPassIsOwedAndSaidOnce) {
    SelectThree({true, false, false});
    EXPECT_TRUE(Pass(1));
    recordings[0].AppendAll();
    std::int32_t other = 0;
    ASSERT_EQ(LoadedLibraries().database.DBclaimA(DatabasePath().c_str(), "analysis", &other, nullptr),
              DK_OK);
    const std::string refusal = DatabasePath() + " is being analysed by process " + std::to_string(getpid());
    ports.statusTexts.clear();
    for (int pass = 0; pass < 30; ++pass)
        EXPECT_FALSE(Pass(1));
    EXPECT_EQ(ports.statusTexts, std::vector<std::string>{refusal + "; this pass is made up for later"});
    EXPECT_FALSE(WithAnalysisClaim([] { ADD_FAILURE(); }));
    EXPECT_TRUE(ports.TakeBox().text.starts_with(refusal));
    LoadedLibraries().database.DBunclaim(other);
    EXPECT_TRUE(WithAnalysisClaim([&] { EXPECT_TRUE(Pass(1)) << "a claim within the same claim"; }));
    EXPECT_EQ(ports.Text(), "");
    EXPECT_EQ(LoadedLibraries().database.DBclaimA(DatabasePath().c_str(), "analysis", &other, nullptr),
              DK_OK);
    LoadedLibraries().database.DBunclaim(other);
    ExpectOneRun(Observe("LEVEL0"), CurvesOf(TestPlan{}));
}

TEST_F(ActionQueueTest, FollowsWhatIsRecordedWithoutAWordWhereNothingCanBeDerived) {
    SelectThree({true, false, false});
    EXPECT_TRUE(Pass(1));
    CurrentSelection().choice.flow = "ZG_p";  // what is derived from the pressure curve
    const std::int32_t end = CurrentSelection().datasets[0].extentB;
    for (int pass = 0; pass < 3; ++pass) {
        recordings[0].Append(5);
        EXPECT_TRUE(Pass(5)) << pass;
        EXPECT_EQ(calls, (Calls{"plot 0", "timer on"}));
    }
    EXPECT_TRUE(ports.boxes.empty());
    EXPECT_EQ(CurrentSelection().datasets[0].extentB, end + 15 * CurrentSelection().datasets[0].step);
}

TEST_F(ActionQueueTest, GivesUpOnAFaultThatDoesNotPassOnceTheRecordingHasEnded) {
    SelectThree({true, false, false});
    recordings[0].AppendAll();
    writesToFail = 1000;
    int passes = 0;
    while (CurrentSelection().datasets[0].pendingFlag != 0 && ++passes < 100)
        EXPECT_FALSE(Pass(1));
    EXPECT_GT(passes, 3);
    EXPECT_LT(passes, 20);
    EXPECT_EQ(calls.front(), "timer off");
}

TEST_F(ActionQueueTest, KeepsTheWindowSelectedAsCyclesAreAdded) {
    SelectThree({true, false, false});
    EXPECT_TRUE(Pass(1));
    CycleRecord& cycles = CurrentSelection().datasets[0].cycles;
    const std::int32_t before = cycles.count;
    ASSERT_GT(before, 2);
    ASSERT_TRUE(ChooseCycle(0, static_cast<std::size_t>(before) - 1));
    recordings[0].Append(90);
    EXPECT_TRUE(Pass(1));
    EXPECT_GT(cycles.count, before);
    EXPECT_TRUE(cycles.IsWindow(cycles.selectedCycle));
    Select({"LEVEL0", "LEVEL1", "LEVEL2"});  // as after a restart: not the number that the window had
    const CycleRecord& again = CurrentSelection().datasets[0].cycles;
    EXPECT_TRUE(again.ShowsWindow());
    EXPECT_TRUE(ExtendDataset(0));
    EXPECT_TRUE(again.IsWindow(again.selectedCycle));
    ASSERT_TRUE(ChooseCycle(0, 1));
    recordings[0].AppendAll();
    EXPECT_TRUE(Pass(1));
    EXPECT_EQ(again.selectedCycle, 2);
}

}  // namespace
}  // namespace vorela::test
