// The plot as a file, on paper or in the clipboard: the same drawing as on screen, with a footer that says
// what it shows. A QGuiApplication must exist (offscreen serves).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "plot/PlotData.h"
#include "plot/TimeRange.h"
#include "plotview/PictureFile.h"

class QImage;
class QPrinter;

namespace vorela {

struct PlotFileOptions {
    std::size_t dataset = 0;  ///< position in the selection
    int width = 1200;         ///< of the drawing, in units of 1/96 inch
    int height = 800;
    int resolution = 96;  ///< dots per inch: a PNG has width × resolution / 96 pixels
    bool monochrome = false;
    std::optional<std::pair<double, double>> cursors;  ///< cursor lines, seconds; none when empty
    ViewChoice view{};                                 ///< the viewer's value axes and hidden curves
    bool fit = false;                                  ///< automatic value axes hold the shown curves tightly
    std::optional<TimeSpan> span;  ///< what is shown, where it is not the span that the time options choose
};

/// The plot as a picture in memory. Nothing after a message box or report.
std::optional<QImage> PlotPicture(const PlotFileOptions& options);

/// Writes the plot; the presentation options stay as they are. The format follows from the ending, .png, .svg
/// or .pdf in any case. The file appears complete or not at all. False after a message box or report that
/// names the file or what is wrong with the data.
bool SavePlot(const std::string& path, const PlotFileOptions& options);

/// Draws the plot between Begin and End of the surface; its size is the surface's. False after a message box
/// or report.
bool DrawPlotPicture(DrawingSurface& surface, const PlotFileOptions& options);

/// Prints the plot on one page of a prepared printer; the options' size and resolution do not count. False
/// after a report.
bool PrintPlot(QPrinter& printer, const PlotFileOptions& options);

}  // namespace vorela
