// The acquisition system's filtered flow curve ("_f"), made again with its own filter library.
#pragma once

#include <cstddef>
#include <string>

namespace vorela {

/// The "_f" curve is in every selected dataset.
bool FilteredFlowExists();
/// One cleared slot for each selected dataset (at least one).
void ResetFilterSlots();
/// Destroys every filter that lives. Before the filter library is released.
void ReleaseAllFilters();
/// "Gaussian,2.5"
std::string FilterDefinition(int filterType, double lengthSeconds);

/// How the filtered flow of the current parameters is made: the text that such a curve carries.
std::string FilteredFlowDescription();

/// The interactive entry.
bool CreateFilteredFlow(bool askBeforeOverwriting);
/// The worker for one dataset.
bool FilterDatasetFlow(std::size_t index, bool incremental);

}  // namespace vorela
