// Units of pressure and flow that recordings come in, and their factors.
#pragma once

#include <optional>
#include <string_view>

namespace vorela {

/// psi in one of a unit of pressure; capitals, blanks and brackets round it do not count.
std::optional<double> PsiPer(std::string_view unit);

/// bbl/day in one of a unit of volumetric flow.
std::optional<double> BarrelsPerDayPer(std::string_view unit);

/// The unit of a spinner.
bool IsRevolutionsPerSecond(std::string_view unit);

}  // namespace vorela
