// What the user does in the main window: the entries of its menus, tabs, keys, files.
#include <QApplication>
#include <QDialog>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QTabBar>
#include <algorithm>
#include <vector>

#include "analysis/InterpretationFile.h"
#include "analysis/ValueHistory.h"
#include "analysis/frmCycleInfo.h"
#include "analysis/modMain.h"
#include "app/FileIntake.h"
#include "app/LevelPage.h"
#include "app/RecentMenu.h"
#include "app/ResultPages.h"
#include "app/StatusLine.h"
#include "app/WindowMenus.h"
#include "app/WindowOutput.h"
#include "app/WindowPlace.h"
#include "app/dlgHelp.h"
#include "app/frmAbout.h"
#include "app/frmExact.h"
#include "app/frmMain.h"
#include "app/frmPlan.h"
#include "db/AnalysisClaim.h"
#include "db/DatasetRecord.h"
#include "db/frmSelectData.h"
#include "dravik/importer/frmImport.h"
#include "follow/CurveChecks.h"
#include "follow/RecentSelections.h"
#include "follow/StartUp.h"
#include "plotview/frmPlotFormat.h"
#include "plotview/frmPlotScales.h"
#include "signal/frmFilteredCurves.h"
#include "signal/frmParameters.h"
#include "signal/modDFilt.h"
#include "signal/modModulator.h"
#include "ui_frmMain.h"

namespace vorela {
namespace {

constexpr const char* shortTitle = "Vorela";
constexpr const char* noData = "No data selected";

}  // namespace

// The indices are part of the field manuals: new entries go behind the old ones, Exit or not.
std::vector<MenuEntry> frmMain::MenuEntries() {
    const auto act = [this](void (frmMain::*entry)()) { return [this, entry] { (this->*entry)(); }; };
    return {
        {"File", "Select &Data...", act(&frmMain::SelectDataEntry), "Ctrl+D"},
        {"File", nullptr, nullptr},
        {"File", "&Save Interpretation Data to File...", act(&frmMain::SaveInterpretationEntry), "Ctrl+S"},
        {"File", nullptr, nullptr},
        {"File", "E&xit", act(&frmMain::ExitEntry), "Ctrl+Q"},
        {"File", nullptr, nullptr},
        {"File", "Save &Plot to File...", act(&frmMain::SavePlotEntry), "Ctrl+Shift+S"},
        {"File", "&Print Plot...", act(&frmMain::PrintPlotEntry), "Ctrl+P"},
        {"File", "&Import Recording...", act(&frmMain::ImportEntry), "Ctrl+O"},
        {"File", "Save &Report...", act(&frmMain::SaveReportEntry), "Ctrl+R"},
        {"Edit", "&Parameters...", act(&frmMain::ParametersEntry), "Ctrl+E"},
        {"View", "&Cycle information...", act(&frmMain::CycleInformationEntry), "Ctrl+I"},
        {"View", "E&xact results...", act(&frmMain::ExactResultsEntry), "Ctrl+K", true},
        {"View", "&Plan a test...", act(&frmMain::PlanEntry)},
        {"Action", "&Create filtered P and QS curves...", act(&frmMain::FilteredCurvesEntry)},
        {"Action", "&Reconstruct valve signal PVLSIG...", act(&frmMain::ReconstructValveEntry)},
        {"Action", "Re-calculate &Dravik filtered flow...", act(&frmMain::DravikFilteredFlowEntry)},
        {"Action", nullptr, nullptr},
        {"Action", "Calculate cycle i&nfo...", act(&frmMain::CalculateCyclesEntry)},
        {"Action", "Re-calculate cycle info using &PVLPOS...", act(&frmMain::RecalculateMotorPositionEntry)},
        {"Action", "Re-calculate cycle inf&o using unfiltered pressure and flow...",
         act(&frmMain::RecalculateUnfilteredEntry)},
        {"Plot", "&Scales...", act(&frmMain::PlotScalesEntry)},
        {"Plot", "&Format...", act(&frmMain::PlotFormatEntry)},
        {"Help", "&Contents...", act(&frmMain::HelpEntry), "F1"},
        {"Help", nullptr, nullptr},
        {"Help", "&About...", act(&frmMain::AboutEntry)},
    };
}

void frmMain::BuildMenus() {
    const WindowMenus::Further further{[this] { PrintPreviewEntry(); },
                                       [this](bool again) { TakeValueStep(again); }};
    menus_ = std::make_unique<WindowMenus>(*this, MenuEntries(), further);
    connect(menus_->Recent(), &RecentMenu::Chosen, this, &frmMain::OpenRecent);
}

void frmMain::RunWithData(const std::function<void()>& action) {
    Run([&] {
        if (CurrentSelection().datasets.empty())
            CurrentPorts().messages->Show(MessageIcon::information, shortTitle, noData);
        else
            action();
    });
}

void frmMain::BringForward(QWidget& window) {
    window.show();
    window.raise();
    window.activateWindow();
}

// --- File: what comes in ---

void frmMain::SelectDataEntry() {
    Run([this] { SelectDatasets([](frmSelectData&) {}); });
}

void frmMain::SelectDatasets(const std::function<void(frmSelectData&)>& prepare) {
    RunSelection([&] {
        frmSelectData dialog(this);
        prepare(dialog);
        RunDialog(dialog, *this);
    });
}

void frmMain::RunSelection(const std::function<void()>& choose) {
    tmrMain_.stop();
    SelectData({choose, [this] { return PlotDataCheck(); },
                [this] {
                    frmFilteredCurves dialog(this);
                    RunDialog(dialog, *this);
                },
                [this] { UpdateMainWindow(); }, [this] { tmrMain_.start(); }});
    // Also when the sequence broke off: what was selected is followed.
    FollowWhatIsRecorded();
    RememberSelection();
    menus_->Recent()->Fill();
    // After a cancelled selection the old tabs and values must not stay.
    if (CurrentSelection().datasets.empty())
        UpdateMainWindow();
    status_->ShowHints();
}

void frmMain::FollowWhatIsRecorded() {
    const auto& datasets = CurrentSelection().datasets;
    if (std::ranges::any_of(datasets, &DatasetRecord::IsRecorded))
        tmrMain_.start();
}

void frmMain::OpenRecent(const RecentSelection& recent) {
    Run([&] {
        tmrMain_.stop();
        if (SelectRecent(recent))
            RunSelection([] {});
        else
            FollowWhatIsRecorded();
    });
}

void frmMain::ImportEntry() {
    intake_->Import({}, {});
}

// --- File: what goes out ---

void frmMain::SaveInterpretationEntry() {
    Run([] { SaveInterpretation(); });
}

void frmMain::SavePlotEntry() {
    RunWithData([this] { output_->SavePlot(PlotDataset()); });
}

void frmMain::PrintPlotEntry() {
    RunWithData([this] { output_->PrintPlot(PlotDataset()); });
}

void frmMain::PrintPreviewEntry() {
    RunWithData([this] { output_->PreviewPlot(PlotDataset()); });
}

void frmMain::SaveReportEntry() {
    RunWithData([this] { output_->SaveReport(); });
}

void frmMain::ExitEntry() {
    close();
}

// --- Edit, View ---

void frmMain::ParametersEntry() {
    Run([this] {
        frmParameters dialog(this);
        if (RunDialog(dialog, *this) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

void frmMain::TakeValueStep(bool again) {
    Run([&] {
        const std::optional<ValueStep> step = again ? RedoValue() : UndoValue();
        if (!step)
            return;
        (step->cycle ? ShownChoice().dataset : ShownChoice().interval) = step->position;
        UpdateMainWindow();
        const QString said = again ? tr("Done again: %1") : tr("Undone: %1");
        status_->Say(said.arg(QString::fromStdString(step->text)));
    });
}

void frmMain::CycleInformationEntry() {
    RunWithData([this] {
        frmCycleInfo dialog(PlotDataset(), this);
        RunDialog(dialog, *this);
        UpdateMainWindow();  // another cycle may have been chosen in it
    });
}

void frmMain::ExactResultsEntry() {
    Run([this] {
        if (!exact_) {
            exact_ = new frmExact(this);
            FitDialog(*exact_, RoomOver(*this));
        }
        BringForward(*exact_);
    });
}

void frmMain::PlanEntry() {
    Run([this] {
        frmPlan dialog(this);
        RunDialog(dialog, *this);
    });
}

// --- Action ---

void frmMain::FilteredCurvesEntry() {
    RunWithData([this] {
        frmFilteredCurves dialog(this);
        if (RunDialog(dialog, *this) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

void frmMain::DravikFilteredFlowEntry() {
    Run([this] {
        WithAnalysisClaim([] { CreateFilteredFlow(true); });
        UpdateMainWindow();
    });
}

// The level grid first: it is what the engineer waits for. The rest of the window follows.
void frmMain::RunCycleAnalysis(const std::function<void()>& analysis) {
    Run([&] {
        WithAnalysisClaim(analysis);
        FillLevelGrid();
        results_->ShowGrid(GridKind::level);
        UpdateMainWindow();
        status_->ShowHints();
    });
}

void frmMain::ReconstructValveEntry() {
    RunCycleAnalysis([] { CreateReconstructedValveCurves(true); });
}

void frmMain::CalculateCyclesEntry() {
    RunCycleAnalysis([] { CreateReconstructedValveCurves(false); });
}

void frmMain::RecalculateMotorPositionEntry() {
    RunCycleAnalysis([] { RecalculateWithMotorPosition(); });
}

void frmMain::RecalculateUnfilteredEntry() {
    RunCycleAnalysis([] { RecalculateWithUnfilteredCurves(); });
}

// --- Plot ---

void frmMain::PlotScalesEntry() {
    Run([this] {
        frmPlotScales dialog(this);
        connect(&dialog, &frmPlotScales::Applied, this, &frmMain::UpdateMainWindow);
        if (RunDialog(dialog, *this) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

void frmMain::PlotFormatEntry() {
    Run([this] {
        frmPlotFormat dialog(this);
        connect(&dialog, &frmPlotFormat::Applied, this, &frmMain::UpdateMainWindow);
        if (RunDialog(dialog, *this) == QDialog::Accepted)
            UpdateMainWindow();
    });
}

// --- Help ---

void frmMain::HelpEntry() {
    Run([this] {
        if (!help_)
            help_ = new dlgHelp(this);
        QString problem;
        if (help_->Open(QString::fromStdString(HelpFilePath()), problem))
            BringForward(*help_);
        else
            CurrentPorts().messages->Show(MessageIcon::exclamation, shortTitle, problem.toStdString());
    });
}

void frmMain::AboutEntry() {
    Run([this] {
        frmAbout dialog(this);
        RunDialog(dialog, *this);
    });
}

// --- Tabs, keys, files ---

void frmMain::TabClicked() {
    if (actions_.IsRunning())
        return;
    if (!results_->Commit()) {
        // What was typed cannot stand: back to where it can be mended.
        const QSignalBlocker quiet(ui_->tsMain);
        ui_->tsMain->setCurrentIndex(ui_->pages->currentIndex());
        return;
    }
    actions_.RunAlone([this] {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        UpdateMainWindow();
        QApplication::restoreOverrideCursor();
    });
}

void frmMain::TurnTab(int by) {
    const int count = ui_->tsMain->count();
    ui_->tsMain->setCurrentIndex((ui_->tsMain->currentIndex() + by + count) % count);
}

void frmMain::UseCycle(int cycle) {
    Run([this, cycle] {
        if (const std::optional<std::size_t> dataset = ShownDataset(); dataset && cycle > 0)
            ChooseCycle(*dataset, static_cast<std::size_t>(cycle) - 1);
        UpdateMainWindow();
    });
}

// Keys that no other widget takes: those of the plot while one is shown.
void frmMain::keyPressEvent(QKeyEvent* event) {
    if (!levelPage_->HandleKey(*event))
        QMainWindow::keyPressEvent(event);
}

void frmMain::OpenFiles(const QStringList& files) {
    intake_->Open(files);
}

// A drop begins when the dragging program has had its answer.
void frmMain::dragEnterEvent(QDragEnterEvent* event) {
    if (!actions_.IsRunning() && !dravik::frmImport::FilesIn(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void frmMain::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    const QStringList files = dravik::frmImport::FilesIn(event->mimeData());
    QTimer::singleShot(0, this, [this, files] { OpenFiles(files); });
}

}  // namespace vorela
