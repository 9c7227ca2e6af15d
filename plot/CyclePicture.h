// The pictures of a level's cycles: panels of series, and stacked cycles.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "plot/CycleSeries.h"
#include "plot/DrawingSurface.h"
#include "plot/PlotTexts.h"

namespace vorela {

/// What a panel shows.
struct CyclePanel {
    DeviceBox area;     ///< inside its frame
    double firstX = 0;  ///< data value at the left edge
    double lastX = 1;
    double lowest = 0;  ///< data value at the lower edge
    double highest = 1;
    double X(double value) const { return area.left + (value - firstX) / (lastX - firstX) * Width(); }
    double Y(double value) const {
        return area.bottom - (value - lowest) / (highest - lowest) * (area.bottom - area.top);
    }
    double Width() const { return area.right - area.left; }
};

struct CyclePictureStyle {
    std::vector<std::string> footer{};  ///< what the picture shows, below it; left out where it has no room
    bool monochrome = false;
};

struct CycleDrawing {
    std::vector<CyclePanel> panels;
    std::vector<PlacedText> texts;
};

/// Eight panels in two columns: magnitudes on the left, phases on the right. The selected cycle is marked in
/// each, a band of one standard deviation lies about the trend. Draws nothing but a sentence where no cycle
/// was measured.
CycleDrawing DrawCycleSeries(DrawingSurface& surface, const std::string& level,
                             const std::array<CycleSeries, cycleSeriesCount>& series, int selectedCycle,
                             const CyclePictureStyle& style = {});

/// Pressure above flow, one line for each level.
CycleDrawing DrawStackedCycles(DrawingSurface& surface, const std::vector<StackedLevel>& levels,
                               const CyclePictureStyle& style = {});

/// The cycle nearest to a point of one of the panels, from 1; nothing outside and between far cycles.
std::optional<int> CycleAt(const CycleDrawing& drawing, const CycleSeries& series, DevicePoint point);

}  // namespace vorela
