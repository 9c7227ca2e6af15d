// What a picture that leaves the program says of itself.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vorela {

/// Of a selected dataset: database, level, depth, start of recording, period of test, how its filtered
/// pressure curve was made, program version. What is not known is left out.
std::vector<std::string> FooterItems(std::size_t dataset);

/// Of a picture of all selected levels: what they have in common once, what differs for each.
std::vector<std::string> FooterItemsOfAll();

}  // namespace vorela
