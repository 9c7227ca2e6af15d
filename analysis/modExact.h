// Permeability and skin of the intervals from the exact solution for a well of finite radius, with their
// uncertainty: beside the quicklook, which stays as it is. Computed only when asked for, from the unfiltered
// curves and the cycles found; nothing of the other records is written.
#pragma once

#include <string>

#include "analysis/ExactTypes.h"
#include "general/SettingsTable.h"

namespace vorela {

/// The choices in force, kept in the settings section `[Exact]`.
ExactSettings& CurrentExactSettings();
/// A stored value that cannot be is taken as the default.
void ReadExactSettings();
void WriteExactSettings();
/// What the command line can set of it.
SettingsSection ExactSettingsSection();
/// What choices that are each in range may have wrong together; "" when nothing.
std::string ExactSettingsFault(const ExactSettings& settings);

/// The results for the selection as it stands. Each curve is read once, in one block. What fails costs its
/// own level and interval, and is said there; nothing is shown and nothing is thrown. Calling it again as a
/// recording goes on gives what one call over the final data gives.
ExactResults ComputeExact(const ExactSettings& settings);

}  // namespace vorela
