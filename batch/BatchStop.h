// How the parts of a batch run end it and speak.
#pragma once

#include <string>
#include <vector>

#include "batch/BatchOptions.h"

namespace vorela {

/// Thrown to end the work with a line on standard error (none when a routine has told already).
struct Stop {
    int exitStatus = exit_status::failed;
    std::string text;
};

/// A line on standard error.
void Say(const std::string& text);
/// Says what of the settings file is not used as it stands: a slip there would be a number that nobody meant.
void SayOfSettings(const BatchOptions& options);
/// What was said since the program began.
const std::vector<std::string>& Said();

/// Ends the work when a routine, which has told why, failed.
inline void Require(bool routineSucceeded) {
    if (!routineSucceeded)
        throw Stop{};
}

}  // namespace vorela
