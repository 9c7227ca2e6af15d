// The derived curves and cycles of a batch run.
#pragma once

#include "batch/BatchOptions.h"

namespace vorela {

/// Makes the derived curves that are missing or end before the record does, all of them with --recreate, and
/// finds the cycles of every selected dataset. Throws Stop; for a read-only database that lacks a curve
/// before anything is done.
void MakeCurvesAndCycles(const BatchOptions& options);

}  // namespace vorela
