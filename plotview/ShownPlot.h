// What the plot area shows. Shared by the pieces of the widget only.
#pragma once

#include <cstddef>

#include "db/DatasetRecord.h"
#include "plot/PlotRenderer.h"

namespace vorela {

struct ShownPlot {
    std::size_t dataset = 0;
    bool shown = false;
    PlotDrawing plot;
    TimeSpan chosen;  ///< what 0 … 100 % of the cursors mean

    /// A level that was shown may have left the selection before a redraw that was due.
    bool ShowsALevel() const { return shown && dataset < CurrentSelection().datasets.size(); }
    const PlotCell* FirstCell() const {
        return plot.layout.cells.empty() ? nullptr : &plot.layout.cells.front();
    }
    PlotScale Scale() const { return {*FirstCell(), plot.information.span, {}}; }
    const AxisRange& Axis(Quantity quantity) const { return plot.information.axes[IndexOf(quantity)]; }
};

}  // namespace vorela
