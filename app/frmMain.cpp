#include "app/frmMain.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QShortcut>

#include "analysis/ResultGridView.h"
#include "analysis/modExact.h"
#include "analysis/modMain.h"
#include "app/FileIntake.h"
#include "app/LevelPage.h"
#include "app/QtPorts.h"
#include "app/ResultPages.h"
#include "app/StatusLine.h"
#include "app/TabStrip.h"
#include "app/WindowMenus.h"
#include "app/WindowOutput.h"
#include "app/WindowPlace.h"
#include "app/dlgHelp.h"
#include "app/frmExact.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "dravik/importer/frmImport.h"
#include "follow/ActionQueue.h"
#include "follow/StartUp.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlot.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"
#include "signal/modDFilt.h"
#include "signal/modParameters.h"
#include "ui_frmMain.h"

// The resources of a static library have to be asked for, outside any namespace.
static void InitialiseResources() {
    Q_INIT_RESOURCE(vorela);
}

namespace vorela {
namespace {

constexpr const char* stepLoad = "Load Failed";
constexpr const char* stepUpdate = "Updating main window";
constexpr const char* stepLayOut = "Moving progress bar";
constexpr const char* stepTab = "Spinner Tab";
constexpr const char* stepUnload = "Unloading main window";

}  // namespace

frmMain::frmMain(QtPorts& ports, QWidget* parent)
    : QMainWindow(parent),
      ports_(ports),
      ui_(std::make_unique<Ui::frmMain>()),
      actions_(ports, {[this] { return results_->Commit(); }, [this](bool on) { menus_->Enable(on); },
                       [this] { ActionEnded(); }}) {
    InitialiseResources();
    ui_->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/vorela.svg")));
    setAcceptDrops(true);
    BuildResults();
    BuildLevelPage();
    status_ = std::make_unique<StatusLine>(ui_->statBar, ui_->lblStale);
    output_ = std::make_unique<WindowOutput>(*this, *levelPage_, *status_);
    intake_ = std::make_unique<FileIntake>(*this, actions_, *status_,
                                           [this](const auto& prepare) { SelectDatasets(prepare); });
    ports_.Attach(this, status_->Progress(), ui_->statBar);
    BuildTabs();
    BuildKeys();
    BuildMenus();
    BuildTimer();
    place_ = new PlaceKeeper(this);
}

frmMain::~frmMain() {
    ports_.Attach(nullptr, nullptr, nullptr);
    tmrMain_.setParent(nullptr);
}

// --- Construction ---

void frmMain::BuildResults() {
    results_ = new ResultPages(*ui_, actions_, this);
    connect(results_, &ResultPages::Chosen, this, [this] {
        results_->ShowBeginning(SelectedTab());
        ShowTitle();
    });
    connect(results_, &ResultPages::IntervalEdited, this, [this] {
        FollowExactResults();
        menus_->ShowUndo();
        status_->EndSaid();
    });
    connect(results_, &ResultPages::CycleEdited, this, [this] {
        status_->ShowResultHints(!tmrMain_.isActive());
        menus_->ShowUndo();
        status_->EndSaid();
    });
    connect(results_, &ResultPages::CalculationWanted, this, &frmMain::CalculateCyclesEntry);
    connect(results_, &ResultPages::Explained, this, [this](const QString& text) { status_->Say(text); });
    connect(ui_->lblBegin, &QLabel::linkActivated, this, [this](const QString& link) {
        link == QLatin1String("select") ? SelectDataEntry() : ImportEntry();
    });
}

void frmMain::BuildLevelPage() {
    levelPage_ = new LevelPage([this] { return ShownDataset(); }, ui_->pages);
    ui_->pages->addWidget(levelPage_);
    connect(levelPage_, &LevelPage::CycleChosen, this, &frmMain::UseCycle);
    connect(levelPage_, &LevelPage::SaveRequested, this, &frmMain::SavePlotEntry);
    connect(levelPage_, &LevelPage::ScalesChanged, this, [this] { Run([this] { UpdateMainWindow(); }); });
    connect(levelPage_, &LevelPage::Resumed, this, [this] {
        if (const auto shown = ShownDataset(); shown && !actions_.IsRunning())
            actions_.RunAlone([&] { levelPage_->Follow(*shown); });
    });
}

void frmMain::BuildTabs() {
    connect(ui_->tsMain, &QTabBar::currentChanged, this, &frmMain::TabClicked);
    connect(ui_->tsMain, &QTabBar::tabBarClicked, this, [this](int tab) {
        // Behind a click on its tab the picture has the keys.
        if (tab + 1 >= firstDatasetTab)
            levelPage_->FocusPicture();
        // A click on the tab that is shown already refreshes it.
        if (tab >= 0 && tab == ui_->tsMain->currentIndex())
            TabClicked();
    });
}

void frmMain::BuildKeys() {
    const auto key = [this](const QKeySequence& sequence, auto action) {
        connect(new QShortcut(sequence, this), &QShortcut::activated, this, action);
    };
    key(QKeySequence::Paste,
        [this] { OpenFiles(dravik::frmImport::FilesIn(QApplication::clipboard()->mimeData())); });
    key(Qt::Key_PageUp, [this] { results_->StepChoice(SelectedTab(), -1); });
    key(Qt::Key_PageDown, [this] { results_->StepChoice(SelectedTab(), 1); });
    key(Qt::CTRL | Qt::Key_L, [this] { levelPage_->TogglePause(); });
    // The tabs from anywhere in the window.
    for (const QKeyCombination next : {Qt::CTRL | Qt::Key_Tab, Qt::CTRL | Qt::Key_PageDown})
        key(next, [this] { TurnTab(1); });
    for (const QKeyCombination former : {Qt::CTRL | Qt::SHIFT | Qt::Key_Tab, Qt::CTRL | Qt::Key_PageUp})
        key(former, [this] { TurnTab(-1); });
}

void frmMain::BuildTimer() {
    tmrMain_.setParent(this);
    tmrMain_.setObjectName(QStringLiteral("tmrMain"));
    tmrMain_.setInterval(actionQueueIntervalMs);
    connect(&tmrMain_, &QTimer::timeout, this, &frmMain::TimerTick);
}

bool frmMain::Load() {
    loading_ = true;
    const bool loaded = Attempt(stepLoad, [&] {
        // Pens live with each drawing, and the lists of spinner and filter types are tables of the
        // parameters.
        for (const GridKind kind :
             {GridKind::level, GridKind::interval, GridKind::summary, GridKind::quicklook})
            SetUpGrid(kind);
        UpdateMainWindow();
        ReadPresentationOptions();
        ReadPlotFormat();
        ReadParameters();
        ReadDatasetSettings();
        ReadExactSettings();
        levelPage_->PutCursors(ReadCursorSettings());
        CurrentCursorPositions() = levelPage_->Cursors();
        ResetFilterSlots();
        UpdateMainWindow();
    });
    loading_ = false;
    return loaded;
}

// --- The end ---

void frmMain::Unload() {
    if (unloaded_)
        return;
    unloaded_ = true;
    tmrMain_.stop();
    levelPage_->Clear();  // a redraw that is due would read through a library that is gone
    Attempt(stepUnload, [&] {
        // The filters live in the library: they go first.
        ReleaseAllFilters();
        FreeLibraries();
        WriteCursorSettings(levelPage_->Cursors());
        place_->Keep();
    });
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (actions_.IsRunning()) {
        closeWanted_ = true;  // as soon as the action has ended
        event->ignore();
        return;
    }
    if (!unloaded_ && !results_->Commit()) {
        event->ignore();
        return;
    }
    if (help_)
        help_->close();
    if (exact_)
        exact_->close();
    Unload();
    event->accept();
}

void frmMain::ActionEnded() {
    if (closeWanted_)
        close();
    else if (intake_->IsWaiting())
        QTimer::singleShot(0, this, [this] { intake_->OpenWaiting(); });
}

// --- The update ---

int frmMain::SelectedTab() const {
    return ui_->tsMain->currentIndex() + 1;
}

std::optional<std::size_t> frmMain::ShownDataset() const {
    const int dataset = SelectedTab() - firstDatasetTab;
    return dataset < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(dataset));
}

std::size_t frmMain::PlotDataset() const {
    return ShownDataset().value_or(ShownChoice().dataset);
}

void frmMain::UpdateMainWindow() {
    const OnceOnly quiet(actions_.Said());
    Attempt(stepUpdate, [&] {
        FillTabs(*ui_->tsMain);
        RefreshGrids();
        results_->FillChoosers();
        status_->ShowSelected();
        results_->ShowGrids();
        LayOutForTab();
        status_->ShowStaleCurves();
        status_->ShowResultHints(!tmrMain_.isActive());
        ShowSelectedPlot(SelectedTab() >= firstDatasetTab);
        ShowTitle();
        ShowRecordings();
        menus_->ShowUndo();
    });
    FollowExactResults();
    status_->ShowStanding(quiet.Standing());
}

// The status bar keeps the progress bar in its place when the window's size changes.
void frmMain::LayOutForTab() {
    Attempt(stepLayOut, [&] {
        const int tab = SelectedTab();
        if (tab < firstDatasetTab)
            ui_->pages->setCurrentIndex(tab - 1);
        else
            ui_->pages->setCurrentWidget(levelPage_);
        results_->LayOutFor(tab);
    });
}

bool frmMain::PlotDataCheck() {
    std::string message;
    if (PlotDataAvailable(message))
        return true;
    CurrentPorts().messages->Show(MessageIcon::critical, applicationTitle, message);
    return false;
}

// The grids stand for themselves when there is nothing to plot; a plot that was asked for says why it is
// empty.
void frmMain::ShowSelectedPlot(bool askedFor) {
    std::string message;
    if (!PlotDataAvailable(message)) {
        levelPage_->Clear();
        if (askedFor && !loading_)
            CurrentPorts().messages->Show(MessageIcon::critical, applicationTitle, message);
        return;
    }
    if (const std::optional<std::size_t> shown = ShownDataset())
        Attempt(stepTab, [&] { levelPage_->Show(*shown); });
}

void frmMain::ShowTitle() {
    setWindowTitle(WindowTitle(SelectedTab(), PlotDataset()));
}

void frmMain::ShowRecordings() {
    MarkRecordings(*ui_->tsMain);
    status_->ShowLive(PlotDataset());
    const auto& levels = CurrentSelection().datasets;
    const std::optional<std::size_t> shown = ShownDataset();
    levelPage_->ShowFollowing(shown && *shown < levels.size() && levels[*shown].IsRecorded());
}

// --- Following a recording ---

void frmMain::TimerTick() {
    if (!actions_.IsRunning())
        actions_.RunAlone([this] { FollowRecording(); });
}

void frmMain::FollowRecording() {
    const OnceOnly quiet(actions_.Said());
    const std::optional<std::size_t> shown = ShownDataset();
    const auto isRecorded = [&shown] {
        const auto& levels = CurrentSelection().datasets;
        return shown && *shown < levels.size() && levels[*shown].IsRecorded();
    };
    const bool followed = isRecorded();
    RunActionQueuePass({[this] { return SelectedTab(); },
                        [this](int tab) {
                            static bool (*const fill[])() = {FillLevelGrid, FillIntervalGrid,
                                                             FillQuicklookGrid, FillSummaryGrid};
                            fill[tab - 1]();
                            results_->ShowGrid(static_cast<GridKind>(tab));
                        },
                        [this](std::size_t dataset) { levelPage_->Follow(dataset); },
                        [this](bool on) { on ? tmrMain_.start() : tmrMain_.stop(); }});
    if (status_->HasStaleCurves())
        status_->ShowStaleCurves();
    status_->ShowResultHints(!tmrMain_.isActive());
    status_->ShowStanding(quiet.Standing());
    results_->FillChoosers();
    status_->ShowSelected();
    FollowExactResults();
    ShowRecordings();
    // The pass does not redraw a dataset whose recording has ended; its last samples came with this pass.
    if (followed && !isRecorded())
        levelPage_->Follow(*shown);
    status_->RenewHints();
}

void frmMain::FollowExactResults() {
    if (exact_)
        exact_->Follow();
}

}  // namespace vorela
