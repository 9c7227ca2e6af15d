// The acquisition system's filtered flow curve ("_f"), made again with its own filter library.
#pragma once

#include <cstddef>
#include <string>

#include "signal/SelectedDatasets.h"

namespace vorela {

/// The "_f" curve is in every selected dataset.
bool FilteredFlowExists();
/// One cleared slot for each selected dataset (at least one).
void ResetFilterSlots();
/// Destroys every filter that lives. Before the filter library is released.
void ReleaseAllFilters();

/// How the filtered flow of the current parameters is made: the text that such a curve carries.
std::string FilteredFlowDescription();

/// The interactive entry.
bool CreateFilteredFlow(bool askBeforeOverwriting);
/// How the curve of dataset `index` stands against what FilterDatasetFlow would leave. For guarded bodies:
/// throws.
CurveStanding FilteredFlowStanding(const Database& database, std::size_t index);
/// The worker for one dataset. A recording that stands in the place of the curve is left as it is.
bool FilterDatasetFlow(const Database& database, std::size_t index, bool incremental);

}  // namespace vorela
