// Level, interval and quicklook values from hand-made cycle records; grids and export as bytes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>

#include "analysis/modComplex.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modMain.h"
#include "analysis/modQuicklook.h"
#include "db/DatasetRecord.h"
#include "general/RunTimeError.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

class Results : public ::testing::Test {
  protected:
    void SetUp() override {
        SetSettingsFilePath(folder.File("Vorela.ini"));
        CurrentSelection() = Selection{};
        CurrentParameters() = ParameterSet{};
        ShownChoice() = CurrentChoice{};
        RefreshGrids();
    }
    void TearDown() override { CurrentSelection() = Selection{}; }

    /// A level with `real` cycles and the window, every entry with this ratio (rps/psi) and lag (degrees).
    CycleRecord& AddLevel(double depth, double ratio, double lag, std::int32_t real = 2) {
        DatasetRecord record;
        record.database = "/data/well.dkb";
        record.dataset = "LEVEL" + std::to_string(CurrentSelection().datasets.size() + 1);
        record.sortKey = depth;
        for (std::size_t i = 0; i <= static_cast<std::size_t>(real); ++i) {
            AppendCycle(record.cycles);
            record.cycles.ratio[i] = ratio;
            record.cycles.phaseLag[i] = lag;
            record.cycles.period[i] = 240.25;
            record.cycles.valve[i] = {180, 0.405};
            record.cycles.pressure[i] = {12.5, 250.75};
            record.cycles.flow[i] = {300, 2};
            record.cycles.analysed[i] = 1;
        }
        CurrentSelection().datasets.push_back(record);
        ResizeIntervalArrays();
        return CurrentSelection().datasets.back().cycles;
    }

    std::string Value(GridKind kind, std::size_t row) { return Grid(kind).cells.at(row).at(1); }

    TempFolder folder;
    ScriptedPorts ports;
};

TEST_F(Results, IntervalIsTheComplexDifferenceAndTheReservoirTakesOffStorageFromTheImaginaryPart) {
    AddLevel(9000, 0.02, 10);
    AddLevel(8000, 0.05, 30);
    CurrentParameters().spinner = 1;
    CurrentParameters().compressibility = 1e-5;
    ASSERT_TRUE(GetIntervalInformation());
    ASSERT_EQ(IntervalCount(), 1U);
    const IntervalRecord& interval = CurrentIntervals()[1];
    EXPECT_EQ(interval.label, "9000 to 8000");
    // 0.05∠30° − 0.02∠10° by hand: 0.043301270 − 0.019696155, 0.025 − 0.003472964.
    EXPECT_NEAR(*interval.intervalHpi, 0.0319470618, 1e-9);
    EXPECT_NEAR(*interval.intervalPhase, 42.3637175, 1e-6);
    // × 28·(36 − 2.84765625); storage (V1 − V2)·ω = 0.178π·1e-5·1000·(6/24)²·(2π·24·15) bbl/day/psi.
    const double factor = 28 * (36 - 2.84765625);
    const double storage = 0.178 * pi * 1e-5 * 1000 * 0.0625 * (2 * pi * 360);
    const double re = factor * (0.0433012702 - 0.0196961551);
    const double im = factor * (0.025 - 0.0034729636) - storage;
    EXPECT_NEAR(storage, 0.79056, 1e-4);
    EXPECT_NEAR(*interval.reservoirHpi, std::hypot(re, im), 1e-6);
    EXPECT_NEAR(*interval.reservoirPhase, RadiansToDegrees(std::atan2(im, re)), 1e-6);
}

TEST_F(Results, SpinnerTypesConvertWithTheirOwnFactors) {
    AddLevel(9000, 0, 0);
    AddLevel(9000, 1, 0);
    AddLevel(9000, 1, 0);  // equal levels: an interval of zero at zero degrees
    const double area = 36 - 1.6875 * 1.6875;
    struct Case {
        std::int32_t type;
        double slope, factor;
    };
    for (const Case& c : {Case{0, 0.05, 75.19},
                          {1, 0.05, 28 * area},
                          {2, 0.05, 46.6 * area},
                          {3, 0.05, 0.445 * pi / 0.05 * area},
                          {3, 0, 28 * area},
                          {7, 0, 28 * area}}) {
        CurrentParameters().spinner = c.type;
        CurrentParameters().slope = c.slope;
        ASSERT_TRUE(GetIntervalInformation());
        EXPECT_NEAR(*CurrentIntervals()[1].reservoirHpi, c.factor, 1e-9) << c.type;
        EXPECT_EQ(*CurrentIntervals()[1].reservoirPhase, 0);
        EXPECT_EQ(*CurrentIntervals()[2].intervalHpi, 0);
        EXPECT_EQ(*CurrentIntervals()[2].intervalPhase, 0);
    }
}

TEST_F(Results, StatusLineNamesTheWorkAndThenShowsWhatStoodThere) {
    ports.statusTexts = {"before"};
    RefreshGrids();
    SetUpGrid(GridKind::level);
    SetUpGrid(GridKind::quicklook);
    SetUpGrid(GridKind::summary);
    EXPECT_THAT(ports.statusTexts,
                testing::ElementsAre("before", "Getting interval information", "before",
                                     "Getting quicklook information", "before", "Setting up level flexgrid",
                                     "before", "Setting up signal flexgrid", "before",
                                     "Setting up summary flexgrid", "before"));
}

TEST_F(Results, ThereAreNoIntervalsWhileALevelLacksACycleASelectionOrResults) {
    AddLevel(9000, 1, 0);
    const auto none = [] { return GetIntervalInformation() && CurrentIntervals().empty(); };
    EXPECT_TRUE(GetIntervalInformation());
    EXPECT_EQ(IntervalCount(), 0U);
    CycleRecord& second = AddLevel(8000, 1, 10);
    EXPECT_FALSE(none());
    second.selectedCycle = 0;
    EXPECT_TRUE(none());
    second.selectedCycle = 1;
    second.analysed[0] = 0;
    EXPECT_TRUE(none());
    EXPECT_FALSE(GetLevelOutputs(1).hpi);
    ResetCycles(second, 1);
    AppendCycle(second);
    EXPECT_TRUE(none());
    EXPECT_TRUE(ports.boxes.empty());
}

// Level 2's choice beyond its record moves level 1, not level 2: the interval is told as an error instead of
// being shown with the numbers of another cycle.
TEST_F(Results, CrosswiseLimitEndsWithASubscriptErrorAndLevel1sOwnLimitWithTheBlankEntry) {
    AddLevel(9000, 1, 0, 3);
    for (const std::int32_t real : {8, 3}) {  // level 1 is put at a cycle, at its blank entry
        CurrentSelection().datasets.resize(1);
        CurrentSelection().datasets[0].cycles.selectedCycle = 6;  // level 2 of the interval: count 4
        AddLevel(8000, 2, 0, real);
        EXPECT_FALSE(GetIntervalInformation());
        EXPECT_EQ(ports.boxes.back().text,
                  "Error #9 was generated by modIntervalInfo\rGetting interval information: "
                  "Interval 9000 to 8000: Subscript out of range");
        EXPECT_EQ(IntervalCount(), 1U);
        EXPECT_FALSE(CurrentIntervals()[1].intervalHpi);
    }
    CurrentSelection().datasets[0].cycles.selectedCycle = 1;
    CurrentSelection().datasets[1].cycles.selectedCycle = 40;
    EXPECT_TRUE(GetIntervalInformation()) << "limited to the blank entry, which has no results";
    EXPECT_EQ(IntervalCount(), 0U);
}

TEST_F(Results, PeriodOfZeroEndsTheComputationAndKeepsWhatWasReached) {
    AddLevel(9000, 1, 0);
    AddLevel(8000, 2, 0);
    AddLevel(7000, 4, 0);
    CurrentParameters().period = 0;
    EXPECT_FALSE(RefreshGrids());
    EXPECT_EQ(ports.boxes.size(), 1U) << "told once, not by every grid";
    EXPECT_TRUE(CurrentIntervals()[1].intervalHpi);
    EXPECT_FALSE(CurrentIntervals()[1].reservoirHpi);
    EXPECT_FALSE(CurrentIntervals()[2].intervalHpi);
    const ResultGrid& summary = Grid(GridKind::summary);
    ASSERT_EQ(summary.Rows(), 3U);
    EXPECT_EQ(summary.cells[1], (std::vector<std::string>{"9000 to 8000", "1", "0", "", "", "", "", ""}));
    EXPECT_EQ(summary.cells[2], (std::vector<std::string>{"8000 to 7000", "", "", "", "", "", "", ""}));
}

class Quicklook : public Results {
  protected:
    /// The outputs for one interval of this reservoir index.
    QuicklookRecord Compute(double hpi, double phase) {
        if (CurrentSelection().datasets.empty()) {
            AddLevel(9000, 1, 0);
            AddLevel(8990, 2, 0);
        }
        ParameterSet& parameters = CurrentParameters();
        parameters.porosity.assign(2, porosity);
        parameters.viscosity.assign(2, 1);
        parameters.ct.assign(2, 1e-5);
        parameters.height.assign(2, 10);
        parameters.dw = 8.5;
        GetIntervalInformation();
        CurrentIntervals()[1].reservoirHpi = hpi;
        CurrentIntervals()[1].reservoirPhase = phase;
        succeeded = GetQuicklookInformation();
        return CurrentQuicklook().at(1);
    }
    double porosity = 0.2;
    bool succeeded = false;
};

// A layer of 100 mD and skin 5 by the exact solution: the formula's own error is what is left in k.
TEST_F(Quicklook, KnownLayerGivesThePermeabilityAndTheSkinOfTheFormula) {
    const QuicklookRecord record = Compute(0.817586640, 5.152479);
    ASSERT_TRUE(succeeded);
    EXPECT_NEAR(*record.permeability, 101.053, 5e-4);
    EXPECT_NEAR(*record.skin, -3.5525, 5e-5);
    EXPECT_DOUBLE_EQ(*record.surfaceHpi, 0.817586640);
}

TEST_F(Quicklook, PhaseOf90DegreesGivesThePlainFormula) {
    const QuicklookRecord record = Compute(2, 90);
    EXPECT_DOUBLE_EQ(*record.permeability, 111 * 2 / 10.0);
    EXPECT_GT(*record.skin, 1e12);
}

TEST_F(Quicklook, ErrorKeepsWhatWasReachedAndLeavesTheRestEmpty) {
    QuicklookRecord record = Compute(1, -30);
    EXPECT_FALSE(succeeded);
    EXPECT_NEAR(*record.permeability, -22.2, 1e-9) << "negative, as computed";
    EXPECT_FALSE(record.skin);
    EXPECT_FALSE(record.surfaceHpi);
    EXPECT_EQ(CurrentError().number, error_number::invalidProcedureCall);
    record = Compute(1, 0);
    EXPECT_FALSE(record.permeability);
    EXPECT_EQ(CurrentError().number, error_number::divisionByZero);
    porosity = 0;
    EXPECT_FALSE(Compute(1, 30).skin);
    EXPECT_EQ(CurrentError().number, error_number::divisionByZero);
    porosity = 0.2;
    CurrentParameters().b0 = 0;
    record = Compute(1, 30);
    EXPECT_TRUE(record.skin);
    EXPECT_FALSE(record.surfaceHpi);
}

TEST_F(Results, GridsHaveTheirCaptionsShadesAndWidthsBeforeThereIsAnythingToShow) {
    const auto shadesAt = [](const ResultGrid& grid, const std::vector<std::size_t>& rows, RowShade shade) {
        return std::ranges::all_of(rows, [&](std::size_t row) { return grid.shades[row] == shade; });
    };
    const ResultGrid& level = Grid(GridKind::level);
    ASSERT_EQ(level.Rows(), 21U);
    EXPECT_EQ(level.widths, (std::vector<int>{2800, 0}));
    EXPECT_EQ(level.cells[levelCycleNumberRow], (std::vector<std::string>{"Cycle number", ""}));
    EXPECT_TRUE(shadesAt(level, {15}, RowShade::buttonShadow));
    EXPECT_TRUE(shadesAt(level, {1, 6, 16, 18}, RowShade::paleOrange));
    const ResultGrid& interval = Grid(GridKind::interval);
    ASSERT_EQ(interval.Rows(), 21U);
    EXPECT_EQ(interval.widths.front(), 3200);
    EXPECT_TRUE(shadesAt(interval, {9}, RowShade::buttonShadow));
    EXPECT_TRUE(shadesAt(interval, {10}, RowShade::paleOrange));
    const ResultGrid& quicklook = Grid(GridKind::quicklook);
    ASSERT_EQ(quicklook.Rows(), 16U);
    EXPECT_EQ(quicklook.widths.front(), 3700);
    EXPECT_EQ(quicklook.cells[quicklookPorosityRow][0], "Porosity (v/v)");
    EXPECT_TRUE(shadesAt(quicklook, {12}, RowShade::paleOrange));
    EXPECT_EQ(Grid(GridKind::summary).Rows(), 1U);
    EXPECT_EQ(Grid(GridKind::summary).widths,
              (std::vector<int>{1700, 1200, 1200, 1200, 1200, 1200, 1200, 1200}));
}

TEST_F(Results, LevelGridShowsTheSelectedCycleTheWindowByNameAndEmptyCellsWithoutResults) {
    CycleRecord& cycles = AddLevel(9000, 0.02, -170.256, 3);
    CurrentSelection().datasets[0].pendingFlag = 1;
    cycles.selectedCycle = 2;
    ASSERT_TRUE(FillLevelGrid());
    const std::vector<std::string> expected{
        "/data/well.dkb", "LEVEL1", "TRUE", "3", "", "2",   "240.3", "180",  "0.405", "12.5",
        "250.8",          "300",    "2",    "",  "", "240", "",      "0.02", "-170.3"};
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(Value(GridKind::level, i + 2), expected[i]) << "row " << i + 2;
    ASSERT_TRUE(ChooseCycle(0, 3));
    EXPECT_EQ(Value(GridKind::level, levelCycleNumberRow), "Window");
    EXPECT_EQ(Value(GridKind::level, 8), "");
    EXPECT_EQ(Value(GridKind::level, 19), "0.02");
    EXPECT_EQ(CurrentParameters().cycleNo[0], 4);
    EXPECT_TRUE(cycles.windowSelected);
    cycles.analysed[0] = 0;
    cycles.valve[0] = cycles.pressure[0] = cycles.flow[0] = {};
    ASSERT_TRUE(ChooseCycle(0, 0));
    EXPECT_FALSE(cycles.windowSelected);
    EXPECT_EQ(Value(GridKind::level, 8), "240.3");
    for (const std::size_t row : {9U, 11U, 14U, 19U, 20U})
        EXPECT_EQ(Value(GridKind::level, row), "") << row;
    EXPECT_FALSE(ChooseCycle(0, 4));
    EXPECT_EQ(CycleChoices(0), (std::vector<std::string>{"1", "2", "3", "Window"}));
    const auto rows = CycleInformationRows(0);
    ASSERT_EQ(rows.size(), 5U);
    EXPECT_EQ(rows[1], (std::vector<std::string>{"1", "240.3", "", "", "", "", "", ""}));
    EXPECT_EQ(rows[2], (std::vector<std::string>{"2", "240.3", "180", "12.5", "300", "0.405", "250.8", "2"}));
    EXPECT_EQ(rows[4].front(), "Window");
}

TEST_F(Results, SingleValueGridsShowTheChosenIntervalAndTheSpinnerTypeByName) {
    AddLevel(9000, 0, 0);
    AddLevel(8990, 0.02, 10);
    AddLevel(8980, 0.05, 30);
    CurrentParameters().spinner = 1;
    CurrentParameters().compressibility = 0;
    ShownChoice().interval = 2;
    ASSERT_TRUE(RefreshGrids());
    EXPECT_EQ(Value(GridKind::interval, 2), "0.05");
    EXPECT_EQ(Value(GridKind::interval, 3), "0.02");
    EXPECT_EQ(Value(GridKind::interval, 13), "8980");
    EXPECT_EQ(Value(GridKind::interval, 16), "0");
    EXPECT_EQ(Value(GridKind::interval, 17), "RTA-RTB-RTC");
    EXPECT_EQ(Value(GridKind::quicklook, quicklookHeightRow), "10");
    EXPECT_EQ(Value(GridKind::quicklook, 2), Value(GridKind::interval, 19));
    EXPECT_EQ(Grid(GridKind::summary).cells[2][5], Value(GridKind::quicklook, 13));
    ShownChoice().interval = 3;
    ASSERT_TRUE(RefreshGrids());
    EXPECT_EQ(Value(GridKind::interval, 17), "");
    EXPECT_EQ(Value(GridKind::quicklook, quicklookHeightRow), "");
}

TEST_F(Results, ExportedRowsEndInAReturnOfTheirOwnAndOnlySeparatedCellsAreQuoted) {
    AddLevel(9000, 0.02, 10);
    CurrentSelection().datasets[0].database = "/data/a,\"b\".dkb";
    const char* before = std::setlocale(LC_ALL, "de_DE.UTF-8");
    ASSERT_TRUE(RefreshGrids());
    const std::string commas = InterpretationText(',');
    const std::string tabs = InterpretationText('\t');
    if (before != nullptr)
        std::setlocale(LC_ALL, "C");
    EXPECT_TRUE(
        commas.starts_with("Corvane Vorela Quicklook Interpretation\r\n\r\n"
                           ",\r\r\nLevel information,\r\r\nDatabase,\"/data/a,\"\"b\"\".dkb\"\r\r\n"
                           "Dataset,LEVEL1\r\r\nRecording,FALSE\r\r\nNumber of cycles,2\r\r\n"));
    EXPECT_NE(
        commas.find(
            "\r\nHarmonic productivity index (rps/psi),0.02\r\r\nPhase angle lag (degrees),10\r\r\n\r\n"),
        std::string::npos);
    EXPECT_TRUE(
        commas.ends_with("Surface harmonic productivity index (bbl/day/psi),\r\r\n\r\n"
                         "Depth Interval,HPII,THI,HPIR,THR,k,S,HPIS\r\r\n\r\n"));
    EXPECT_NE(tabs.find("Database\t\"/data/a,\"\"b\"\".dkb\"\r\r\n"), std::string::npos);
    EXPECT_NE(tabs.find("\r\nCycle period (seconds)\t240.3\r\r\n"), std::string::npos);
}

TEST_F(Results, SavingAsksWithTheFilterWritesBySeparatorAndTellsTheFile) {
    EXPECT_FALSE(SaveInterpretation()) << "cancelled";
    EXPECT_TRUE(ports.boxes.empty());
    ASSERT_EQ(ports.saveRequests.size(), 1U);
    EXPECT_EQ(ports.saveRequests[0].title, "Save Vorela Interpretation");
    EXPECT_EQ(ports.saveRequests[0].filter, "CSV File (*.csv)|*.csv|Text File (*.txt)|*.txt|");
    EXPECT_EQ(ports.saveRequests[0].filterIndex, 1);
    AddLevel(9000, 0.02, 10);
    ports.saveFileAnswer = SaveFileChoice{folder.File("out.txt"), 2};
    ASSERT_TRUE(SaveInterpretation());
    EXPECT_EQ(ReadAll(folder.File("out.txt")), InterpretationText('\t'));
    EXPECT_NE(ReadAll(folder.File("out.txt")).find("LEVEL1"), std::string::npos) << "as the data stand now";
    ASSERT_EQ(ports.boxes.size(), 1U);
    EXPECT_EQ(ports.boxes[0].title, "Vorela Interpretation");
    EXPECT_EQ(ports.boxes[0].text, "Created " + folder.File("out.txt"));
    ports.saveFileAnswer = SaveFileChoice{folder.File("absent/out.csv"), 1};
    EXPECT_FALSE(SaveInterpretation());
    EXPECT_NE(ports.boxes.back().text.find("Saving data: "), std::string::npos);
}

}  // namespace
}  // namespace vorela::test
