// Saving what is sound of a damaged database.
#pragma once

#include <string>

namespace dravik {

struct RecoverRequest {
    std::string database;
    std::string output;  ///< the new database; must not be there yet
};

/// Copies every item, attribute and sample that verifies into a new database and prints a line for each loss
/// (dataset; dataset and curve; dataset, curve and span). The order of datasets and items, the curves' grids,
/// units, scales, how-made marks and valid spans and the records' bytes are kept. The damaged file is never
/// written, nor is what a killed writer left rolled back into it: with such a journal the work is done on a
/// private copy. The new database appears complete or not at all. False when anything was lost. Throws
/// ToolError, UsageError.
bool Recover(const RecoverRequest& request);

}  // namespace dravik
