// What a picture that leaves the program says of itself.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vorela {

/// Of a selected dataset: database, level, depth, start of recording, period of test, how its filtered
/// pressure curve was made, program version. What is not known is left out.
std::vector<std::string> FooterItems(std::size_t dataset);

}  // namespace vorela
