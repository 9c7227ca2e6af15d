// The time cursors of the plot area and the control below it.
#include <QInputDialog>
#include <algorithm>

#include "db/IndexUnits.h"
#include "general/RangeCheck.h"
#include "general/modGeneral.h"
#include "plot/modPlotScales.h"
#include "plotview/PlotWidgetState.h"
#include "plotview/TimeCursors.h"

namespace vorela {
namespace {

constexpr int readoutDelayMs = 15;  // the strip follows a drag at most this often

}  // namespace

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
    state_->cursors.SetSnap(Attempt("Reading cursor settings", true, [] { return ReadSnapSetting(); }));
}

void PlotWidget::SetCursors(float cursor1, float cursor2) {
    State& s = *state_;
    const PlotCursors::Positions positions{cursor1, cursor2};
    if (s.cursors.Percent() == positions)
        return;
    update(s.cursors.Region(size()));
    s.cursors.Set(positions);
    update(s.cursors.Region(size()));
    s.readoutTimer.start(readoutDelayMs);
}

/// `time` in hundredths of a second.
void PlotWidget::PutCursor(int cursor, double time) {
    if (const auto moved = state_->cursors.With(cursor, time)) {
        SetCursors((*moved)[0], (*moved)[1]);
        emit CursorDragged((*moved)[0], (*moved)[1]);
    }
}

void PlotWidget::DragCursor(int cursor, double x, bool snap) {
    if (const auto time = state_->cursors.DraggedTime(cursor, x, snap))
        PutCursor(cursor, *time);
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
    state_->cursors.SetSnap(snap);
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
    dialog.setTextValue(
        QString::fromStdString(ReadoutTimeText(SecondsOf(state_->cursors.Time(cursor) - origin))));
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
    const std::array<double, 2> times{state_->cursors.Time(1), state_->cursors.Time(2)};
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

}  // namespace vorela
