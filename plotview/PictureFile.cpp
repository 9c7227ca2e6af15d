#include "plotview/PictureFile.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QPrinter>
#include <QSvgGenerator>
#include <cmath>

#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/RunTimeError.h"
#include "plotview/PainterSurface.h"

namespace vorela {
namespace {

constexpr const char* source = "PictureFile";
constexpr double unitsPerInch = 96;
constexpr double pointsPerInch = 72;
constexpr double inchesPerMetre = 1 / 0.0254;
constexpr int pdfResolution = 1200;

bool EndsWith(const std::string& path, const std::string& ending) {
    return path.size() > ending.size() && EqualIgnoringCase(path.substr(path.size() - ending.size()), ending);
}

PainterSurface::Target TargetOf(const PictureFileOptions& options) {
    PainterSurface::Target target;
    target.size = {static_cast<double>(options.width), static_cast<double>(options.height)};
    target.pixelsPerUnit = options.resolution / unitsPerInch;
    return target;
}

bool DrawOn(const PainterSurface::Target& target, const PictureDrawing& draw) {
    PainterSurface surface(target);
    return draw(surface);
}

bool DrawPng(QIODevice& file, const PictureFileOptions& options, const PictureDrawing& draw) {
    const QImage image = PictureImage(options, draw);
    if (image.isNull())
        return false;
    if (!image.save(&file, "PNG"))
        throw RunTimeError{error_number::deviceIo, source, "The picture could not be encoded"};
    return true;
}

bool DrawSvg(QIODevice& file, const PictureFileOptions& options, const PictureDrawing& draw) {
    QSvgGenerator generator;
    generator.setOutputDevice(&file);
    generator.setResolution(static_cast<int>(unitsPerInch));
    generator.setSize({options.width, options.height});
    generator.setViewBox(QRect(0, 0, options.width, options.height));
    generator.setTitle(QString::fromStdString(options.title));
    PainterSurface::Target target = TargetOf(options);
    target.device = &generator;
    target.isVector = true;
    return DrawOn(target, draw);
}

bool DrawPdf(QIODevice& file, const PictureFileOptions& options, const PictureDrawing& draw) {
    QPdfWriter writer(&file);
    writer.setResolution(pdfResolution);
    writer.setTitle(QString::fromStdString(options.title));
    const QSizeF points(options.width * pointsPerInch / unitsPerInch,
                        options.height * pointsPerInch / unitsPerInch);
    writer.setPageLayout(QPageLayout(QPageSize(points, QPageSize::Point, {}, QPageSize::ExactMatch),
                                     QPageLayout::Portrait, QMarginsF()));
    PainterSurface::Target target = TargetOf(options);
    target.device = &writer;
    target.painterScale = pdfResolution / unitsPerInch;
    target.isVector = true;
    return DrawOn(target, draw);
}

}  // namespace

void CheckPictureOptions(const PictureFileOptions& options) {
    if (options.width < 1 || options.height < 1 || options.resolution < 1)
        throw RunTimeError{error_number::invalidProcedureCall, source, "The picture has no size"};
}

QImage PictureImage(const PictureFileOptions& options, const PictureDrawing& draw) {
    const double scale = options.resolution / unitsPerInch;
    QImage image(static_cast<int>(std::lround(options.width * scale)),
                 static_cast<int>(std::lround(options.height * scale)), QImage::Format_RGB32);
    if (image.isNull())
        throw RunTimeError{error_number::outOfMemory, source, "The picture is too large"};
    PainterSurface::Target target = TargetOf(options);
    target.device = &image;
    target.pixels = &image;
    target.painterScale = scale;
    if (!DrawOn(target, draw))
        return {};
    const int dotsPerMetre = static_cast<int>(std::lround(options.resolution * inchesPerMetre));
    image.setDotsPerMeterX(dotsPerMetre);
    image.setDotsPerMeterY(dotsPerMetre);
    return image;
}

bool PrintPicture(QPrinter& printer, const PictureDrawing& draw) {
    const QRectF page = printer.pageRect(QPrinter::Inch);
    const PictureFileOptions paper{static_cast<int>(page.width() * unitsPerInch),
                                   static_cast<int>(page.height() * unitsPerInch),
                                   printer.resolution(),
                                   {}};
    CheckPictureOptions(paper);
    PainterSurface::Target target = TargetOf(paper);
    target.device = &printer;
    target.painterScale = target.pixelsPerUnit;
    target.isVector = true;
    return DrawOn(target, draw);
}

bool IsPictureName(const std::string& path) {
    return EndsWith(path, ".png") || EndsWith(path, ".svg") || EndsWith(path, ".pdf");
}

bool WritePicture(const std::string& path, const PictureFileOptions& options, const PictureDrawing& draw) {
    CheckPictureOptions(options);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    bool drawn = false;
    if (EndsWith(path, ".png"))
        drawn = DrawPng(buffer, options, draw);
    else if (EndsWith(path, ".svg"))
        drawn = DrawSvg(buffer, options, draw);
    else if (EndsWith(path, ".pdf"))
        drawn = DrawPdf(buffer, options, draw);
    else
        throw RunTimeError{error_number::invalidProcedureCall, source,
                           path + ": a plot is saved as .png, .svg or .pdf"};
    if (drawn)
        WriteFileAtomically(path, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    return drawn;
}

}  // namespace vorela
