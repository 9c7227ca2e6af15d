// What the index values of time-driven data mean: hundredths of a second. All that turns one into the other
// goes through here, so that no division of whole numbers drops the fraction of a second.
#pragma once

#include <concepts>
#include <cstdint>

namespace vorela {

/// Seconds of an index value, or of a distance of two.
constexpr double SecondsOf(double indexUnits) {
    return indexUnits / 100.0;
}
constexpr double SecondsOf(std::integral auto indexUnits) {
    return SecondsOf(static_cast<double>(indexUnits));
}

/// Index units in some seconds; not rounded.
constexpr double IndexUnitsIn(double seconds) {
    return seconds * 100.0;
}
constexpr std::int64_t IndexUnitsIn(std::integral auto wholeSeconds) {
    return std::int64_t{wholeSeconds} * 100;
}

}  // namespace vorela
