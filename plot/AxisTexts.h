// Texts of gridlines that tell neighbours apart.
#pragma once

#include <string>
#include <vector>

namespace vorela {

/// One text for each value. The number format rule where it tells neighbours apart; otherwise all of them get
/// as many decimals as show every value to a twentieth of the distance to its neighbour. Values that do not
/// differ keep the rule.
std::vector<std::string> AxisTexts(const std::vector<double>& values);

}  // namespace vorela
