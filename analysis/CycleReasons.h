// Why cycles have no results.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vorela {

/// One line for each cause among the real cycles of a dataset that have no results, in the order of the
/// cycles: "cycles 4, 5 without results: gap in ZG F from 120.5 s to 130 s". Reads the curves that the
/// results are computed from; throws when they cannot be read.
std::vector<std::string> ReasonsForMissingResults(std::size_t dataset);

/// ResultHints(), each of a selected cycle with its reason: "LEVEL2: cycle 4 has no results: gap in ZG from
/// 120.5 s to 130 s". A level whose curves cannot be read goes without.
std::vector<std::string> ExplainedResultHints();

}  // namespace vorela
