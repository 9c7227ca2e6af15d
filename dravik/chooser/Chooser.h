// Puts the acquisition system's dataset chooser behind DBselectA.
#pragma once

#include "platform/DravikLibraries.h"

namespace dravik {

/// Hands the dialog to the loaded library. `api` must outlive it; a QApplication must exist when DBselectA is
/// called.
void RegisterChooser(const vorela::DkBaseApi& api);

}  // namespace dravik
