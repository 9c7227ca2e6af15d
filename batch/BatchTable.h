// The intervals of a well as lines of a table that many wells share: one line an interval, the same columns
// always.
#pragma once

#include <string>

#include "analysis/ExactTypes.h"

namespace vorela {

/// Comma-separated, one header, a line feed after each line; numbers in full precision (round-trip decimals),
/// empty where a value could not be computed or an end of a range is not known.
std::string IntervalTable(const ExactResults& exact);

}  // namespace vorela
