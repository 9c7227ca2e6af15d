#include "app/WindowOutput.h"

#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QScreen>
#include <ctime>
#include <filesystem>

#include "analysis/InterpretationFile.h"
#include "analysis/modExact.h"
#include "app/LevelPage.h"
#include "app/QtPorts.h"
#include "app/StatusLine.h"
#include "app/WindowPlace.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "general/Ports.h"
#include "general/Version.h"
#include "plotview/ReportFile.h"
#include "plotview/frmSavePlot.h"

namespace vorela {
namespace {

constexpr double previewShare = 0.8;  // of the screen

}  // namespace

void WindowOutput::SayCreated(const std::string& path) {
    status_.Say(QWidget::tr("Created %1").arg(QString::fromStdString(path)));
}

void WindowOutput::SavePlot(std::size_t dataset) {
    frmSavePlot dialog(&window_);
    if (page_.ShowsCycles())
        dialog.HideCursors();
    if (RunDialog(dialog, window_) != QDialog::Accepted)
        return;
    const auto choice = CurrentPorts().saveFile->AskSaveFile(
        {"Save Vorela Plot",
         "PNG Picture (*.png)|*.png|SVG Drawing (*.svg)|*.svg|PDF Document (*.pdf)|*.pdf|", 1,
         ProposedFile(dataset), FilesInUse()});
    if (choice && page_.Save(choice->path, dataset, dialog.Options().resolution, dialog.Options().monochrome,
                             dialog.WithCursors()))
        SayCreated(choice->path);
}

void WindowOutput::PrintPlot(std::size_t dataset) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintDialog dialog(&printer, &window_);
    dialog.setObjectName(QStringLiteral("dlgPrint"));
    const ArrowCursor arrow;
    if (dialog.exec() == QDialog::Accepted && page_.PrintOn(printer, dataset))
        status_.Say(QWidget::tr("Plot printed"));
}

void WindowOutput::PreviewPlot(std::size_t dataset) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintPreviewDialog dialog(&printer, &window_);
    dialog.setObjectName(QStringLiteral("dlgPrintPreview"));
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                     [this, dataset](QPrinter* paper) { page_.PrintOn(*paper, dataset); });
    dialog.resize(window_.screen()->availableSize() * previewShare);
    const ArrowCursor arrow;
    dialog.exec();
}

void WindowOutput::SaveReport() {
    std::filesystem::path database = CurrentSelection().datasets.front().database;
    const auto choice = CurrentPorts().saveFile->AskSaveFile(
        {"Save Vorela Report", "PDF Document (*.pdf)|*.pdf|HTML Page (*.html)|*.html|", 1,
         database.replace_extension().string() + " report", FilesInUse()});
    if (!choice)
        return;
    ReportSource source{ComputeExact(CurrentExactSettings()), "Vorela " + PointedVersion(RunningVersion()),
                        std::time(nullptr)};
    for (const QString& hint : status_.Hints())
        source.notes.push_back(hint.toStdString());
    if (vorela::SaveReport(choice->path, source))
        SayCreated(choice->path);
}

}  // namespace vorela
