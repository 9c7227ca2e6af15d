// Cycle analysis: phase and magnitude of the fundamental of valve, pressure and flow, one valve cycle at a
// time, and over the span between the two time cursors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "analysis/CycleAnalyser.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"

namespace vorela {

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
