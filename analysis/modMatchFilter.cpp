#include "analysis/modMatchFilter.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/SelectedDatasets.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

std::function<CursorSpan(std::size_t)>& CursorSpanSource() {
    static std::function<CursorSpan(std::size_t)> source;
    return source;
}

/// The results of all real cycles: none may be left of other curves or another filter.
void ClearRealCycles(CycleRecord& cycles) {
    for (std::int32_t n = 1; n <= cycles.RealCycles(); ++n)
        ClearResults(cycles, static_cast<std::size_t>(n) - 1);
}

// --- What cannot be computed ---

/// An error of the computation itself, which costs its cycle only. What cannot be read or held is a fault of
/// the run.
bool IsOfTheComputation(const RunTimeError& error) {
    return error.number == error_number::invalidProcedureCall || error.number == error_number::overflow ||
           error.number == error_number::subscriptOutOfRange || error.number == error_number::divisionByZero;
}

void ReportNow(const char* step, RunTimeError error) {
    SetCurrentError(std::move(error));
    ReportError(step);
    ClearCurrentError();
}

/// The cycles of one run that cannot be computed: told at the end, one report for each cause.
class UncomputableCycles {
  public:
    explicit UncomputableCycles(std::string dataset) : dataset_(std::move(dataset)) {}

    void Add(std::int32_t cycle, const RunTimeError& error) {
        const auto same = std::ranges::find_if(causes_, [&](const Cause& cause) {
            return cause.error.number == error.number && cause.error.description == error.description;
        });
        (same == causes_.end() ? causes_.emplace_back(Cause{error, {}}) : *same).cycles.push_back(cycle);
    }

    void Report() const {
        for (const auto& [error, cycles] : causes_)
            ReportNow(step::analysingCycle, {error.number, error.source,
                                             "Dataset " + dataset_ + ", " + Listed(cycles) +
                                                 " without results: " + error.description});
    }

  private:
    struct Cause {
        RunTimeError error;
        std::vector<std::int32_t> cycles;
    };

    static std::string Listed(const std::vector<std::int32_t>& cycles) {
        constexpr std::size_t mostNamed = 12;
        std::string text = cycles.size() == 1 ? "cycle " : "cycles ";
        for (std::size_t i = 0; i < std::min(cycles.size(), mostNamed); ++i)
            text += (i > 0 ? ", " : "") + std::to_string(cycles[i]);
        return cycles.size() > mostNamed
                   ? text + " and " + std::to_string(cycles.size() - mostNamed) + " more"
                   : text;
    }

    std::string dataset_;
    std::vector<Cause> causes_;
};

/// What the window entry was last calculated from, and its results.
struct WindowState {
    CycleSpan span;
    std::string curves;
    Coverage coverage = Coverage::later;
    CycleResults results;
    std::string fault{};  ///< why it could not be computed: told once, however often it is tried
};

/// What the analysis remembers of a dataset between two extensions, so that a tick costs what is new.
struct RecordState {
    std::vector<std::int32_t> pending;  ///< cycles (1-based, ascending) that their curves do not cover yet
    std::string basis;                  ///< what the cycles that do not wait were calculated from
    WindowState window;
};

/// Kept by database and dataset name: survives a re-ordering of the records and dies with the selection.
RecordState& StateOf(const DatasetRecord& record) {
    static PerDataset<RecordState> states;
    if (RecordState* known = states.Find(record))
        return *known;
    RecordState& state = states.Of(record);
    for (std::int32_t n = 1; n <= record.cycles.RealCycles(); ++n)
        if (record.cycles.analysed[static_cast<std::size_t>(n) - 1] == 0)
            state.pending.push_back(n);
    return state;
}

std::int32_t CursorIndex(double percent, const CursorSpan& cursors) {
    const double range = static_cast<double>(std::int64_t{cursors.rangeEnd} - cursors.rangeStart);
    return RoundTo<std::int32_t>(IndexUnitsIn(percent * range / 100.0 + cursors.rangeStart),
                                 "Window analysis");
}

/// The span between the cursors; nothing while nobody tells where they are.
std::optional<CycleSpan> WindowSpan(std::size_t dataset, std::int16_t step) {
    if (!CursorSpanSource())
        return std::nullopt;
    const CursorSpan cursors = CursorSpanSource()(dataset);
    CycleSpan span{PointsPerCycle(step, CurrentParameters().period), CursorIndex(cursors.cursor1, cursors),
                   CursorIndex(cursors.cursor2, cursors)};
    if (span.a > span.b)
        std::swap(span.a, span.b);
    return span;
}

std::string IdentityOf(const CycleCurves& curves) {
    std::string identity;
    for (const CurveReader* curve : {&curves.valve, &curves.pressure, &curves.flow})
        identity += curve->Path() + "\n" + curve->Info().made + "\n";
    return identity;
}

/// What results depend on beside the samples. When it changes, every cycle is calculated anew: a record never
/// mixes the results of two filters.
std::string BasisOf(const CycleCurves& curves) {
    const ParameterSet& parameters = CurrentParameters();
    return IdentityOf(curves) + (parameters.usePeriodInMatch != 0 ? ShortestText(parameters.period) : "");
}

void PutOff(CycleRecord& cycles, const std::string& basis, RecordState& state) {
    if (state.basis == basis)
        return;
    state.basis = basis;
    ClearRealCycles(cycles);
    state.pending.resize(static_cast<std::size_t>(cycles.RealCycles()));
    std::iota(state.pending.begin(), state.pending.end(), 1);
}

/// Analyses the window unless it has been analysed over the same span of the same curves already.
void UpdateWindowState(std::size_t dataset, CycleCurves& curves, WindowState& window) {
    const std::int16_t step = SelectedDataset(dataset).step;
    const std::optional<CycleSpan> span = WindowSpan(dataset, step);
    if (!span || span->a == span->b) {  // no time between the cursors: nothing to analyse
        window = WindowState{};
        return;
    }
    const std::string identity = IdentityOf(curves);
    if (window.coverage == Coverage::whole && window.span == *span && window.curves == identity)
        return;
    window = WindowState{*span, identity, Coverage::later, {}};
    window.coverage = CycleAnalyser(curves, step).AnalyseSpan(*span, window.results);
    if (!HasResults(window.coverage))
        window.results = CycleResults{};
}

/// The same; a window that cannot be computed has no results, which is told once.
void UpdateWindow(std::size_t dataset, CycleCurves& curves, WindowState& window) {
    const std::string told = window.fault;
    try {
        UpdateWindowState(dataset, curves, window);
    } catch (const RunTimeError& error) {
        if (!IsOfTheComputation(error))
            throw;
        window = WindowState{};
        window.fault =
            "Dataset " + SelectedDataset(dataset).dataset + ", window without results: " + error.description;
        if (window.fault != told)
            ReportNow(step::analysingWindow, {error.number, error.source, window.fault});
    }
}

void StoreWindow(CycleRecord& cycles, std::int32_t count, const WindowState& window) {
    if (count > 0)
        StoreResults(cycles, static_cast<std::size_t>(count) - 1, window.results,
                     HasResults(window.coverage));
}

/// Cycles that were waiting for their curves, oldest first. One that cannot be computed is reported once and
/// stays without results; one that could not be read is tried again by the next run, and makes this one
/// false.
bool AnalysePending(DatasetRecord& record, CycleCurves& curves, std::vector<std::int32_t>& pending) {
    CycleAnalyser analyser(curves, record.step);
    UncomputableCycles uncomputable(record.dataset);
    std::optional<RunTimeError> unread;
    std::vector<std::int32_t> left;
    for (const std::int32_t n : pending) {
        try {
            const Coverage coverage = analyser.AnalyseEntry(record.cycles, n);
            if (coverage == Coverage::later || coverage == Coverage::provisional)
                left.push_back(n);
        } catch (...) {
            const RunTimeError error = ErrorFromCurrentException("modMatchFilter");
            if (IsOfTheComputation(error)) {
                uncomputable.Add(n, error);
                continue;
            }
            left.push_back(n);
            if (!unread)
                unread = error;
        }
    }
    pending = std::move(left);
    uncomputable.Report();
    if (unread)
        ReportNow(step::analysingCycle, *unread);
    return !unread;
}

bool OnBoundary(std::size_t dataset, std::int32_t boundary) {
    return Attempt(step::analysingCycle, [&] {
        DatasetRecord& record = SelectedDataset(dataset);
        CycleRecord& cycles = record.cycles;
        RecordState& state = StateOf(record);
        if (cycles.count == 0) {
            state = RecordState{};
            record.cycleSource = CycleSource::filtered;
        }
        CheckedAt(cycles.start, cycles.count, "Cycle start") = boundary;
        if (cycles.count > 0) {
            ClearResults(cycles, static_cast<std::size_t>(cycles.count) - 1);
            MeasurePeriod(cycles, cycles.count);
            state.pending.push_back(cycles.count);
        }
        AppendCycle(cycles);
    });
}

// The results wait for the end of the run, so that the curves are attached once for all its cycles.
bool OnFinished(const Database& database, std::size_t dataset) {
    return Attempt(step::analysingCycle, false, [&] {
        DatasetRecord& record = SelectedDataset(dataset);
        if (record.cycles.count == 0)
            return true;
        if (record.IsUnmeasured())
            record.cycleSource = CycleSource::filtered;
        RecordState& state = StateOf(record);
        CycleCurves curves = AttachCycleCurves(database, dataset, record.cycleSource);
        PutOff(record.cycles, BasisOf(curves), state);
        const bool allWell = AnalysePending(record, curves, state.pending);
        UpdateWindow(dataset, curves, state.window);
        StoreWindow(record.cycles, record.cycles.count, state.window);
        return allWell;
    });
}

// Works on a copy: an error on the way leaves the record with the results of one source, never a mixture.
bool Recalculate(const Database& database, std::size_t dataset, CycleSource source) {
    return Attempt(step::recalculatingCycles, false, [&] {
        DatasetRecord& record = SelectedDataset(dataset);
        CycleCurves curves = AttachCycleCurves(database, dataset, source);
        DatasetRecord fresh = record;
        RecordState state;
        PutOff(fresh.cycles, BasisOf(curves), state);
        if (!AnalysePending(fresh, curves, state.pending))
            return false;
        UpdateWindow(dataset, curves, state.window);
        StoreWindow(fresh.cycles, fresh.cycles.count, state.window);
        record.cycles = std::move(fresh.cycles);
        record.cycleSource = source;
        StateOf(record) = std::move(state);
        return true;
    });
}

}  // namespace

void SetCursorSpanSource(std::function<CursorSpan(std::size_t dataset)> source) {
    CursorSpanSource() = std::move(source);
}

CycleCurves AttachCycleCurves(const Database& database, std::size_t dataset, CycleSource source) {
    const std::string& name = SelectedDataset(dataset).dataset;
    const CurveChoice& choice = CurrentSelection().choice;
    const bool raw = source == CycleSource::unfiltered;
    const char* valve = source == CycleSource::motorPosition ? curve::valvePosition : curve::valveSignal;
    const std::string pressure = raw ? choice.pressure : FilteredPressureName(choice);
    const std::string flow = raw ? choice.flow : FilteredFlowName(choice);
    return {CurveReader(database, name, valve, Between::linear),
            CurveReader(database, name, pressure, Between::linear),
            CurveReader(database, name, flow, Between::linear),
            raw ? noIndex : FirstProvisionalIndex(dataset)};
}

void InstallCycleAnalysis() {
    SetCycleAnalysis({OnBoundary, OnFinished, Recalculate});
}

}  // namespace vorela
