// Planning a test by vorela-batch: no database, only inputs.
#pragma once

#include "batch/BatchOptions.h"

namespace vorela {

/// Plans by the options' inputs over the parameters given with --settings and --set, and writes table or
/// JSON. Throws Stop (status 2) for an input that is unknown or cannot be.
int RunPlan(const BatchOptions& options);

}  // namespace vorela
