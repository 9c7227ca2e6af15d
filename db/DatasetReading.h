// Records of datasets from the database: curves, index, depth, extents and state of recording.
#pragma once

#include <string>
#include <vector>

#include "db/DatasetRecord.h"

namespace vorela {

class Database;

/// Reads named datasets of one database into new records: time-driven ones only, names and paths within the
/// record's widths. False when there are none or one was refused (after its message). For guarded bodies.
bool ReadDatasetRecords(const std::string& path, const std::vector<std::string>& names,
                        std::vector<DatasetRecord>& newRecords);

/// Reads the names and extents of the record's curves again, by the handle that a pass holds where it is of
/// the dataset's database; else by one of its own. False after the box of a database that does not open. For
/// guarded bodies.
bool ReadCurvesAgain(DatasetRecord& record, const Database* held);

}  // namespace vorela
