// The pens and brushes of a drawing: made once for each drawing, deleted after it.
#pragma once

#include <array>
#include <cstddef>

#include "plot/DrawingSurface.h"

namespace vorela {

inline constexpr std::size_t penCount = 13;
inline constexpr std::size_t brushCount = 8;

/// Pens by their use; the value is the pen's number in order of creation, from 1.
enum class PlotPen {
    black = 1,  ///< general black lines
    filteredFlow = 1,
    frame = 1,
    none = 3,  ///< selected before drawing starts
    pressure = 4,
    cursor1 = 5,  ///< dotted red
    grid = 6,     ///< light grey
    flow = 7,
    cursor2 = 8,  ///< dotted blue
    green = 9,
    cyan = 10,
    filteredPressure = 12,
    valve = 13,
};

/// In order of creation. Monochrome: every pen black, every brush white, styles and widths as they are.
std::array<PenDescription, penCount> PensOf(bool monochrome);
std::array<Colour, brushCount> BrushesOf(bool monochrome);

class DrawingTools {
  public:
    DrawingTools(DrawingSurface& surface, bool monochrome);
    ~DrawingTools();
    DrawingTools(const DrawingTools&) = delete;
    DrawingTools& operator=(const DrawingTools&) = delete;

    void Select(PlotPen pen) { surface_.SelectObject(pens_[static_cast<std::size_t>(pen) - 1]); }

  private:
    DrawingSurface& surface_;
    std::array<DrawingObject, penCount> pens_{};
    std::array<DrawingObject, brushCount> brushes_{};
};

}  // namespace vorela
