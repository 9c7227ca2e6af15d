#include "signal/modModulator.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/InputChoice.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/modGeneral.h"
#include "signal/DerivedRun.h"
#include "signal/SelectedDatasets.h"
#include "signal/ValveChanges.h"
#include "signal/ValveSignal.h"
#include "signal/modFilteredCurves.h"

namespace vorela {
namespace {

constexpr const char* creatingCurves = "Creating reconstructed valve curves";
constexpr const char* creatingFailed = "Error creating reconstructed mod curves";
constexpr const char* creatingStatus = "Creating Vorela valve curves";
constexpr const char* checkingStatus = "Checking Vorela valve curves";
constexpr const char* recalculatingStatus = "Recalculating cycle info";
constexpr const char* valveCurvesCaption = "PVL Curves";
constexpr const char* valveSignalCaption = "PVLSIG Curve";
constexpr const char* overwriteQuestion =
    "The reconstructed valve curve already exists.\rDo you want to overwrite the existing curves?";

constexpr std::int32_t boundaryCode = 3;

CycleAnalysis& Analysis() {
    static CycleAnalysis analysis;
    return analysis;
}

/// What is remembered of a dataset.
PerDataset<WalkState>& States() {
    static PerDataset<WalkState> states;
    return states;
}

/// False when the cycle record did not take one (which has been reported).
bool ReportBoundaries(std::size_t index, const std::vector<ValveChange>& changes) {
    return std::all_of(changes.begin(), changes.end(), [&](const ValveChange& change) {
        return change.newCode != boundaryCode || !Analysis().onBoundary ||
               Analysis().onBoundary(index, change.at);
    });
}

bool FinishCycles(const Database& database, std::size_t index) {
    return !Analysis().onFinished || Analysis().onFinished(database, index);
}

/// The walk that follows begins at the first sample and finds every cycle again.
void StartAfresh(std::size_t index) {
    States().Forget(SelectedDataset(index));
    ResetDatasetCycles(index);
    SelectedDataset(index).cycleSource = CycleSource::filtered;
}

/// Walks to the end of what is recorded. Where it stands is kept with every commit, so an error on the way
/// costs nothing that was done.
bool WalkAndWrite(std::size_t index, ToolCurves& tool, DerivedRun& run, const SampleGrid* grid,
                  RunProgress& progress) {
    const DatasetRecord& record = SelectedDataset(index);
    WalkState state = States().Of(record);
    return InPieces(run.Recorded(), state.mark.taken.Count(), samplesPerCommit, [&](const GridSpan& piece) {
        const std::vector<ValveChange> changes = Walk(tool, piece, state, progress);
        if (grid != nullptr)
            WriteLines(run, *grid, changes, state.valveState);
        state.mark = run.MarkAt(piece.last);
        States().Of(record) = state;
        // What is told has been written.
        if (ReportBoundaries(index, changes))
            return true;
        States().Forget(record);  // the cycle record lacks a boundary: the next run starts afresh
        return false;
    });
}

bool ReconstructDataset(const Database& database, std::size_t index, bool incremental) {
    const DatasetRecord& record = SelectedDataset(index);
    ToolCurves tool(database, record.dataset);
    WriteTransaction transaction(database);
    DerivedRun run(transaction, record.dataset, curve::valveCode, tool.Recorded(), curve::valveSignal);
    const WalkState* kept = incremental ? States().Find(record) : nullptr;
    const bool goesOn = kept != nullptr && run.CanGoOnFrom(kept->mark);
    if (!goesOn)
        StartAfresh(index);
    std::optional<SampleGrid> grid;  // none: a recording stands in the place of the signal
    if (!RecordingStands(database, record.dataset, curve::valveSignal)) {
        grid = GridOf(database, record);
        OpenSignal(run, *grid, incremental);
    }
    if (!goesOn)
        States().Of(record).mark = run.MarkAt(run.Recorded().first - 1);
    RunProgress progress(!incremental, creatingStatus, run.Recorded());
    return WalkAndWrite(index, tool, run, grid ? &*grid : nullptr, progress) && FinishCycles(database, index);
}

bool FindCycles(const Database& database, std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    StartAfresh(index);
    ToolCurves tool(database, record.dataset);
    const auto report = [&](const std::vector<ValveChange>& changes) {
        return ReportBoundaries(index, changes);
    };
    const std::optional<WalkState> walk = WholeWalk(tool, creatingStatus, report);
    if (!walk)
        return false;
    States().Of(record) = *walk;
    return FinishCycles(database, index);
}

/// Time of the last change in all that is recorded.
std::optional<std::int32_t> LastChange(const DatasetRecord& record, ToolCurves& tool) {
    const WalkState* known = States().Find(record);
    if (known != nullptr && known->mark.taken.last == tool.Recorded().last)
        return known->lastChange;
    return WholeWalk(tool, checkingStatus, [](const std::vector<ValveChange>&) { return true; })->lastChange;
}

// --- The interactive entry ---

bool FilteredCurvesAreThere() {
    if (FilteredCurvesExist())
        return true;
    const bool wanted = CurrentPorts().messages->AskYesNo(
        applicationTitle,
        "The filtered pressure and flow curves must be created before the valve data and cycle information "
        "can be calculated.\rDo you want to create the filtered curves now?");
    return wanted && CreateFilteredCurvesInAll();
}

/// The valve signal that stands in a database that cannot be written is analysed as it stands, unless the
/// user wants it made anew.
bool FindOrMakeCycles(std::size_t index, bool makeAnew) {
    const bool asItStands = !makeAnew && ValveSignalPresent() && !IsWritable(SelectedDataset(index).database);
    return asItStands ? WithDatabase(index, FindValveCycles)
                      : WithDatabase(index, ReconstructValveCurve, false);
}

bool Recalculate(CycleSource source, const std::vector<CycleSource>& allowed, const std::string& refusal) {
    const std::vector<DatasetRecord>& datasets = CurrentSelection().datasets;
    const bool ready =
        !datasets.empty() && std::all_of(datasets.begin(), datasets.end(), [&](const auto& record) {
            return std::find(allowed.begin(), allowed.end(), record.cycleSource) != allowed.end();
        });
    if (!ready) {
        CurrentPorts().messages->Show(
            MessageIcon::information, applicationTitle,
            refusal + "\rDo this using the Calculate cycle info... option in the Action menu.");
        return false;
    }
    const StatusScope status(recalculatingStatus);
    bool done = true;
    for (std::size_t i = 0; i < datasets.size(); ++i)
        done = (!Analysis().recalculate || WithDatabase(i, Analysis().recalculate, source)) && done;
    return done;
}

}  // namespace

void SetCycleAnalysis(CycleAnalysis analysis) {
    Analysis() = std::move(analysis);
}

bool ValveCurvesPresent() {
    for (const char* name : {curve::valveCode, curve::valveChangeTimer, curve::valveTimer}) {
        if (CurveInCommonList(name))
            continue;
        CurrentPorts().messages->Show(MessageIcon::critical, valveCurvesCaption,
                                      std::string("Can not find ") + name + " curve in all datasets.");
        return false;
    }
    return true;
}

bool ValveSignalPresent() {
    return Attempt(valveSignalCaption, false, [] { return CurveInCommonList(curve::valveSignal); });
}

bool CreateReconstructedValveCurves(bool askBeforeOverwriting) {
    return Attempt(creatingCurves, false, [&] {
        if (!DatabasesOpen() || !ValveCurvesPresent() || !ChoiceIsUsable())
            return false;
        if (askBeforeOverwriting && ValveSignalPresent()) {
            RefuseToReplaceRecordings({curve::valveSignal});
            if (!CurrentPorts().messages->AskYesNo(applicationTitle, overwriteQuestion))
                return false;
        }
        if (!FilteredCurvesAreThere())
            return false;
        const StatusScope status(creatingStatus);
        // A dataset that fails has its report; it costs neither the others nor the knowledge of their curves.
        bool done = true;
        for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i)
            done = FindOrMakeCycles(i, askBeforeOverwriting) && done;
        return RefreshCommonCurves() && done;
    });
}

bool ReconstructValveCurve(const Database& database, std::size_t index, bool incremental) {
    return Attempt(creatingFailed, false, [&] { return ReconstructDataset(database, index, incremental); });
}

CurveStanding ValveSignalStanding(const Database& database, std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    return StandingOf(database, record.dataset, curve::valveSignal, valveSignalMade,
                      [&](const ItemInfo& signal) {
                          ToolCurves tool(database, record.dataset);
                          return SignalIsComplete(signal, GridOf(database, record), LastChange(record, tool));
                      });
}

bool FindValveCycles(const Database& database, std::size_t index) {
    return Attempt(creatingFailed, false, [&] { return FindCycles(database, index); });
}

bool RecalculateWithUnfilteredCurves() {
    return Recalculate(
        CycleSource::unfiltered, {CycleSource::filtered},
        "To re-calculate cycle information using unfiltered pressure and flow the cycle information "
        "must first be calculated normally.");
}

bool RecalculateWithMotorPosition() {
    return Recalculate(
        CycleSource::motorPosition, {CycleSource::filtered, CycleSource::unfiltered},
        "To re-calculate cycle information using PVLPOS the cycle information must first be calculated "
        "using PVLSIG.");
}

}  // namespace vorela
