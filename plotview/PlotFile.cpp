#include "plotview/PlotFile.h"

#include <QImage>
#include <utility>

#include "db/IndexUnits.h"
#include "general/modGeneral.h"
#include "plot/PlotFooter.h"
#include "plot/PlotRenderer.h"

namespace vorela {
namespace {

/// A drawing beside the window's changes nothing that the window shows.
class PresentationKept {
  public:
    PresentationKept() : before_(PrsOpt()) {}
    ~PresentationKept() { PrsOpt() = before_; }
    PresentationKept(const PresentationKept&) = delete;
    PresentationKept& operator=(const PresentationKept&) = delete;

  private:
    PresentationOptions before_;
};

PictureFileOptions PictureOptionsOf(const PlotFileOptions& options) {
    return {options.width, options.height, options.resolution, "Vorela plot"};
}

}  // namespace

bool DrawPlotPicture(DrawingSurface& surface, const PlotFileOptions& options) {
    const PresentationKept kept;
    PlotRequest request;
    request.datasets = {options.dataset};
    if (options.span) {
        request.mode = TimeMode::zoomed;
        request.zoom = *options.span;
    }
    PlotStyle style;
    style.monochrome = options.monochrome;
    style.footer = FooterItems(options.dataset);
    style.fit = options.fit;
    request.view = options.view;
    if (options.cursors)
        style.cursors = {IndexUnitsIn(options.cursors->first), IndexUnitsIn(options.cursors->second)};
    PlotDrawing drawing;
    return RunPlotDriver(surface, request, style, drawing);
}

std::optional<QImage> PlotPicture(const PlotFileOptions& options) {
    return Attempt("Copying plot", std::optional<QImage>{}, [&] {
        const PictureFileOptions picture = PictureOptionsOf(options);
        CheckPictureOptions(picture);
        QImage image =
            PictureImage(picture, [&](DrawingSurface& surface) { return DrawPlotPicture(surface, options); });
        return image.isNull() ? std::nullopt : std::optional(std::move(image));
    });
}

bool SavePlot(const std::string& path, const PlotFileOptions& options) {
    return Attempt("Saving plot", false, [&] {
        return WritePicture(path, PictureOptionsOf(options),
                            [&](DrawingSurface& surface) { return DrawPlotPicture(surface, options); });
    });
}

bool PrintPlot(QPrinter& printer, const PlotFileOptions& options) {
    return Attempt("Printing plot", false, [&] {
        return PrintPicture(printer,
                            [&](DrawingSurface& surface) { return DrawPlotPicture(surface, options); });
    });
}

}  // namespace vorela
