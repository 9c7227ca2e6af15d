// Cycle analysis: phase and magnitude of the fundamental of valve, pressure and flow, one valve cycle at a
// time, and over the span between the two time cursors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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

/// The curves that a dataset's cycles are computed from.
CycleCurves AttachCycleCurves(const Database& database, std::size_t dataset, CycleSource source);

/// Where the window analysis gets its span: cursor positions in percent of the plotted range, and that range
/// in whole seconds. Handed down by the composition (the cursors live in the window, the range in the plot).
struct CursorSpan {
    double cursor1 = 0;
    double cursor2 = 0;
    std::int32_t rangeStart = 0;  ///< s
    std::int32_t rangeEnd = 0;    ///< s
};
void SetCursorSpanSource(std::function<CursorSpan(std::size_t dataset)> source);

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

/// Connects the analysis with the valve reconstruction (SetCycleAnalysis).
/// A boundary records start and period of the cycle that it completes; the results follow when the run ends
/// and its curves can be read, for every cycle that they cover by then. The others are analysed at the end of
/// a later run. Live cycles are analysed from the source that the record was last calculated from.
void InstallCycleAnalysis();

namespace step {
inline constexpr const char* analysingCycle = "Analysing cycle";
inline constexpr const char* analysingWindow = "Analysing window";
inline constexpr const char* recalculatingCycles = "Recalculating cycle info";
}  // namespace step

}  // namespace vorela
