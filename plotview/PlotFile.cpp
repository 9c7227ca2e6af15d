#include "plotview/PlotFile.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QPrinter>
#include <QSvgGenerator>
#include <cmath>

#include "db/IndexUnits.h"
#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "plot/PlotRenderer.h"
#include "plotview/PainterSurface.h"

namespace vorela {
namespace {

constexpr const char* source = "PlotFile";
constexpr double unitsPerInch = 96;
constexpr double pointsPerInch = 72;
constexpr double inchesPerMetre = 1 / 0.0254;
constexpr int pdfResolution = 1200;

bool EndsWith(const std::string& path, const std::string& ending) {
    return path.size() > ending.size() && EqualIgnoringCase(path.substr(path.size() - ending.size()), ending);
}

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

bool DrawOn(const PainterSurface::Target& target, const PlotFileOptions& options) {
    const PresentationKept kept;
    PainterSurface surface(target);
    PlotRequest request;
    request.datasets = {options.dataset};
    if (options.span) {
        request.mode = TimeMode::zoomed;
        request.zoom = *options.span;
    }
    PlotStyle style;
    style.monochrome = options.monochrome;
    if (options.cursors)
        style.cursors = {IndexUnitsIn(options.cursors->first), IndexUnitsIn(options.cursors->second)};
    PlotDrawing drawing;
    return RunPlotDriver(surface, request, style, drawing);
}

PainterSurface::Target TargetOf(const PlotFileOptions& options) {
    PainterSurface::Target target;
    target.size = {static_cast<double>(options.width), static_cast<double>(options.height)};
    target.pixelsPerUnit = options.resolution / unitsPerInch;
    return target;
}

bool DrawPng(QIODevice& file, const PlotFileOptions& options) {
    const double scale = options.resolution / unitsPerInch;
    QImage image(static_cast<int>(std::lround(options.width * scale)),
                 static_cast<int>(std::lround(options.height * scale)), QImage::Format_RGB32);
    if (image.isNull())
        throw RunTimeError{error_number::outOfMemory, source, "The picture is too large"};
    PainterSurface::Target target = TargetOf(options);
    target.device = &image;
    target.pixels = &image;
    target.painterScale = scale;
    if (!DrawOn(target, options))
        return false;
    const int dotsPerMetre = static_cast<int>(std::lround(options.resolution * inchesPerMetre));
    image.setDotsPerMeterX(dotsPerMetre);
    image.setDotsPerMeterY(dotsPerMetre);
    if (!image.save(&file, "PNG"))
        throw RunTimeError{error_number::deviceIo, source, "The picture could not be encoded"};
    return true;
}

bool DrawSvg(QIODevice& file, const PlotFileOptions& options) {
    QSvgGenerator generator;
    generator.setOutputDevice(&file);
    generator.setResolution(static_cast<int>(unitsPerInch));
    generator.setSize({options.width, options.height});
    generator.setViewBox(QRect(0, 0, options.width, options.height));
    generator.setTitle(QStringLiteral("Vorela plot"));
    PainterSurface::Target target = TargetOf(options);
    target.device = &generator;
    target.isVector = true;
    return DrawOn(target, options);
}

bool DrawPdf(QIODevice& file, const PlotFileOptions& options) {
    QPdfWriter writer(&file);
    writer.setResolution(pdfResolution);
    writer.setTitle(QStringLiteral("Vorela plot"));
    const QSizeF points(options.width * pointsPerInch / unitsPerInch,
                        options.height * pointsPerInch / unitsPerInch);
    writer.setPageLayout(QPageLayout(QPageSize(points, QPageSize::Point, {}, QPageSize::ExactMatch),
                                     QPageLayout::Portrait, QMarginsF()));
    PainterSurface::Target target = TargetOf(options);
    target.device = &writer;
    target.painterScale = pdfResolution / unitsPerInch;
    target.isVector = true;
    return DrawOn(target, options);
}

void CheckOptions(const PlotFileOptions& options) {
    if (options.width < 1 || options.height < 1 || options.resolution < 1)
        throw RunTimeError{error_number::invalidProcedureCall, source, "The picture has no size"};
}

}  // namespace

bool SavePlot(const std::string& path, const PlotFileOptions& options) {
    return Attempt("Saving plot", false, [&] {
        CheckOptions(options);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        bool drawn = false;
        if (EndsWith(path, ".png"))
            drawn = DrawPng(buffer, options);
        else if (EndsWith(path, ".svg"))
            drawn = DrawSvg(buffer, options);
        else if (EndsWith(path, ".pdf"))
            drawn = DrawPdf(buffer, options);
        else
            throw RunTimeError{error_number::invalidProcedureCall, source,
                               path + ": a plot is saved as .png, .svg or .pdf"};
        if (drawn)
            WriteFileAtomically(path, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
        return drawn;
    });
}

bool PrintPlot(QPrinter& printer, const PlotFileOptions& options) {
    return Attempt("Printing plot", false, [&] {
        const QRectF page = printer.pageRect(QPrinter::Inch);
        PlotFileOptions paper = options;
        paper.width = static_cast<int>(page.width() * unitsPerInch);
        paper.height = static_cast<int>(page.height() * unitsPerInch);
        paper.resolution = printer.resolution();
        CheckOptions(paper);
        PainterSurface::Target target = TargetOf(paper);
        target.device = &printer;
        target.painterScale = printer.resolution() / unitsPerInch;
        target.isVector = true;
        return DrawOn(target, paper);
    });
}

}  // namespace vorela
