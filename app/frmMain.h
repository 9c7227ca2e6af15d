// The main window: menus, tab strip, result grids, plot with its time cursors, progress and status bars, and
// the timer that drives the action queue. Its handlers only route what the user does to the rooms that do the
// work.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "follow/CursorHold.h"
#include "general/RepeatedMessages.h"

class QAction;
class QDialog;
class QLabel;
class QMenu;
class QPrinter;
class QProgressBar;
class QStackedWidget;
class QTabBar;

namespace Ui {
class frmMain;
}

namespace vorela {

class CycleOffer;
class CycleView;
class GridEditors;
class LivePlotBar;
struct CycleCell;
struct RecentSelection;
struct TextCell;
class PlotWidget;
class QtPorts;
class TimeCursors;
class dlgHelp;
class frmExact;
class frmSelectData;

class frmMain : public QMainWindow {
    Q_OBJECT
  public:
    explicit frmMain(QtPorts& ports, QWidget* parent = nullptr);
    ~frmMain() override;

    /// What has to be done once before the window is shown: grids, settings, cursors. Step "Load Failed".
    bool Load();

    /// Tab strip, grids, and what belongs to the selected tab. Step "Updating main window". A tab of a
    /// dataset that cannot be plotted says why.
    void UpdateMainWindow();
    /// One pass of the action queue; nothing while an action runs.
    void TimerTick();

    /// Files that the desktop or a second start wants opened: the window comes to the front and takes them
    /// once no action runs and no dialog is open.
    void OpenFiles(const QStringList& files);

    /// Tabs count from 1: 1 … 4 the grids, k ≥ 5 dataset k − 5.
    int SelectedTab() const;
    /// Of a dataset's tab; nothing on the grid tabs.
    std::optional<std::size_t> ShownDataset() const;

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    struct MenuEntry;
    using Handler = void (frmMain::*)();

    // Construction
    void BuildMenus();
    void BuildFurtherMenus();
    void BuildPlotPage();
    void AddLevelPage(const QString& name, QWidget* page);
    void BuildLiveBar();
    void BuildGrids();
    void BuildKeys();
    static const std::vector<MenuEntry>& MenuEntries();

    // Menu entries
    void SelectDataEntry();
    /// Select Data, its dialog prepared before it shows.
    void SelectDatasets(const std::function<void(frmSelectData&)>& prepare);
    /// The sequence behind a selection that `choose` makes.
    void RunSelection(const std::function<void()>& choose);
    void BuildRecentMenu(QMenu* file);
    void FillRecentMenu();
    void OpenRecent(const RecentSelection& recent);
    void ImportEntry();
    /// The import dialog with these files; then Select Data with what came in.
    void ImportFiles(const QStringList& files, const std::string& database);
    void OpenWaiting();
    /// Files dropped, pasted or opened: a database is offered to Select Data, all else to the import.
    void TakeFiles(const QStringList& files);
    void SaveInterpretationEntry();
    void ExitEntry();
    void SavePlotEntry();
    void PrintPlotEntry();
    void PrintPreviewEntry();
    void TakeValueStep(bool again);
    void SaveReportEntry();
    void ParametersEntry();
    void CycleInformationEntry();
    void ExactResultsEntry();
    void PlanEntry();
    void FilteredCurvesEntry();
    void ReconstructValveEntry();
    void DravikFilteredFlowEntry();
    void CalculateCyclesEntry();
    void RecalculateMotorPositionEntry();
    void RecalculateUnfilteredEntry();
    void PlotScalesEntry();
    void PlotFormatEntry();
    void HelpEntry();
    void AboutEntry();

    /// Dataset of the selected tab; on the grid tabs the level that is shown.
    std::size_t PlotDataset() const;
    /// The page of cycles that is shown; null where it is another one.
    CycleView* ShownCycleView() const;
    /// What the page shows: cycles, else the curves of PlotDataset().
    bool PrintShown(QPrinter& printer);
    /// False after "No data selected".
    bool DataSelected();
    void ShowNewCycles();

    // The update
    void RebuildTabs();
    void FillChoosers();
    void ShowGrids();
    void ShowGrid(int tab);
    void LayOutForTab();
    void ShowSelectedPlot(bool askedFor);
    void ShowCursorValues();
    void ShowCycleView();
    bool PlotDataCheck();
    void ShowSelectionHints();
    QStringList SelectionHints() const;
    void ShowStaleCurves();
    void ShowResultHints();
    void ShowStanding(QString error);
    void ShowTitle();
    void ShowRecordingMarks();
    void ShowLiveStatus();
    void ShowBeginning();
    void ShowUndo();

    // The user's choices
    void TabClicked();
    void LevelChosen(int position);
    void IntervalChosen(int position);
    void StepChoice(int by);
    void CursorsMoved(float cursor1, float cursor2);
    void UseCycle(int cycle);
    void CursorsPutByUser();
    std::optional<TextCell> IntervalCell(int row);
    CycleCell CycleNumberCell();

    /// Runs one action: the menus are disabled, the cursor is the wait cursor, a second action and the timer
    /// wait, and keys pressed meanwhile are dropped. Refused while another action runs.
    void Run(const std::function<void()>& action);
    void RunWithoutInput(const std::function<void()>& action);
    void RunAlone(const std::function<void()>& body);
    void FollowRecording();
    void FollowExactResults();
    void FollowWhatIsRecorded();  ///< the timer on, where a selected level is being recorded
    void FollowPlot(std::size_t dataset);
    void HoldCursors();
    void EnableActions(bool on);
    /// The dialog, modal over the window, on screen wholly.
    int ShowModal(QDialog& dialog);
    QSize Frame() const;  ///< what the frame adds to the window's size
    void KeepPlace();
    void RestorePlace();
    void Unload();

    QtPorts& ports_;
    std::unique_ptr<Ui::frmMain> ui_;
    QTabBar* tsLevel_ = nullptr;  ///< pages of a level's tab: plot, cycles, stacked cycles
    QStackedWidget* levelPages_ = nullptr;
    PlotWidget* picPlot_ = nullptr;
    TimeCursors* cursors_ = nullptr;
    QLabel* lblCursors_ = nullptr;
    QLabel* lblSelection_ = nullptr;
    QLabel* lblLive_ = nullptr;
    QProgressBar* progBar_ = nullptr;
    LivePlotBar* liveBar_ = nullptr;
    std::vector<CycleOffer*> offers_;  ///< of the four grids
    std::vector<QAction*> recent_;
    QAction* undo_ = nullptr;
    QAction* redo_ = nullptr;
    GridEditors* editors_ = nullptr;
    QTimer tmrMain_;
    QPointer<dlgHelp> help_;
    QPointer<frmExact> exact_;     ///< made when first asked for
    QAction* mnuExact_ = nullptr;  ///< enabled with a selection
    RepeatedMessages repeated_;
    QString hints_;  ///< as last shown in the status bar
    QString standing_;
    QStringList stale_;
    QStringList resultHints_;  ///< levels without results at their selected entry
    QRect normalPlace_;
    QStringList waiting_;  ///< files to be opened after the action that runs
    CursorHold hold_;
    bool holding_ = false;  ///< the cursors are being put back to the times that are held
    bool running_ = false;
    bool loading_ = false;
    bool closeWanted_ = false;
    bool unloaded_ = false;
};

}  // namespace vorela
