// The drawing: frame, gridlines, texts and curves of one or two plots on any surface.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "plot/CurveDrawing.h"
#include "plot/DrawingSurface.h"
#include "plot/DrawingTools.h"
#include "plot/PlotContents.h"
#include "plot/PlotData.h"
#include "plot/PlotLayout.h"
#include "plot/PlotTexts.h"
#include "plot/modPlotFormat.h"

namespace vorela {

struct PlotStyle {
    bool monochrome = false;
    /// Cursor lines at these times, hundredths of a second; none when empty.
    std::optional<std::pair<double, double>> cursors{};
    /// What a picture that leaves the program says of itself, under the plots; none when empty.
    std::vector<std::string> footer{};
    /// Value axes whose scale is automatic hold the shown curves tightly.
    bool fit = false;
};

/// The layout of the picture under this format: one cell, or two, one above the other.
PlotLayout LayoutOf(PictureSize picture, const PlotFormatOptions& format);

/// Ground of the selected cycle under its curves.
inline constexpr Colour cycleTint{255, 240, 222};

/// Draws the whole picture on a surface that has begun: axes, curves and cursors on `surface`, frames and
/// texts over them on `over`, which may be the same. Failures are reported under the step that failed; false
/// then. The texts as they stand, and their order, in `texts`.
bool DrawPlot(DrawingSurface& surface, DrawingSurface& over, const PlotInformation& information,
              const PlotFormatOptions& format, const PlotLayout& layout, const PlotStyle& style,
              std::vector<PlacedText>& texts);

/// Frame, cells and gridlines. −1 when there is no cell, else 0.
int DrawPlotAxes(DrawingSurface& surface, DrawingTools& tools, const PlotLayout& layout, int horizontal,
                 int vertical);

/// What a finished drawing was made from, for cursors and zoom.
struct PlotDrawing {
    PlotInformation information;
    PlotFormatOptions format;
    PlotLayout layout;
    std::vector<PlacedText> texts;
};

/// The plot driver: readies the surface, gets the plot information, draws. Shows the message of whatever
/// stops it; false then, and `drawing` is as it was. With `over`, frames and texts go there: a second,
/// transparent picture of the same size, for a viewer that draws moving lines between the two.
bool RunPlotDriver(DrawingSurface& surface, PlotRequest request, const PlotStyle& style, PlotDrawing& drawing,
                   DrawingSurface* over = nullptr);

}  // namespace vorela
