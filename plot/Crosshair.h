// Lines and values under the pointer.
#pragma once

#include <string>
#include <vector>

#include "plot/PlotReadout.h"
#include "plot/PlotRenderer.h"

namespace vorela {

struct Crosshair {
    struct Label {
        DeviceBox box;
        std::vector<std::string> lines;
    };
    DevicePoint from[2], to[2];  ///< upright through all plots, level through the one under the pointer
    std::vector<Label> labels;   ///< time and axis values at the ends of the lines, curves' values beside
};

/// For a point of a plot; without lines and labels outside of all. `values` are those of ReadCursors at the
/// point's time. Labels lie inside the picture.
std::optional<Crosshair> PlanCrosshair(const PlotDrawing& drawing, DevicePoint point,
                                       const std::vector<CursorValue>& values, PictureSize picture,
                                       const TextMeasure& measure);

/// The time of a point, hundredths of a second.
double TimeAt(const PlotDrawing& drawing, DevicePoint point);

}  // namespace vorela
