// The drawing: frame, gridlines, texts and curves of one or two plots on any surface.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "plot/CurveDrawing.h"
#include "plot/DrawingSurface.h"
#include "plot/DrawingTools.h"
#include "plot/PlotData.h"
#include "plot/PlotLayout.h"
#include "plot/modPlotFormat.h"

namespace vorela {

struct PlotStyle {
    bool monochrome = false;
    /// Cursor lines at these times, hundredths of a second; none when empty.
    std::optional<std::pair<double, double>> cursors;
};

/// What one plot of the picture shows.
struct PlotContents {
    std::string title;
    std::vector<Quantity> curves;      ///< in drawing order, later ones over earlier ones
    std::optional<Quantity> leftAxis;  ///< nothing: a code that is no quantity
    std::optional<Quantity> rightAxis;
};
/// One plot with everything, or pressure above flow with the valve in both; only curves that the format
/// shows.
std::vector<PlotContents> ContentsOfPlots(const PlotFormatOptions& format, const std::string& singleTitle);

/// "Pressure - ZG (psi)", "Filtered Flow - RTC_qs (rps)", "Valve - PVLPOS (cps)", "Valve - Ref. Signal".
std::string AxisLabel(const PlotInformation& information, Quantity quantity);

/// The layout of the picture under this format: one cell, or two, one above the other.
PlotLayout LayoutOf(PictureSize picture, const PlotFormatOptions& format);

/// Draws the whole picture on a surface that has begun. Failures are reported under the step that failed;
/// false then.
bool DrawPlot(DrawingSurface& surface, const PlotInformation& information, const PlotFormatOptions& format,
              const PlotLayout& layout, const PlotStyle& style);

/// Frame, cells and gridlines. −1 when there is no cell, else 0.
int DrawPlotAxes(DrawingSurface& surface, DrawingTools& tools, const PlotLayout& layout, int horizontal,
                 int vertical);

/// What a finished drawing was made from, for cursors and zoom.
struct PlotDrawing {
    PlotInformation information;
    PlotFormatOptions format;
    PlotLayout layout;
};

/// The plot driver: readies the surface, gets the plot information, draws. Shows the message of whatever
/// stops it; false then, and `drawing` is as it was.
bool RunPlotDriver(DrawingSurface& surface, PlotRequest request, const PlotStyle& style,
                   PlotDrawing& drawing);

}  // namespace vorela
