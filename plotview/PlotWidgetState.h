// What the plot area holds between events. Shared by the files of the widget only.
#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QPoint>
#include <QTimer>
#include <map>

#include "db/DatasetRecord.h"
#include "general/RepeatedMessages.h"
#include "plot/Crosshair.h"
#include "plot/PlotReadout.h"
#include "plot/PlotRenderer.h"
#include "plot/PlotSpot.h"
#include "plot/PlotView.h"
#include "plotview/PlotWidget.h"
#include "plotview/TimeCursors.h"

namespace vorela {

/// The time options that a zoom belongs to.
struct ChosenScale {
    std::size_t dataset = 0;
    std::uint64_t generation = 0;
    bool timeAuto = false, fixed = false;
    std::int32_t timeRange = 0;
    double start = 0, end = 0;
    bool operator==(const ChosenScale&) const = default;
};

/// What a viewer did to one level's plot.
struct LevelView {
    ViewChoice choice;
    ViewHistory history;
};

struct PlotWidget::State {
    std::size_t dataset = 0;
    bool asked = false;  ///< the dataset was asked for; shown, unless that failed
    bool shown = false;
    /// A level that was shown may have left the selection before a redraw that was due.
    bool ShowsALevel() const { return shown && dataset < CurrentSelection().datasets.size(); }
    bool zoomed = false;
    bool drawing = false;  ///< a message box over the window may let events in
    PlotDrawing plot;
    QImage picture;   ///< axes and curves
    QImage texts;     ///< frames and texts, over the cursor lines
    TimeSpan chosen;  ///< what 0 … 100 % of the cursors mean
    ChosenScale scale;
    std::map<std::size_t, LevelView> levels;  ///< by dataset
    std::uint64_t generation = 0;             ///< of the selection that `levels` belongs to
    std::array<float, 2> cursors = TimeCursors::defaults;
    bool snap = true;
    RepeatedMessages told;
    PlotReadout readout;
    QTimer redrawTimer;
    QTimer readoutTimer;
    QTimer pointerTimer;
    QTimer readOnTimer;             ///< while the picture is coarse
    double readShare = 1;           ///< of the record, for the picture to be whole
    std::optional<QPoint> pointer;  ///< where the pointer hovers
    std::vector<CursorValue> underPointer;
    std::optional<Crosshair> crosshair;
    Drag drag = Drag::none;
    PlotSpot dragSpot;
    QPoint dragStart;
    QPoint dragAt;
    PlotView dragView;   ///< as the drag began
    AxisRange dragAxis;  ///< of the axis that is dragged
    bool dragNoted = false;
    std::array<float, 2> dragCursors{};
    Step lastStep = Step::other;
    QElapsedTimer sinceStep;

    const PlotCell* FirstCell() const {
        return plot.layout.cells.empty() ? nullptr : &plot.layout.cells.front();
    }
    PlotScale Scale() const { return {*FirstCell(), plot.information.span, {}}; }
    LevelView& Level();
    PlotView View() { return {zoomed, plot.information.span, Level().choice}; }
    const AxisRange& Axis(Quantity quantity) const { return plot.information.axes[IndexOf(quantity)]; }
};

}  // namespace vorela
