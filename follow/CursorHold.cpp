#include "follow/CursorHold.h"

namespace vorela {

void CursorHold::Take(const std::string& level, const PlottedRange& range, CursorPositions positions) {
    level_ = level;
    seconds_ = {SecondsAt(range, positions.cursor1), SecondsAt(range, positions.cursor2)};
}

std::optional<CursorPositions> CursorHold::In(const std::string& level, const PlottedRange& range) const {
    if (level_.empty() || level != level_ || range.start == range.end)
        return std::nullopt;
    return CursorPositions{static_cast<float>(PercentAt(range, seconds_[0])),
                           static_cast<float>(PercentAt(range, seconds_[1]))};
}

}  // namespace vorela
