// The exact results as an object of the JSON document of vorela-batch.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "analysis/ExactTypes.h"

namespace vorela {

/// A line an input, also of a plan.
nlohmann::ordered_json BudgetJson(const std::vector<ExactBudgetLine>& budget);
nlohmann::ordered_json ExactJson(const ExactResults& results);

}  // namespace vorela
