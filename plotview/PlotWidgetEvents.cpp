// Mouse, wheel, keys and context menu of the plot area.
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QWheelEvent>
#include <cmath>
#include <utility>

#include "plot/ViewSpan.h"
#include "plotview/PlotWidgetState.h"

namespace vorela {
namespace {

constexpr int narrowestBand = 4;    // pixels; a shorter drag is a click
constexpr double wheelNotch = 120;  // eighths of a degree
constexpr double zoomPerNotch = 0.8;
constexpr double panPerNotch = 0.1;

DevicePoint PointOf(const QPointF& position) {
    return {position.x(), position.y()};
}

}  // namespace

void PlotWidget::mousePressEvent(QMouseEvent* event) {
    State& s = *state_;
    if (event->button() == Qt::BackButton)
        GoBack();
    else if (event->button() == Qt::ForwardButton)
        GoForward();
    if (!s.shown || s.FirstCell() == nullptr || s.drag != Drag::none)
        return;
    s.dragStart = s.dragAt = event->pos();
    s.dragView = s.View();
    s.dragNoted = false;
    s.dragCursors = s.cursors.Percent();
    s.dragSpot = SpotAt(s.plot, PointOf(event->position()));
    if (s.dragSpot.kind == SpotKind::axis)
        s.dragAxis = s.Axis(*s.dragSpot.quantity);
    s.drag = DragFor(*event);
    s.crosshair.Show();
}

PlotWidget::Drag PlotWidget::DragFor(const QMouseEvent& event) const {
    const bool left = event.button() == Qt::LeftButton;
    const SpotKind kind = state_->dragSpot.kind;
    if (left && (kind == SpotKind::legend || kind == SpotKind::cycle))
        return Drag::click;
    if (const int cursor = left ? state_->cursors.Near(event.pos().x()) : 0; cursor != 0)
        return cursor == 1 ? Drag::cursor1 : Drag::cursor2;
    if (left && kind == SpotKind::axis)
        return Drag::axis;
    if (event.button() == Qt::MiddleButton || (left && event.modifiers().testFlag(Qt::ShiftModifier)))
        return Drag::pan;
    return left ? Drag::zoom : Drag::none;
}

void PlotWidget::mouseMoveEvent(QMouseEvent* event) {
    State& s = *state_;
    s.dragAt = event->pos();
    if (!s.shown || s.FirstCell() == nullptr)
        return;
    switch (s.drag) {
        case Drag::none:
            HoverAt(event->pos());
            break;
        case Drag::click:
            break;
        case Drag::cursor1:
        case Drag::cursor2:
            DragCursor(s.drag == Drag::cursor1 ? 1 : 2, event->position().x(),
                       !event->modifiers().testFlag(Qt::AltModifier));
            break;
        case Drag::zoom:
            update();
            break;
        case Drag::pan:
        case Drag::axis:
            DragView(event->pos());
            break;
    }
}

void PlotWidget::HoverAt(const QPoint& position) {
    State& s = *state_;
    const SpotKind kind = SpotAt(s.plot, PointOf(position)).kind;
    if (kind == SpotKind::legend || kind == SpotKind::cycle)
        setCursor(Qt::PointingHandCursor);
    else if (s.cursors.Near(position.x()) != 0)
        setCursor(Qt::SizeHorCursor);
    else
        setCursor(kind == SpotKind::axis ? Qt::SizeVerCursor : Qt::ArrowCursor);
    s.crosshair.MoveTo(position);
}

/// Pan of the time axis, or of one value axis.
void PlotWidget::DragView(const QPoint& position) {
    State& s = *state_;
    if (!s.dragNoted && position != s.dragStart) {
        LeaveView(ViewStep::other);
        s.dragNoted = true;
    }
    const PlotCell& cell = s.plot.layout.cells[s.drag == Drag::axis ? s.dragSpot.cell : 0];
    if (s.drag == Drag::pan) {
        const double share = static_cast<double>(s.dragStart.x() - position.x()) / (cell.right - cell.left);
        View(PannedSpan(s.dragView.span, share, ViewLimits()), ViewStep::drag);
        return;
    }
    const double share = static_cast<double>(position.y() - s.dragStart.y()) / (cell.bottom - cell.top);
    ViewAxis(*s.dragSpot.quantity, MovedAxis(s.dragAxis, share), ViewStep::drag);
}

void PlotWidget::mouseReleaseEvent(QMouseEvent* event) {
    State& s = *state_;
    const Drag drag = std::exchange(s.drag, Drag::none);
    if (!s.shown || s.FirstCell() == nullptr)
        return;
    if (drag == Drag::click)
        ClickSpot(event->globalPosition().toPoint());
    if (drag != Drag::zoom)
        return;
    update();
    if (std::abs(event->pos().x() - s.dragStart.x()) < narrowestBand)
        return;
    const double time1 = s.Scale().Time(s.dragStart.x());
    const double time2 = s.Scale().Time(event->pos().x());
    View(FitSpan(std::min(time1, time2), std::max(time1, time2), s.plot.information.span), ViewStep::other);
}

/// A legend's entry hides and shows its curve; a cycle's number offers what can be done with it.
void PlotWidget::ClickSpot(const QPoint& global) {
    const PlotSpot spot = state_->dragSpot;
    if (spot.kind == SpotKind::legend && spot.quantity) {
        ToggleCurve(*spot.quantity);
    } else if (spot.kind == SpotKind::cycle) {
        QMenu menu(this);
        menu.setObjectName(QStringLiteral("mnuCycle"));
        AddCycleEntries(menu, spot.cycle);
        menu.exec(global);
    }
}

void PlotWidget::AddCycleEntries(QMenu& menu, std::int32_t cycle) {
    menu.addAction(tr("&Use Cycle %1").arg(cycle), this, [this, cycle] { emit CycleChosen(cycle); });
    menu.addAction(tr("C&ursors Round Cycle %1").arg(cycle), this, [this, cycle] { PutCursorsRound(cycle); });
}

/// Ends what is being dragged and puts back what it moved.
bool PlotWidget::EndDrag() {
    State& s = *state_;
    const Drag drag = std::exchange(s.drag, Drag::none);
    if (drag == Drag::none)
        return false;
    if (drag == Drag::cursor1 || drag == Drag::cursor2) {
        SetCursors(s.dragCursors[0], s.dragCursors[1]);
        emit CursorDragged(s.dragCursors[0], s.dragCursors[1]);
    } else if (s.dragNoted) {
        GoBack();
    }
    update();
    return true;
}

void PlotWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    State& s = *state_;
    s.drag = Drag::none;
    if (!s.shown)
        return;
    const PlotSpot spot = SpotAt(s.plot, PointOf(event->position()));
    if (const int cursor = s.cursors.Near(event->pos().x()); cursor != 0 && spot.kind != SpotKind::legend)
        TypeCursorPosition(cursor);
    else if (spot.kind == SpotKind::axis)
        ResetAxis(*spot.quantity);
    else
        mousePressEvent(event);  // two quick clicks
}

void PlotWidget::leaveEvent(QEvent*) {
    state_->crosshair.MoveTo(std::nullopt);
}

void PlotWidget::wheelEvent(QWheelEvent* event) {
    State& s = *state_;
    if (!s.shown || s.FirstCell() == nullptr)
        return;
    const QPoint turned = event->angleDelta();
    const double factor = std::pow(zoomPerNotch, turned.y() / wheelNotch);
    const PlotSpot spot = SpotAt(s.plot, PointOf(event->position()));
    const bool pan =
        event->modifiers().testFlag(Qt::ShiftModifier) || std::abs(turned.x()) > std::abs(turned.y());
    if (spot.kind == SpotKind::axis) {
        const PlotCell& cell = s.plot.layout.cells[spot.cell];
        const AxisRange& axis = s.Axis(*spot.quantity);
        const double share = (cell.bottom - event->position().y()) / (cell.bottom - cell.top);
        ViewAxis(*spot.quantity,
                 ZoomedAxis(axis, factor, axis.minimum + share * (axis.maximum - axis.minimum)),
                 ViewStep::wheel);
    } else if (pan) {
        const double notches = (turned.x() + turned.y()) / wheelNotch;
        View(PannedSpan(s.plot.information.span, -notches * panPerNotch, ViewLimits()), ViewStep::wheel);
    } else {
        View(ZoomedSpan(s.plot.information.span, factor, s.Scale().Time(event->position().x()), ViewLimits()),
             ViewStep::wheel);
    }
    event->accept();
}

// --- Keys ---

void PlotWidget::keyPressEvent(QKeyEvent* event) {
    if (!HandleKey(*event))
        QWidget::keyPressEvent(event);
}

bool PlotWidget::HandleKey(const QKeyEvent& event) {
    if (event.matches(QKeySequence::Copy)) {
        CopyPicture();
        return true;
    }
    if (event.modifiers().testFlag(Qt::AltModifier))
        return HandleHistoryKey(event.key());
    if (event.modifiers().testFlag(Qt::ControlModifier))
        return false;
    switch (event.key()) {
        case Qt::Key_F10:  // with Shift: the toolkit knows it on some platforms only
            return event.modifiers().testFlag(Qt::ShiftModifier) && OpenContextMenu();
        case Qt::Key_Escape:
            return EndDrag();
        case Qt::Key_Home:
            ResetZoom();
            return true;
        case Qt::Key_A:
            ViewAllData();
            return true;
        case Qt::Key_F:
            FitAxes();
            return true;
        default:
            return HandleTimeKey(event.key());
    }
}

bool PlotWidget::OpenContextMenu() {
    const QPoint middle = rect().center();
    QContextMenuEvent asked(QContextMenuEvent::Keyboard, middle, mapToGlobal(middle));
    contextMenuEvent(&asked);
    return true;
}

bool PlotWidget::HandleHistoryKey(int key) {
    if (key != Qt::Key_Left && key != Qt::Key_Right)
        return false;
    key == Qt::Key_Left ? GoBack() : GoForward();
    return true;
}

bool PlotWidget::HandleTimeKey(int key) {
    const TimeSpan span = state_->plot.information.span;
    const double middle = (static_cast<double>(span.start) + span.end) / 2;
    switch (key) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            View(ZoomedSpan(span, zoomPerNotch, middle, ViewLimits()), ViewStep::key);
            return true;
        case Qt::Key_Minus:
            View(ZoomedSpan(span, 1 / zoomPerNotch, middle, ViewLimits()), ViewStep::key);
            return true;
        case Qt::Key_Left:
            View(PannedSpan(span, -panPerNotch, ViewLimits()), ViewStep::key);
            return true;
        case Qt::Key_Right:
            View(PannedSpan(span, panPerNotch, ViewLimits()), ViewStep::key);
            return true;
        default:
            return false;
    }
}

void PlotWidget::ServeKeysOf(QWidget* page) {
    for (QWidget* widget : page->findChildren<QWidget*>())
        if (widget != this)
            widget->installEventFilter(this);
}

/// Keys of the widgets beside the plot, but for the arrows that move a cursor's marker.
bool PlotWidget::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto& key = *static_cast<QKeyEvent*>(event);
    const bool arrow = key.key() == Qt::Key_Left || key.key() == Qt::Key_Right;
    const bool ofMarker = qobject_cast<TimeCursors*>(watched->parent()) != nullptr;
    if (arrow && ofMarker && !key.modifiers().testFlag(Qt::AltModifier))
        return false;
    // A text that was selected beside the plot is what Copy means there.
    if (key.matches(QKeySequence::Copy))
        return false;
    return HandleKey(key);
}

// --- Context menu ---

void PlotWidget::contextMenuEvent(QContextMenuEvent* event) {
    State& s = *state_;
    if (!s.shown)
        return;
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("mnuPlotContext"));
    menu.addAction(tr("Set &Specific Zone from Cursors"), this, &PlotWidget::SetSpecificZoneFromCursors);
    menu.addAction(tr("Return to &Chosen Scales\tHome"), this, &PlotWidget::ResetZoom)
        ->setEnabled(IsZoomed());
    menu.addSeparator();
    menu.addAction(tr("Position of Cursor &1..."), this, [this] { TypeCursorPosition(1); });
    menu.addAction(tr("Position of Cursor &2..."), this, [this] { TypeCursorPosition(2); });
    menu.addAction(tr("&Bring Cursors into View"), this, &PlotWidget::BringCursorsIntoView);
    QAction* snap = menu.addAction(tr("Cursors S&nap to Valve Boundaries and Whole Periods"));
    snap->setCheckable(true);
    snap->setChecked(s.cursors.Snaps());
    connect(snap, &QAction::triggered, this, &PlotWidget::SetSnap);
    menu.addSeparator();
    menu.addAction(tr("&All Data\tA"), this, &PlotWidget::ViewAllData);
    menu.addAction(tr("&Fit Value Axes\tF"), this, &PlotWidget::FitAxes);
    menu.addAction(tr("View &Back\tAlt+Left"), this, &PlotWidget::GoBack)
        ->setEnabled(s.Level().history.HasBefore());
    menu.addAction(tr("View F&orward\tAlt+Right"), this, &PlotWidget::GoForward)
        ->setEnabled(s.Level().history.HasAfter());
    menu.addSeparator();
    AddCurveEntries(*menu.addMenu(tr("Shown C&urves")));
    AddCyclesAt(menu, event->reason() == QContextMenuEvent::Mouse ? TimeAt(s.plot, PointOf(event->pos()))
                                                                  : s.cursors.Time(1));
    menu.addSeparator();
    menu.addAction(tr("Cop&y Picture\tCtrl+C"), this, &PlotWidget::CopyPicture);
    menu.addAction(tr("Sa&ve Plot to File..."), this, &PlotWidget::SaveRequested);
    menu.exec(event->globalPos());
}

void PlotWidget::AddCurveEntries(QMenu& menu) {
    const State& s = *state_;
    for (const DatasetPlot& dataset : s.plot.information.datasets) {
        for (const PlottedCurve& curve : dataset.curves) {
            if (!s.plot.format.Shows(curve.quantity))
                continue;
            QAction* entry = menu.addAction(QString::fromStdString(curve.name));
            entry->setCheckable(true);
            entry->setChecked(!s.plot.information.hidden[IndexOf(curve.quantity)]);
            connect(entry, &QAction::triggered, this,
                    [this, quantity = curve.quantity] { ToggleCurve(quantity); });
        }
    }
}

/// What can be done with the cycle at a time; with the keyboard, that under cursor 1.
void PlotWidget::AddCyclesAt(QMenu& menu, double time) {
    for (const CycleMark& cycle : state_->plot.information.cycles) {
        if (time < cycle.span.start || time >= cycle.span.end)
            continue;
        menu.addSeparator();
        AddCycleEntries(menu, cycle.number);
    }
}

}  // namespace vorela
