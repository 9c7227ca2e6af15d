#include "plotview/CycleView.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QImage>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPrinter>
#include <cmath>

#include "db/DatasetRecord.h"
#include "general/modGeneral.h"
#include "plot/CyclePicture.h"
#include "plot/PlotFooter.h"
#include "plot/PlotReadout.h"
#include "plotview/FocusFrame.h"
#include "plotview/PainterSurface.h"

namespace vorela {
namespace {

constexpr double unitsPerInch = 96;

/// The unit of a curve that all selected datasets have; empty where it is none of these.
std::string UnitOf(const std::string& curve) {
    for (const CommonCurve& common : CurrentSelection().commonCurves)
        if (common.name == curve)
            return common.unit;
    return "";
}

}  // namespace

struct CycleView::State {
    Kind kind = Kind::series;
    bool shown = false;
    std::size_t dataset = 0;
    std::string level;
    int selected = 0;  ///< 0: the window
    std::array<CycleSeries, cycleSeriesCount> series;
    std::vector<StackedLevel> levels;
    CycleDrawing drawing;

    /// Between its own Begin and End.
    CycleDrawing Draw(DrawingSurface& surface, const CyclePictureStyle& style) const {
        if (!surface.Begin())
            return {};
        CycleDrawing drawn;
        if (shown)
            drawn = kind == Kind::series ? DrawCycleSeries(surface, level, series, selected, style)
                                         : DrawStackedCycles(surface, levels, style);
        surface.End();
        return drawn;
    }
};

CycleView::CycleView(Kind kind, QWidget* parent) : QWidget(parent), state_(std::make_unique<State>()) {
    state_->kind = kind;
    setObjectName(kind == Kind::series ? QStringLiteral("picCycles") : QStringLiteral("picStacked"));
    setAccessibleName(kind == Kind::series ? tr("Cycles") : tr("Stacked cycles"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

CycleView::~CycleView() = default;

void CycleView::ShowDataset(std::size_t dataset) {
    State& s = *state_;
    const Selection& selection = CurrentSelection();
    s.dataset = dataset;
    s.shown = dataset < selection.datasets.size();
    if (s.shown && s.kind == Kind::stacked) {
        s.levels = StackSelectedLevels();
    } else if (s.shown) {
        const DatasetRecord& record = selection.datasets[dataset];
        s.level = record.dataset;
        s.selected = record.cycles.ShowsWindow() ? 0 : record.cycles.selectedCycle;
        s.series = SeriesOf(record.cycles, UnitOf(selection.choice.pressure), UnitOf(selection.choice.flow));
    }
    update();
}

void CycleView::paintEvent(QPaintEvent*) {
    {
        PainterSurface surface({this, {static_cast<double>(width()), static_cast<double>(height())}});
        state_->drawing = state_->Draw(surface, {});
    }
    QPainter painter(this);
    PaintFocusFrame(painter, *this);
}

void CycleView::mousePressEvent(QMouseEvent* event) {
    const auto cycle =
        CycleAt(state_->drawing, state_->series[0], {event->position().x(), event->position().y()});
    if (event->button() == Qt::LeftButton && state_->kind == Kind::series && cycle)
        Choose(*cycle);
}

void CycleView::mouseMoveEvent(QMouseEvent* event) {
    State& s = *state_;
    const auto cycle = CycleAt(s.drawing, s.series[0], {event->position().x(), event->position().y()});
    const bool over = s.kind == Kind::series && cycle.has_value();
    setCursor(over ? Qt::PointingHandCursor : Qt::ArrowCursor);
    QStringList lines;
    if (over) {
        lines << tr("Cycle %1").arg(*cycle);
        for (const CycleSeries& one : s.series) {
            const auto& value = one.values[static_cast<std::size_t>(*cycle) - 1];
            lines << QString::fromStdString(one.name + ": " +
                                            (value ? ReadoutText(value, 6) + " " + one.unit : "no result"));
        }
    }
    setToolTip(lines.join(QLatin1Char('\n')));
}

/// The arrows step through the cycles: the results follow.
void CycleView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy))
        CopyPicture();
    else if (state_->kind == Kind::series && event->key() == Qt::Key_Left)
        Choose(state_->selected - 1);
    else if (state_->kind == Kind::series && event->key() == Qt::Key_Right)
        Choose(state_->selected + 1);
    else
        QWidget::keyPressEvent(event);
}

void CycleView::Choose(int cycle) {
    const State& s = *state_;
    if (s.shown && cycle >= 1 && cycle <= static_cast<int>(s.series[0].values.size()) && cycle != s.selected)
        emit CycleChosen(cycle);
}

PictureFileOptions CycleView::FileOptions(int resolution) const {
    return {width(), height(), resolution, accessibleName().toStdString()};
}

PictureDrawing CycleView::FileDrawing(bool monochrome) const {
    return [this, monochrome](DrawingSurface& surface) {
        const State& s = *state_;
        if (!s.shown)
            return false;
        const auto footer = s.kind == Kind::series ? FooterItems(s.dataset) : FooterItemsOfAll();
        return !s.Draw(surface, {footer, monochrome}).texts.empty();
    };
}

void CycleView::CopyPicture() {
    if (!state_->shown)
        return;
    Attempt("Copying plot", [this] {
        const auto resolution = static_cast<int>(std::lround(unitsPerInch * devicePixelRatioF()));
        QApplication::clipboard()->setImage(PictureImage(FileOptions(resolution), FileDrawing(false)));
    });
}

bool CycleView::SavePicture(const std::string& path, int resolution, bool monochrome) const {
    return Attempt("Saving plot", false,
                   [&] { return WritePicture(path, FileOptions(resolution), FileDrawing(monochrome)); });
}

bool CycleView::PrintOn(QPrinter& printer) const {
    return Attempt("Printing plot", false, [&] {
        return PrintPicture(printer, FileDrawing(printer.colorMode() == QPrinter::GrayScale));
    });
}

void CycleView::contextMenuEvent(QContextMenuEvent* event) {
    if (!state_->shown)
        return;
    QMenu menu(this);
    connect(menu.addAction(tr("&Copy picture\tCtrl+C")), &QAction::triggered, this, &CycleView::CopyPicture);
    connect(menu.addAction(tr("&Save picture...")), &QAction::triggered, this, &CycleView::SaveRequested);
    menu.exec(event->globalPos());
}

}  // namespace vorela
