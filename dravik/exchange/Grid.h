// The even grid that the rows of a file are put on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/TimeBase.h"

namespace dravik {

enum class GridMethod : std::uint8_t { asTheyAre, interpolated, mean };

/// Row p of the grid stands at file index `origin + p * step` (index units as read from the file) and is
/// stored at `firstIndex + p * step`.
struct GridPlan {
    std::int16_t indexKind = 1;
    std::int16_t step = 0;
    std::int32_t firstIndex = 0;
    std::int64_t rows = 0;
    GridMethod method = GridMethod::asTheyAre;
    double origin = 0.0;
    double snap = 0.0;      ///< rows so near a place lie on it
    double gapLimit = 0.0;  ///< neighbours further apart leave a gap between them
    double fill = 0.0;

    std::int32_t LastIndex() const { return static_cast<std::int32_t>(firstIndex + (rows - 1) * step); }
};

struct GridDecision {
    GridPlan grid;
    std::vector<std::string> notes;
    std::vector<std::string> problems;
};

/// `zero`: the file index, whole seconds, that becomes index 0. `timeUnitHelps`: a --time-unit may settle
/// steps that are too short.
GridDecision DecideGrid(const TimeBaseSummary& times, const Choices& choices, std::int16_t indexKind,
                        double zero);

/// Index units as seconds or feet.
std::string IndexSpan(double indexUnits, std::int16_t indexKind);

}  // namespace dravik
