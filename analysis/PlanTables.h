// A plan as texts: the same rows for the dialog, its file and vorela-batch. A header row and one row for each
// entry; numbers as in the grids, "-" where there is none.
#pragma once

#include <string>
#include <vector>

#include "analysis/modPlan.h"
#include "general/DelimitedText.h"

namespace vorela {

/// What concerns the whole test: name and value, without a header.
TextRows PlanSummaryRows(const PlanResult& plan);
TextRows PlanLevelRows(const PlanResult& plan);
TextRows PlanMethodRows(const PlanResult& plan);
/// Amplitudes are those of the fundamental at the upper level; cycles and hours needed stand where an error
/// is wanted. A period without a result says why.
TextRows PlanPeriodRows(const std::vector<PlanPoint>& points);

}  // namespace vorela
