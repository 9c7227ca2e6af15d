// The menus of the main window and what their entries do.
#include <QAction>
#include <QDialog>
#include <QFileDialog>
#include <QMenuBar>
#include <QPrintDialog>
#include <QPrinter>
#include <QScreen>
#include <QStatusBar>
#include <QTabBar>
#include <algorithm>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "analysis/frmCycleInfo.h"
#include "analysis/modExact.h"
#include "analysis/modMain.h"
#include "app/QtPorts.h"
#include "app/WindowPlace.h"
#include "app/dlgHelp.h"
#include "app/frmAbout.h"
#include "app/frmExact.h"
#include "app/frmMain.h"
#include "app/frmPlan.h"
#include "db/AnalysisClaim.h"
#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/frmSelectData.h"
#include "db/modSelectData.h"
#include "dravik/chooser/Chooser.h"
#include "dravik/importer/frmImport.h"
#include "follow/CurveChecks.h"
#include "follow/RecentSelections.h"
#include "follow/StartUp.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "plotview/CycleView.h"
#include "plotview/PlotFile.h"
#include "plotview/PlotWidget.h"
#include "plotview/ReportFile.h"
#include "plotview/TimeCursors.h"
#include "plotview/frmPlotFormat.h"
#include "plotview/frmPlotScales.h"
#include "plotview/frmSavePlot.h"
#include "signal/frmFilteredCurves.h"
#include "signal/frmParameters.h"
#include "signal/modDFilt.h"
#include "signal/modModulator.h"
#include "signal/modParameters.h"
#include "ui_frmMain.h"

namespace vorela {
namespace {

constexpr const char* shortTitle = "Vorela";
constexpr const char* noData = "No data selected";
constexpr int levelTab = 1;

}  // namespace

/// One entry of a menu; its place among the entries of the same menu is its index.
struct frmMain::MenuEntry {
    const char* menu;     ///< "File": the menu's objectName is "mnuFile", the entry's "mnuFile" & index
    const char* caption;  ///< null for a separator
    Handler handler;
    const char* shortcut;
};

// The indices are part of the field manuals: new entries go behind the old ones, Exit or not.
const std::vector<frmMain::MenuEntry>& frmMain::MenuEntries() {
    static const std::vector<MenuEntry> entries{
        {"File", "Select &Data...", &frmMain::SelectDataEntry, "Ctrl+D"},
        {"File", nullptr, nullptr, ""},
        {"File", "&Save Interpretation Data to File...", &frmMain::SaveInterpretationEntry, "Ctrl+S"},
        {"File", nullptr, nullptr, ""},
        {"File", "E&xit", &frmMain::ExitEntry, "Ctrl+Q"},
        {"File", nullptr, nullptr, ""},
        {"File", "Save &Plot to File...", &frmMain::SavePlotEntry, "Ctrl+Shift+S"},
        {"File", "&Print Plot...", &frmMain::PrintPlotEntry, "Ctrl+P"},
        {"File", "&Import Recording...", &frmMain::ImportEntry, "Ctrl+O"},
        {"File", "Save &Report...", &frmMain::SaveReportEntry, "Ctrl+R"},
        {"Edit", "&Parameters...", &frmMain::ParametersEntry, "Ctrl+E"},
        {"View", "&Cycle information...", &frmMain::CycleInformationEntry, "Ctrl+I"},
        {"View", "E&xact results...", &frmMain::ExactResultsEntry, "Ctrl+K"},
        {"View", "&Plan a test...", &frmMain::PlanEntry, ""},
        {"Action", "&Create filtered P and QS curves...", &frmMain::FilteredCurvesEntry, ""},
        {"Action", "&Reconstruct valve signal PVLSIG...", &frmMain::ReconstructValveEntry, ""},
        {"Action", "Re-calculate &Dravik filtered flow...", &frmMain::DravikFilteredFlowEntry, ""},
        {"Action", nullptr, nullptr, ""},
        {"Action", "Calculate cycle i&nfo...", &frmMain::CalculateCyclesEntry, ""},
        {"Action", "Re-calculate cycle info using &PVLPOS...", &frmMain::RecalculateMotorPositionEntry, ""},
        {"Action", "Re-calculate cycle inf&o using unfiltered pressure and flow...",
         &frmMain::RecalculateUnfilteredEntry, ""},
        {"Plot", "&Scales...", &frmMain::PlotScalesEntry, ""},
        {"Plot", "&Format...", &frmMain::PlotFormatEntry, ""},
        {"Help", "&Contents...", &frmMain::HelpEntry, "F1"},
        {"Help", nullptr, nullptr, ""},
        {"Help", "&About...", &frmMain::AboutEntry, ""},
    };
    return entries;
}

void frmMain::BuildMenus() {
    QMenu* menu = nullptr;
    for (const MenuEntry& entry : MenuEntries()) {
        const QString name = QStringLiteral("mnu") + QString::fromUtf8(entry.menu);
        if (menu == nullptr || menu->objectName() != name) {
            menu = menuBar()->addMenu(QLatin1Char('&') + QString::fromUtf8(entry.menu));
            menu->setObjectName(name);
        }
        QAction* action = menu->addAction(QString::fromUtf8(entry.caption));
        action->setObjectName(name + QString::number(menu->actions().size() - 1));
        action->setSeparator(entry.caption == nullptr);
        action->setShortcut(QKeySequence(QString::fromUtf8(entry.shortcut)));
        if (entry.handler != nullptr)
            connect(action, &QAction::triggered, this, entry.handler);
        if (entry.handler == &frmMain::ExactResultsEntry) {
            mnuExact_ = action;
            action->setEnabled(false);
        }
    }
}

// --- File ---

void frmMain::SelectDataEntry() {
    Run([this] { SelectDatasets([](frmSelectData&) {}); });
}

void frmMain::SelectDatasets(const std::function<void(frmSelectData&)>& prepare) {
    RunSelection([&] {
        frmSelectData dialog(this);
        prepare(dialog);
        ShowModal(dialog);
    });
}

void frmMain::RunSelection(const std::function<void()>& choose) {
    tmrMain_.stop();
    SelectData({choose, [this] { return PlotDataCheck(); },
                [this] {
                    frmFilteredCurves dialog(this);
                    ShowModal(dialog);
                },
                [this] { UpdateMainWindow(); }, [this] { tmrMain_.start(); }});
    // Also when the sequence broke off: what was selected is followed.
    FollowWhatIsRecorded();
    RememberSelection();
    FillRecentMenu();
    // After a cancelled selection the old tabs and values must not stay.
    if (CurrentSelection().datasets.empty())
        UpdateMainWindow();
    ShowSelectionHints();
}

void frmMain::FollowWhatIsRecorded() {
    const auto& datasets = CurrentSelection().datasets;
    if (std::any_of(datasets.begin(), datasets.end(),
                    [](const auto& record) { return record.pendingFlag != 0; }))
        tmrMain_.start();
}

void frmMain::ImportEntry() {
    ImportFiles({}, {});
}

void frmMain::ImportFiles(const QStringList& files, const std::string& database) {
    Run([&] {
        const auto& datasets = CurrentSelection().datasets;
        dravik::ImportDefaults defaults{database, ShortestText(CurrentParameters().period)};
        if (database.empty() && !datasets.empty())
            defaults.database = Trimmed(datasets.front().database);
        dravik::frmImport dialog(defaults, this);
        dialog.AddFiles(files);
        if (ShowModal(dialog) != QDialog::Accepted)
            return;
        const dravik::Imported& imported = dialog.Result();
        SelectDatasets([&](frmSelectData& select) { select.AddNamed(imported.database, imported.datasets); });
    });
}

void frmMain::OpenFiles(const QStringList& files) {
    if (files.isEmpty())
        return;
    show();
    setWindowState(windowState() & ~Qt::WindowMinimized);
    QWidget* const front =
        QApplication::activeModalWidget() != nullptr ? QApplication::activeModalWidget() : this;
    front->raise();
    front->activateWindow();
    waiting_ += files;
    if (running_)
        ui_->statBar->showMessage(tr("%1: is opened as soon as what is under way has ended")
                                      .arg(waiting_.join(QStringLiteral(", "))));
    else
        OpenWaiting();
}

// A database at a time, in the order that they came; recordings go into the one that they came with.
void frmMain::OpenWaiting() {
    if (running_ || waiting_.isEmpty())
        return;
    const auto isDatabase = [](const QString& file) { return dravik::IsDatabaseFile(file.toStdString()); };
    const auto first = std::find_if(waiting_.begin(), waiting_.end(), isDatabase);
    const auto second = first == waiting_.end() ? first : std::find_if(first + 1, waiting_.end(), isDatabase);
    const QStringList now(waiting_.begin(), second);
    waiting_.erase(waiting_.begin(), second);
    TakeFiles(now);
}

void frmMain::TakeFiles(const QStringList& files) {
    const auto isDatabase = [](const QString& file) { return dravik::IsDatabaseFile(file.toStdString()); };
    const auto database = std::find_if(files.begin(), files.end(), isDatabase);
    QStringList recordings;
    std::remove_copy_if(files.begin(), files.end(), std::back_inserter(recordings), isDatabase);
    const std::string path = database == files.end() ? std::string() : database->toStdString();
    if (!recordings.isEmpty()) {
        ImportFiles(recordings, path);
    } else if (!path.empty()) {
        Run([&] {
            dravik::OfferDatabase(path);
            SelectDatasets(
                [](frmSelectData& select) { QTimer::singleShot(0, &select, &frmSelectData::Add); });
        });
    }
}

// What an engineer would otherwise find out late: foreign units, and curves that are there while no cycle was
// measured.
QStringList frmMain::SelectionHints() const {
    QStringList hints = stale_ + resultHints_;
    for (const std::string& line : UnitWarnings())
        hints << QString::fromStdString(line);
    for (const std::string& line : CurveNotes())
        hints << QString::fromStdString(line);
    const auto& datasets = CurrentSelection().datasets;
    std::set<std::string> readOnly;
    for (const DatasetRecord& record : datasets)
        if (!IsWritable(record.database) && readOnly.insert(record.database).second)
            hints << tr("%1 is read only: it is analysed as it stands")
                         .arg(QString::fromStdString(record.database));
    const bool unmeasured = std::any_of(datasets.begin(), datasets.end(), [](const DatasetRecord& record) {
        return record.cycleSource == CycleSource::none;
    });
    if (unmeasured)
        hints << tr("No cycles yet: choose Action, Calculate cycle info...");
    return hints;
}

void frmMain::ShowSelectionHints() {
    hints_ = SelectionHints().join(QStringLiteral("; "));
    ui_->statBar->showMessage(hints_);
}

void frmMain::SaveInterpretationEntry() {
    Run([] { SaveInterpretation(); });
}

void frmMain::ExitEntry() {
    close();
}

std::size_t frmMain::PlotDataset() const {
    return ShownDataset().value_or(ShownChoice().dataset);
}

bool frmMain::DataSelected() {
    if (!CurrentSelection().datasets.empty())
        return true;
    CurrentPorts().messages->Show(MessageIcon::information, shortTitle, noData);
    return false;
}

void frmMain::SavePlotEntry() {
    Run([this] {
        if (!DataSelected())
            return;
        frmSavePlot dialog(this);
        const CycleView* const cycles = ShownCycleView();
        if (cycles != nullptr)
            dialog.HideCursors();
        if (ShowModal(dialog) != QDialog::Accepted)
            return;
        PlotFileOptions options = picPlot_->FileOptions(PlotDataset());
        options.resolution = dialog.Options().resolution;
        options.monochrome = dialog.Options().monochrome;
        if (!dialog.WithCursors())
            options.cursors.reset();
        const auto choice = CurrentPorts().saveFile->AskSaveFile(
            {"Save Vorela Plot",
             "PNG Picture (*.png)|*.png|SVG Drawing (*.svg)|*.svg|PDF Document (*.pdf)|*.pdf|", 1,
             ProposedFile(PlotDataset()), FilesInUse()});
        if (choice &&
            (cycles != nullptr ? cycles->SavePicture(choice->path, options.resolution, options.monochrome)
                               : SavePlot(choice->path, options)))
            ui_->statBar->showMessage(tr("Created %1").arg(QString::fromStdString(choice->path)));
    });
}

void frmMain::PrintPlotEntry() {
    Run([this] {
        if (!DataSelected())
            return;
        QPrinter printer(QPrinter::HighResolution);
        printer.setPageOrientation(QPageLayout::Landscape);
        QPrintDialog dialog(&printer, this);
        dialog.setObjectName(QStringLiteral("dlgPrint"));
        const ArrowCursor arrow;
        if (dialog.exec() != QDialog::Accepted)
            return;
        if (PrintShown(printer))
            ui_->statBar->showMessage(tr("Plot printed"));
    });
}

void frmMain::SaveReportEntry() {
    Run([this] {
        if (!DataSelected())
            return;
        std::filesystem::path database = CurrentSelection().datasets.front().database;
        const auto choice = CurrentPorts().saveFile->AskSaveFile(
            {"Save Vorela Report", "PDF Document (*.pdf)|*.pdf|HTML Page (*.html)|*.html|", 1,
             database.replace_extension().string() + " report", FilesInUse()});
        if (!choice)
            return;
        ReportSource source{ComputeExact(CurrentExactSettings()),
                            "Vorela " + PointedVersion(RunningVersion()), std::time(nullptr)};
        for (const QString& hint : SelectionHints())
            source.notes.push_back(hint.toStdString());
        if (SaveReport(choice->path, source))
            ui_->statBar->showMessage(tr("Created %1").arg(QString::fromStdString(choice->path)));
    });
}

bool frmMain::PrintShown(QPrinter& printer) {
    if (const CycleView* cycles = ShownCycleView())
        return cycles->PrintOn(printer);
    PlotFileOptions options = picPlot_->FileOptions(PlotDataset());
    options.monochrome = printer.colorMode() == QPrinter::GrayScale;
    return PrintPlot(printer, options);
}

// --- Edit, View ---

void frmMain::ParametersEntry() {
    Run([this] {
        frmParameters dialog(this);
        if (ShowModal(dialog) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

void frmMain::CycleInformationEntry() {
    Run([this] {
        if (!DataSelected())
            return;
        frmCycleInfo dialog(PlotDataset(), this);
        ShowModal(dialog);
        UpdateMainWindow();  // another cycle may have been chosen in it
    });
}

void frmMain::ExactResultsEntry() {
    Run([this] {
        if (!exact_) {
            exact_ = new frmExact(this);
            FitDialog(*exact_, screen()->availableGeometry().size() - Frame());
        }
        exact_->show();
        exact_->raise();
        exact_->activateWindow();
    });
}

void frmMain::FollowExactResults() {
    if (exact_)
        exact_->Follow();
}

void frmMain::PlanEntry() {
    Run([this] {
        frmPlan dialog(this);
        ShowModal(dialog);
    });
}

// --- Action ---

void frmMain::FilteredCurvesEntry() {
    Run([this] {
        if (!DataSelected())
            return;
        frmFilteredCurves dialog(this);
        if (ShowModal(dialog) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

// The level grid first: it is what the engineer waits for. The rest of the window follows.
void frmMain::ShowNewCycles() {
    FillLevelGrid();
    ShowGrid(levelTab);
    UpdateMainWindow();
    ShowSelectionHints();
}

void frmMain::ReconstructValveEntry() {
    Run([this] {
        WithAnalysisClaim([] { CreateReconstructedValveCurves(true); });
        ShowNewCycles();
    });
}

void frmMain::CalculateCyclesEntry() {
    Run([this] {
        WithAnalysisClaim([] { CreateReconstructedValveCurves(false); });
        ShowNewCycles();
    });
}

void frmMain::DravikFilteredFlowEntry() {
    Run([this] {
        WithAnalysisClaim([] { CreateFilteredFlow(true); });
        UpdateMainWindow();
    });
}

void frmMain::RecalculateMotorPositionEntry() {
    Run([this] {
        WithAnalysisClaim([] { RecalculateWithMotorPosition(); });
        ShowNewCycles();
    });
}

void frmMain::RecalculateUnfilteredEntry() {
    Run([this] {
        WithAnalysisClaim([] { RecalculateWithUnfilteredCurves(); });
        ShowNewCycles();
    });
}

// --- Plot ---

void frmMain::PlotScalesEntry() {
    Run([this] {
        frmPlotScales dialog(this);
        connect(&dialog, &frmPlotScales::Applied, this, &frmMain::UpdateMainWindow);
        if (ShowModal(dialog) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

void frmMain::PlotFormatEntry() {
    Run([this] {
        frmPlotFormat dialog(this);
        connect(&dialog, &frmPlotFormat::Applied, this, &frmMain::UpdateMainWindow);
        if (ShowModal(dialog) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

// --- Help ---

void frmMain::HelpEntry() {
    Run([this] {
        if (!help_)
            help_ = new dlgHelp(this);
        QString problem;
        if (!help_->Open(QString::fromStdString(HelpFilePath()), problem)) {
            CurrentPorts().messages->Show(MessageIcon::exclamation, shortTitle, problem.toStdString());
            return;
        }
        help_->show();
        help_->raise();
        help_->activateWindow();
    });
}

void frmMain::AboutEntry() {
    Run([this] {
        frmAbout dialog(this);
        ShowModal(dialog);
    });
}

}  // namespace vorela
