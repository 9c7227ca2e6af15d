// Time cursors that stay at their times while the plotted range grows under them.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "follow/StartUp.h"
#include "plot/TimeRange.h"

namespace vorela {

/// Positions are percent of the plotted range; held are the times they stand for, of one level. The times are
/// taken once and not again from the positions they give, so that nothing adds up over a long recording.
class CursorHold {
  public:
    /// The user put the cursors there.
    void Take(const std::string& level, const PlottedRange& range, CursorPositions positions);
    void Forget() { level_.clear(); }
    /// Where the cursors stand in another range of the same level; nothing for another level and for a range
    /// without width.
    std::optional<CursorPositions> In(const std::string& level, const PlottedRange& range) const;

  private:
    std::string level_;  ///< empty: nothing is held
    std::array<double, 2> seconds_{};
};

}  // namespace vorela
