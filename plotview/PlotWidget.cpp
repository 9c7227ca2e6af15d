#include "plotview/PlotWidget.h"

#include <QApplication>
#include <QClipboard>
#include <QPainter>
#include <cmath>

#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "plot/modPlot.h"
#include "plotview/FocusFrame.h"
#include "plotview/PlotWidgetState.h"

namespace vorela {
namespace {

constexpr int readOnMs = 8;  // of reading between two events

ChosenScale CurrentScale(std::size_t dataset) {
    const PresentationOptions& options = PrsOpt();
    return {dataset,           CurrentSelection().generation,
            options.timeAuto,  options.fixed,
            options.timeRange, options.start,
            options.end};
}

}  // namespace

PlotWidget::PlotWidget(QWidget* parent) : QWidget(parent), state_(std::make_unique<State>(*this)) {
    setObjectName(QStringLiteral("picPlot"));
    setAccessibleName(tr("Plot"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    for (QTimer* timer : {&state_->redrawTimer, &state_->readoutTimer, &state_->readOnTimer})
        timer->setSingleShot(true);
    connect(&state_->readOnTimer, &QTimer::timeout, this, &PlotWidget::ReadOn);
    connect(&state_->redrawTimer, &QTimer::timeout, this, &PlotWidget::Redraw);
    connect(&state_->readoutTimer, &QTimer::timeout, this, &PlotWidget::RefreshReadout);
}

PlotWidget::~PlotWidget() = default;

bool PlotWidget::ShowDataset(std::size_t dataset) {
    State& s = *state_;
    if (s.drawing)
        return false;
    s.told.Forget();
    const bool keepZoom = s.shown && s.zoomed && s.scale == CurrentScale(dataset);
    s.dataset = dataset;
    s.asked = true;
    if (keepZoom)
        return Draw(TimeMode::zoomed, ZoomSpan(), true);
    s.zoomed = s.allData = false;
    return Draw(TimeMode::chosen, {}, true);
}

void PlotWidget::Follow(std::size_t dataset) {
    State& s = *state_;
    if (s.drawing)
        return;
    if (!s.asked || dataset != s.dataset)
        ShowDataset(dataset);
    else if (!s.shown)
        Draw(TimeMode::chosen, {}, false);  // what went wrong was said; perhaps it has passed
    else if (s.zoomed)
        Draw(TimeMode::zoomed, ZoomSpan(), false);
    else
        Draw(TimeMode::follow, {}, false);
}

void PlotWidget::Clear() {
    state_->asked = false;
    ClearPicture();
}

void PlotWidget::ClearPicture() {
    State& s = *state_;
    s.redrawTimer.stop();
    s.readOnTimer.stop();
    s.readShare = 1;
    s.shown = false;
    s.zoomed = s.allData = false;
    s.plot = PlotDrawing{};
    s.layers = PlotLayers{};
    update();
    RefreshReadout();
}

bool PlotWidget::Draw(TimeMode mode, TimeSpan span, bool verify) {
    State& s = *state_;
    s.drawing = true;
    s.redrawTimer.stop();
    PlotRequest request;
    request.datasets = {s.dataset};
    request.mode = mode;
    request.zoom = span;
    request.verify = verify;
    request.view = s.Level().choice;
    request.mayBeCoarse = true;
    PlotDrawing next;
    PlotLayers layers;
    bool drawn = false;
    {
        const OnceOnly once(s.told);
        drawn = layers.Draw(size(), devicePixelRatioF(), request, next);
    }
    s.drawing = false;
    if (!drawn) {
        ClearPicture();
        return false;
    }
    s.plot = std::move(next);
    s.layers = std::move(layers);
    s.shown = true;
    s.readShare = s.plot.information.IsCoarse() ? std::min(s.readShare, 0.999) : 1;
    if (s.plot.information.IsCoarse())
        s.readOnTimer.start(0);
    if (mode != TimeMode::zoomed) {
        s.chosen = s.plot.information.span;
        s.scale = CurrentScale(s.dataset);
    }
    AnnounceLayout();
    update();
    RefreshReadout();
    s.crosshair.Show();
    return true;
}

/// A step of reading what a coarse picture lacks, between events; then the picture is drawn whole, with the
/// axes that all samples give.
void PlotWidget::ReadOn() {
    State& s = *state_;
    if (!s.ShowsALevel() || s.drawing)
        return;
    s.drawing = true;
    {
        const OnceOnly once(s.told);
        s.readShare = ReadOnForPlot(s.dataset, readOnMs);
    }
    s.drawing = false;
    if (s.readShare < 1) {
        update(ReadingPlate());
        s.readOnTimer.start(0);
    } else if (s.zoomed) {
        Redraw();
    } else {
        Draw(TimeMode::follow, {}, false);
    }
}

QRect PlotWidget::ReadingPlate() const {
    constexpr QSize plate(240, 24);
    return {QPoint((width() - plate.width()) / 2, (height() - plate.height()) / 2), plate};
}

/// The same span again, after a change of size or of the view.
void PlotWidget::Redraw() {
    State& s = *state_;
    if (s.ShowsALevel() && !s.drawing && width() > 0 && height() > 0)
        Draw(TimeMode::zoomed, s.plot.information.span, false);
}

void PlotWidget::AnnounceLayout() {
    const State& s = *state_;
    emit MarginChanged(s.plot.layout.CursorMargin(width()));
    const PlottedRange range{s.chosen.start, s.chosen.end};
    const TimeSpan& seen = s.plot.information.span;
    emit VisibleSpanChanged(PercentAt(range, seen.start), PercentAt(range, seen.end));
}

double PlotWidget::TimeOrigin() const {
    return SecondsOf(state_->plot.information.elapsedOrigin);
}
const PlotReadout& PlotWidget::Readout() const {
    return state_->readout;
}

void PlotWidget::CopyPicture() {
    if (!state_->shown)
        return;
    PlotFileOptions options = FileOptions(state_->dataset);
    options.resolution = static_cast<int>(std::lround(options.resolution * devicePixelRatioF()));
    if (const std::optional<QImage> picture = PlotPicture(options))
        QApplication::clipboard()->setImage(*picture);
}

PlotFileOptions PlotWidget::FileOptions(std::size_t dataset) const {
    const State& s = *state_;
    PlotFileOptions options;
    options.dataset = dataset;
    options.width = width();
    options.height = height();
    if (s.shown && s.dataset == dataset) {
        options.span = s.plot.information.span;
        options.view = state_->Level().choice;
        options.cursors = {SecondsOf(s.cursors.Time(1)), SecondsOf(s.cursors.Time(2))};
    } else {
        const PlottedRange range = PlottedRangeOf(dataset);
        options.cursors = {SecondsAt(range, s.cursors.Percent()[0]),
                           SecondsAt(range, s.cursors.Percent()[1])};
    }
    return options;
}

void PlotWidget::RefreshReadout() {
    State& s = *state_;
    s.readoutTimer.stop();
    {
        const OnceOnly once(s.told);
        s.readout = s.shown ? ReadCursors(s.plot, s.cursors.Time(1), s.cursors.Time(2)) : PlotReadout{};
    }
    emit ReadoutChanged();
}

// --- Painting ---

void PlotWidget::paintEvent(QPaintEvent*) {
    const State& s = *state_;
    QPainter painter(this);
    if (s.layers.IsEmpty()) {
        painter.fillRect(rect(), Qt::white);
        return;
    }
    s.layers.PaintCurves(painter, rect());
    s.cursors.Paint(painter);
    s.layers.PaintTexts(painter, rect());
    if (s.plot.information.IsCoarse()) {
        PaintPlate(painter, ReadingPlate().adjusted(0, 0, -1, -1));
        painter.drawText(
            ReadingPlate(), Qt::AlignCenter,
            tr("Coarse picture: %1 % of the record read").arg(static_cast<int>(s.readShare * 100)));
    }
    s.crosshair.Paint(painter);
    if (s.drag == Drag::zoom) {
        const QRect band(QPoint(s.dragStart.x(), 0), QPoint(s.dragAt.x(), height()));
        QColor colour = palette().color(QPalette::Highlight);
        painter.setPen(colour);
        colour.setAlpha(50);
        painter.setBrush(colour);
        painter.drawRect(band.normalized().adjusted(0, -1, 0, 1));
    }
    PaintFocusFrame(painter, *this);
}

void PlotWidget::resizeEvent(QResizeEvent*) {
    if (state_->shown)
        state_->redrawTimer.start(0);
}

bool PlotWidget::event(QEvent* event) {
    // Another screen may have another scale: the picture is made in its pixels.
    if (event->type() == QEvent::ScreenChangeInternal && state_ && state_->shown)
        state_->redrawTimer.start(0);
    return QWidget::event(event);
}

}  // namespace vorela
