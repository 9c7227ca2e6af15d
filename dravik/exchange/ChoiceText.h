// Choices as users write them. Each throws ChoiceError saying what would be understood.
#pragma once

#include <string>

#include "dravik/exchange/Choices.h"

namespace dravik {

/// "8120", "8120ft" or "2475m" in feet.
double DepthOfText(const std::string& text);
/// One character, "tab" or "blanks".
char SeparatorOfText(const std::string& text);
/// A comma or a point.
char DecimalOfText(const std::string& text);
/// "12" or "12-20".
LineRange LinesOfText(const std::string& text);

}  // namespace dravik
