#include "analysis/modMain.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "analysis/CycleTexts.h"
#include "analysis/ValueHistory.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modQuicklook.h"
#include "db/DatasetRecord.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr std::size_t valueColumn = 1;

std::array<ResultGrid, 4>& Grids() {
    static std::array<ResultGrid, 4> grids{EmptyGrid(GridKind::level), EmptyGrid(GridKind::interval),
                                           EmptyGrid(GridKind::quicklook), EmptyGrid(GridKind::summary)};
    return grids;
}

std::string CellText(double value) {
    return FormatNumber(value);
}
std::string CellText(const std::optional<double>& value) {
    return value ? FormatNumber(*value) : std::string();
}

/// Writes value cells from a row on, one below the other.
void PutValues(ResultGrid& grid, std::size_t firstRow, const std::vector<std::string>& texts) {
    for (std::size_t i = 0; i < texts.size(); ++i)
        grid.cells.at(firstRow + i).at(valueColumn) = texts[i];
}

void FillLevel(ResultGrid& grid, std::size_t dataset) {
    const DatasetRecord& record = CurrentSelection().datasets[dataset];
    const CycleRecord& cycles = record.cycles;
    PutValues(grid, 2,
              {record.database, record.dataset, record.IsRecorded() ? "TRUE" : "FALSE",
               std::to_string(cycles.RealCycles())});
    PutValues(grid, levelCycleNumberRow, {SelectedCycleText(cycles)});
    if (const auto entry = SelectedEntry(dataset))
        PutValues(grid, 8, EntryTexts(cycles, *entry));
    PutValues(grid, 17, {CellText(CurrentParameters().period)});
    const LevelOutputs outputs = GetLevelOutputs(dataset);
    PutValues(grid, 19, {CellText(outputs.hpi), CellText(outputs.phaseLag)});
}

std::string SpinnerTypeText(int type) {
    const auto& types = SpinnerTypes();
    const bool known = type >= 0 && static_cast<std::size_t>(type) < types.size();
    return known ? types[static_cast<std::size_t>(type)].name : std::to_string(type);
}

void FillInterval(ResultGrid& grid, const IntervalRecord& interval) {
    if (!interval.hasInputs)
        return;
    PutValues(grid, 2,
              {CellText(interval.hpi1), CellText(interval.hpi2), CellText(interval.phase1),
               CellText(interval.phase2)});
    PutValues(grid, 7, {CellText(interval.intervalHpi), CellText(interval.intervalPhase)});
    PutValues(grid, 11,
              {CellText(interval.casingID), CellText(interval.totalDepth), CellText(interval.depth1),
               CellText(interval.depth2), CellText(interval.period), CellText(interval.compressibility),
               SpinnerTypeText(interval.spinnerType)});
    PutValues(grid, 19, {CellText(interval.reservoirHpi), CellText(interval.reservoirPhase)});
}

void FillQuicklook(ResultGrid& grid, const QuicklookRecord& record) {
    PutValues(grid, 2, {CellText(record.reservoirHpi), CellText(record.reservoirPhase)});
    PutValues(grid, quicklookPorosityRow,
              {CellText(record.porosity), CellText(record.viscosity), CellText(record.compressibility),
               CellText(record.b0), CellText(record.height), CellText(record.period),
               CellText(record.boreholeDiameter)});
    PutValues(grid, 13, {CellText(record.permeability), CellText(record.skin), CellText(record.surfaceHpi)});
}

void FillSummary(ResultGrid& grid) {
    const auto& intervals = CurrentIntervals();
    const auto& quicklook = CurrentQuicklook();
    for (std::size_t i = 1; i < intervals.size(); ++i) {
        const IntervalRecord& interval = intervals[i];
        const QuicklookRecord values = i < quicklook.size() ? quicklook[i] : QuicklookRecord{};
        grid.cells.push_back({interval.label, CellText(interval.intervalHpi),
                              CellText(interval.intervalPhase), CellText(interval.reservoirHpi),
                              CellText(interval.reservoirPhase), CellText(values.permeability),
                              CellText(values.skin), CellText(values.surfaceHpi)});
        grid.shades.push_back(RowShade::none);
    }
}

/// The selection may have changed since the per-interval parameters were read.
void MatchParametersToSelection() {
    const std::size_t count = CurrentSelection().datasets.size();
    if (count > 0 && CurrentParameters().intervals.size() != count)
        ResizeIntervalArrays();
}

/// Fills a grid from results that stand already. The captions alone where there is nothing to show.
bool FillFromResults(GridKind kind) {
    return Attempt(SetUpStep(kind), [kind] {
        ResultGrid grid = EmptyGrid(kind);
        const CurrentChoice& shown = ShownChoice();
        switch (kind) {
            case GridKind::level:
                if (shown.dataset < CurrentSelection().datasets.size())
                    FillLevel(grid, shown.dataset);
                break;
            case GridKind::interval:
                if (shown.interval >= 1 && shown.interval <= IntervalCount())
                    FillInterval(grid, CurrentIntervals()[shown.interval]);
                break;
            case GridKind::quicklook:
                if (shown.interval >= 1 && shown.interval < CurrentQuicklook().size())
                    FillQuicklook(grid, CurrentQuicklook()[shown.interval]);
                break;
            case GridKind::summary:
                FillSummary(grid);
                break;
        }
        Grid(kind) = std::move(grid);
    });
}

bool ComputeResults() {
    MatchParametersToSelection();
    const bool intervals = GetIntervalInformation();
    return GetQuicklookInformation() && intervals;
}

bool ComputeAndFill(GridKind kind) {
    const bool computed = ComputeResults();
    return FillFromResults(kind) && computed;
}

}  // namespace

ResultGrid& Grid(GridKind kind) {
    return Grids()[static_cast<std::size_t>(kind) - 1];
}

bool SetUpGrid(GridKind kind) {
    const StatusScope status(SetUpStep(kind));
    return Attempt(SetUpStep(kind), [kind] { Grid(kind) = EmptyGrid(kind); });
}

CurrentChoice& ShownChoice() {
    static CurrentChoice choice;
    return choice;
}

bool FillLevelGrid() {
    MatchParametersToSelection();
    return FillFromResults(GridKind::level);
}
bool FillIntervalGrid() {
    return ComputeAndFill(GridKind::interval);
}
bool FillQuicklookGrid() {
    return ComputeAndFill(GridKind::quicklook);
}
bool FillSummaryGrid() {
    return ComputeAndFill(GridKind::summary);
}

// The results are computed once for all four grids, so that an error in them is told once.
bool RefreshGrids() {
    bool allWell = ComputeResults();
    for (const GridKind kind : gridKinds)
        allWell = FillFromResults(kind) && allWell;
    return allWell;
}

bool ChooseCycle(std::size_t dataset, std::size_t entry) {
    if (dataset >= CurrentSelection().datasets.size())
        return false;
    CycleRecord& cycles = CurrentSelection().datasets[dataset].cycles;
    if (cycles.count <= 0 || entry >= static_cast<std::size_t>(cycles.count))
        return false;
    const std::int32_t before = cycles.ShowsWindow() ? windowCycleNumber : cycles.selectedCycle;
    const std::int32_t number = static_cast<std::int32_t>(entry) + 1;
    SelectCycle(cycles, cycles.IsWindow(number) ? windowCycleNumber : number);
    const std::int32_t chosen = cycles.windowSelected ? windowCycleNumber : number;
    SetCycleNumber(dataset, chosen);
    NoteCycleChoice(dataset, before, chosen);
    return FillLevelGrid();
}

}  // namespace vorela
