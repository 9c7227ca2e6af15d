// The exact results as tables of text, for the window and the programs alike: rows of cells, the first row a
// header; empty where there is nothing to list.
#pragma once

#include <string>
#include <vector>

#include "analysis/ExactTypes.h"
#include "general/DelimitedText.h"

namespace vorela {

/// One row for each interval: the recommended result.
TextRows ExactRows(const ExactResults& results);
/// The same between the quicklook's permeability and skin and what is to be said of the interval.
TextRows ExactComparisonRows(const ExactResults& results);
/// Every method of an interval; the recommended one is marked.
TextRows ExactMethodRows(const ExactInterval& interval, double confidence);
TextRows ExactCycleRows(const ExactLevel& level);
TextRows ExactBudgetRows(const ExactInterval& interval);
/// What is to be said of the intervals, a line each.
std::vector<std::string> ExactMessages(const ExactResults& results);

/// Numbers with as many decimals as their standard error bears, two digits of it; "-" where there is none.
std::string PermeabilityText(const ExactEstimate& estimate);
std::string SkinText(const ExactEstimate& estimate);
/// "12 to 15", "from 12" without an upper end, "-" where nothing is known.
std::string PermeabilityRangeText(const ExactEstimate& estimate);
std::string SkinRangeText(const ExactEstimate& estimate);

}  // namespace vorela
