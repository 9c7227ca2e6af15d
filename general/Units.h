// Units of pressure and flow that recordings come in, and their factors.
#pragma once

#include <optional>
#include <string_view>

namespace vorela {

inline constexpr double pascalsPerPsi = 4.4482216152605 / (0.0254 * 0.0254);
inline constexpr double metresPerFoot = 0.3048;

/// Pascals in one of a unit of pressure. `key`: its name in lower case without blanks, powers as digits
/// ("kgf/cm2").
std::optional<double> PascalsPer(std::string_view key);

/// psi in one of a unit of pressure; capitals, blanks and brackets round it do not count.
std::optional<double> PsiPer(std::string_view unit);

/// bbl/day in one of a unit of volumetric flow.
std::optional<double> BarrelsPerDayPer(std::string_view unit);

/// The unit of a spinner.
bool IsRevolutionsPerSecond(std::string_view unit);

}  // namespace vorela
