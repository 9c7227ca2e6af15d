#include "signal/modModulator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/Curves.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/modGeneral.h"
#include "signal/RunProgress.h"
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
constexpr const char* madeText = "valve signal from PVLID, PVLIDT and PVLT";

constexpr std::int32_t boundaryCode = 3;
constexpr double timerWrap = 65536.0;

/// Tool samples walked between two commits: bounds what a transaction holds and how long it locks out the
/// recorder.
constexpr std::int64_t samplesPerCommit = 262144;

CycleAnalysis& Analysis() {
    static CycleAnalysis analysis;
    return analysis;
}

/// Hundredths of a second of a timer value; a zero timer is time 0.
std::int32_t TimerIndex(double ticks) {
    return ticks == 0.0 ? 0 : RoundTo<std::int32_t>(ticks * 1024.0 / 4000000.0 * 100.0, "ElapsedTicks");
}

// --- What is remembered of a dataset ---

/// Where the walk over the tool's samples stands. Times in hundredths of a second.
struct WalkState {
    std::optional<std::int32_t> lastCode;
    std::optional<std::int32_t> lastChange;
    std::optional<std::int32_t> lastSample;
    double valveState = 1.0;  ///< returned for a code that is none
};

PerDataset<WalkState>& States() {
    static PerDataset<WalkState> states;
    return states;
}

/// Walks that wrote nothing: what they found, no extension goes on from them.
PerDataset<WalkState>& WalksWithoutWriting() {
    static PerDataset<WalkState> walks;
    return walks;
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

    std::int32_t First() const { return code_.Info().extentFirst; }
    /// The last index for which all three curves are there: a recorder may have written one before the other.
    std::int32_t Last() const {
        return std::min({code_.Info().extentLast, changeTimer_.Info().extentLast, timer_.Info().extentLast});
    }
    std::int16_t Step() const { return code_.Info().step; }

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

/// Walks the next samples, at most samplesPerCommit of them; the changes found are added to `changes`. False
/// at the end of what is recorded.
bool Walk(ToolCurves& tool, WalkState& state, std::vector<Change>& changes, RunProgress& progress) {
    const std::int64_t step = tool.Step();
    const std::int64_t from = state.lastSample ? *state.lastSample + step : tool.First();
    const std::int64_t last = tool.Last();
    const std::int64_t to = std::min(last, from + (samplesPerCommit - 1) * step);
    for (std::int64_t t = from; t <= to; t += step) {
        const auto index = static_cast<std::int32_t>(t);
        state.lastSample = index;
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
        changes.push_back({state.lastChange.value_or(tool.First()), change, *state.lastCode, sample->code});
        state.lastChange = change;
        state.lastCode = sample->code;
    }
    return to < last;
}

// --- Writing ---

/// The dataset's own sample grid: that of its first common curve.
struct SampleGrid {
    std::int32_t origin = 0;
    std::int32_t first = 0;
    std::int16_t step = 1;
    bool recorded = false;  ///< there is a first sample

    /// The first sample time at or after `index` and the grid's first sample.
    std::int64_t AtOrAfter(std::int32_t index) const {
        const std::int64_t offset = std::max<std::int64_t>(std::int64_t{index} - first, 0);
        return first + (offset + step - 1) / step * step;
    }
};

SampleGrid GridOf(const Database& database, const DatasetRecord& record) {
    const CommonCurve& common = CheckedAt(CurrentSelection().commonCurves, 0, "Sample grid");
    const Item item(database, ItemPath(record.dataset, common.name));
    const ItemInfo& info = item.Info();
    return {info.firstIndex, info.IsEmpty() ? info.firstIndex : info.extentFirst, info.step, !info.IsEmpty()};
}

/// The valve signal of one dataset, from the start or behind what is there.
class SignalCurve {
  public:
    SignalCurve(Database& database, const DatasetRecord& record, const SampleGrid& grid, bool incremental)
        : database_(database), grid_(grid), writer_(Open(database, record, grid, incremental)) {}

    /// Writes the straight lines that end at `changes` and states how far the signal is known. One
    /// transaction.
    void Write(const std::vector<Change>& changes, WalkState& state) {
        if (changes.empty())
            return;
        Transaction transaction(database_);
        for (const Change& change : changes)
            PutLine(change, state.valveState);
        writer_.Flush();
        writer_.Mark(grid_.first, changes.back().at, madeText);
        transaction.Commit();
    }

  private:
    void PutLine(const Change& change, double& valveState) {
        constexpr std::size_t samplesAtOnce = 4096;
        std::vector<float> line;
        std::int64_t first = grid_.AtOrAfter(change.previous);
        for (std::int64_t t = first; t <= change.at; t += grid_.step) {
            line.push_back(RampValue(static_cast<double>(t), change.previous, change.at, change.oldCode,
                                     change.newCode, valveState));
            if (line.size() == samplesAtOnce) {
                writer_.PutRun(static_cast<std::int32_t>(first), line);
                first = t + grid_.step;
                line.clear();
            }
        }
        if (!line.empty())
            writer_.PutRun(static_cast<std::int32_t>(first), line);
    }

    static CurveWriter Open(Database& database, const DatasetRecord& record, const SampleGrid& grid,
                            bool incremental) {
        const DerivedCurve attributes{grid.step, grid.origin, "", 1.0F, 0.0F, madeText};
        if (incremental) {
            CurveWriter writer =
                CurveWriter::OpenOrCreate(database, record.dataset, curve::valveSignal, attributes);
            if (!writer.Info().IsEmpty() || !grid.recorded)
                return writer;
        }
        Transaction transaction(database);
        CurveWriter writer = CurveWriter::Recreate(database, record.dataset, curve::valveSignal, attributes);
        if (grid.recorded)
            writer.Put(grid.first, 0.0F);
        writer.Flush();
        writer.Mark(grid.first, grid.first - 1);  // nothing is known before the first change
        transaction.Commit();
        return writer;
    }

    Database& database_;
    SampleGrid grid_;
    CurveWriter writer_;
};

/// False when the cycle record did not take one (which has been reported).
bool ReportBoundaries(std::size_t index, const std::vector<Change>& changes) {
    return std::all_of(changes.begin(), changes.end(), [&](const Change& change) {
        return change.newCode != boundaryCode || !Analysis().onBoundary ||
               Analysis().onBoundary(index, change.at);
    });
}

bool FinishCycles(std::size_t index) {
    return !Analysis().onFinished || Analysis().onFinished(index);
}

/// The walk that follows begins at the first sample and finds every cycle again.
void StartAfresh(std::size_t index) {
    States().Forget(SelectedDataset(index));
    ResetDatasetCycles(index);
    SelectedDataset(index).cycleSource = CycleSource::filtered;
}

/// Walks to the end of what is recorded. Where it stands is kept with every commit, so an error on the way
/// costs nothing that was done.
bool WalkAndWrite(std::size_t index, Database& database, ToolCurves& tool, WalkState state,
                  bool incremental) {
    const DatasetRecord& record = SelectedDataset(index);
    std::optional<SignalCurve> signal;
    if (!RecordingStands(database, record.dataset, curve::valveSignal))
        signal.emplace(database, record, GridOf(database, record), incremental);
    RunProgress progress(!incremental, creatingStatus, tool.First(), tool.Last());
    for (bool more = true; more;) {
        std::vector<Change> changes;
        more = Walk(tool, state, changes, progress);
        if (signal)
            signal->Write(changes, state);
        States().Of(record) = state;
        // The analysis reads what was written through a handle of its own: only now is it there to be seen.
        if (!ReportBoundaries(index, changes)) {
            States().Forget(record);  // the cycle record lacks a boundary: the next run starts afresh
            return false;
        }
    }
    return true;
}

/// Tool curves and signal are as the walk left them, but for growth. They are not when the dataset was
/// imported again.
bool CanGoOnFrom(const WalkState& state, const ToolCurves& tool, const Database& database,
                 const DatasetRecord& record) {
    return (!state.lastSample || *state.lastSample <= tool.Last()) &&
           Item::Find(database, ItemPath(record.dataset, curve::valveSignal)).has_value();
}

bool ReconstructDataset(std::size_t index, bool incremental) {
    const DatasetRecord& record = SelectedDataset(index);
    DravikDatabase database(record.database);
    if (!database.IsOpen())
        return false;
    ToolCurves tool(database, record.dataset);
    const WalkState* kept = incremental ? States().Find(record) : nullptr;
    const bool goesOn = kept != nullptr && CanGoOnFrom(*kept, tool, database, record);
    const WalkState state = goesOn ? *kept : WalkState{};
    if (!goesOn)
        StartAfresh(index);
    return WalkAndWrite(index, database, tool, state, incremental) && database.Close() && FinishCycles(index);
}

bool FindCycles(std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    DravikDatabase database(record.database);
    if (!database.IsOpen())
        return false;
    StartAfresh(index);
    ToolCurves tool(database, record.dataset);
    RunProgress progress(true, creatingStatus, tool.First(), tool.Last());
    WalkState state;
    for (bool more = true; more;) {
        std::vector<Change> changes;
        more = Walk(tool, state, changes, progress);
        if (!ReportBoundaries(index, changes))
            return false;
    }
    WalksWithoutWriting().Of(record) = state;
    return database.Close() && FinishCycles(index);
}

/// Where a walk over all that is recorded ends.
WalkState WholeWalk(const DatasetRecord& record, ToolCurves& tool) {
    for (PerDataset<WalkState>* known : {&States(), &WalksWithoutWriting()})
        if (const WalkState* walk = known->Find(record); walk != nullptr && walk->lastSample == tool.Last())
            return *walk;
    RunProgress progress(true, checkingStatus, tool.First(), tool.Last());
    WalkState walk;
    for (bool more = true; more;) {
        std::vector<Change> ignored;
        more = Walk(tool, walk, ignored, progress);
    }
    return walk;
}

/// The signal is what one reconstruction leaves: it ends with the last change.
bool IsComplete(const ItemInfo& signal, const SampleGrid& grid, const WalkState& walk) {
    if (!grid.recorded)
        return signal.IsEmpty();
    const std::int32_t last = walk.lastChange ? *walk.lastChange : grid.first - 1;
    return signal.step == grid.step && signal.validFirst == grid.first && signal.validLast == last;
}

// --- The interactive entry ---

bool AgreesToOverwrite() {
    return CurrentPorts().messages->AskYesNo(
        applicationTitle,
        "The reconstructed valve curve already exists.\rDo you want to overwrite the existing curves?");
}

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
    return asItStands ? FindValveCycles(index) : ReconstructValveCurve(index, false);
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
        done = (!Analysis().recalculate || Analysis().recalculate(i, source)) && done;
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
            if (!AgreesToOverwrite())
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

bool ReconstructValveCurve(std::size_t index, bool incremental) {
    return Attempt(creatingFailed, false, [&] { return ReconstructDataset(index, incremental); });
}

CurveStanding ValveSignalStanding(std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    const DravikDatabase database(record.database);
    return StandingOf(database, record.dataset, curve::valveSignal, madeText, [&](const ItemInfo& signal) {
        ToolCurves tool(database, record.dataset);
        return IsComplete(signal, GridOf(database, record), WholeWalk(record, tool));
    });
}

bool FindValveCycles(std::size_t index) {
    return Attempt(creatingFailed, false, [&] { return FindCycles(index); });
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
