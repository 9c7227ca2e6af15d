#include "plotview/PlotWidget.h"

#include <QApplication>
#include <QClipboard>
#include <QInputDialog>
#include <QPainter>
#include <cmath>

#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "general/RangeCheck.h"
#include "general/modGeneral.h"
#include "plot/ViewSpan.h"
#include "plot/modPlot.h"
#include "plotview/PainterSurface.h"
#include "plotview/PlotWidgetState.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr int labelPadding = 3;  // pixels
constexpr int snapDistance = 6;  // pixels
constexpr int stepsOfOneGestureMs = 500;
constexpr int readOnMs = 8;         // of reading between two events
constexpr int readoutDelayMs = 15;  // the strip follows a drag, the crosshair the pointer at most this often
const QColor crosshairLine(112, 112, 112);
const QColor crosshairPlate(255, 255, 225);

ChosenScale CurrentScale(std::size_t dataset) {
    const PresentationOptions& options = PrsOpt();
    return {dataset,           CurrentSelection().generation,
            options.timeAuto,  options.fixed,
            options.timeRange, options.start,
            options.end};
}

QFont PlotFont(const PlotLayout& layout) {
    FontDescription font;
    font.height = layout.fontHeight;
    return ToQFont(font);
}

QRectF ToQRect(const DeviceBox& box) {
    return {QPointF(box.left, box.top), QPointF(box.right, box.bottom)};
}

}  // namespace

/// Of the shown dataset. Another selection begins afresh.
LevelView& PlotWidget::State::Level() {
    if (generation != CurrentSelection().generation) {
        levels.clear();
        generation = CurrentSelection().generation;
    }
    return levels[dataset];
}

PlotWidget::PlotWidget(QWidget* parent) : QWidget(parent), state_(std::make_unique<State>()) {
    setObjectName(QStringLiteral("picPlot"));
    setAccessibleName(tr("Plot"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    for (QTimer* timer :
         {&state_->redrawTimer, &state_->readoutTimer, &state_->pointerTimer, &state_->readOnTimer})
        timer->setSingleShot(true);
    connect(&state_->readOnTimer, &QTimer::timeout, this, &PlotWidget::ReadOn);
    connect(&state_->pointerTimer, &QTimer::timeout, this, &PlotWidget::ShowCrosshair);
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
        return Draw(TimeMode::zoomed, s.plot.information.span, true);
    s.zoomed = false;
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
        Draw(TimeMode::zoomed, s.plot.information.span, false);
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
    s.zoomed = false;
    s.plot = PlotDrawing{};
    s.picture = QImage();
    s.texts = QImage();
    update();
    RefreshReadout();
}

bool PlotWidget::Draw(TimeMode mode, TimeSpan span, bool verify) {
    State& s = *state_;
    s.drawing = true;
    s.redrawTimer.stop();
    const double ratio = devicePixelRatioF();
    QImage picture((QSizeF(size()) * ratio).toSize(), QImage::Format_RGB32);
    QImage texts(picture.size(), QImage::Format_ARGB32_Premultiplied);
    texts.fill(Qt::transparent);
    PlotRequest request;
    request.datasets = {s.dataset};
    request.mode = mode;
    request.zoom = span;
    request.verify = verify;
    request.view = s.Level().choice;
    request.mayBeCoarse = true;
    PlotDrawing next;
    bool drawn = false;
    {
        const OnceOnly once(s.told);
        PainterSurface::Target target{picture.isNull() ? nullptr : &picture,
                                      {static_cast<double>(width()), static_cast<double>(height())},
                                      ratio,
                                      ratio,
                                      false,
                                      &picture};
        PainterSurface surface(target);
        target.device = texts.isNull() ? nullptr : &texts;
        target.pixels = nullptr;
        target.isOverlay = true;
        PainterSurface over(target);
        drawn = RunPlotDriver(surface, request, {}, next, &over);
    }
    s.drawing = false;
    if (!drawn) {
        ClearPicture();
        return false;
    }
    s.plot = std::move(next);
    s.picture = std::move(picture);
    s.picture.setDevicePixelRatio(ratio);
    s.texts = std::move(texts);
    s.texts.setDevicePixelRatio(ratio);
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
    if (s.pointer)
        ShowCrosshair();
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

// --- Views ---

/// The present view joins the history, but once for a turn of the wheel or a held key.
void PlotWidget::LeaveView(Step step) {
    State& s = *state_;
    const bool goesOn = step != Step::other && step == s.lastStep && s.sinceStep.isValid() &&
                        s.sinceStep.elapsed() < stepsOfOneGestureMs;
    s.lastStep = step;
    s.sinceStep.start();
    if (!goesOn)
        s.Level().history.Leave(s.View());
}

void PlotWidget::View(TimeSpan span, Step step) {
    State& s = *state_;
    if (!s.shown || span == s.plot.information.span)
        return;
    if (step != Step::drag)
        LeaveView(step);
    s.zoomed = true;
    s.plot.information.span = span;
    s.redrawTimer.start(0);
}

void PlotWidget::ViewAxis(Quantity quantity, AxisRange range, Step step) {
    State& s = *state_;
    if (!s.shown || range == s.Axis(quantity))
        return;
    if (step != Step::drag)
        LeaveView(step);
    s.Level().choice.axes[IndexOf(quantity)] = range;
    s.plot.information.axes[IndexOf(quantity)] = range;
    s.redrawTimer.start(0);
}

void PlotWidget::ResetAxis(Quantity quantity) {
    State& s = *state_;
    if (!s.shown || !s.Level().choice.axes[IndexOf(quantity)])
        return;
    LeaveView(Step::other);
    s.Level().choice.axes[IndexOf(quantity)].reset();
    s.redrawTimer.start(0);
}

void PlotWidget::FitAxes() {
    State& s = *state_;
    if (!s.shown)
        return;
    LeaveView(Step::other);
    const auto fitted = FittedAxes(s.plot.information, s.plot.format);
    for (std::size_t i = 0; i < quantityCount; ++i)
        if (fitted[i])
            s.Level().choice.axes[i] = fitted[i];
    s.redrawTimer.start(0);
}

void PlotWidget::ToggleCurve(Quantity quantity) {
    State& s = *state_;
    if (!s.shown)
        return;
    LeaveView(Step::other);
    bool& hidden = s.Level().choice.hidden[IndexOf(quantity)];
    hidden = !hidden;
    s.redrawTimer.start(0);
}

void PlotWidget::ViewAllData() {
    View(ViewLimits(), Step::other);
}

/// Time and value axes as the options choose; hidden curves stay hidden.
void PlotWidget::ResetZoom() {
    State& s = *state_;
    if (!s.shown || !IsZoomed() || s.drawing)
        return;
    LeaveView(Step::other);
    s.zoomed = false;
    s.Level().choice.axes = {};
    Draw(TimeMode::chosen, {}, false);
}

void PlotWidget::GoTo(const PlotView& view) {
    State& s = *state_;
    s.lastStep = Step::other;
    s.zoomed = view.zoomed;
    s.Level().choice = view.choice;
    if (view.zoomed)
        Draw(TimeMode::zoomed, view.span, false);
    else
        Draw(TimeMode::chosen, {}, false);
}

void PlotWidget::GoBack() {
    State& s = *state_;
    if (s.shown && !s.drawing)
        if (const auto view = s.Level().history.Back(s.View()))
            GoTo(*view);
}

void PlotWidget::GoForward() {
    State& s = *state_;
    if (s.shown && !s.drawing)
        if (const auto view = s.Level().history.Forward(s.View()))
            GoTo(*view);
}

void PlotWidget::AnnounceLayout() {
    const State& s = *state_;
    emit MarginChanged(s.plot.layout.CursorMargin(width()));
    const PlottedRange range{s.chosen.start, s.chosen.end};
    const TimeSpan& seen = s.plot.information.span;
    emit VisibleSpanChanged(PercentAt(range, seen.start), PercentAt(range, seen.end));
}

void PlotWidget::SetCursors(float cursor1, float cursor2) {
    State& s = *state_;
    if (s.cursors[0] == cursor1 && s.cursors[1] == cursor2)
        return;
    const auto strips = [&] {
        for (int cursor = 1; cursor <= 2; ++cursor)
            if (const double x = CursorX(cursor); x >= 0 && x <= width())
                update(static_cast<int>(x) - 10, 0, 20, height());
    };
    strips();
    s.cursors = {cursor1, cursor2};
    strips();
    s.readoutTimer.start(readoutDelayMs);
}

bool PlotWidget::IsZoomed() const {
    State& s = *state_;
    return s.zoomed || s.Level().choice.axes != ViewChoice{}.axes;
}
double PlotWidget::TimeOrigin() const {
    return SecondsOf(state_->plot.information.elapsedOrigin);
}
const PlotReadout& PlotWidget::Readout() const {
    return state_->readout;
}

void PlotWidget::ConnectCursors(TimeCursors* cursors) {
    connect(cursors, &TimeCursors::CursorMoved, this, &PlotWidget::SetCursors);
    connect(cursors, &TimeCursors::CursorDoubleClicked, this, &PlotWidget::TypeCursorPosition);
    connect(this, &PlotWidget::CursorDragged, cursors, [cursors](float cursor1, float cursor2) {
        if (cursors->cursor1() != cursor1)
            cursors->setCursor1(cursor1);
        if (cursors->cursor2() != cursor2)
            cursors->setCursor2(cursor2);
    });
    connect(this, &PlotWidget::MarginChanged, cursors,
            [cursors](int margin) { Attempt("Setting cursor margin", [&] { cursors->setMargin(margin); }); });
    connect(this, &PlotWidget::VisibleSpanChanged, cursors, &TimeCursors::SetVisibleSpan);
    SetCursors(cursors->cursor1(), cursors->cursor2());
    state_->snap = Attempt("Reading cursor settings", true, [] { return ReadSnapSetting(); });
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
        options.cursors = {SecondsOf(CursorTime(1)), SecondsOf(CursorTime(2))};
    } else {
        const PlottedRange range = PlottedRangeOf(dataset);
        options.cursors = {SecondsAt(range, s.cursors[0]), SecondsAt(range, s.cursors[1])};
    }
    return options;
}

void PlotWidget::RefreshReadout() {
    State& s = *state_;
    s.readoutTimer.stop();
    {
        const OnceOnly once(s.told);
        s.readout = s.shown ? ReadCursors(s.plot, CursorTime(1), CursorTime(2)) : PlotReadout{};
    }
    emit ReadoutChanged();
}

TimeSpan PlotWidget::ViewLimits() const {
    const State& s = *state_;
    TimeSpan limits = s.chosen;
    const auto& datasets = CurrentSelection().datasets;
    if (s.dataset < datasets.size()) {
        limits.start = std::min(limits.start, datasets[s.dataset].extentA);
        limits.end = std::max(limits.end, datasets[s.dataset].extentB);
    }
    return limits;
}

// --- Cursors ---

double PlotWidget::CursorTime(int cursor) const {
    const State& s = *state_;
    return SecondsAt({s.chosen.start, s.chosen.end}, s.cursors[static_cast<std::size_t>(cursor) - 1]);
}

/// Negative when no line is seen.
double PlotWidget::CursorX(int cursor) const {
    const State& s = *state_;
    const PlotCell* cell = s.FirstCell();
    if (!s.shown || cell == nullptr)
        return -1;
    const double x = s.Scale().X(CursorTime(cursor));
    return x >= cell->left && x <= cell->right ? x : -1;
}

/// `time` in hundredths of a second; the position is kept in percent of the chosen range. False when that is
/// none.
bool PlotWidget::PutCursor(int cursor, double time) {
    State& s = *state_;
    if (s.chosen.end == s.chosen.start)
        return false;
    std::array<float, 2> moved = s.cursors;
    moved[static_cast<std::size_t>(cursor) - 1] =
        static_cast<float>(PercentAt({s.chosen.start, s.chosen.end}, time));
    SetCursors(moved[0], moved[1]);
    emit CursorDragged(moved[0], moved[1]);
    return true;
}

void PlotWidget::DragCursor(int cursor, double x, bool snap) {
    State& s = *state_;
    const PlotCell* cell = s.FirstCell();
    // As in the control below: a move beyond an end of the axis is ignored.
    if (cell == nullptr || x < cell->left || x > cell->right)
        return;
    double time = s.Scale().Time(x);
    if (snap && s.snap)
        time = SnappedTime(time, s.plot.information.cycles, CursorTime(3 - cursor),
                           IndexUnitsIn(CurrentParameters().period), s.Scale().Time(x + snapDistance) - time);
    PutCursor(cursor, time);
}

void PlotWidget::PutCursorsRound(std::int32_t cycle) {
    for (const CycleMark& mark : state_->plot.information.cycles) {
        if (mark.number != cycle)
            continue;
        PutCursor(1, mark.span.start);
        PutCursor(2, mark.span.end);
    }
}

void PlotWidget::SetSnap(bool snap) {
    state_->snap = snap;
    Attempt("Writing cursor settings", [&] { WriteSnapSetting(snap); });
}

void PlotWidget::TypeCursorPosition(int cursor) {
    State& s = *state_;
    if (!s.shown)
        return;
    const double origin = s.plot.information.elapsedOrigin;
    QInputDialog dialog(this);
    dialog.setObjectName(QStringLiteral("dlgCursorPosition"));
    dialog.setWindowTitle(tr("Time cursor %1").arg(cursor));
    dialog.setLabelText(PrsOpt().elapsed ? tr("Position in seconds of elapsed time:")
                                         : tr("Position in seconds:"));
    dialog.setTextValue(QString::fromStdString(ReadoutTimeText(SecondsOf(CursorTime(cursor) - origin))));
    while (dialog.exec() == QDialog::Accepted) {
        const TimeSpan limits = ViewLimits();
        const std::optional<double> seconds =
            NumberInRange(dialog.textValue().toStdString(), SecondsOf(limits.start - origin),
                          SecondsOf(limits.end - origin));
        if (seconds) {
            PutCursor(cursor, IndexUnitsIn(*seconds) + origin);
            return;
        }
        ShowRefusal({"", "Cursor position out of range"});
    }
}

void PlotWidget::SetSpecificZoneFromCursors() {
    const std::array<double, 2> times{CursorTime(1), CursorTime(2)};
    if (!SetSpecificZone(SecondsOf(std::min(times[0], times[1])), SecondsOf(std::max(times[0], times[1]))))
        return;
    if (ShowDataset(state_->dataset)) {
        // The cursors stay at their times, so that results between them stay what they were.
        PutCursor(1, times[0]);
        PutCursor(2, times[1]);
    }
    emit ScalesChanged();
}

void PlotWidget::BringCursorsIntoView() {
    const TimeSpan& span = state_->plot.information.span;
    const double seen = static_cast<double>(span.end) - span.start;
    PutCursor(1, span.start + seen / 3);
    PutCursor(2, span.start + seen * 2 / 3);
}

// --- Painting ---

void PlotWidget::paintEvent(QPaintEvent*) {
    const State& s = *state_;
    QPainter painter(this);
    if (s.picture.isNull()) {
        painter.fillRect(rect(), Qt::white);
        return;
    }
    const auto draw = [&](const QImage& image) {
        if (QSizeF(image.size()) / image.devicePixelRatio() == QSizeF(size()))
            painter.drawImage(QPointF(0, 0), image);
        else
            painter.drawImage(rect(), image);  // a new size: until the redraw that is on its way
    };
    draw(s.picture);
    const auto pens = PensOf(false);
    for (int cursor = 1; cursor <= 2; ++cursor) {
        const double x = CursorX(cursor);
        if (x < 0)
            continue;
        const PlotPen pen = cursor == 1 ? PlotPen::cursor1 : PlotPen::cursor2;
        painter.setPen(ToQPen(pens[static_cast<std::size_t>(pen) - 1]));
        for (const PlotCell& cell : s.plot.layout.cells)
            painter.drawLine(QPointF(x, cell.top), QPointF(x, cell.bottom));
    }
    draw(s.texts);
    if (s.plot.information.IsCoarse()) {
        painter.setPen(crosshairLine);
        painter.setBrush(crosshairPlate);
        painter.drawRect(ReadingPlate().adjusted(0, 0, -1, -1));
        painter.setPen(Qt::black);
        painter.drawText(
            ReadingPlate(), Qt::AlignCenter,
            tr("Coarse picture: %1 % of the record read").arg(static_cast<int>(s.readShare * 100)));
    }
    if (s.crosshair)
        PaintCrosshair(painter);
    if (s.drag == Drag::zoom) {
        const QRect band(QPoint(s.dragStart.x(), 0), QPoint(s.dragAt.x(), height()));
        QColor colour = palette().color(QPalette::Highlight);
        painter.setPen(colour);
        colour.setAlpha(50);
        painter.setBrush(colour);
        painter.drawRect(band.normalized().adjusted(0, -1, 0, 1));
    }
}

void PlotWidget::PaintCrosshair(QPainter& painter) const {
    const State& s = *state_;
    painter.setPen(QPen(crosshairLine, 1, Qt::DashLine));
    for (std::size_t i = 0; i < 2; ++i)
        painter.drawLine(QPointF(s.crosshair->from[i].x, s.crosshair->from[i].y),
                         QPointF(s.crosshair->to[i].x, s.crosshair->to[i].y));
    painter.setFont(PlotFont(s.plot.layout));
    for (const Crosshair::Label& label : s.crosshair->labels) {
        painter.fillRect(ToQRect(label.box), crosshairPlate);
        painter.setPen(crosshairLine);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(ToQRect(label.box));
        painter.setPen(Qt::black);
        const double height = (label.box.bottom - label.box.top) / static_cast<double>(label.lines.size());
        QRectF row(label.box.left, label.box.top, label.box.right - label.box.left, height);
        for (const std::string& line : label.lines) {
            painter.drawText(row.adjusted(labelPadding, 0, labelPadding, 0),
                             Qt::AlignLeft | Qt::AlignVCenter | Qt::TextDontClip,
                             QString::fromStdString(line));
            row.translate(0, height);
        }
    }
}

/// What the crosshair covers, for the repaint.
QRegion PlotWidget::CrosshairRegion() const {
    QRegion region;
    if (!state_->crosshair)
        return region;
    const Crosshair& cross = *state_->crosshair;
    for (std::size_t i = 0; i < 2; ++i)
        region += QRectF(QPointF(cross.from[i].x, cross.from[i].y), QPointF(cross.to[i].x, cross.to[i].y))
                      .toAlignedRect()
                      .adjusted(-2, -2, 2, 2);
    for (const Crosshair::Label& label : cross.labels)
        region += ToQRect(label.box).toAlignedRect().adjusted(-2, -2, 2, 2);
    return region;
}

/// At the pointer as it is now; away where there is none or something is dragged.
void PlotWidget::ShowCrosshair() {
    State& s = *state_;
    s.pointerTimer.stop();
    QRegion changed = CrosshairRegion();
    s.crosshair.reset();
    if (s.shown && s.pointer && s.drag == Drag::none) {
        const DevicePoint at{static_cast<double>(s.pointer->x()), static_cast<double>(s.pointer->y())};
        const double time = TimeAt(s.plot, at);
        const OnceOnly once(s.told);
        const QFontMetricsF metrics(PlotFont(s.plot.layout));
        if (SpotAt(s.plot, at).kind != SpotKind::outside)
            s.crosshair = PlanCrosshair(s.plot, at, ReadCursors(s.plot, time, time).values,
                                        {static_cast<double>(width()), static_cast<double>(height())},
                                        [&](const std::string& text) {
                                            return metrics.horizontalAdvance(QString::fromStdString(text));
                                        });
    }
    changed += CrosshairRegion();
    update(changed);
}

void PlotWidget::MovePointer(std::optional<QPoint> to) {
    state_->pointer = to;
    if (!to)
        ShowCrosshair();
    else if (!state_->pointerTimer.isActive())
        state_->pointerTimer.start(readoutDelayMs);
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
