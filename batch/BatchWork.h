// The work of vorela-batch: the routines of the window, one after the other, with messages on standard error.
#pragma once

#include "batch/BatchOptions.h"

namespace vorela {

/// Does everything that the options ask for and returns the exit status (exit_status::…).
int RunBatch(const BatchOptions& options);

}  // namespace vorela
