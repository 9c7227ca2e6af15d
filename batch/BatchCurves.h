// The derived curves and cycles of a batch run.
#pragma once

#include <cstddef>
#include <functional>

#include "batch/BatchOptions.h"

namespace vorela {

/// Makes the derived curves that are missing or end before the record does, all of them with --recreate, and
/// finds the cycles of every selected dataset; `cyclesFound` is told of each as soon as it has them. Throws
/// Stop; for a read-only database that lacks a curve before anything is done.
void MakeCurvesAndCycles(const BatchOptions& options,
                         const std::function<void(std::size_t dataset)>& cyclesFound);

}  // namespace vorela
