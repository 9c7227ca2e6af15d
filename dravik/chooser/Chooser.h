// Puts the acquisition system's dataset chooser behind DBselectA.
#pragma once

#include <string>

#include "platform/DravikLibraries.h"

namespace dravik {

/// Hands the dialog to the loaded library. `api` must outlive it; a QApplication must exist when DBselectA is
/// called.
void RegisterChooser(const vorela::DkBaseApi& api);

/// The chooser that comes next opens this database.
void OfferDatabase(const std::string& path);

}  // namespace dravik
