#include "plotview/PlotWidget.h"

#include <QContextMenuEvent>
#include <QImage>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QWheelEvent>
#include <cmath>

#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "general/NumberText.h"
#include "general/RangeCheck.h"
#include "general/RepeatedMessages.h"
#include "general/modGeneral.h"
#include "plot/PlotReadout.h"
#include "plot/PlotRenderer.h"
#include "plot/ViewSpan.h"
#include "plot/modPlot.h"
#include "plotview/PainterSurface.h"
#include "plotview/TimeCursors.h"

namespace vorela {
namespace {

constexpr int grabDistance = 5;     // pixels beside a cursor line
constexpr int narrowestBand = 4;    // pixels; a shorter drag is a click
constexpr int readoutDelayMs = 15;  // the strip follows a drag at most this often
constexpr double wheelNotch = 120;  // eighths of a degree
constexpr double zoomPerNotch = 0.8;
constexpr double panPerNotch = 0.1;

/// The time options that a zoom belongs to.
struct ChosenScale {
    std::size_t dataset = 0;
    std::uint64_t generation = 0;
    bool timeAuto = false, fixed = false;
    std::int32_t timeRange = 0;
    double start = 0, end = 0;
    bool operator==(const ChosenScale&) const = default;
};

ChosenScale CurrentScale(std::size_t dataset) {
    const PresentationOptions& options = PrsOpt();
    return {dataset,           CurrentSelection().generation,
            options.timeAuto,  options.fixed,
            options.timeRange, options.start,
            options.end};
}

}  // namespace

struct PlotWidget::State {
    std::size_t dataset = 0;
    bool asked = false;  ///< the dataset was asked for; shown, unless that failed
    bool shown = false;
    bool zoomed = false;
    bool drawing = false;  ///< a message box over the window may let events in
    PlotDrawing plot;
    QImage picture;
    TimeSpan chosen;  ///< what 0 … 100 % of the cursors mean
    ChosenScale scale;
    std::array<float, 2> cursors = TimeCursors::defaults;
    RepeatedMessages told;
    PlotReadout readout;
    QTimer redrawTimer;
    QTimer readoutTimer;
    Drag drag = Drag::none;
    QPoint dragStart;
    QPoint dragAt;
    TimeSpan dragView;

    const PlotCell* FirstCell() const {
        return plot.layout.cells.empty() ? nullptr : &plot.layout.cells.front();
    }
    PlotScale Scale() const { return {*FirstCell(), plot.information.span, {}}; }
};

PlotWidget::PlotWidget(QWidget* parent) : QWidget(parent), state_(std::make_unique<State>()) {
    setObjectName(QStringLiteral("picPlot"));
    setAccessibleName(tr("Plot"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    state_->redrawTimer.setSingleShot(true);
    state_->readoutTimer.setSingleShot(true);
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
    s.shown = false;
    s.zoomed = false;
    s.plot = PlotDrawing{};
    s.picture = QImage();
    update();
    RefreshReadout();
}

bool PlotWidget::Draw(TimeMode mode, TimeSpan span, bool verify) {
    State& s = *state_;
    s.drawing = true;
    s.redrawTimer.stop();
    const double ratio = devicePixelRatioF();
    QImage picture((QSizeF(size()) * ratio).toSize(), QImage::Format_RGB32);
    PlotRequest request;
    request.datasets = {s.dataset};
    request.mode = mode;
    request.zoom = span;
    request.verify = verify;
    PlotDrawing next;
    bool drawn = false;
    {
        const OnceOnly once(s.told);
        PainterSurface surface({picture.isNull() ? nullptr : &picture,
                                {static_cast<double>(width()), static_cast<double>(height())},
                                ratio,
                                ratio,
                                false,
                                &picture});
        drawn = RunPlotDriver(surface, request, {}, next);
    }
    s.drawing = false;
    if (!drawn) {
        ClearPicture();
        return false;
    }
    s.plot = std::move(next);
    s.picture = std::move(picture);
    s.picture.setDevicePixelRatio(ratio);
    s.shown = true;
    if (mode != TimeMode::zoomed) {
        s.chosen = s.plot.information.span;
        s.scale = CurrentScale(s.dataset);
    }
    AnnounceLayout();
    update();
    RefreshReadout();
    return true;
}

/// The same span again, after a change of size or of the view.
void PlotWidget::Redraw() {
    if (state_->shown && !state_->drawing && width() > 0 && height() > 0)
        Draw(TimeMode::zoomed, state_->plot.information.span, false);
}

void PlotWidget::View(TimeSpan span) {
    if (!state_->shown || span == state_->plot.information.span)
        return;
    state_->zoomed = true;
    state_->plot.information.span = span;
    state_->redrawTimer.start(0);
}

void PlotWidget::ResetZoom() {
    State& s = *state_;
    if (!s.shown || !s.zoomed || s.drawing)
        return;
    s.zoomed = false;
    Draw(TimeMode::chosen, {}, false);
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
    return state_->zoomed;
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
}

PlotFileOptions PlotWidget::FileOptions(std::size_t dataset) const {
    const State& s = *state_;
    PlotFileOptions options;
    options.dataset = dataset;
    options.width = width();
    options.height = height();
    if (s.shown && s.dataset == dataset) {
        options.span = s.plot.information.span;
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

int PlotWidget::CursorNear(const QPoint& position) const {
    int nearest = 0;
    double distance = grabDistance + 0.5;
    for (int cursor = 1; cursor <= 2; ++cursor) {
        const double x = CursorX(cursor);
        if (x >= 0 && std::abs(x - position.x()) < distance) {
            nearest = cursor;
            distance = std::abs(x - position.x());
        }
    }
    return nearest;
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

void PlotWidget::DragCursor(int cursor, double x) {
    const PlotCell* cell = state_->FirstCell();
    // As in the control below: a move beyond an end of the axis is ignored.
    if (cell != nullptr && x >= cell->left && x <= cell->right)
        PutCursor(cursor, state_->Scale().Time(x));
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
    const double width = static_cast<double>(span.end) - span.start;
    PutCursor(1, span.start + width / 3);
    PutCursor(2, span.start + width * 2 / 3);
}

// --- Painting ---

void PlotWidget::paintEvent(QPaintEvent*) {
    const State& s = *state_;
    QPainter painter(this);
    if (s.picture.isNull()) {
        painter.fillRect(rect(), Qt::white);
        return;
    }
    if (QSizeF(s.picture.size()) / s.picture.devicePixelRatio() == QSizeF(size()))
        painter.drawImage(QPointF(0, 0), s.picture);
    else
        painter.drawImage(rect(), s.picture);  // a new size: until the redraw that is on its way
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
    if (s.drag == Drag::zoom) {
        const QRect band(QPoint(s.dragStart.x(), 0), QPoint(s.dragAt.x(), height()));
        QColor colour = palette().color(QPalette::Highlight);
        painter.setPen(colour);
        colour.setAlpha(50);
        painter.setBrush(colour);
        painter.drawRect(band.normalized().adjusted(0, -1, 0, 1));
    }
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

// --- Mouse and keys ---

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

void PlotWidget::mousePressEvent(QMouseEvent* event) {
    State& s = *state_;
    if (!s.shown || s.FirstCell() == nullptr)
        return;
    s.dragStart = s.dragAt = event->pos();
    s.dragView = s.plot.information.span;
    const bool left = event->button() == Qt::LeftButton;
    const int cursor = left ? CursorNear(event->pos()) : 0;
    if (cursor != 0)
        s.drag = cursor == 1 ? Drag::cursor1 : Drag::cursor2;
    else if (event->button() == Qt::MiddleButton || (left && event->modifiers().testFlag(Qt::ShiftModifier)))
        s.drag = Drag::pan;
    else if (left)
        s.drag = Drag::zoom;
}

void PlotWidget::mouseMoveEvent(QMouseEvent* event) {
    State& s = *state_;
    s.dragAt = event->pos();
    const PlotCell* cell = s.FirstCell();
    if (!s.shown || cell == nullptr)
        return;
    switch (s.drag) {
        case Drag::none:
            setCursor(CursorNear(event->pos()) != 0 ? Qt::SizeHorCursor : Qt::ArrowCursor);
            break;
        case Drag::cursor1:
        case Drag::cursor2:
            DragCursor(s.drag == Drag::cursor1 ? 1 : 2, event->position().x());
            break;
        case Drag::zoom:
            update();
            break;
        case Drag::pan: {
            const double share =
                static_cast<double>(s.dragStart.x() - event->pos().x()) / (cell->right - cell->left);
            View(PannedSpan(s.dragView, share, ViewLimits()));
            break;
        }
    }
}

void PlotWidget::mouseReleaseEvent(QMouseEvent* event) {
    State& s = *state_;
    const Drag drag = std::exchange(s.drag, Drag::none);
    if (drag != Drag::zoom || !s.shown || s.FirstCell() == nullptr)
        return;
    update();
    if (std::abs(event->pos().x() - s.dragStart.x()) < narrowestBand)
        return;
    const double time1 = s.Scale().Time(s.dragStart.x());
    const double time2 = s.Scale().Time(event->pos().x());
    View(FitSpan(std::min(time1, time2), std::max(time1, time2), s.plot.information.span));
}

void PlotWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    state_->drag = Drag::none;
    if (const int cursor = CursorNear(event->pos()); cursor != 0)
        TypeCursorPosition(cursor);
}

void PlotWidget::wheelEvent(QWheelEvent* event) {
    State& s = *state_;
    if (!s.shown || s.FirstCell() == nullptr)
        return;
    const QPoint turned = event->angleDelta();
    const bool pan =
        event->modifiers().testFlag(Qt::ShiftModifier) || std::abs(turned.x()) > std::abs(turned.y());
    if (pan) {
        const double notches = (turned.x() + turned.y()) / wheelNotch;
        View(PannedSpan(s.plot.information.span, -notches * panPerNotch, ViewLimits()));
    } else {
        const double factor = std::pow(zoomPerNotch, turned.y() / wheelNotch);
        View(
            ZoomedSpan(s.plot.information.span, factor, s.Scale().Time(event->position().x()), ViewLimits()));
    }
    event->accept();
}

void PlotWidget::keyPressEvent(QKeyEvent* event) {
    const TimeSpan span = state_->plot.information.span;
    const double middle = (static_cast<double>(span.start) + span.end) / 2;
    switch (event->key()) {
        case Qt::Key_Home:
            ResetZoom();
            break;
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            View(ZoomedSpan(span, zoomPerNotch, middle, ViewLimits()));
            break;
        case Qt::Key_Minus:
            View(ZoomedSpan(span, 1 / zoomPerNotch, middle, ViewLimits()));
            break;
        case Qt::Key_Left:
            View(PannedSpan(span, -panPerNotch, ViewLimits()));
            break;
        case Qt::Key_Right:
            View(PannedSpan(span, panPerNotch, ViewLimits()));
            break;
        default:
            QWidget::keyPressEvent(event);
    }
}

void PlotWidget::contextMenuEvent(QContextMenuEvent* event) {
    if (!state_->shown)
        return;
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("mnuPlotContext"));
    menu.addAction(tr("Set &Specific Zone from Cursors"), this, &PlotWidget::SetSpecificZoneFromCursors);
    menu.addAction(tr("Return to &Chosen Scales\tHome"), this, &PlotWidget::ResetZoom)
        ->setEnabled(state_->zoomed);
    menu.addSeparator();
    menu.addAction(tr("Position of Cursor &1..."), this, [this] { TypeCursorPosition(1); });
    menu.addAction(tr("Position of Cursor &2..."), this, [this] { TypeCursorPosition(2); });
    menu.addAction(tr("&Bring Cursors into View"), this, &PlotWidget::BringCursorsIntoView);
    menu.exec(event->globalPos());
}

}  // namespace vorela
