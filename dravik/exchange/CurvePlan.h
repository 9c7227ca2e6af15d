// Which columns become curves, under which names, in which units.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/ColumnStatistics.h"
#include "dravik/exchange/Header.h"
#include "dravik/exchange/Plan.h"

namespace dravik {

inline constexpr std::size_t longestCurveName = 10;  ///< characters

/// A name that the database takes: upper case, what it refuses replaced by _, cut to 10 characters, no other
/// of `taken`.
std::string CurveName(std::string_view source, const std::vector<std::string>& taken);

/// Fills the plan's columns, with notes and problems. `timeColumns`: no curves.
void PlanCurves(const std::vector<NameAndUnit>& names, const std::vector<std::string>& captions,
                const std::vector<std::size_t>& timeColumns, const std::vector<ColumnStatistics>& statistics,
                const Choices& choices, ImportPlan& plan);

}  // namespace dravik
