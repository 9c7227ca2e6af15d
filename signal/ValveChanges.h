// Exact times of the valve's position changes, from the tool's curves of position code and timers.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "db/Curves.h"
#include "signal/DerivedRun.h"

namespace vorela {

/// Time from a position change to a sample in hundredths of a second, from the timer at the change (c) and at
/// the sample (m); 16-bit timer of 4,000,000/1024 ticks per second that wraps.
std::int32_t ElapsedTicks(double changeTimer, double sampleTimer);

/// A change of the valve's position code. Times in hundredths of a second.
struct ValveChange {
    std::int32_t previous = 0;  ///< time of the change before, or the first index
    std::int32_t at = 0;        ///< time of this one
    std::int32_t oldCode = 0;
    std::int32_t newCode = 0;
};

/// The tool's three curves. Between two samples the one before holds.
class ToolCurves {
  public:
    ToolCurves(const Database& database, const std::string& dataset);

    /// To the last index for which all three curves are there: a recorder may have written one before the
    /// other.
    GridSpan Recorded() const;

    /// Code and time of the last change of the sample at `index`; nothing when one of the three cannot be
    /// read.
    struct Sample {
        std::int32_t code = 0;
        double changeTimer = 0;
        double timer = 0;
    };
    std::optional<Sample> At(std::int32_t index);

  private:
    CurveReader code_;
    CurveReader changeTimer_;
    CurveReader timer_;
};

/// Where the walk over the tool's samples stands. Times in hundredths of a second.
struct WalkState {
    DerivedMark mark;
    std::optional<std::int32_t> lastCode;
    std::optional<std::int32_t> lastChange;
    double valveState = 1.0;  ///< returned for a code that is none
};

/// Walks the samples of a piece and gives the changes found.
std::vector<ValveChange> Walk(ToolCurves& tool, const GridSpan& piece, WalkState& state,
                              RunProgress& progress);

/// Where a walk over all that is recorded ends that writes nothing; nothing when `found` is false. No
/// extension goes on from its mark, which names no curve.
std::optional<WalkState> WholeWalk(ToolCurves& tool, const char* status,
                                   const std::function<bool(const std::vector<ValveChange>& changes)>& found);

}  // namespace vorela
