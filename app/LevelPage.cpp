#include "app/LevelPage.h"

#include <QLabel>
#include <QPrinter>
#include <QScopedValueRollback>
#include <QStackedWidget>
#include <QTabBar>
#include <QTimer>
#include <QVBoxLayout>
#include <utility>

#include "app/LivePlotBar.h"
#include "db/DatasetRecord.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "plot/modPlotScales.h"
#include "plotview/CycleView.h"
#include "plotview/PlotFile.h"
#include "plotview/PlotReadoutStrip.h"
#include "plotview/PlotWidget.h"
#include "plotview/TimeCursors.h"

namespace vorela {
namespace {

constexpr int spacing = 2;
constexpr const char* stepCursorValues = "Displaying cursor values";

/// Parts one under the other, without a rim.
QVBoxLayout* ColumnOf(QWidget* parent) {
    auto* column = new QVBoxLayout(parent);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    return column;
}

}  // namespace

LevelPage::LevelPage(Shown shown, QWidget* parent)
    : QWidget(parent),
      shown_(std::move(shown)),
      tsLevel_(new QTabBar(this)),
      pages_(new QStackedWidget(this)) {
    setObjectName(QStringLiteral("pagePlot"));
    tsLevel_->setObjectName(QStringLiteral("tsLevel"));
    tsLevel_->setAccessibleName(tr("Pages of the level"));
    tsLevel_->setDrawBase(false);
    tsLevel_->setExpanding(false);
    QVBoxLayout* column = ColumnOf(this);
    column->addWidget(tsLevel_);
    column->addWidget(pages_, 1);
    followTimer_.setSingleShot(true);
    connect(&followTimer_, &QTimer::timeout, this, &LevelPage::FollowNow);
    AddPlot();
    AddLiveBar();
    AddCycleViews();
    connect(tsLevel_, &QTabBar::currentChanged, this, [this](int at) {
        pages_->setCurrentIndex(at);
        ShowCycles();
    });
    connect(tsLevel_, &QTabBar::tabBarClicked, this, &LevelPage::FocusPicture);
}

void LevelPage::AddPage(const QString& name, QWidget* page) {
    tsLevel_->addTab(name);
    pages_->addWidget(page);
}

void LevelPage::AddPlot() {
    auto* curves = new QWidget(pages_);
    picPlot_ = new PlotWidget(curves);
    picPlot_->setObjectName(QStringLiteral("picPlot"));
    picPlot_->setFocusPolicy(Qt::StrongFocus);
    cursors_ = new TimeCursors(curves);
    cursors_->setObjectName(QStringLiteral("cursors"));
    lblCursors_ = new QLabel(curves);
    lblCursors_->setObjectName(QStringLiteral("lblCursors"));
    lblCursors_->setToolTip(tr("Times of cursor 1 and cursor 2 in seconds"));
    lblCursors_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QVBoxLayout* column = ColumnOf(curves);
    column->addWidget(picPlot_, 1);
    column->addWidget(cursors_);
    column->addWidget(lblCursors_, 0, Qt::AlignHCenter);
    column->addWidget(new PlotReadoutStrip(picPlot_, curves));
    AddPage(tr("Plot"), curves);
    picPlot_->ConnectCursors(cursors_);
    picPlot_->ServeKeysOf(curves);
    connect(cursors_, &TimeCursors::CursorMoved, this, &LevelPage::CursorsMoved);
    connect(picPlot_, &PlotWidget::ScalesChanged, this, &LevelPage::ScalesChanged);
    connect(picPlot_, &PlotWidget::SaveRequested, this, &LevelPage::SaveRequested);
    connect(picPlot_, &PlotWidget::CycleChosen, this, &LevelPage::CycleChosen);
}

void LevelPage::AddLiveBar() {
    liveBar_ = new LivePlotBar(this);
    layout()->addWidget(liveBar_);
    connect(liveBar_, &LivePlotBar::Resumed, this, &LevelPage::Resumed);
    connect(picPlot_, &PlotWidget::VisibleSpanChanged, this, [this] { liveBar_->SetStill(WhyStill()); });
    connect(liveBar_, &LivePlotBar::HoldChanged, this, [this] {
        hold_.Forget();
        HoldCursors();
    });
}

void LevelPage::AddCycleViews() {
    for (const auto& [kind, name] : {std::pair(CycleView::Kind::series, tr("Cycles")),
                                     std::pair(CycleView::Kind::stacked, tr("Stacked cycles"))}) {
        auto* view = new CycleView(kind, pages_);
        AddPage(name, view);
        connect(view, &CycleView::CycleChosen, this, &LevelPage::CycleChosen);
        connect(view, &CycleView::SaveRequested, this, &LevelPage::SaveRequested);
    }
}

// --- The picture ---

void LevelPage::Show(std::size_t dataset) {
    picPlot_->ShowDataset(dataset);
    HoldCursors();
    ShowCursorValues();
    ShowCycles();
}

void LevelPage::Clear() {
    followTimer_.stop();
    picPlot_->Clear();
}

// As an event of its own: what the user does meanwhile waits for the pass or for the picture, not for both.
void LevelPage::Follow(std::size_t dataset) {
    followed_ = dataset;
    followTimer_.start(0);
}

void LevelPage::FollowNow() {
    if (liveBar_->IsPaused() || shown_() != followed_ || followed_ >= CurrentSelection().datasets.size())
        return;
    picPlot_->Follow(followed_);
    HoldCursors();
    ShowCursorValues();
    ShowCycles();
}

void LevelPage::ShowFollowing(bool recorded) {
    liveBar_->ShowFor(recorded, PrsOpt().timeAuto);
    liveBar_->SetStill(WhyStill());
}

QString LevelPage::WhyStill() const {
    if (picPlot_->StaysInTime())
        return tr("Zoomed, the view stays: Home follows again, A shows all data as they grow");
    if (!PrsOpt().timeAuto && !PrsOpt().fixed)
        return tr("A specific zone is shown and stays");
    return {};
}

void LevelPage::TogglePause() {
    liveBar_->TogglePause();
}

bool LevelPage::HandleKey(const QKeyEvent& event) {
    return shown_() && pages_->currentIndex() == 0 && picPlot_->HandleKey(event);
}

// Behind the click on a tab, which takes the focus first.
void LevelPage::FocusPicture() {
    QTimer::singleShot(0, this, [this] {
        QWidget* picture = pages_->currentIndex() == 0 ? picPlot_ : pages_->currentWidget();
        picture->setFocus();
    });
}

CycleView* LevelPage::ShownCycles() const {
    return shown_() ? qobject_cast<CycleView*>(pages_->currentWidget()) : nullptr;
}

// The cycles as they are now, where they are looked at.
void LevelPage::ShowCycles() {
    if (CycleView* view = ShownCycles())
        view->ShowDataset(*shown_());
}

// --- Time cursors ---

void LevelPage::PutCursors(CursorPositions positions) {
    const QScopedValueRollback<bool> putting(putting_, true);
    cursors_->setCursor1(positions.cursor1);
    cursors_->setCursor2(positions.cursor2);
}

CursorPositions LevelPage::Cursors() const {
    return {cursors_->cursor1(), cursors_->cursor2()};
}

void LevelPage::ShowCursorValues() {
    Attempt(stepCursorValues, [&] {
        // The same times as the axis above them.
        const double start = PrsOpt().rangeStart - picPlot_->TimeOrigin();
        const double width = static_cast<double>(PrsOpt().rangeEnd) - PrsOpt().rangeStart;
        const auto value = [&](float percent) {
            return "[" + FormatNumber(start + static_cast<double>(percent) / 100 * width) + "]";
        };
        lblCursors_->setText(
            QString::fromStdString(value(cursors_->cursor1()) + " " + value(cursors_->cursor2())));
    });
}

void LevelPage::CursorsMoved(float cursor1, float cursor2) {
    CurrentCursorPositions() = {cursor1, cursor2};
    if (putting_)
        return;
    hold_.Forget();
    HoldCursors();
    ShowCursorValues();
}

// The cursors go back to the times they had; where none are held yet, those of now are.
void LevelPage::HoldCursors() {
    const auto& levels = CurrentSelection().datasets;
    const std::optional<std::size_t> shown = shown_();
    if (!shown || *shown >= levels.size() || !liveBar_->HoldsCursors() || !PrsOpt().timeAuto) {
        hold_.Forget();
        return;
    }
    const PlottedRange range{PrsOpt().rangeStart, PrsOpt().rangeEnd};
    const std::string level = levels[*shown].database + "/" + levels[*shown].dataset;
    if (const auto held = hold_.In(level, range))
        PutCursors(*held);
    else
        hold_.Take(level, range, Cursors());
}

// --- Files and paper ---

bool LevelPage::Save(const std::string& path, std::size_t dataset, int resolution, bool monochrome,
                     bool withCursors) const {
    if (const CycleView* cycles = ShownCycles())
        return cycles->SavePicture(path, resolution, monochrome);
    PlotFileOptions options = picPlot_->FileOptions(dataset);
    options.resolution = resolution;
    options.monochrome = monochrome;
    if (!withCursors)
        options.cursors.reset();
    return SavePlot(path, options);
}

bool LevelPage::PrintOn(QPrinter& printer, std::size_t dataset) const {
    if (const CycleView* cycles = ShownCycles())
        return cycles->PrintOn(printer);
    PlotFileOptions options = picPlot_->FileOptions(dataset);
    options.monochrome = printer.colorMode() == QPrinter::GrayScale;
    return PrintPlot(printer, options);
}

}  // namespace vorela
