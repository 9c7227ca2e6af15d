// Which levels a batch run works on.
#pragma once

#include "batch/BatchOptions.h"

namespace vorela {

/// Selects the datasets and curves that the options ask for, deepest first. Throws Stop when they cannot be
/// had or when an option names a level or interval that is not there. Writes nothing.
void SelectForBatch(const BatchOptions& options);

/// Says on standard error what is doubtful about the chosen curves.
void WarnOfInput();

}  // namespace vorela
