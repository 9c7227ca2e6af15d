// The exact results as tables of text, for the window and the programs alike: rows of cells, the first row a
// header; empty where there is nothing to list.
#pragma once

#include <string>
#include <vector>

#include "analysis/ExactTypes.h"

namespace vorela {

using TextRows = std::vector<std::vector<std::string>>;

/// One row for each interval: the recommended result.
TextRows ExactRows(const ExactResults& results);
/// The same between the quicklook's permeability and skin and what is to be said of the interval.
TextRows ExactComparisonRows(const ExactResults& results);
/// Every method of an interval; the recommended one is marked.
TextRows ExactMethodRows(const ExactInterval& interval);
TextRows ExactCycleRows(const ExactLevel& level);
TextRows ExactBudgetRows(const ExactInterval& interval);
/// What is to be said of the intervals, a line each.
std::vector<std::string> ExactMessages(const ExactResults& results);

/// "12 to 15", "from 12" without an upper end, "-" where nothing is known.
std::string RangeCell(const ExactRange& range);

/// Rows as a file of separated values: lines end in CR LF, cells that need it are quoted.
std::string SeparatedText(const TextRows& rows, char separator);

}  // namespace vorela
