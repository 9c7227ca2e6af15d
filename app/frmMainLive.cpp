// What the main window tells at a glance and keeps at hand: title, marks and status of recordings, how to
// begin, recent selections, undo, toolbar, print preview.
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QScopedValueRollback>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QTabBar>
#include <QToolBar>
#include <algorithm>
#include <filesystem>
#include <set>

#include "analysis/CellColours.h"
#include "analysis/ValueHistory.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modMain.h"
#include "app/CycleOffer.h"
#include "app/LivePlotBar.h"
#include "app/QtPorts.h"
#include "app/WindowBars.h"
#include "app/frmMain.h"
#include "db/DatasetRecord.h"
#include "follow/ActionQueue.h"
#include "follow/LiveStatus.h"
#include "follow/RecentSelections.h"
#include "plot/modPlotScales.h"
#include "plotview/PlotWidget.h"
#include "plotview/TimeCursors.h"
#include "ui_frmMain.h"

namespace vorela {
namespace {

constexpr int levelTab = 1;
constexpr int intervalTab = 2;
constexpr int quicklookTab = 3;
constexpr int markSide = 16;
constexpr double previewShare = 0.8;  // of the screen

const std::vector<DatasetRecord>& Levels() {
    return CurrentSelection().datasets;
}

/// A red disc with a dark rim, seen on light and on dark tabs.
QIcon RecordingIcon() {
    QIcon icon;
    for (const int scale : {1, 2, 3}) {
        QPixmap picture(markSide * scale, markSide * scale);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(110, 0, 0), scale));
        painter.setBrush(QColor(225, 30, 30));
        const double margin = 3.0 * scale;
        painter.drawEllipse(QRectF(picture.rect()).adjusted(margin, margin, -margin, -margin));
        icon.addPixmap(picture);
    }
    return icon;
}

QString DatabaseNames() {
    QStringList names;
    std::set<std::string> seen;
    for (const DatasetRecord& record : Levels())
        if (seen.insert(record.database).second)
            names << QString::fromStdString(std::filesystem::path(record.database).filename().string());
    return names.join(QStringLiteral(", "));
}

QAction* AddEntry(QMenu* menu, const char* name, const QString& caption, const QKeySequence& keys) {
    QAction* action = menu->addAction(caption);
    action->setObjectName(QString::fromUtf8(name));
    action->setShortcut(keys);
    return action;
}

}  // namespace

// Behind the entries of the field manuals, which keep their places.
void frmMain::BuildFurtherMenus() {
    auto* file = menuBar()->findChild<QMenu*>(QStringLiteral("mnuFile"));
    auto* edit = menuBar()->findChild<QMenu*>(QStringLiteral("mnuEdit"));
    auto* view = menuBar()->findChild<QMenu*>(QStringLiteral("mnuView"));
    connect(AddEntry(file, "mnuFilePreview", tr("Print Pre&view..."), {}), &QAction::triggered, this,
            &frmMain::PrintPreviewEntry);
    file->addSeparator();
    BuildRecentMenu(file);
    edit->addSeparator();
    undo_ = AddEntry(edit, "mnuEditUndo", tr("&Undo"), QKeySequence(Qt::CTRL | Qt::Key_Z));
    redo_ = AddEntry(edit, "mnuEditRedo", tr("&Redo"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    connect(undo_, &QAction::triggered, this, [this] { TakeValueStep(false); });
    connect(redo_, &QAction::triggered, this, [this] { TakeValueStep(true); });
    const QToolBar* bar = BuildToolBar(*this, {{QStringLiteral("mnuFile0"), tr("Select Data")},
                                               {QStringLiteral("mnuFile8"), tr("Import")},
                                               {QStringLiteral("mnuFile2"), tr("Save")},
                                               {QStringLiteral("mnuFile7"), tr("Print")},
                                               {QString(), QString()},
                                               {QStringLiteral("mnuEdit0"), tr("Parameters")},
                                               {QStringLiteral("mnuView0"), tr("Cycles")},
                                               {QStringLiteral("mnuAction4"), tr("Calculate")},
                                               {QString(), QString()},
                                               {QStringLiteral("mnuEditUndo"), tr("Undo")},
                                               {QStringLiteral("mnuEditRedo"), tr("Redo")}});
    view->addSeparator();
    view->addAction(bar->toggleViewAction());
    bar->toggleViewAction()->setObjectName(QStringLiteral("mnuViewToolbar"));
    ShowUndo();
}

// --- At a glance ---

void frmMain::ShowTitle() {
    QStringList parts;
    if (!Levels().empty()) {
        parts << DatabaseNames();
        const int tab = SelectedTab();
        const std::size_t shown = PlotDataset();
        if ((tab == levelTab || tab >= firstDatasetTab) && shown < Levels().size())
            parts << QString::fromStdString(Levels()[shown].dataset);
        else if ((tab == intervalTab || tab == quicklookTab) && ShownChoice().interval <= IntervalCount())
            parts << tr("%1 ft").arg(
                QString::fromStdString(CurrentIntervals()[ShownChoice().interval].label));
        else
            parts << (Levels().size() == 1 ? tr("1 level") : tr("%1 levels").arg(Levels().size()));
    }
    parts << QStringLiteral("Corvane Vorela");
    setWindowTitle(parts.join(QStringLiteral(" - ")));
}

void frmMain::ShowRecordingMarks() {
    static const QIcon mark = RecordingIcon();
    QTabBar& strip = *ui_->tsMain;
    for (int tab = firstDatasetTab - 1; tab < strip.count(); ++tab) {
        const auto dataset = static_cast<std::size_t>(tab - (firstDatasetTab - 1));
        if (dataset >= Levels().size())
            break;
        const bool recorded = Levels()[dataset].pendingFlag != 0;
        if (strip.tabIcon(tab).isNull() == recorded)
            strip.setTabIcon(tab, recorded ? mark : QIcon());
        const QString name = QString::fromStdString(Levels()[dataset].dataset);
        strip.setAccessibleTabName(tab, recorded ? tr("%1, being recorded").arg(name) : name);
        if (recorded && !strip.tabToolTip(tab).endsWith(tr("being recorded")))
            strip.setTabToolTip(tab, strip.tabToolTip(tab) + tr(", being recorded"));
    }
}

// Of the level that is shown while it is being recorded, else of the first one that is.
void frmMain::ShowLiveStatus() {
    const auto pending = [](const DatasetRecord& record) { return record.pendingFlag != 0; };
    const auto first = std::find_if(Levels().begin(), Levels().end(), pending);
    const std::size_t shown = PlotDataset();
    const bool ofShown = shown < Levels().size() && pending(Levels()[shown]);
    const auto status =
        LiveStatusOf(ofShown ? shown : static_cast<std::size_t>(std::distance(Levels().begin(), first)));
    lblLive_->setVisible(status.has_value());
    lblLive_->setText(status ? QString::fromStdString(LiveStatusText(*status)) : QString());
    const std::optional<std::size_t> plotted = ShownDataset();
    liveBar_->ShowFor(plotted && *plotted < Levels().size() && pending(Levels()[*plotted]),
                      PrsOpt().timeAuto);
}

void frmMain::ShowBeginning() {
    const int tab = SelectedTab();
    const bool none = Levels().empty();
    const bool single = Levels().size() == 1 && tab > levelTab && tab < firstDatasetTab;
    static const QString howToBegin = ui_->lblBegin->text();
    ui_->lblBegin->setText(single
                               ? tr("<p>Intervals lie between two levels. <a href=\"select\">Select Data</a> "
                                    "(Ctrl+D) adds a second one.</p>")
                               : howToBegin);
    ui_->lblBegin->setVisible(none || single);
    QPalette link;  // what a desktop has as link colour may not be made for its background
    link.setColor(QPalette::Link,
                  LegibleText(palette().color(QPalette::Link), palette().color(QPalette::Window)));
    ui_->lblBegin->setPalette(link);
    const auto unmeasured = [](const DatasetRecord& record) {
        return record.cycleSource == CycleSource::none;
    };
    const bool any = std::any_of(Levels().begin(), Levels().end(), unmeasured);
    const std::size_t shown = ShownChoice().dataset;
    for (std::size_t i = 0; i < offers_.size(); ++i)
        offers_[i]->Offer(i == 0 ? shown < Levels().size() && unmeasured(Levels()[shown])
                                 : any && Levels().size() > 1);
}

// --- Following a recording ---

void frmMain::BuildLiveBar() {
    liveBar_ = new LivePlotBar(ui_->pagePlot);
    ui_->pagePlot->layout()->addWidget(liveBar_);
    connect(liveBar_, &LivePlotBar::Resumed, this, [this] {
        if (const auto shown = ShownDataset(); shown && !running_)
            RunAlone([&] { FollowPlot(*shown); });
    });
    connect(liveBar_, &LivePlotBar::HoldChanged, this, [this] {
        hold_.Forget();
        HoldCursors();
    });
    connect(new QShortcut(Qt::CTRL | Qt::Key_L, this), &QShortcut::activated, liveBar_,
            &LivePlotBar::TogglePause);
}

void frmMain::FollowPlot(std::size_t dataset) {
    if (liveBar_->IsPaused())
        return;
    picPlot_->Follow(dataset);
    HoldCursors();
    ShowCursorValues();
    ShowCycleView();
}

// The cursors go back to the times they had; where none are held yet, those of now are.
void frmMain::HoldCursors() {
    const std::optional<std::size_t> shown = ShownDataset();
    if (!shown || *shown >= Levels().size() || !liveBar_->HoldsCursors() || !PrsOpt().timeAuto) {
        hold_.Forget();
        return;
    }
    const PlottedRange range{PrsOpt().rangeStart, PrsOpt().rangeEnd};
    const std::string level = Levels()[*shown].database + "/" + Levels()[*shown].dataset;
    if (const auto held = hold_.In(level, range)) {
        const QScopedValueRollback<bool> holding(holding_, true);
        cursors_->setCursor1(held->cursor1);
        cursors_->setCursor2(held->cursor2);
    } else {
        hold_.Take(level, range, {cursors_->cursor1(), cursors_->cursor2()});
    }
}

void frmMain::CursorsPutByUser() {
    if (holding_)
        return;
    hold_.Forget();
    HoldCursors();
}

// --- Undo ---

void frmMain::ShowUndo() {
    const auto show = [](QAction& action, const QString& verb, const std::string& subject) {
        const QString named = QString::fromStdString(subject).replace(QLatin1Char('&'), QLatin1String("&&"));
        action.setText(subject.empty() ? verb : verb + QLatin1Char(' ') + named);
        action.setEnabled(!subject.empty());
        action.setIconText(QString(verb).remove(QLatin1Char('&')));
        action.setToolTip(ToolTipOf(action));
    };
    show(*undo_, tr("&Undo"), UndoSubject());
    show(*redo_, tr("&Redo"), RedoSubject());
}

void frmMain::TakeValueStep(bool again) {
    Run([&] {
        const std::optional<ValueStep> step = again ? RedoValue() : UndoValue();
        if (!step)
            return;
        (step->cycle ? ShownChoice().dataset : ShownChoice().interval) = step->position;
        UpdateMainWindow();
        const QString said = again ? tr("Done again: %1") : tr("Undone: %1");
        ui_->statBar->showMessage(said.arg(QString::fromStdString(step->text)));
    });
}

// --- Recent selections ---

// The entries stay for good and only change their texts: one of them may be what is being carried out.
void frmMain::BuildRecentMenu(QMenu* file) {
    QMenu* recent = file->addMenu(tr("Recen&t Selections"));
    recent->setObjectName(QStringLiteral("mnuRecent"));
    connect(recent, &QMenu::aboutToShow, this, &frmMain::FillRecentMenu);
    for (std::size_t i = 0; i < mostRecentSelections; ++i) {
        recent_.push_back(recent->addAction(QString()));
        recent_.back()->setObjectName(QStringLiteral("mnuRecent%1").arg(i + 1));
        connect(recent_.back(), &QAction::triggered, this, [this, i] {
            const std::vector<RecentSelection> all = RecentSelections();
            if (i < all.size())
                OpenRecent(all[i]);
        });
    }
    FillRecentMenu();
}

void frmMain::FillRecentMenu() {
    const std::vector<RecentSelection> all = RecentSelections();
    for (std::size_t i = 0; i < recent_.size(); ++i) {
        const bool there = i < all.size();
        QString caption = there ? QString::fromStdString(RecentCaption(all[i])) : tr("(none yet)");
        caption.replace(QLatin1Char('&'), QLatin1String("&&"));
        recent_[i]->setText(QStringLiteral("&%1 %2").arg(i + 1).arg(caption));
        recent_[i]->setVisible(there || i == 0);
        recent_[i]->setToolTip(there ? QString::fromStdString(all[i].levels.front().database) : QString());
    }
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

// --- Printing ---

void frmMain::PrintPreviewEntry() {
    Run([this] {
        if (!DataSelected())
            return;
        QPrinter printer(QPrinter::HighResolution);
        printer.setPageOrientation(QPageLayout::Landscape);
        QPrintPreviewDialog dialog(&printer, this);
        dialog.setObjectName(QStringLiteral("dlgPrintPreview"));
        connect(&dialog, &QPrintPreviewDialog::paintRequested, this,
                [this](QPrinter* paper) { PrintShown(*paper); });
        dialog.resize(screen()->availableSize() * previewShare);
        const ArrowCursor arrow;
        dialog.exec();
    });
}

}  // namespace vorela
