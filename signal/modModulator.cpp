#include "signal/modModulator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/Curves.h"
#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/modGeneral.h"
#include "signal/DerivedRun.h"
#include "signal/SelectedDatasets.h"
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
constexpr const char* madeText = "valve signal from PVLID, PVLIDT and PVLT";

constexpr std::int32_t boundaryCode = 3;
constexpr double timerWrap = 65536.0;

CycleAnalysis& Analysis() {
    static CycleAnalysis analysis;
    return analysis;
}

/// Hundredths of a second of a timer value; a zero timer is time 0.
std::int32_t TimerIndex(double ticks) {
    return ticks == 0.0 ? 0 : RoundTo<std::int32_t>(IndexUnitsIn(ticks * 1024.0 / 4000000.0), "ElapsedTicks");
}

// --- What is remembered of a dataset ---

/// Where the walk over the tool's samples stands. Times in hundredths of a second.
struct WalkState {
    DerivedMark mark;
    std::optional<std::int32_t> lastCode;
    std::optional<std::int32_t> lastChange;
    double valveState = 1.0;  ///< returned for a code that is none
};

PerDataset<WalkState>& States() {
    static PerDataset<WalkState> states;
    return states;
}

// --- The walk ---

/// A change of the valve's position code.
struct Change {
    std::int32_t previous = 0;  ///< time of the change before, or the first index
    std::int32_t at = 0;        ///< time of this one
    std::int32_t oldCode = 0;
    std::int32_t newCode = 0;
};

/// The tool's three curves. Between two samples the one before holds.
class ToolCurves {
  public:
    ToolCurves(const Database& database, const std::string& dataset)
        : code_(database, dataset, curve::valveCode, Between::sampleBefore),
          changeTimer_(database, dataset, curve::valveChangeTimer, Between::sampleBefore),
          timer_(database, dataset, curve::valveTimer, Between::sampleBefore) {}

    /// To the last index for which all three curves are there: a recorder may have written one before the
    /// other.
    GridSpan Recorded() const {
        GridSpan recorded = GridSpan::Of(code_.Info());
        for (const CurveReader* timer : {&changeTimer_, &timer_})
            recorded.last = std::min(recorded.last, timer->Info().extentLast);
        return recorded;
    }

    /// Code and time of the last change of the sample at `index`; nothing when one of the three cannot be
    /// read.
    struct Sample {
        std::int32_t code = 0;
        double changeTimer = 0;
        double timer = 0;
    };
    std::optional<Sample> At(std::int32_t index) {
        double code = 0;
        double changeTimer = 0;
        double timer = 0;
        if (!code_.Fetch(index, code) || !changeTimer_.Fetch(index, changeTimer) ||
            !timer_.Fetch(index, timer) || !IsOfTheTool(code) || !IsOfTheTool(changeTimer) ||
            !IsOfTheTool(timer))
            return std::nullopt;
        return Sample{RoundTo<std::int32_t>(code, "Valve position code"), changeTimer, timer};
    }

  private:
    /// A disturbed sample counts as one that cannot be read: it must not cost the others.
    static bool IsOfTheTool(double value) {
        constexpr double farBeyondTheTool = 1e9;
        return std::isfinite(value) && std::abs(value) < farBeyondTheTool;
    }

    CurveReader code_;
    CurveReader changeTimer_;
    CurveReader timer_;
};

/// Walks the samples of a piece and gives the changes found.
std::vector<Change> Walk(ToolCurves& tool, const GridSpan& piece, WalkState& state, RunProgress& progress) {
    std::vector<Change> changes;
    for (std::int64_t t = piece.first; t <= piece.last; t += piece.step) {
        const auto index = static_cast<std::int32_t>(t);
        progress.At(index);
        const auto sample = tool.At(index);
        if (!sample)
            continue;
        if (!state.lastCode)
            state.lastCode = sample->code;
        if (sample->code == *state.lastCode)
            continue;
        // A change cannot lie behind the sample that shows it: such timers are disturbed, and the next sample
        // tells.
        const std::int64_t at = t - ElapsedTicks(sample->changeTimer, sample->timer);
        if (at > t || at < std::numeric_limits<std::int32_t>::min())
            continue;
        const auto change = static_cast<std::int32_t>(at);
        changes.push_back(
            {state.lastChange.value_or(tool.Recorded().first), change, *state.lastCode, sample->code});
        state.lastChange = change;
        state.lastCode = sample->code;
    }
    return changes;
}

// --- Writing ---

/// The dataset's own sample grid: that of its first common curve.
struct SampleGrid {
    std::int32_t origin = 0;
    GridSpan recorded;

    /// The first sample time at or after `index` and the grid's first sample.
    std::int64_t AtOrAfter(std::int32_t index) const {
        const std::int64_t offset = std::max<std::int64_t>(std::int64_t{index} - recorded.first, 0);
        return recorded.first + (offset + recorded.step - 1) / recorded.step * recorded.step;
    }
};

SampleGrid GridOf(const Database& database, const DatasetRecord& record) {
    const CommonCurve& common = CheckedAt(CurrentSelection().commonCurves, 0, "Sample grid");
    const ItemInfo info = Item(database, ItemPath(record.dataset, common.name)).Info();
    return {info.firstIndex, GridSpan::Of(info)};
}

/// Makes the signal anew, or opens one that has begun for extension.
void OpenSignal(DerivedRun& run, const SampleGrid& grid, bool incremental) {
    const DerivedCurve attributes{grid.recorded.step, grid.origin, "", 1.0F, 0.0F, madeText};
    if (incremental && (!run.Extend(attributes).Info().IsEmpty() || grid.recorded.IsEmpty()))
        return;
    run.StartAnew(attributes);
    if (!grid.recorded.IsEmpty())
        run.Output().Put(grid.recorded.first, 0.0F);
    run.State(grid.recorded.first,
              std::int64_t{grid.recorded.first} - 1);  // nothing is known before the first change
    run.Commit();
}

/// The straight line that ends at the change.
void PutLine(CurveWriter& signal, const SampleGrid& grid, const Change& change, double& valveState) {
    constexpr std::size_t samplesAtOnce = 4096;
    std::vector<float> line;
    std::int64_t first = grid.AtOrAfter(change.previous);
    for (std::int64_t t = first; t <= change.at; t += grid.recorded.step) {
        line.push_back(RampValue(static_cast<double>(t), change.previous, change.at, change.oldCode,
                                 change.newCode, valveState));
        if (line.size() == samplesAtOnce) {
            signal.PutRun(static_cast<std::int32_t>(first), line);
            first = t + grid.recorded.step;
            line.clear();
        }
    }
    if (!line.empty())
        signal.PutRun(static_cast<std::int32_t>(first), line);
}

/// Writes the lines that end at `changes` and states how far the signal is known. One transaction.
void WriteLines(DerivedRun& run, const SampleGrid& grid, const std::vector<Change>& changes,
                double& valveState) {
    if (changes.empty())
        return;
    run.Begin();
    for (const Change& change : changes)
        PutLine(run.Output(), grid, change, valveState);
    run.State(grid.recorded.first, changes.back().at);
    run.Commit();
}

/// False when the cycle record did not take one (which has been reported).
bool ReportBoundaries(std::size_t index, const std::vector<Change>& changes) {
    return std::all_of(changes.begin(), changes.end(), [&](const Change& change) {
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
        const std::vector<Change> changes = Walk(tool, piece, state, progress);
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

/// Where a walk over all that is recorded ends that writes nothing; nothing when `found` is false. No
/// extension goes on from its mark, which names no curve.
std::optional<WalkState> WholeWalk(ToolCurves& tool, const char* status,
                                   const std::function<bool(const std::vector<Change>& changes)>& found) {
    WalkState walk;
    walk.mark.taken = tool.Recorded();
    RunProgress progress(true, status, walk.mark.taken);
    const bool whole = InPieces(walk.mark.taken, 0, samplesPerCommit, [&](const GridSpan& piece) {
        return found(Walk(tool, piece, walk, progress));
    });
    return whole ? std::optional(walk) : std::nullopt;
}

bool FindCycles(const Database& database, std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    StartAfresh(index);
    ToolCurves tool(database, record.dataset);
    const auto report = [&](const std::vector<Change>& changes) { return ReportBoundaries(index, changes); };
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
    return WholeWalk(tool, checkingStatus, [](const std::vector<Change>&) { return true; })->lastChange;
}

/// The signal is what one reconstruction leaves: it ends with the last change.
bool IsComplete(const ItemInfo& signal, const SampleGrid& grid, std::optional<std::int32_t> lastChange) {
    if (grid.recorded.IsEmpty())
        return signal.IsEmpty();
    return signal.step == grid.recorded.step && signal.validFirst == grid.recorded.first &&
           signal.validLast == lastChange.value_or(grid.recorded.first - 1);
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

std::int32_t ElapsedTicks(double changeTimer, double sampleTimer) {
    if (changeTimer > sampleTimer)  // the counter wrapped between the change and the sample
        changeTimer -= timerWrap;
    const std::int64_t elapsed = std::int64_t{TimerIndex(sampleTimer)} - TimerIndex(changeTimer);
    if (elapsed < std::numeric_limits<std::int32_t>::min() ||
        elapsed > std::numeric_limits<std::int32_t>::max())
        return 0;
    return static_cast<std::int32_t>(elapsed);
}

double ValveState(std::int32_t code, double& remembered) {
    if (code == 1 || code == 4)
        remembered = 1.0;
    else if (code == 2 || code == 3)
        remembered = -1.0;
    return remembered;
}

float RampValue(double t, double t1, double t2, std::int32_t code1, std::int32_t code2, double& remembered) {
    // In this order: an unknown first code stands for the state before, an unknown second one for the first.
    const double s1 = ValveState(code1, remembered);
    const double s2 = ValveState(code2, remembered);
    if (t <= t1)
        return static_cast<float>(s1);
    if (t >= t2)
        return static_cast<float>(s2);
    if (s1 == s2)
        return static_cast<float>(s1);
    return static_cast<float>(s1 + (s1 - s2) / (t1 - t2) * (t - t1));
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
        if (!DatabasesOpen() || !ValveCurvesPresent())
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
    return StandingOf(database, record.dataset, curve::valveSignal, madeText, [&](const ItemInfo& signal) {
        ToolCurves tool(database, record.dataset);
        return IsComplete(signal, GridOf(database, record), LastChange(record, tool));
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
