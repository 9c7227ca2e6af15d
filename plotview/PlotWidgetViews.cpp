// The views of the plot area: zoom and pan of its axes, hidden curves, and the way back.
#include "plotview/PlotWidgetState.h"

namespace vorela {

void PlotWidget::LeaveView(ViewStep step) {
    State& s = *state_;
    s.views.Leave(step, s.dataset, s.View());
}

void PlotWidget::View(TimeSpan span, ViewStep step) {
    State& s = *state_;
    if (!s.shown || span == s.plot.information.span)
        return;
    if (step != ViewStep::drag)
        LeaveView(step);
    s.zoomed = true;
    s.allData = false;
    s.plot.information.span = span;
    s.redrawTimer.start(0);
}

void PlotWidget::ViewAxis(Quantity quantity, AxisRange range, ViewStep step) {
    State& s = *state_;
    if (!s.shown || range == s.Axis(quantity))
        return;
    if (step != ViewStep::drag)
        LeaveView(step);
    s.Level().choice.axes[IndexOf(quantity)] = range;
    s.plot.information.axes[IndexOf(quantity)] = range;
    s.redrawTimer.start(0);
}

void PlotWidget::ResetAxis(Quantity quantity) {
    State& s = *state_;
    if (!s.shown || !s.Level().choice.axes[IndexOf(quantity)])
        return;
    LeaveView(ViewStep::other);
    s.Level().choice.axes[IndexOf(quantity)].reset();
    s.redrawTimer.start(0);
}

void PlotWidget::FitAxes() {
    State& s = *state_;
    if (!s.shown)
        return;
    LeaveView(ViewStep::other);
    const auto fitted = FittedAxes(s.plot.information, s.plot.format, BandsOf(s.plot.texts, s.plot.layout));
    for (std::size_t i = 0; i < quantityCount; ++i)
        if (fitted[i])
            s.Level().choice.axes[i] = fitted[i];
    s.redrawTimer.start(0);
}

void PlotWidget::ToggleCurve(Quantity quantity) {
    State& s = *state_;
    if (!s.shown)
        return;
    LeaveView(ViewStep::other);
    bool& hidden = s.Level().choice.hidden[IndexOf(quantity)];
    hidden = !hidden;
    s.redrawTimer.start(0);
}

void PlotWidget::ViewAllData() {
    State& s = *state_;
    View(ViewLimits(), ViewStep::other);
    s.allData = s.shown && s.zoomed;
}

TimeSpan PlotWidget::ZoomSpan() const {
    return state_->allData ? ViewLimits() : state_->plot.information.span;
}

bool PlotWidget::StaysInTime() const {
    return state_->zoomed && !state_->allData;
}

/// Time and value axes as the options choose; hidden curves stay hidden.
void PlotWidget::ResetZoom() {
    State& s = *state_;
    if (!s.shown || !IsZoomed() || s.drawing)
        return;
    LeaveView(ViewStep::other);
    s.zoomed = s.allData = false;
    s.Level().choice.axes = {};
    Draw(TimeMode::chosen, {}, false);
}

void PlotWidget::GoTo(const PlotView& view) {
    State& s = *state_;
    s.views.EndGesture();
    s.zoomed = view.zoomed;
    s.allData = view.allData;
    s.Level().choice = view.choice;
    if (view.zoomed)
        Draw(TimeMode::zoomed, view.allData ? ViewLimits() : view.span, false);
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

bool PlotWidget::IsZoomed() const {
    State& s = *state_;
    return s.zoomed || s.Level().choice.axes != ViewChoice{}.axes;
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

}  // namespace vorela
