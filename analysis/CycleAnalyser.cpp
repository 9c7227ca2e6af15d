#include "analysis/CycleAnalyser.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "db/IndexUnits.h"
#include "general/CheckedMath.h"
#include "general/RunTimeError.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr std::int32_t pointsWithoutStep = 20;
/// Beyond this (a day at 100 Hz) the points of one period are not a valve test but a slip in the parameters,
/// and the working arrays would take the machine down.
constexpr std::int32_t mostPointsPerCycle = 8'640'000;

/// The indices of a span's points: a + i·step, to the nearest index.
class PointIndices {
  public:
    /// Throws division by zero for a span without points.
    explicit PointIndices(const CycleSpan& span)
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

CycleResults Combine(const Harmonic& valve, const Harmonic& pressure, const Harmonic& flow) {
    const double relativePressure = valve.phase - pressure.phase;
    const double relativeFlow = valve.phase - flow.phase;
    // A level that does not respond at all counts as a response of 1, so that its index is the flow
    // magnitude.
    const double divisor = pressure.magnitude == 0.0 ? 1.0 : pressure.magnitude;
    return {valve, pressure, flow, CheckedDivide(flow.magnitude, divisor, "Cycle ratio"),
            Wrap(relativeFlow - relativePressure + 180.0, -180.0, 180.0)};
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

}  // namespace

void StoreResults(CycleRecord& cycles, std::size_t entry, const CycleResults& results, bool analysed) {
    CheckedAt(cycles.valve, static_cast<std::int64_t>(entry), "Cycle record") = results.valve;
    cycles.pressure[entry] = results.pressure;
    cycles.flow[entry] = results.flow;
    cycles.ratio[entry] = results.ratio;
    cycles.phaseLag[entry] = results.phaseLag;
    cycles.analysed[entry] = analysed ? 1 : 0;
}

void ClearResults(CycleRecord& cycles, std::size_t entry) {
    StoreResults(cycles, entry, CycleResults{}, false);
}

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

void CycleAnalyser::Reference::For(std::int32_t points) {
    if (n == points)
        return;
    MakeReference(points, sine, cosine);
    n = points;
}

Coverage CycleAnalyser::AnalyseEntry(CycleRecord& cycles, std::int64_t n) {
    const double period = MeasurePeriod(cycles, n);
    const auto entry = static_cast<std::size_t>(n - 1);
    const bool valveKnown = cycles.analysed[entry] == 0 && cycles.valve[entry].magnitude > 0.0;
    const std::int32_t a = cycles.start[entry];
    try {
        const CycleSpan span{PointsPerCycle(step_, period), a,
                             RoundTo<std::int32_t>(a + IndexUnitsIn(period), "Resample")};
        // A cycle that goes on waiting costs nothing: the valve's curve does not change any more.
        if (valveKnown && WorstCoverage(span) == Coverage::later)
            return Coverage::later;
        CycleResults results;
        const Coverage coverage = AnalyseSpan(span, results);
        StoreResults(cycles, entry, results, HasResults(coverage));
        return coverage;
    } catch (...) {
        ClearResults(cycles, entry);
        throw;
    }
}

Coverage CycleAnalyser::AnalyseSpan(const CycleSpan& span, CycleResults& results) {
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
    results = CycleResults{};
    if (valve && pressure && flow) {
        results = Combine(*valve, *pressure, *flow);
        const bool isFinal = std::int64_t{last} + curves_.pressure.Info().step <= curves_.provisionalFrom;
        return isFinal ? Coverage::whole : Coverage::provisional;
    }
    results.valve = valve.value_or(Harmonic{});
    return coverage == Coverage::whole ? GapCoverage(span.a, last) : coverage;
}

Coverage CycleAnalyser::WorstCoverage(const CycleSpan& span) const {
    const std::int32_t last = PointIndices(span).Last();
    return std::max({CoverageOf(curves_.valve, span.a, last), CoverageOf(curves_.pressure, span.a, last),
                     CoverageOf(curves_.flow, span.a, last)});
}

std::optional<Harmonic> CycleAnalyser::HarmonicOf(const CycleSpan& span, CurveReader& curve) const {
    const auto signal = Resample(span.n, span.a, span.b, curve);
    if (!signal)
        return std::nullopt;
    const Polar polar = ToPolar(Correlate(*signal, reference_.sine, reference_.cosine, span.n));
    return Harmonic{polar.phase, polar.magnitude};
}

/// A sample inside the stretch is missing: a gap, which stays, unless it is the one behind the last index,
/// which the interpolation needs and which may still come.
Coverage CycleAnalyser::GapCoverage(std::int32_t first, std::int32_t last) const {
    for (const CurveReader* curve : {&curves_.valve, &curves_.pressure, &curves_.flow})
        if (!curve->Covers(first, static_cast<double>(last) + curve->Info().step))
            return Coverage::later;
    return Coverage::never;
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

}  // namespace vorela
