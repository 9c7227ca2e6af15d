// A planned file into a dataset: as a new one, or its curves beside those of a dataset that exists. Within
// the caller's transaction.
#pragma once

#include <cstdint>
#include <string>

#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/GriddedSource.h"
#include "dravik/exchange/Plan.h"

namespace dravik {

/// The start of recording to store: the file's own, else when it was last written.
std::int32_t RecordingStart(const ImportPlan& plan);

/// The grid and start of a dataset that curves are to join. Throws DatasetError for one that is not there,
/// holds no samples or is being recorded.
TargetGrid TargetOf(const Database& database, const std::string& dataset);
/// The same of a dataset that this plan is going to make.
TargetGrid TargetOf(const ImportPlan& plan);

/// Throws DatasetError for a name that the database refuses and for a dataset that exists unless `replace` is
/// set; ImportStopped when the source's progress says so.
void StoreDataset(Database& database, const std::string& dataset, GriddedSource& source, bool replace);
/// Throws DatasetError when the dataset has a curve of the same name; ImportStopped.
void MergeCurves(Database& database, const std::string& dataset, GriddedSource& source);

}  // namespace dravik
