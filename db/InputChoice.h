// Which pressure and flow curves cannot be analysed together: a derived curve never takes the place of an
// input curve, so a curve that Vorela derives from one of them must not be the other one.
#pragma once

#include <string>

namespace vorela {

/// Why nothing can be derived from the chosen curves, in a sentence or two; "" when everything can.
std::string ChoiceConflict();

/// False after a box that tells the conflict and the way out of it.
bool ChoiceIsUsable();

}  // namespace vorela
