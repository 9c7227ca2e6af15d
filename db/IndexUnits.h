// What the index values of time-driven data mean.
#pragma once

#include <cstdint>

namespace vorela {

/// Index values are hundredths of a second.
inline constexpr std::int32_t indexUnitsPerSecond = 100;

}  // namespace vorela
