#include "analysis/modMatchFilter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

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

constexpr std::int32_t pointsWithoutStep = 20;
/// Beyond this (a day at 100 Hz) the points of one period are not a valve test but a slip in the parameters,
/// and the working arrays would take the machine down.
constexpr std::int32_t mostPointsPerCycle = 8'640'000;

std::function<CursorSpan(std::size_t)>& CursorSpanSource() {
    static std::function<CursorSpan(std::size_t)> source;
    return source;
}

/// A stretch of the record that is taken as one period: n points from index a (included) to b (excluded).
struct Span {
    std::int32_t n = 0;
    std::int32_t a = 0;
    std::int32_t b = 0;

    bool operator==(const Span&) const = default;
};

/// The indices of a span's points: a + i·step, to the nearest index.
class PointIndices {
  public:
    /// Throws division by zero for a span without points.
    explicit PointIndices(const Span& span)
        : a_(span.a),
          step_(CheckedDivide(static_cast<double>(std::int64_t{span.b} - span.a), span.n, "Resample")),
          wholeStep_(step_ == std::floor(step_) ? static_cast<std::int32_t>(step_) : 0),
          last_(RoundTo<std::int32_t>(a_ + (span.n - 1) * step_, "Resample")) {}
    std::int32_t At(std::int32_t i) const {
        return wholeStep_ > 0 ? a_ + i * wholeStep_ : RoundTo<std::int32_t>(a_ + i * step_, "Resample");
    }
    std::int32_t Last() const { return last_; }

  private:
    std::int32_t a_;
    double step_;
    std::int32_t wholeStep_;  ///< the step where it is a whole number, else 0
    std::int32_t last_;
};

struct Reference {
    std::int32_t n = -1;
    std::vector<double> sine, cosine;

    /// Rebuilt only when the number of points changes; neighbouring cycles mostly share it.
    void For(std::int32_t points) {
        if (n == points)
            return;
        MakeReference(points, sine, cosine);
        n = points;
    }
};

/// Phases and magnitudes of one cycle and what follows from them.
struct EntryResults {
    Harmonic valve, pressure, flow;
    double ratio = 0.0;
    double phaseLag = 0.0;
};

EntryResults Combine(const Harmonic& valve, const Harmonic& pressure, const Harmonic& flow) {
    const double relativePressure = valve.phase - pressure.phase;
    const double relativeFlow = valve.phase - flow.phase;
    // A level that does not respond at all counts as a response of 1, so that its index is the flow
    // magnitude.
    const double divisor = pressure.magnitude == 0.0 ? 1.0 : pressure.magnitude;
    return {valve, pressure, flow, CheckedDivide(flow.magnitude, divisor, "Cycle ratio"),
            Wrap(relativeFlow - relativePressure + 180.0, -180.0, 180.0)};
}

void Store(CycleRecord& cycles, std::size_t entry, const EntryResults& results, bool analysed) {
    CheckedAt(cycles.valve, static_cast<std::int64_t>(entry), "Cycle record") = results.valve;
    cycles.pressure[entry] = results.pressure;
    cycles.flow[entry] = results.flow;
    cycles.ratio[entry] = results.ratio;
    cycles.phaseLag[entry] = results.phaseLag;
    cycles.analysed[entry] = analysed ? 1 : 0;
}

void ClearResults(CycleRecord& cycles, std::size_t entry) {
    Store(cycles, entry, EntryResults{}, false);
}

/// The results of all real cycles: none may be left of other curves or another filter.
void ClearRealCycles(CycleRecord& cycles) {
    for (std::int32_t n = 1; n <= cycles.RealCycles(); ++n)
        ClearResults(cycles, static_cast<std::size_t>(n) - 1);
}

/// Period of cycle n (1-based), stored at its entry: the distance to the next boundary, or the period of
/// test.
double MeasurePeriod(CycleRecord& cycles, std::int64_t n) {
    const ParameterSet& parameters = CurrentParameters();
    const std::int64_t next = CheckedAt(cycles.start, n, "Cycle start");
    const std::int64_t own = CheckedAt(cycles.start, n - 1, "Cycle start");
    double period = SecondsOf(next - own);
    if (parameters.usePeriodInMatch != 0 || period < 0.0)
        period = parameters.period;
    CheckedAt(cycles.period, n - 1, "Cycle period") = period;
    return period;
}

/// What is known about a stretch of a curve, from best to worst. `provisional`: all of it, but samples in it
/// may still change with what is recorded next. `later`: the curve, still growing, ends inside the stretch.
/// `never`: the stretch begins before the curve does, or holds a gap.
enum class Coverage { whole, provisional, later, never };

bool HasResults(Coverage coverage) {
    return coverage <= Coverage::provisional;
}

Coverage CoverageOf(const CurveReader& curve, std::int32_t first, std::int32_t last) {
    if (curve.Covers(first, last))
        return Coverage::whole;
    const ItemInfo& info = curve.Info();
    const bool derived = !info.made.empty();
    if (info.IsEmpty() || (derived && info.validLast < info.validFirst))
        return Coverage::later;
    const std::int32_t begin = derived ? std::max(info.extentFirst, info.validFirst) : info.extentFirst;
    return first < begin ? Coverage::never : Coverage::later;
}

/// Analyses stretches of one dataset over the same attached curves.
class Analyser {
  public:
    Analyser(CycleCurves& curves, std::int16_t step) : curves_(curves), step_(step) {}

    /// Cycle n (1-based) of the record: period, results where all three curves cover it. What stands at its
    /// entry is of the same curves, or blank. A cycle that cannot be computed throws; its entry is blank
    /// then.
    Coverage AnalyseEntry(CycleRecord& cycles, std::int64_t n) {
        const double period = MeasurePeriod(cycles, n);
        const auto entry = static_cast<std::size_t>(n - 1);
        const bool valveKnown = cycles.analysed[entry] == 0 && cycles.valve[entry].magnitude > 0.0;
        const std::int32_t a = cycles.start[entry];
        try {
            const Span span{PointsPerCycle(step_, period), a,
                            RoundTo<std::int32_t>(a + IndexUnitsIn(period), "Resample")};
            // A cycle that goes on waiting costs nothing: the valve's curve does not change any more.
            if (valveKnown && WorstCoverage(span) == Coverage::later)
                return Coverage::later;
            EntryResults results;
            const Coverage coverage = AnalyseSpan(span, results);
            Store(cycles, entry, results, HasResults(coverage));
            return coverage;
        } catch (...) {
            ClearResults(cycles, entry);
            throw;
        }
    }

    /// Results are complete where HasResults; otherwise they hold the valve alone, where it is known.
    Coverage AnalyseSpan(const Span& span, EntryResults& results) {
        const std::int32_t last = PointIndices(span).Last();
        const Coverage valveCoverage = CoverageOf(curves_.valve, span.a, last);
        const Coverage coverage = WorstCoverage(span);
        reference_.For(span.n);
        std::optional<Harmonic> valve, pressure, flow;
        if (valveCoverage == Coverage::whole)
            valve = HarmonicOf(span, curves_.valve);
        if (coverage == Coverage::whole) {
            pressure = HarmonicOf(span, curves_.pressure);
            flow = HarmonicOf(span, curves_.flow);
        }
        results = EntryResults{};
        if (valve && pressure && flow) {
            results = Combine(*valve, *pressure, *flow);
            const bool isFinal = std::int64_t{last} + curves_.pressure.Info().step <= curves_.provisionalFrom;
            return isFinal ? Coverage::whole : Coverage::provisional;
        }
        results.valve = valve.value_or(Harmonic{});
        return coverage == Coverage::whole ? GapCoverage(span.a, last) : coverage;
    }

  private:
    Coverage WorstCoverage(const Span& span) const {
        const std::int32_t last = PointIndices(span).Last();
        return std::max({CoverageOf(curves_.valve, span.a, last), CoverageOf(curves_.pressure, span.a, last),
                         CoverageOf(curves_.flow, span.a, last)});
    }

    std::optional<Harmonic> HarmonicOf(const Span& span, CurveReader& curve) const {
        const auto signal = Resample(span.n, span.a, span.b, curve);
        if (!signal)
            return std::nullopt;
        const Polar polar = ToPolar(Correlate(*signal, reference_.sine, reference_.cosine, span.n));
        return Harmonic{polar.phase, polar.magnitude};
    }

    /// A sample inside the stretch is missing: a gap, which stays, unless it is the one behind the last
    /// index, which the interpolation needs and which may still come.
    Coverage GapCoverage(std::int32_t first, std::int32_t last) const {
        for (const CurveReader* curve : {&curves_.valve, &curves_.pressure, &curves_.flow})
            if (!curve->Covers(first, static_cast<double>(last) + curve->Info().step))
                return Coverage::later;
        return Coverage::never;
    }

    CycleCurves& curves_;
    std::int16_t step_;
    Reference reference_;
};

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
    Span span;
    std::string curves;
    Coverage coverage = Coverage::later;
    EntryResults results;
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
std::optional<Span> WindowSpan(std::size_t dataset, std::int16_t step) {
    if (!CursorSpanSource())
        return std::nullopt;
    const CursorSpan cursors = CursorSpanSource()(dataset);
    Span span{PointsPerCycle(step, CurrentParameters().period), CursorIndex(cursors.cursor1, cursors),
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
    const std::optional<Span> span = WindowSpan(dataset, step);
    if (!span || span->a == span->b) {  // no time between the cursors: nothing to analyse
        window = WindowState{};
        return;
    }
    const std::string identity = IdentityOf(curves);
    if (window.coverage == Coverage::whole && window.span == *span && window.curves == identity)
        return;
    window = WindowState{*span, identity, Coverage::later, {}};
    window.coverage = Analyser(curves, step).AnalyseSpan(*span, window.results);
    if (!HasResults(window.coverage))
        window.results = EntryResults{};
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
        Store(cycles, static_cast<std::size_t>(count) - 1, window.results, HasResults(window.coverage));
}

/// Cycles that were waiting for their curves, oldest first. One that cannot be computed is reported once and
/// stays without results; one that could not be read is tried again by the next run, and makes this one
/// false.
bool AnalysePending(DatasetRecord& record, CycleCurves& curves, std::vector<std::int32_t>& pending) {
    Analyser analyser(curves, record.step);
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
        if (record.cycleSource == CycleSource::none)
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

std::int32_t PointsPerCycle(std::int16_t step, double periodSeconds) {
    if (step == 0)
        return pointsWithoutStep;
    const double points = IndexUnitsIn(1.0) / std::abs(static_cast<int>(step)) * periodSeconds;
    const auto n = RoundTo<std::int32_t>(points, "Points per cycle");
    if (n > mostPointsPerCycle)
        throw RunTimeError{error_number::overflow, "Points per cycle",
                           "Overflow: a period of " + std::to_string(periodSeconds) + " s has " +
                               std::to_string(n) + " samples"};
    return n;
}

void MakeReference(std::int32_t n, std::vector<double>& sine, std::vector<double>& cosine) {
    const auto count = static_cast<std::size_t>(n > 0 ? n : 0);
    sine.resize(count);
    cosine.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double angle = 2.0 * pi * static_cast<double>(i) / n;
        sine[i] = std::sin(angle);
        cosine[i] = std::cos(angle);
    }
}

std::optional<std::vector<double>> Resample(std::int32_t n, std::int32_t a, std::int32_t b,
                                            CurveReader& curve) {
    std::vector<double> signal(static_cast<std::size_t>(n > 0 ? n : 0));
    if (signal.empty())
        return signal;
    const PointIndices indices({n, a, b});
    for (std::int32_t i = 0; i < n; ++i)
        if (!curve.Fetch(indices.At(i), signal[static_cast<std::size_t>(i)]))
            return std::nullopt;
    return signal;
}

Complex Correlate(std::span<const double> signal, std::span<const double> sine,
                  std::span<const double> cosine, std::int32_t n) {
    const auto count = static_cast<std::size_t>(n > 0 ? n : 0);
    if (signal.size() < count || sine.size() < count || cosine.size() < count)
        throw RunTimeError{error_number::subscriptOutOfRange, "Correlate", "Subscript out of range"};
    double c = 0.0;
    double s = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        c += signal[i] * cosine[i];
        s += signal[i] * sine[i];
    }
    return {CheckedDivide(c, n, "Correlate"), CheckedDivide(s, n, "Correlate")};
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
