#include "app/frmMain.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDialog>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QScopedValueRollback>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QTabBar>
#include <QVBoxLayout>
#include <algorithm>
#include <map>
#include <vector>

#include "analysis/ResultGridView.h"
#include "analysis/ValueHistory.h"
#include "analysis/modExact.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modMain.h"
#include "app/CycleOffer.h"
#include "app/GridEditors.h"
#include "app/LivePlotBar.h"
#include "app/QtPorts.h"
#include "app/WindowPlace.h"
#include "app/dlgHelp.h"
#include "app/frmExact.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "dravik/importer/frmImport.h"
#include "follow/ActionQueue.h"
#include "follow/StartUp.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlot.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"
#include "plotview/CycleView.h"
#include "plotview/PlotReadoutStrip.h"
#include "plotview/PlotWidget.h"
#include "plotview/TimeCursors.h"
#include "signal/CurveCoverage.h"
#include "signal/modDFilt.h"
#include "signal/modParameters.h"
#include "ui_frmMain.h"

// The resources of a static library have to be asked for, outside any namespace.
static void InitialiseResources() {
    Q_INIT_RESOURCE(vorela);
}

namespace vorela {
namespace {

constexpr int levelTab = 1;
constexpr int intervalTab = 2;
constexpr int quicklookTab = 3;
constexpr int summaryTab = 4;
constexpr double largestFirstShare = 0.9;  // of the screen, before the user chose a size
constexpr int statusMargin = 8;
constexpr int plotPage = 4;  // position in the stack of pages

constexpr const char* stepLoad = "Load Failed";
constexpr const char* stepUpdate = "Updating main window";
constexpr const char* stepLayOut = "Moving progress bar";
constexpr const char* stepTab = "Spinner Tab";
constexpr const char* stepCursorValues = "Displaying cursor values";
constexpr const char* stepAction = "Running an action of the main window";
constexpr const char* stepUnload = "Unloading main window";

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

bool IsPending(std::size_t dataset) {
    const auto& datasets = CurrentSelection().datasets;
    return dataset < datasets.size() && datasets[dataset].pendingFlag != 0;
}

QString LevelText(const DatasetRecord& record) {
    return QStringLiteral("%1 (%2 ft)").arg(Text(record.dataset), Text(FormatNumber(record.sortKey)));
}

/// Fills a chooser when its entries changed, without telling anybody.
void FillChooser(QComboBox& box, const QStringList& entries, int current) {
    const QSignalBlocker quiet(box);
    QStringList shown;
    for (int i = 0; i < box.count(); ++i)
        shown << box.itemText(i);
    if (shown != entries) {
        box.clear();
        box.addItems(entries);
    }
    box.setCurrentIndex(current);
    box.setEnabled(box.count() > 0);
}

/// The summary's codes with what they mean, a line each.
QString SummaryLegend() {
    QString rows;
    for (std::size_t i = 1; i < SummaryCodes().size(); ++i)
        rows += QStringLiteral("<tr><td><b>%1</b>&nbsp;&nbsp;</td><td>%2</td></tr>")
                    .arg(QString::fromUtf8(SummaryCodes()[i]), QString::fromUtf8(SummaryMeanings()[i]));
    return QStringLiteral("<table>%1</table>").arg(rows);
}

/// Rows of a grid that the user edits, with how.
std::map<int, CellMark> EditableRows(GridKind kind) {
    if (kind == GridKind::level && !CurrentSelection().datasets.empty())
        return {{static_cast<int>(levelCycleNumberRow), CellMark::arrow}};
    std::map<int, CellMark> rows;
    if (kind == GridKind::quicklook && IntervalCount() > 0)
        for (const std::size_t row :
             {quicklookPorosityRow, quicklookViscosityRow, quicklookCompressibilityRow, quicklookHeightRow})
            rows[static_cast<int>(row)] = CellMark::pencil;
    return rows;
}

/// Keys and mouse clicks that arrived while an action ran are not meant for what the window shows afterwards.
class InputDropper final : public QObject {
  public:
    InputDropper() { qApp->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        switch (event->type()) {
            case QEvent::KeyPress:
            case QEvent::KeyRelease:
            case QEvent::Shortcut:
            case QEvent::ShortcutOverride:
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonRelease:
            case QEvent::MouseButtonDblClick:
            case QEvent::Wheel:
                return true;
            default:
                return false;
        }
    }
};

}  // namespace

frmMain::frmMain(QtPorts& ports, QWidget* parent)
    : QMainWindow(parent), ports_(ports), ui_(std::make_unique<Ui::frmMain>()) {
    InitialiseResources();
    ui_->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/vorela.svg")));
    BuildMenus();
    BuildGrids();
    BuildPlotPage();
    lblSelection_ = new QLabel(this);
    lblSelection_->setObjectName(QStringLiteral("lblSelection"));
    lblSelection_->setContentsMargins(statusMargin, 0, statusMargin, 0);
    progBar_ = new QProgressBar(this);
    progBar_->setObjectName(QStringLiteral("progBar"));
    progBar_->setTextVisible(false);
    progBar_->setFixedWidth(180);
    progBar_->setAccessibleName(tr("Progress"));
    lblLive_ = new QLabel(this);
    lblLive_->setObjectName(QStringLiteral("lblLive"));
    lblLive_->setToolTip(
        tr("Seconds of the record that were written but not worked on yet, cycles so far, time to the next "
           "valve "
           "boundary"));
    for (QWidget* part : std::initializer_list<QWidget*>{lblLive_, lblSelection_, progBar_})
        ui_->statBar->addPermanentWidget(part);
    lblLive_->hide();
    progBar_->hide();  // until there is progress to show
    ports_.Attach(this, progBar_, ui_->statBar);
    connect(ui_->tsMain, &QTabBar::currentChanged, this, &frmMain::TabClicked);
    // A click on the tab that is shown already refreshes it.
    connect(ui_->tsMain, &QTabBar::tabBarClicked, this, [this](int tab) {
        if (tab >= 0 && tab == ui_->tsMain->currentIndex())
            TabClicked();
    });
    connect(ui_->cboLevel, &QComboBox::activated, this, &frmMain::LevelChosen);
    connect(ui_->cboInterval, &QComboBox::activated, this, &frmMain::IntervalChosen);
    BuildKeys();
    BuildFurtherMenus();
    tmrMain_.setParent(this);
    tmrMain_.setObjectName(QStringLiteral("tmrMain"));
    tmrMain_.setInterval(actionQueueIntervalMs);
    connect(&tmrMain_, &QTimer::timeout, this, &frmMain::TimerTick);
    setAcceptDrops(true);
    connect(ui_->lblBegin, &QLabel::linkActivated, this, [this](const QString& link) {
        link == QLatin1String("select") ? SelectDataEntry() : ImportEntry();
    });
    RestorePlace();
}

frmMain::~frmMain() {
    ports_.Attach(nullptr, nullptr, nullptr);
    tmrMain_.setParent(nullptr);
}

// A drop begins when the dragging program has had its answer.
void frmMain::dragEnterEvent(QDragEnterEvent* event) {
    if (!running_ && !dravik::frmImport::FilesIn(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void frmMain::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    const QStringList files = dravik::frmImport::FilesIn(event->mimeData());
    QTimer::singleShot(0, this, [this, files] { OpenFiles(files); });
}

void frmMain::BuildGrids() {
    editors_ = new GridEditors(
        ui_->fgLevel, ui_->fgQuicklook,
        {[this](int row) { return IntervalCell(row); }, [this] { return CycleNumberCell(); }});
    std::vector<QString> meanings;
    for (const char* meaning : SummaryMeanings())
        meanings.push_back(QString::fromUtf8(meaning));
    ui_->fgSummary->SetHeaderRow(true);
    ui_->fgSummary->SetColumnMeanings(meanings);
    ui_->lblLegend->setText(SummaryLegend());
    const std::pair<ResultGridView*, int> firstValues[] = {
        {ui_->fgLevel, static_cast<int>(levelCycleNumberRow) + 1},
        {ui_->fgInterval, 2},
        {ui_->fgQuicklook, 2},
        {ui_->fgSummary, 1}};
    for (const auto& [grid, row] : firstValues) {
        offers_.push_back(new CycleOffer(grid, row));
        connect(offers_.back(), &CycleOffer::Accepted, this, &frmMain::CalculateCyclesEntry);
    }
    // The meaning of a code for those who do not use the mouse.
    connect(ui_->fgSummary, &QTableWidget::currentCellChanged, this, [this, meanings](int, int column) {
        if (column > 0 && static_cast<std::size_t>(column) < meanings.size())
            ui_->statBar->showMessage(meanings[static_cast<std::size_t>(column)]);
    });
}

void frmMain::BuildPlotPage() {
    auto* level = new QVBoxLayout(ui_->pagePlot);
    level->setContentsMargins(0, 0, 0, 0);
    level->setSpacing(2);
    tsLevel_ = new QTabBar(ui_->pagePlot);
    tsLevel_->setObjectName(QStringLiteral("tsLevel"));
    tsLevel_->setAccessibleName(tr("Pages of the level"));
    tsLevel_->setDrawBase(false);
    tsLevel_->setExpanding(false);
    levelPages_ = new QStackedWidget(ui_->pagePlot);
    level->addWidget(tsLevel_);
    level->addWidget(levelPages_, 1);
    auto* curves = new QWidget(levelPages_);
    auto* page = new QVBoxLayout(curves);
    picPlot_ = new PlotWidget(curves);
    picPlot_->setObjectName(QStringLiteral("picPlot"));
    picPlot_->setFocusPolicy(Qt::StrongFocus);
    cursors_ = new TimeCursors(curves);
    cursors_->setObjectName(QStringLiteral("cursors"));
    lblCursors_ = new QLabel(curves);
    lblCursors_->setObjectName(QStringLiteral("lblCursors"));
    lblCursors_->setToolTip(tr("Times of cursor 1 and cursor 2 in seconds"));
    lblCursors_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    page->setContentsMargins(0, 0, 0, 0);
    page->setSpacing(2);
    page->addWidget(picPlot_, 1);
    page->addWidget(cursors_);
    page->addWidget(lblCursors_, 0, Qt::AlignHCenter);
    page->addWidget(new PlotReadoutStrip(picPlot_, curves));
    AddLevelPage(tr("Plot"), curves);
    BuildLiveBar();
    picPlot_->ConnectCursors(cursors_);
    connect(cursors_, &TimeCursors::CursorMoved, this, &frmMain::CursorsMoved);
    picPlot_->ServeKeysOf(curves);
    for (const auto& [kind, name] : {std::pair(CycleView::Kind::series, tr("Cycles")),
                                     std::pair(CycleView::Kind::stacked, tr("Stacked cycles"))}) {
        auto* view = new CycleView(kind, levelPages_);
        AddLevelPage(name, view);
        connect(view, &CycleView::CycleChosen, this, &frmMain::UseCycle);
        connect(view, &CycleView::SaveRequested, this, &frmMain::SavePlotEntry);
    }
    connect(tsLevel_, &QTabBar::currentChanged, this, [this](int at) {
        levelPages_->setCurrentIndex(at);
        ShowCycleView();
    });
    connect(picPlot_, &PlotWidget::ScalesChanged, this, [this] { Run([this] { UpdateMainWindow(); }); });
    connect(picPlot_, &PlotWidget::SaveRequested, this, &frmMain::SavePlotEntry);
    connect(picPlot_, &PlotWidget::CycleChosen, this, &frmMain::UseCycle);
    // Behind a click on its tab the picture has the keys.
    const auto focusPicture = [this] {
        QTimer::singleShot(0, this, [this] {
            QWidget* shown = levelPages_->currentWidget();
            (levelPages_->currentIndex() == 0 ? picPlot_ : shown)->setFocus();
        });
    };
    connect(ui_->tsMain, &QTabBar::tabBarClicked, this, [focusPicture](int tab) {
        if (tab + 1 >= firstDatasetTab)
            focusPicture();
    });
    connect(tsLevel_, &QTabBar::tabBarClicked, this, focusPicture);
}

void frmMain::AddLevelPage(const QString& name, QWidget* page) {
    tsLevel_->addTab(name);
    levelPages_->addWidget(page);
}

CycleView* frmMain::ShownCycleView() const {
    return ShownDataset() ? qobject_cast<CycleView*>(levelPages_->currentWidget()) : nullptr;
}

// The cycles as they are now, where they are looked at.
void frmMain::ShowCycleView() {
    if (CycleView* view = ShownCycleView())
        view->ShowDataset(PlotDataset());
}

void frmMain::BuildKeys() {
    const auto key = [this](const QKeySequence& sequence, auto action) {
        connect(new QShortcut(sequence, this), &QShortcut::activated, this, action);
    };
    key(QKeySequence::Paste,
        [this] { OpenFiles(dravik::frmImport::FilesIn(QApplication::clipboard()->mimeData())); });
    key(Qt::Key_PageUp, [this] { StepChoice(-1); });
    key(Qt::Key_PageDown, [this] { StepChoice(1); });
    // The tabs from anywhere in the window.
    const auto turnTab = [this](int by) {
        const int count = ui_->tsMain->count();
        ui_->tsMain->setCurrentIndex((ui_->tsMain->currentIndex() + by + count) % count);
    };
    key(QKeySequence(Qt::CTRL | Qt::Key_Tab), [turnTab] { turnTab(1); });
    key(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab), [turnTab] { turnTab(-1); });
    key(QKeySequence(Qt::CTRL | Qt::Key_PageDown), [turnTab] { turnTab(1); });
    key(QKeySequence(Qt::CTRL | Qt::Key_PageUp), [turnTab] { turnTab(-1); });
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
        const CursorPositions positions = ReadCursorSettings();
        cursors_->setCursor1(positions.cursor1);
        cursors_->setCursor2(positions.cursor2);
        CurrentCursorPositions() = {cursors_->cursor1(), cursors_->cursor2()};
        ResetFilterSlots();
        UpdateMainWindow();
    });
    loading_ = false;
    return loaded;
}

void frmMain::Unload() {
    if (unloaded_)
        return;
    unloaded_ = true;
    tmrMain_.stop();
    picPlot_->Clear();  // a redraw that is due would read through a library that is gone
    Attempt(stepUnload, [&] {
        // The filters live in the library: they go first.
        ReleaseAllFilters();
        FreeLibraries();
        WriteCursorSettings({cursors_->cursor1(), cursors_->cursor2()});
        KeepPlace();
    });
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (running_) {
        closeWanted_ = true;  // as soon as the action has ended
        event->ignore();
        return;
    }
    if (!unloaded_ && !editors_->Commit()) {
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

// --- The update ---

int frmMain::SelectedTab() const {
    return ui_->tsMain->currentIndex() + 1;
}

std::optional<std::size_t> frmMain::ShownDataset() const {
    const int dataset = SelectedTab() - firstDatasetTab;
    return dataset < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(dataset));
}

void frmMain::UpdateMainWindow() {
    const OnceOnly quiet(repeated_);
    Attempt(stepUpdate, [&] {
        RebuildTabs();
        RefreshGrids();
        FillChoosers();
        ShowGrids();
        LayOutForTab();
        ShowStaleCurves();
        ShowResultHints();
        ShowSelectedPlot(SelectedTab() >= firstDatasetTab);
        ShowTitle();
        ShowRecordingMarks();
        ShowLiveStatus();
        ShowUndo();
    });
    FollowExactResults();
    ShowStanding(Text(quiet.Standing()));
}

// Results of curves that the present settings would make otherwise: said above them until they are made anew.
void frmMain::ShowStaleCurves() {
    QStringList stale;
    for (const std::string& line : StaleCurveLines())
        stale << Text(line);
    ui_->lblStale->setText(stale.join(QLatin1Char('\n')));
    ui_->lblStale->setVisible(!stale.isEmpty());
    if (stale == stale_)
        return;
    stale_ = stale;
    ShowSelectionHints();
}

// Levels whose selected entry has no results leave empty rows: said while it is so. What following has made
// is said once and not lost to it.
void frmMain::ShowResultHints() {
    QStringList lines;
    for (const std::string& line : ResultHints())
        lines << Text(line);
    if (lines == resultHints_)
        return;
    resultHints_ = lines;
    const QString before = ui_->statBar->currentMessage();
    ShowSelectionHints();
    if (before.startsWith(QLatin1String("Following ")))
        ui_->statBar->showMessage(QStringList{before, hints_}.join(QStringLiteral("; ")));
}

// An error that still holds stands in the status bar, one that does not leaves it.
void frmMain::ShowStanding(QString error) {
    error.replace(QLatin1Char('\r'), QLatin1Char(' '));
    if (!error.isEmpty())
        ui_->statBar->showMessage(error);
    else if (!standing_.isEmpty() && ui_->statBar->currentMessage() == standing_)
        ShowSelectionHints();
    standing_ = error;
}

void frmMain::RebuildTabs() {
    QStringList names;
    for (const char* name : TabNames())
        names << QString::fromUtf8(name);
    const auto& datasets = CurrentSelection().datasets;
    for (const DatasetRecord& record : datasets)
        names << Text(record.dataset).replace(QLatin1Char('&'), QLatin1String("&&"));
    QTabBar& strip = *ui_->tsMain;
    const QSignalBlocker quiet(strip);
    while (strip.count() > names.size())
        strip.removeTab(strip.count() - 1);
    for (int i = 0; i < names.size(); ++i) {
        if (i >= strip.count())
            strip.addTab(names[i]);
        else if (strip.tabText(i) != names[i])
            strip.setTabText(i, names[i]);
        const int dataset = i - (firstDatasetTab - 1);
        strip.setTabToolTip(
            i, dataset >= 0 ? LevelText(datasets[static_cast<std::size_t>(dataset)]) : QString());
    }
}

void frmMain::FillChoosers() {
    CurrentChoice& shown = ShownChoice();
    const auto& datasets = CurrentSelection().datasets;
    if (shown.dataset >= datasets.size())
        shown.dataset = 0;
    const std::size_t intervals = IntervalCount();
    if (shown.interval < 1 || shown.interval > intervals)
        shown.interval = 1;
    QStringList levels;
    for (const DatasetRecord& record : datasets)
        levels << LevelText(record);
    QStringList labels;
    for (std::size_t i = 1; i <= intervals; ++i)
        labels << Text(CurrentIntervals()[i].label);
    FillChooser(*ui_->cboLevel, levels, static_cast<int>(shown.dataset));
    FillChooser(*ui_->cboInterval, labels, static_cast<int>(shown.interval) - 1);
    QString selected = tr("No data selected");
    if (!datasets.empty())
        selected = (datasets.size() == 1 ? tr("1 level") : tr("%1 levels").arg(datasets.size())) +
                   QStringLiteral(", ") + Text(CurrentSelection().choice.pressure) + QStringLiteral(" / ") +
                   Text(CurrentSelection().choice.flow);
    lblSelection_->setText(selected);
}

void frmMain::ShowGrids() {
    for (int tab = levelTab; tab <= summaryTab; ++tab)
        ShowGrid(tab);
}

void frmMain::ShowGrid(int tab) {
    const auto kind = static_cast<GridKind>(tab);
    ResultGridView* views[] = {ui_->fgLevel, ui_->fgInterval, ui_->fgQuicklook, ui_->fgSummary};
    views[tab - 1]->SetEditable(EditableRows(kind));
    views[tab - 1]->ShowGrid(Grid(kind));
    if (kind ==
        GridKind::summary)  // its legend stands right under it, a row left free for the offer to calculate
        ui_->fgSummary->setMaximumHeight(ui_->fgSummary->ContentsHeight() + 2 * ui_->fgSummary->rowHeight(0));
}

// The status bar keeps the progress bar in its place when the window's size changes.
void frmMain::LayOutForTab() {
    Attempt(stepLayOut, [&] {
        const int tab = SelectedTab();
        ui_->pages->setCurrentIndex(tab < firstDatasetTab ? tab - 1 : plotPage);
        const bool level = tab == levelTab;
        const bool interval = tab == intervalTab || tab == quicklookTab;
        ui_->lblLevel->setVisible(level);
        ui_->cboLevel->setVisible(level);
        ui_->lblInterval->setVisible(interval);
        ui_->cboInterval->setVisible(interval);
        ui_->rowChoosers->setVisible(level || interval);
        ShowBeginning();
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
        picPlot_->Clear();
        if (askedFor && !loading_)
            CurrentPorts().messages->Show(MessageIcon::critical, applicationTitle, message);
        return;
    }
    const int tab = SelectedTab();
    if (tab < firstDatasetTab)
        return;
    Attempt(stepTab, [&] {
        picPlot_->ShowDataset(static_cast<std::size_t>(tab - firstDatasetTab));
        HoldCursors();
        ShowCursorValues();
        ShowCycleView();
    });
}

void frmMain::ShowCursorValues() {
    Attempt(stepCursorValues, [&] {
        // The same times as the axis above them.
        const double start = PrsOpt().rangeStart - picPlot_->TimeOrigin();
        const double width = static_cast<double>(PrsOpt().rangeEnd) - PrsOpt().rangeStart;
        const auto value = [&](float percent) {
            return "[" + FormatNumber(start + static_cast<double>(percent) / 100 * width) + "]";
        };
        lblCursors_->setText(Text(value(cursors_->cursor1()) + " " + value(cursors_->cursor2())));
    });
}

void frmMain::CursorsMoved(float cursor1, float cursor2) {
    CurrentCursorPositions() = {cursor1, cursor2};
    if (loading_)
        return;
    CursorsPutByUser();
    ShowCursorValues();
}

// --- The user's choices ---

void frmMain::UseCycle(int cycle) {
    Run([this, cycle] {
        if (const std::optional<std::size_t> dataset = ShownDataset(); dataset && cycle > 0)
            ChooseCycle(*dataset, static_cast<std::size_t>(cycle) - 1);
        UpdateMainWindow();
    });
}

// Keys that no other widget takes: those of the plot while one is shown.
void frmMain::keyPressEvent(QKeyEvent* event) {
    if (!ShownDataset() || levelPages_->currentIndex() != 0 || !picPlot_->HandleKey(*event))
        QMainWindow::keyPressEvent(event);
}

void frmMain::TabClicked() {
    if (running_)
        return;
    if (!editors_->Commit()) {
        // What was typed cannot stand: back to where it can be mended.
        const QSignalBlocker quiet(ui_->tsMain);
        ui_->tsMain->setCurrentIndex(ui_->pages->currentIndex());
        return;
    }
    RunAlone([this] {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        UpdateMainWindow();
        QApplication::restoreOverrideCursor();
    });
}

void frmMain::LevelChosen(int position) {
    if (position < 0 || running_)
        return;
    ShownChoice().dataset = static_cast<std::size_t>(position);
    FillLevelGrid();
    ShowGrid(levelTab);
    ShowBeginning();
    ShowTitle();
}

void frmMain::IntervalChosen(int position) {
    if (position < 0 || running_)
        return;
    ShownChoice().interval = static_cast<std::size_t>(position) + 1;
    FillIntervalGrid();
    FillQuicklookGrid();
    ShowGrid(intervalTab);
    ShowGrid(quicklookTab);
    ShowTitle();
}

void frmMain::StepChoice(int by) {
    const int tab = SelectedTab();
    QComboBox* box = tab == levelTab                             ? ui_->cboLevel
                     : tab == intervalTab || tab == quicklookTab ? ui_->cboInterval
                                                                 : nullptr;
    if (box == nullptr || box->currentIndex() + by < 0 || box->currentIndex() + by >= box->count())
        return;
    if (!editors_->Commit())
        return;
    box->setCurrentIndex(box->currentIndex() + by);
    box == ui_->cboLevel ? LevelChosen(box->currentIndex()) : IntervalChosen(box->currentIndex());
}

std::optional<TextCell> frmMain::IntervalCell(int row) {
    static const std::vector<std::pair<std::size_t, IntervalField>> fields{
        {quicklookPorosityRow, &IntervalParameters::porosity},
        {quicklookViscosityRow, &IntervalParameters::viscosity},
        {quicklookCompressibilityRow, &IntervalParameters::ct},
        {quicklookHeightRow, &IntervalParameters::height}};
    const auto found = std::find_if(fields.begin(), fields.end(), [row](const auto& entry) {
        return static_cast<int>(entry.first) == row;
    });
    if (IntervalCount() == 0 || found == fields.end())
        return std::nullopt;
    const auto commit = [this, field = found->second,
                         interval = ShownChoice().interval](const std::string& text) {
        auto refusal = EditIntervalValue(field, interval, text);
        if (!refusal) {
            FillQuicklookGrid();
            ShowGrid(quicklookTab);
            FollowExactResults();
            ShowUndo();
        }
        return refusal;
    };
    return TextCell{IntervalValueText(found->second, ShownChoice().interval), commit};
}

CycleCell frmMain::CycleNumberCell() {
    if (CurrentSelection().datasets.empty())
        return {};
    const std::size_t dataset = ShownChoice().dataset;
    // By its text: while recording goes on, the window is another entry by now.
    const auto commit = [this, dataset](const std::string& choice) {
        const std::vector<std::string> choices = CycleChoices(dataset);
        const auto found = std::find(choices.begin(), choices.end(), choice);
        if (found == choices.end())
            return;
        ChooseCycle(dataset, static_cast<std::size_t>(found - choices.begin()));
        ShowResultHints();
        ShowGrid(levelTab);
        ShowUndo();
    };
    return {CycleChoices(dataset), commit};
}

// --- Actions ---

void frmMain::Run(const std::function<void()>& action) {
    if (running_ || !editors_->Commit())
        return;
    RunAlone([&] { RunWithoutInput(action); });
}

void frmMain::RunWithoutInput(const std::function<void()>& action) {
    EnableActions(false);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    ports_.TakeRepainted();
    repeated_.Forget();
    {
        const OnceOnly told(repeated_, OnceOnly::Repeats::shown);
        Attempt(stepAction, action);
    }
    if (ports_.TakeRepainted()) {
        InputDropper dropper;
        QApplication::processEvents();
    }
    QApplication::restoreOverrideCursor();
    EnableActions(true);
}

// Actions, tab updates and timer passes: while one runs, no other begins, and a window that is to be closed
// waits for its end.
void frmMain::RunAlone(const std::function<void()>& body) {
    {
        const QScopedValueRollback<bool> running(running_, true);
        body();
    }
    ports_.HideProgress();
    if (closeWanted_)
        close();
    else if (!waiting_.isEmpty())
        QTimer::singleShot(0, this, &frmMain::OpenWaiting);
}

void frmMain::EnableActions(bool on) {
    for (QAction* entry : menuBar()->actions())
        entry->setEnabled(on);
    for (QMenu* menu : menuBar()->findChildren<QMenu*>()) {
        for (QAction* entry : menu->actions())
            entry->setEnabled(on && (entry != mnuExact_ || !CurrentSelection().datasets.empty()));
    }
    if (on)
        ShowUndo();
}

void frmMain::TimerTick() {
    if (!running_)
        RunAlone([this] { FollowRecording(); });
}

void frmMain::FollowRecording() {
    const OnceOnly quiet(repeated_);
    const std::optional<std::size_t> shown = ShownDataset();
    const bool followed = shown && IsPending(*shown);
    RunActionQueuePass({[this] { return SelectedTab(); },
                        [this](int tab) {
                            static bool (*const fill[])() = {FillLevelGrid, FillIntervalGrid,
                                                             FillQuicklookGrid, FillSummaryGrid};
                            fill[tab - 1]();
                            ShowGrid(tab);
                        },
                        [this](std::size_t dataset) { FollowPlot(dataset); },
                        [this](bool on) { on ? tmrMain_.start() : tmrMain_.stop(); }});
    if (!stale_.isEmpty())
        ShowStaleCurves();
    ShowResultHints();
    ShowStanding(Text(quiet.Standing()));
    FillChoosers();
    if (exact_)
        exact_->Follow();
    // The pass does not redraw a dataset whose recording has ended; its last samples came with this pass.
    ShowRecordingMarks();
    ShowLiveStatus();
    if (followed && !IsPending(*shown))
        FollowPlot(*shown);
    // What a hint asked for may have come with the recording.
    if (!hints_.isEmpty() && ui_->statBar->currentMessage() == hints_)
        ShowSelectionHints();
}

int frmMain::ShowModal(QDialog& dialog) {
    const ArrowCursor arrow;
    const QRect available = screen()->availableGeometry();
    const QSize frame = Frame();
    FitDialog(dialog, available.size() - frame);
    QRect place(QPoint(), dialog.size() + frame);
    place.moveCenter(frameGeometry().center());
    dialog.move(PlaceOnScreens(place, {available}).topLeft());
    return dialog.exec();
}

// --- Place on the screen ---

// Before the window manager has framed the window, the style's title bar stands for it.
QSize frmMain::Frame() const {
    const QSize real = frameGeometry().size() - geometry().size();
    return isVisible() ? real : real.expandedTo({0, style()->pixelMetric(QStyle::PM_TitleBarHeight)});
}

void frmMain::RestorePlace() {
    std::vector<QRect> screens;
    for (const QScreen* one : QGuiApplication::screens())
        screens.push_back(one->availableGeometry());
    const std::optional<WindowPlace> kept = ReadWindowPlace();
    const QSize first = geometry().size().boundedTo(screen()->availableSize() * largestFirstShare);
    // What is kept is the client's size; the frame around it has to be on the screen too.
    normalPlace_ = kept ? kept->normal : QRect(pos(), first);
    normalPlace_ = PlaceOnScreens(QRect(normalPlace_.topLeft(), normalPlace_.size() + Frame()), screens);
    normalPlace_.setSize(normalPlace_.size() - Frame());
    resize(normalPlace_.size());
    if (kept)
        move(normalPlace_.topLeft());
    if (kept && kept->maximized)
        setWindowState(Qt::WindowMaximized);
}

void frmMain::KeepPlace() {
    WriteWindowPlace({normalPlace_, isMaximized()});
}

void frmMain::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    if (isVisible() && !isMaximized() && !isMinimized())
        normalPlace_.setSize(size());
}

void frmMain::moveEvent(QMoveEvent* event) {
    QMainWindow::moveEvent(event);
    if (isVisible() && !isMaximized() && !isMinimized())
        normalPlace_.moveTopLeft(pos());
}

}  // namespace vorela
