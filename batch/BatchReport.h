// What vorela-batch makes of the results: the table on standard output and the JSON document.
#pragma once

#include <string>

namespace vorela {

/// Levels and intervals as a table, numbers as in the grids.
std::string ResultTable();

/// The results in full precision (round-trip decimals), two blanks of indentation, a line feed at the end. A
/// value that could not be computed is null.
std::string ResultJson();

}  // namespace vorela
