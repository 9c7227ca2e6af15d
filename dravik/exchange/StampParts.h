// Dates and clocks spread over several columns: year, month, day, hour, minute, second.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/Numbers.h"
#include "dravik/exchange/RowReader.h"
#include "dravik/exchange/StampCache.h"

namespace dravik {

/// What a column holds of a stamp; `cell`: a date or a clock written out.
enum class StampPart : std::uint8_t { year, month, day, dayOfYear, hour, minute, second, cell };
inline constexpr std::size_t stampParts = 7;  ///< without `cell`

/// One a column: the part that its name tells, in the languages of the time columns' names. "mm" and "m" are
/// minutes behind an hour, else months; letters alone count beside a year.
std::vector<std::optional<StampPart>> PartsNamed(const std::vector<std::string>& names);

/// Reads columns and the part that each holds: whole numbers within their range, the finest with a fraction,
/// the coarsest of a clock unbounded.
bool ReadStampParts(const Row& row, const std::vector<std::size_t>& columns,
                    const std::vector<StampPart>& parts, const NumberFormat& numbers,
                    std::array<StampCache, 2>& cells, Stamp& stamp);

/// Date and clock of two cells, in either order. False when both tell the same.
bool JoinStamps(Stamp& stamp, const Stamp& second);

}  // namespace dravik
