// The arithmetic of one stretch of a record that is taken as a valve cycle: points, correlation with a sine
// of one period, and what the fundamentals of valve, pressure and flow say together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "analysis/modComplex.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"

namespace vorela {

/// Behind every index: no sample there can change any more.
inline constexpr std::int32_t noIndex = std::numeric_limits<std::int32_t>::max();

/// The three curves of an analysis, attached. Pressure and flow samples from index `provisionalFrom` on may
/// still change with what is recorded next: cycles that reach there have results and are analysed again.
struct CycleCurves {
    CurveReader valve;
    CurveReader pressure;
    CurveReader flow;
    std::int32_t provisionalFrom = noIndex;
};

/// N samples in one period for a sampling step in hundredths of a second (its sign does not count); 20 when
/// the step is 0. Throws overflow (6) beyond 8,640,000.
std::int32_t PointsPerCycle(std::int16_t step, double periodSeconds);
/// sin and cos of 2πi/N.
void MakeReference(std::int32_t n, std::vector<double>& sine, std::vector<double>& cosine);
/// N values of the curve from index a (included) to b (excluded) in equal steps; nothing when one is not
/// available.
std::optional<std::vector<double>> Resample(std::int32_t n, std::int32_t a, std::int32_t b,
                                            CurveReader& curve);
/// (Σ x·cos / N, Σ x·sin / N), the sums over i = 0 … n − 1. Throws division by zero (11) for n = 0 and
/// subscript out of range (9) when an array is shorter than n.
Complex Correlate(std::span<const double> signal, std::span<const double> sine,
                  std::span<const double> cosine, std::int32_t n);

/// A stretch of the record that is taken as one period: n points from index a (included) to b (excluded).
struct CycleSpan {
    std::int32_t n = 0;
    std::int32_t a = 0;
    std::int32_t b = 0;

    bool operator==(const CycleSpan&) const = default;
};

/// Phases and magnitudes of one cycle and what follows from them.
struct CycleResults {
    Harmonic valve, pressure, flow;
    double ratio = 0.0;
    double phaseLag = 0.0;  ///< degrees
};

/// Into the record's entry (0-based).
void StoreResults(CycleRecord& cycles, std::size_t entry, const CycleResults& results, bool analysed);
void ClearResults(CycleRecord& cycles, std::size_t entry);

/// Period in seconds of cycle n (1-based), stored at its entry: the distance to the next boundary, or the
/// period of test.
double MeasurePeriod(CycleRecord& cycles, std::int64_t n);

/// What is known about a stretch of a curve, from best to worst. `provisional`: all of it, but samples in it
/// may still change with what is recorded next. `later`: the curve, still growing, ends inside the stretch.
/// `never`: the stretch begins before the curve does, or holds a gap.
enum class Coverage { whole, provisional, later, never };

inline bool HasResults(Coverage coverage) {
    return coverage <= Coverage::provisional;
}

/// Analyses stretches of one dataset over the same attached curves.
class CycleAnalyser {
  public:
    CycleAnalyser(CycleCurves& curves, std::int16_t step) : curves_(curves), step_(step) {}

    /// Cycle n (1-based) of the record: period, results where all three curves cover it. What stands at its
    /// entry is of the same curves, or blank. A cycle that cannot be computed throws; its entry is blank
    /// then.
    Coverage AnalyseEntry(CycleRecord& cycles, std::int64_t n);

    /// Results are complete where HasResults; otherwise they hold the valve alone, where it is known.
    Coverage AnalyseSpan(const CycleSpan& span, CycleResults& results);

  private:
    struct Reference {
        std::int32_t n = -1;
        std::vector<double> sine, cosine;

        /// Rebuilt only when the number of points changes; neighbouring cycles mostly share it.
        void For(std::int32_t points);
    };

    Coverage WorstCoverage(const CycleSpan& span) const;
    std::optional<Harmonic> HarmonicOf(const CycleSpan& span, CurveReader& curve) const;
    Coverage GapCoverage(std::int32_t first, std::int32_t last) const;

    CycleCurves& curves_;
    std::int16_t step_;
    Reference reference_;
};

}  // namespace vorela
