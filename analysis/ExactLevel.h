// One level of the exact analysis: the harmonics of its flow over its pressure with their scatter, and what
// its single cycles are worth.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/ExactSignals.h"
#include "analysis/ExactTypes.h"

namespace vorela {

/// The curves of a level as recorded, and its valve cycles.
struct LevelRecord {
    std::string dataset;
    SampledCurve pressure;  ///< psi
    SampledCurve flow;      ///< bbl/day, downhole
    std::vector<std::int32_t>
        boundaries;  ///< starts of the cycles and the end of the last, hundredths of a second
};

/// The cycles that are used: the longest run of whole ones whose gaps, if any, could be filled.
struct CycleRun {
    std::int32_t first = 0, last = 0;   ///< 1-based; 0: none
    std::vector<std::int32_t> periods;  ///< of each; 2 and more where marks of the valve were lost
    std::int32_t total = 0;
    double from = 0, to = 0;  ///< hundredths of a second
    double Period() const { return (to - from) / total; }
};

/// Fills the gaps of the record's curves on the way. Nothing is thrown for what a record may hold: a level
/// without harmonics says why in `fault`.
ExactLevel AnalyseLevel(LevelRecord record, const ExactSettings& settings);

}  // namespace vorela
