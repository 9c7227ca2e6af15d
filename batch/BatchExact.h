// The exact results as vorela-batch shows them: a table and an object of the JSON document.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "analysis/ExactTypes.h"

namespace vorela {

/// Rows of cells, the first a header: one for each interval. Empty without intervals.
std::vector<std::vector<std::string>> ExactRows(const ExactResults& results);
/// What is to be said of the intervals, a line each.
std::vector<std::string> ExactMessages(const ExactResults& results);

nlohmann::ordered_json ExactJson(const ExactResults& results);

}  // namespace vorela
