// A chart of positive quantities over a positive one, both axes logarithmic, in panels that share what is
// across.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "general/Colour.h"
#include "plot/DrawingSurface.h"

namespace vorela {

struct ChartLine {
    std::string caption;
    PenDescription pen;
    std::vector<std::optional<double>> values;  ///< one for each place across; a gap where there is none
};

struct ChartPanel {
    std::vector<ChartLine> lines;
};

struct LogChart {
    std::string acrossCaption;
    std::vector<double> across;  ///< rising, positive
    std::vector<ChartPanel> panels;
    std::optional<double> marker;  ///< a dotted upright line at this place across
};

/// Draws on a surface between its Begin() and End(). Panels stand in two columns.
void DrawLogChart(DrawingSurface& surface, const LogChart& chart);

}  // namespace vorela
