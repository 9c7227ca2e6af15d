// Which levels a batch run works on.
#pragma once

#include <functional>

#include "batch/BatchOptions.h"

namespace vorela {

/// Waits, saying so once, for a database that is being made: an empty file, or one that lacks the datasets
/// asked for (any dataset when none is named). At once true for every other file; false when `stopAsked`
/// ended the wait.
bool WaitForDatasets(const BatchOptions& options, const std::function<bool()>& stopAsked);

/// Selects the datasets and curves that the options ask for, deepest first. Throws Stop when they cannot be
/// had or when an option names a level or interval that is not there. Writes nothing.
void SelectForBatch(const BatchOptions& options);

/// Says on standard error what is doubtful about the chosen curves.
void WarnOfInput();

}  // namespace vorela
