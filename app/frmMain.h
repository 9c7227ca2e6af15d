// The main window: it brings menus, tab strip, result pages, the level's page and the status bar together,
// and has the timer that drives the action queue. Its handlers only route what the user does to the rooms
// that do the work.
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

#include "app/ActionRunner.h"

namespace Ui {
class frmMain;
}

namespace vorela {

class FileIntake;
class LevelPage;
class PlaceKeeper;
class QtPorts;
class ResultPages;
class StatusLine;
class WindowMenus;
class WindowOutput;
class dlgHelp;
class frmExact;
class frmSelectData;
struct MenuEntry;
struct RecentSelection;

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
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    // Construction
    void BuildTabs();
    void BuildResults();
    void BuildLevelPage();
    void BuildMenus();
    void BuildKeys();
    void BuildTimer();
    std::vector<MenuEntry> MenuEntries();
    void Unload();

    // Menu entries
    void SelectDataEntry();
    /// Select Data, its dialog prepared before it shows.
    void SelectDatasets(const std::function<void(frmSelectData&)>& prepare);
    /// The sequence behind a selection that `choose` makes.
    void RunSelection(const std::function<void()>& choose);
    void OpenRecent(const RecentSelection& recent);
    void ImportEntry();
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

    /// An action of the user; see ActionRunner.
    void Run(const std::function<void()>& action) { actions_.Run(action); }
    /// The same, where it needs levels: "No data selected" otherwise.
    void RunWithData(const std::function<void()>& action);
    /// An analysis of cycles under the claim of its databases, and the window with what it brought.
    void RunCycleAnalysis(const std::function<void()>& analysis);
    /// Dataset of the selected tab; on the grid tabs the level that is shown.
    std::size_t PlotDataset() const;
    bool PlotDataCheck();
    static void BringForward(QWidget& window);

    // The update
    void LayOutForTab();
    void ShowSelectedPlot(bool askedFor);
    void ShowTitle();
    void ShowRecordings();
    void TabClicked();
    void TurnTab(int by);
    void UseCycle(int cycle);

    // Following
    void FollowRecording();
    void FollowExactResults();
    void FollowWhatIsRecorded();  ///< the timer on, where a selected level is being recorded
    void ActionEnded();

    QtPorts& ports_;
    std::unique_ptr<Ui::frmMain> ui_;
    ActionRunner actions_;
    std::unique_ptr<StatusLine> status_;
    std::unique_ptr<WindowMenus> menus_;
    std::unique_ptr<WindowOutput> output_;
    std::unique_ptr<FileIntake> intake_;
    ResultPages* results_ = nullptr;
    LevelPage* levelPage_ = nullptr;
    PlaceKeeper* place_ = nullptr;
    QPointer<dlgHelp> help_;
    QPointer<frmExact> exact_;  ///< made when first asked for
    QTimer tmrMain_;
    bool loading_ = false;
    bool closeWanted_ = false;
    bool unloaded_ = false;
};

}  // namespace vorela
