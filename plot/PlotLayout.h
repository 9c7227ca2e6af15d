// Where the plots stand in the picture. Computed in a logical space of 10000 × 10000 units over the picture,
// handed out in device units.
#pragma once

#include <cstdint>
#include <vector>

#include "plot/DrawingSurface.h"

namespace vorela {

inline constexpr int logicalExtent = 10000;

/// Plot area of a cell, device units.
struct PlotCell {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    int columnSpacing = 0;  ///< between vertical gridlines
    int rowSpacing = 0;     ///< between horizontal gridlines
    bool operator==(const PlotCell&) const = default;
};

struct PlotLayout {
    double xScale = 1;  ///< device units per logical unit
    double yScale = 1;
    int textHeight = 0;           ///< logical; also the left and right margin
    int fontHeight = 0;           ///< device units
    int gap = 0;                  ///< between text and lines, device units
    std::vector<PlotCell> cells;  ///< row by row; those without an inside are left out

    /// Left margin of the time axis in device units: where the guide of the time cursors begins.
    int CursorMargin(double pictureWidth) const;
};

/// Cells across and down the picture; intervals along the value axis (`horizontal`) and along the time axis
/// (`vertical`).
PlotLayout DefinePlotLayout(PictureSize picture, int across, int down, int horizontal, int vertical);

}  // namespace vorela
