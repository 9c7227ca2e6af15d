#include "analysis/modMain.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "analysis/ValueHistory.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modQuicklook.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "general/AtomicFile.h"
#include "general/CheckedMath.h"
#include "general/DelimitedText.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr std::size_t valueColumn = 1;
constexpr const char* windowText = "Window";

/// A row of a two-column grid as it is set up.
struct CaptionRow {
    const char* caption;
    RowShade shade = RowShade::none;
};
constexpr RowShade rule = RowShade::buttonShadow;
constexpr RowShade section = RowShade::paleOrange;

constexpr std::array<CaptionRow, 21> levelRows{{
    {"", rule},
    {"Level information", section},
    {"Database"},
    {"Dataset"},
    {"Recording"},
    {"Number of cycles"},
    {"Cycle information", section},
    {"Cycle number"},
    {"Cycle period (seconds)"},
    {"Valve phase (degrees)"},
    {"Valve amplitude"},
    {"Pressure phase (degrees)"},
    {"Pressure amplitude (psi)"},
    {"Flow phase (degrees)"},
    {"Flow amplitude (rps)"},
    {"", rule},
    {"Level parameters", section},
    {"Period of test (seconds)"},
    {"Level outputs", section},
    {"Harmonic productivity index (rps/psi)"},
    {"Phase angle lag (degrees)"},
}};

constexpr std::array<CaptionRow, 21> intervalRows{{
    {"", rule},
    {"Interval information", section},
    {"Harmonic productivity index 1 (rps/psi)"},
    {"Harmonic productivity index 2 (rps/psi)"},
    {"Phase angle lag 1 (degrees)"},
    {"Phase angle lag 2 (degrees)"},
    {"Interval outputs", section},
    {"Harmonic productivity index (rps/psi)"},
    {"Phase angle (degrees)"},
    {"", rule},
    {"Reservoir parameters", section},
    {"Casing internal diameter (inches)"},
    {"Total open depth (ft)"},
    {"Level depth 1 (ft)"},
    {"Level depth 2 (ft)"},
    {"Period of test (seconds)"},
    {"Compressibility of fluid in well (1/psi)"},
    {"Spinner type"},
    {"Reservoir outputs", section},
    {"Harmonic productivity index (bbl/day/psi)"},
    {"Phase angle (degrees)"},
}};

constexpr std::array<CaptionRow, 16> quicklookRows{{
    {"", rule},
    {"Reservoir information", section},
    {"Harmonic productivity index (bbl/day/psi)"},
    {"Phase angle (degrees)"},
    {"Reservoir parameters", section},
    {"Porosity (v/v)"},
    {"Fluid viscosity (cP)"},
    {"Fluid compressibility (1/psi)"},
    {"Formation volume factor (rb/stb)"},
    {"Height (ft)"},
    {"Period of test (seconds)"},
    {"Borehole diameter (inches)"},
    {"Reservoir outputs", section},
    {"Permeability (mD)"},
    {"Skin factor"},
    {"Surface harmonic productivity index (bbl/day/psi)"},
}};

constexpr int levelCaptionWidth = 2800;      // twips
constexpr int intervalCaptionWidth = 3200;   // twips
constexpr int quicklookCaptionWidth = 3700;  // twips
constexpr int summaryLabelWidth = 1700;      // twips
constexpr int summaryValueWidth = 1200;      // twips

template <std::size_t Count>
ResultGrid TwoColumns(const std::array<CaptionRow, Count>& rows, int captionWidth) {
    ResultGrid grid;
    grid.widths = {captionWidth, 0};
    for (const CaptionRow& row : rows) {
        grid.cells.push_back({row.caption, ""});
        grid.shades.push_back(row.shade);
    }
    return grid;
}

ResultGrid EmptySummary() {
    ResultGrid grid;
    grid.widths.assign(SummaryCodes().size(), summaryValueWidth);
    grid.widths.front() = summaryLabelWidth;
    grid.cells.emplace_back(SummaryCodes().begin(), SummaryCodes().end());
    grid.shades.push_back(RowShade::none);
    return grid;
}

ResultGrid EmptyGrid(GridKind kind) {
    switch (kind) {
        case GridKind::level:
            return TwoColumns(levelRows, levelCaptionWidth);
        case GridKind::interval:
            return TwoColumns(intervalRows, intervalCaptionWidth);
        case GridKind::quicklook:
            return TwoColumns(quicklookRows, quicklookCaptionWidth);
        case GridKind::summary:
            break;
    }
    return EmptySummary();
}

const char* SetUpStep(GridKind kind) {
    switch (kind) {
        case GridKind::level:
            return step::settingUpLevelGrid;
        case GridKind::interval:
        case GridKind::quicklook:
            return step::settingUpSignalGrid;
        case GridKind::summary:
            break;
    }
    return step::settingUpSummaryGrid;
}

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

/// What the record holds at an entry, as texts: period, then phase and amplitude of valve, pressure and flow.
std::vector<std::string> EntryTexts(const CycleRecord& cycles, std::size_t entry) {
    // The window is taken as one period of whatever length: it has no measured one.
    const bool isWindow = cycles.IsWindow(static_cast<std::int32_t>(entry) + 1);
    std::vector<std::string> texts{isWindow ? std::string() : CellText(cycles.period[entry])};
    const auto put = [&](const Harmonic& harmonic, bool known) {
        texts.push_back(known ? CellText(harmonic.phase) : std::string());
        texts.push_back(known ? CellText(harmonic.magnitude) : std::string());
    };
    const bool analysed = cycles.analysed[entry] != 0;
    put(cycles.valve[entry], analysed || cycles.valve[entry].magnitude > 0.0);
    put(cycles.pressure[entry], analysed);
    put(cycles.flow[entry], analysed);
    return texts;
}

void FillLevel(ResultGrid& grid, std::size_t dataset) {
    const DatasetRecord& record = CurrentSelection().datasets[dataset];
    const CycleRecord& cycles = record.cycles;
    PutValues(grid, 2,
              {record.database, record.dataset, record.pendingFlag != 0 ? "TRUE" : "FALSE",
               std::to_string(cycles.RealCycles())});
    PutValues(grid, levelCycleNumberRow,
              {cycles.ShowsWindow() ? windowText : std::to_string(cycles.selectedCycle)});
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

const std::array<const char*, 4>& TabNames() {
    static constexpr std::array<const char*, 4> names{"Level", "Interval", "Quicklook", "Summary"};
    return names;
}

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
    for (const GridKind kind : {GridKind::level, GridKind::interval, GridKind::quicklook, GridKind::summary})
        allWell = FillFromResults(kind) && allWell;
    return allWell;
}

const std::array<const char*, 8>& SummaryCodes() {
    static constexpr std::array<const char*, 8> codes{
        "Depth Interval", "HPII", "THI", "HPIR", "THR", "k", "S", "HPIS"};
    return codes;
}

const std::array<const char*, 8>& SummaryMeanings() {
    static constexpr std::array<const char*, 8> meanings{
        "",
        "Harmonic productivity index for interval (rps/psi)",
        "Phase angle for interval (degrees)",
        "Harmonic productivity index for reservoir (bbl/day/psi)",
        "Phase angle for reservoir (degrees)",
        "Permeability for reservoir (mD)",
        "Skin factor for reservoir",
        "Surface harmonic productivity index for reservoir (bbl/day/psi)"};
    return meanings;
}

std::vector<std::string> CycleChoices(std::size_t dataset) {
    std::vector<std::string> choices;
    if (dataset >= CurrentSelection().datasets.size())
        return choices;
    const CycleRecord& cycles = CurrentSelection().datasets[dataset].cycles;
    for (std::int32_t n = 1; n <= cycles.RealCycles(); ++n)
        choices.push_back(std::to_string(n));
    if (cycles.count > 0)
        choices.emplace_back(windowText);
    return choices;
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

std::vector<std::vector<std::string>> CycleInformationRows(std::size_t dataset) {
    std::vector<std::vector<std::string>> rows{{"Cycle", "Period", "Valve phase", "Pres. phase", "Flow phase",
                                                "Valve mag.", "Pres. mag.", "Flow mag."}};
    const std::vector<std::string> names = CycleChoices(dataset);
    for (std::size_t entry = 0; entry < names.size(); ++entry) {
        const std::vector<std::string> texts = EntryTexts(CurrentSelection().datasets[dataset].cycles, entry);
        rows.push_back({names[entry], texts[0], texts[1], texts[3], texts[5], texts[2], texts[4], texts[6]});
    }
    return rows;
}

// A row ends in a carriage return of its own, before the line's carriage return and line feed: the
// spreadsheets that read these files were set up for it.
std::string InterpretationText(char separator) {
    constexpr const char* lineEnd = "\r\n";
    std::string text = std::string("Corvane Vorela Quicklook Interpretation") + lineEnd + lineEnd;
    for (const ResultGrid& grid : Grids()) {
        for (const std::vector<std::string>& row : grid.cells) {
            for (std::size_t column = 0; column < row.size(); ++column) {
                text += DelimitedCell(row[column], separator);
                text += column + 1 < row.size() ? separator : '\r';
            }
            text += lineEnd;
        }
        text += lineEnd;
    }
    return text;
}

bool WriteInterpretation(const std::string& path, int filterIndex) {
    const StatusScope status(step::savingData);
    return Attempt(step::savingData, [&] {
        constexpr int commaSeparated = 1;
        WriteFileAtomically(path, InterpretationText(filterIndex == commaSeparated ? ',' : '\t'));
    });
}

std::string ProposedFile(std::size_t dataset) {
    if (dataset >= CurrentSelection().datasets.size())
        return {};
    const DatasetRecord& record = CurrentSelection().datasets[dataset];
    const std::filesystem::path database(record.database);
    std::string level = record.dataset;
    std::replace(level.begin(), level.end(), '/', '-');
    return (database.parent_path() / (database.stem().string() + " " + level)).string();
}

bool SaveInterpretation() {
    const auto choice = CurrentPorts().saveFile->AskSaveFile(
        {"Save Vorela Interpretation", "CSV File (*.csv)|*.csv|Text File (*.txt)|*.txt|", 1,
         ProposedFile(ShownChoice().dataset), FilesInUse()});
    if (!choice)
        return false;
    RefreshGrids();  // while recording, only the visible grid follows the data
    if (!WriteInterpretation(choice->path, choice->filterIndex))
        return false;
    CurrentPorts().messages->Show(MessageIcon::information, "Vorela Interpretation",
                                  "Created " + choice->path);
    return true;
}

}  // namespace vorela
