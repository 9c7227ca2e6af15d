#include "plotview/ReportFile.h"

#include <QBuffer>
#include <QByteArray>
#include <QSvgGenerator>
#include <filesystem>

#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "plotview/PainterSurface.h"
#include "plotview/ReportPages.h"
#include "plotview/ReportPictures.h"
#include "report/ReportHtml.h"

namespace vorela {
namespace {

constexpr int unitsPerInch = 96;

/// Text in the picture stays text, and it is sharp at any size.
DrawnPicture DrawAsSvg(const ReportPicture& picture, const ExactResults& exact) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QSvgGenerator generator;
    generator.setOutputDevice(&buffer);
    generator.setResolution(unitsPerInch);
    generator.setSize({picture.width, picture.height});
    generator.setViewBox(QRect(0, 0, picture.width, picture.height));
    generator.setTitle(QString::fromStdString(picture.caption));
    PainterSurface::Target target;
    target.device = &generator;
    target.size = {static_cast<double>(picture.width), static_cast<double>(picture.height)};
    target.isVector = true;
    PainterSurface surface(target);
    DrawnPicture drawn;
    if (DrawReportPicture(surface, picture, exact, drawn.remarks))
        drawn.data = "data:image/svg+xml;base64," + bytes.toBase64().toStdString();
    return drawn;
}

bool HasEnding(const std::string& path, const char* ending) {
    return EqualIgnoringCase(std::filesystem::path(path).extension().string(), ending);
}

}  // namespace

bool SaveReport(const std::string& path, const ReportSource& source) {
    return Attempt("Saving report", [&] {
        const bool pdf = HasEnding(path, ".pdf");
        if (!pdf && !HasEnding(path, ".html"))
            throw RunTimeError{error_number::invalidProcedureCall, "ReportFile",
                               path + ": a report is saved as .pdf or .html"};
        const StatusScope status("Saving report");
        const Report report = MakeReport(source);
        std::vector<DrawnPicture> drawn;
        for (const ReportPicture& picture : PicturesOf(report))
            drawn.push_back(DrawAsSvg(picture, source.exact));
        WriteFileAtomically(path, pdf ? ReportPdf(report, drawn, source.exact) : ReportHtml(report, drawn));
    });
}

}  // namespace vorela
