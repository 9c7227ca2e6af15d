// Level, interval and quicklook values from hand-made cycle records; grids and export as bytes.

#include "analysis/CycleTexts.h"
#include "analysis/InterpretationFile.h"
#include "analysis/modComplex.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modMain.h"
#include "analysis/modQuicklook.h"
#include "db/DatasetRecord.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"
#include "tests/support/CommaLocale.h"

namespace vorela::test {
namespace {

using Row = std::vector<std::string>;

class Results : public SettingsFixture {
  protected:
    Results() {
        CurrentSelection() = Selection{};
        CurrentParameters() = ParameterSet{};
        ShownChoice() = CurrentChoice{};
        RefreshGrids();
    }

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

    static std::string Value(GridKind kind, std::size_t row) { return Grid(kind).cells.at(row).at(1); }
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
    const std::tuple<std::int32_t, double, double> cases[] = {
        {0, 0.05, 75.19},       {1, 0.05, 28 * area},
        {2, 0.05, 46.6 * area}, {3, 0.05, 0.445 * pi / 0.05 * area},
        {3, 0.0, 28 * area},    {7, 0.0, 28 * area}};
    for (const auto& [type, slope, factor] : cases) {
        CurrentParameters().spinner = type;
        CurrentParameters().slope = slope;
        ASSERT_TRUE(GetIntervalInformation());
        EXPECT_NEAR(*CurrentIntervals()[1].reservoirHpi, factor, 1e-9) << type;
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

TEST_F(Results, ThereAreNoIntervalsWhileALevelLacksACycleOrASelection) {
    AddLevel(9000, 1, 0);
    const auto none = [] { return GetIntervalInformation() && CurrentIntervals().empty(); };
    EXPECT_TRUE(GetIntervalInformation());
    EXPECT_EQ(IntervalCount(), 0U);
    CycleRecord& second = AddLevel(8000, 1, 10);
    EXPECT_FALSE(none());
    second.selectedCycle = 0;
    EXPECT_TRUE(none());
    EXPECT_THAT(ResultHints(), testing::ElementsAre("LEVEL2: no cycle is selected"));
    ResetCycles(second, 1);
    AppendCycle(second);
    EXPECT_TRUE(none());
    EXPECT_TRUE(ports.boxes.empty());
}

// Level 2's choice beyond its record moves level 1, not level 2: neither level 1's nor another cycle's
// numbers may stand for it.
TEST_F(Results, LevelWhoseChoiceHasNoResultsEmptiesTheRowsOfItsTwoIntervalsAloneAndIsTold) {
    for (const double depth : {9000.0, 8000.0, 7000.0, 6000.0, 5500.0})
        AddLevel(depth, 10 - depth / 1000, 30, depth == 8000 ? 3 : 8);
    CurrentParameters().compressibility = 0;
    CycleRecord& bad = CurrentSelection().datasets[1].cycles;
    bad.analysed[2] = 0;
    for (const auto& [choice, told] : {std::pair(3, "cycle 3 has no results"),
                                       {5, "there is no cycle 5, only 3"},
                                       {6, "there is no cycle 6, only 3"},
                                       {40, "there is no cycle 40, only 3"}}) {
        bad.selectedCycle = choice;
        EXPECT_TRUE(RefreshGrids());
        EXPECT_THAT(ResultHints(), testing::ElementsAre(std::string("LEVEL2: ") + told));
        EXPECT_FALSE(GetLevelOutputs(1).hpi);
        const ResultGrid& summary = Grid(GridKind::summary);
        ASSERT_EQ(summary.Rows(), 5U);
        EXPECT_EQ(summary.cells[1], (Row{"9000 to 8000", "", "", "", "", "", "", ""}));
        EXPECT_EQ(summary.cells[2], (Row{"8000 to 7000", "", "", "", "", "", "", ""}));
        EXPECT_EQ(summary.cells[3][1], "1") << "7000 to 6000";
        EXPECT_EQ(summary.cells[4][1], "0.5");
        EXPECT_NE(summary.cells[4][5], "");
    }
    EXPECT_EQ(ports.boxes, std::vector<ShownBox>{});
    bad.selectedCycle = 2;
    EXPECT_THAT(ResultHints(), testing::IsEmpty());
}

TEST_F(Results, IntervalWithoutPermeabilityLeavesTheOthersTheirsAndIsNamed) {
    for (const double lag : {0.0, 300.0, 0.0, 300.0, 20.0})  // degrees; k of interval 2 and 4 is negative
        AddLevel(9000, lag > 0 ? 2 : 1, -lag);
    CurrentParameters().compressibility = 0;
    EXPECT_FALSE(RefreshGrids());
    EXPECT_THAT(ports.TakeBox().text,
                testing::ContainsRegex("Interval .*: Invalid .*; Interval .*: Invalid "));
    const ResultGrid& summary = Grid(GridKind::summary);
    for (const std::size_t row : {1U, 2U, 3U, 4U})
        EXPECT_EQ(summary.cells[row][6].empty(), summary.cells[row][5][0] == '-') << row;
    EXPECT_NE(summary.cells[3][6] + summary.cells[4][6], "");
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
    EXPECT_EQ(summary.cells[1], (Row{"9000 to 8000", "1", "0", "", "", "", "", ""}));
    EXPECT_EQ(summary.cells[2], (Row{"8000 to 7000", "", "", "", "", "", "", ""}));
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
        parameters.intervals.assign(2, {1, porosity, 1, 1e-5, 10});
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
    const QuicklookRecord plain = Compute(2, 90);  // nothing is divided by the sine
    EXPECT_DOUBLE_EQ(*plain.permeability, 111 * 2 / 10.0);
    EXPECT_GT(*plain.skin, 1e12);
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
    struct Case {
        GridKind kind;
        std::size_t rows;
        std::vector<int> widths;
        std::vector<std::size_t> dark, pale;
    };
    const Case cases[] = {{GridKind::level, 21, {2800, 0}, {15}, {1, 6, 16, 18}},
                          {GridKind::interval, 21, {3200, 0}, {9}, {10}},
                          {GridKind::quicklook, 16, {3700, 0}, {}, {12}},
                          {GridKind::summary, 1, {1700, 1200, 1200, 1200, 1200, 1200, 1200, 1200}, {}, {}}};
    for (const auto& [kind, rows, widths, dark, pale] : cases) {
        ASSERT_EQ(Grid(kind).Rows(), rows);
        EXPECT_EQ(Grid(kind).widths, widths);
        for (const std::size_t row : dark)
            EXPECT_EQ(Grid(kind).shades[row], RowShade::buttonShadow) << rows << ", " << row;
        for (const std::size_t row : pale)
            EXPECT_EQ(Grid(kind).shades[row], RowShade::paleOrange) << rows << ", " << row;
    }
    EXPECT_EQ(Grid(GridKind::level).cells[levelCycleNumberRow], (Row{"Cycle number", ""}));
    EXPECT_EQ(Grid(GridKind::quicklook).cells[quicklookPorosityRow][0], "Porosity (v/v)");
}

TEST_F(Results, LevelGridShowsTheSelectedCycleTheWindowByNameAndEmptyCellsWithoutResults) {
    CycleRecord& cycles = AddLevel(9000, 0.02, -170.256, 3);
    CurrentSelection().datasets[0].pendingFlag = 1;
    cycles.selectedCycle = 2;
    ASSERT_TRUE(FillLevelGrid());
    const Row expected{"/data/well.dkb", "LEVEL1", "TRUE", "3", "", "2",   "240.3", "180",  "0.405", "12.5",
                       "250.8",          "300",    "2",    "",  "", "240", "",      "0.02", "-170.3"};
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(Value(GridKind::level, i + 2), expected[i]) << "row " << i + 2;
    ASSERT_TRUE(ChooseCycle(0, 3));
    EXPECT_EQ(Value(GridKind::level, levelCycleNumberRow), "Window");
    EXPECT_EQ(Value(GridKind::level, 8), "");
    EXPECT_EQ(Value(GridKind::level, 19), "0.02");
    EXPECT_EQ(CurrentParameters().intervals[0].cycleNo, windowCycleNumber);
    EXPECT_TRUE(cycles.windowSelected);
    cycles.analysed[0] = 0;
    cycles.valve[0] = cycles.pressure[0] = cycles.flow[0] = {};
    ASSERT_TRUE(ChooseCycle(0, 0));
    EXPECT_FALSE(cycles.windowSelected);
    EXPECT_EQ(Value(GridKind::level, 8), "240.3");
    for (const std::size_t row : {9U, 11U, 14U, 19U, 20U})
        EXPECT_EQ(Value(GridKind::level, row), "") << row;
    EXPECT_FALSE(ChooseCycle(0, 4));
    EXPECT_EQ(CycleChoices(0), (Row{"1", "2", "3", "Window"}));
    const auto rows = CycleInformationRows(0);
    ASSERT_EQ(rows.size(), 5U);
    EXPECT_EQ(rows[1], (Row{"1", "240.3", "", "", "", "", "", ""}));
    EXPECT_EQ(rows[2], (Row{"2", "240.3", "180", "12.5", "300", "0.405", "250.8", "2"}));
    EXPECT_EQ(rows[4].front(), "Window");
}

TEST_F(Results, SingleValueGridsShowTheChosenIntervalAndTheSpinnerTypeByName) {
    AddLevel(9000, 0, 0);
    AddLevel(8990, 0.02, 10);
    AddLevel(8980, 0.05, 30);
    CurrentParameters().spinner = 1;
    ParameterSet& parameters = CurrentParameters();
    parameters.compressibility = 0;
    parameters.intervals = {{1, 0.1, 1.1, 2.1, 7}, {1, 0.2, 1.2, 2.2, 8}, {1, 0.3, 1.3, 2.3, 9}};
    ShownChoice().interval = 2;
    ASSERT_TRUE(RefreshGrids());
    const std::pair<std::size_t, std::string> expected[] = {{2, "0.05"},   {3, "0.02"},        {11, "6"},
                                                            {12, "10000"}, {13, "8980"},       {15, "240"},
                                                            {16, "0"},     {17, "RTA-RTB-RTC"}};
    for (const auto& [row, text] : expected)
        EXPECT_EQ(Value(GridKind::interval, row), text);
    const std::pair<std::size_t, std::string> own[] = {{quicklookPorosityRow, "0.3"},
                                                       {quicklookViscosityRow, "1.3"},
                                                       {quicklookCompressibilityRow, "2.3"},
                                                       {quicklookHeightRow, "9"}};
    for (const auto& [row, text] : own)
        EXPECT_EQ(Value(GridKind::quicklook, row), text);
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
    const CommaLocale german;
    ASSERT_TRUE(RefreshGrids());
    const std::string commas = InterpretationText(',');
    const std::string tabs = InterpretationText('\t');
    EXPECT_TRUE(
        commas.starts_with("Corvane Vorela Quicklook Interpretation\r\n\r\n"
                           ",\r\r\nLevel information,\r\r\nDatabase,\"/data/a,\"\"b\"\".dkb\"\r\r\n"
                           "Dataset,LEVEL1\r\r\nRecording,FALSE\r\r\nNumber of cycles,2\r\r\n"));
    EXPECT_THAT(commas, HasSubstr("\r\nHarmonic productivity index (rps/psi),0.02\r\r\n"
                                  "Phase angle lag (degrees),10\r\r\n\r\n"));
    EXPECT_TRUE(
        commas.ends_with("Surface harmonic productivity index (bbl/day/psi),\r\r\n\r\n"
                         "Depth Interval,HPII,THI,HPIR,THR,k,S,HPIS\r\r\n\r\n"));
    EXPECT_THAT(tabs, HasSubstr("Database\t\"/data/a,\"\"b\"\".dkb\"\r\r\n"));
    EXPECT_THAT(tabs, HasSubstr("\r\nCycle period (seconds)\t240.3\r\r\n"));
}

TEST_F(Results, SavingAsksWithTheFilterWritesBySeparatorAndTellsTheFile) {
    EXPECT_FALSE(SaveInterpretation()) << "cancelled";
    EXPECT_TRUE(ports.boxes.empty());
    EXPECT_EQ(ports.saveRequests.at(0).title, "Save Vorela Interpretation");
    EXPECT_EQ(ports.saveRequests[0].filter, "CSV File (*.csv)|*.csv|Text File (*.txt)|*.txt|");
    EXPECT_EQ(ports.saveRequests[0].filterIndex, 1);
    AddLevel(9000, 0.02, 10);
    ports.saveFileAnswer = SaveFileChoice{folder.File("out.txt"), 2};
    ASSERT_TRUE(SaveInterpretation());
    EXPECT_EQ(ReadAll(folder.File("out.txt")), InterpretationText('\t'));
    EXPECT_THAT(ReadAll(folder.File("out.txt")), HasSubstr("LEVEL1")) << "as the data stand now";
    EXPECT_EQ(ports.TakeBox(), (ShownBox{MessageIcon::information, "Vorela Interpretation",
                                         "Created " + folder.File("out.txt")}));
    ports.saveFileAnswer = SaveFileChoice{folder.File("absent/out.csv"), 1};
    EXPECT_FALSE(SaveInterpretation());
    EXPECT_THAT(ports.TakeBox().text, HasSubstr("Saving data: "));
}

}  // namespace
}  // namespace vorela::test
