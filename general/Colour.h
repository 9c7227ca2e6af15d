#pragma once

#include <cstdint>

namespace vorela {

/// A colour of pictures and grids, 0 to 255 each.
struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    bool operator==(const Colour&) const = default;
};

}  // namespace vorela
