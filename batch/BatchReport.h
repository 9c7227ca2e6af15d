// What vorela-batch makes of the results: the table on standard output and the JSON document.
#pragma once

#include <string>
#include <vector>

#include "analysis/ExactTypes.h"

namespace vorela {

/// A table as text: first column to the left, the others to the right, two blanks between.
std::string Aligned(const std::vector<std::vector<std::string>>& rows);

/// Levels and intervals as tables, numbers as in the grids, and the exact results behind them.
std::string ResultTable(const ExactResults& exact);

/// The results in full precision (round-trip decimals), two blanks of indentation, a line feed at the end. A
/// value that could not be computed is null.
std::string ResultJson(const ExactResults& exact);

}  // namespace vorela
