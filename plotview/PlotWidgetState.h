// What the plot area holds between events. Shared by the files of the widget only.
#pragma once

#include <QPoint>
#include <QTimer>

#include "general/RepeatedMessages.h"
#include "plot/PlotReadout.h"
#include "plot/PlotSpot.h"
#include "plotview/CrosshairOverlay.h"
#include "plotview/LevelViews.h"
#include "plotview/PlotCursors.h"
#include "plotview/PlotLayers.h"
#include "plotview/PlotWidget.h"
#include "plotview/ShownPlot.h"

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

struct PlotWidget::State : ShownPlot {
    explicit State(PlotWidget& area)
        : cursors(*this), crosshair(area, *this, told, [this] { return drag == Drag::none; }) {}

    bool asked = false;  ///< the dataset was asked for; shown, unless that failed
    bool zoomed = false;
    bool allData = false;  ///< zoomed to the whole record, however long it becomes
    bool drawing = false;  ///< a message box over the window may let events in
    PlotLayers layers;
    ChosenScale scale;
    LevelViews views;
    PlotReadout readout;
    RepeatedMessages told;
    PlotCursors cursors;
    CrosshairOverlay crosshair;
    QTimer redrawTimer;
    QTimer readoutTimer;
    QTimer readOnTimer;    ///< while the picture is coarse
    double readShare = 1;  ///< of the record, for the picture to be whole
    Drag drag = Drag::none;
    PlotSpot dragSpot;
    QPoint dragStart;
    QPoint dragAt;
    PlotView dragView;   ///< as the drag began
    AxisRange dragAxis;  ///< of the axis that is dragged
    bool dragNoted = false;
    PlotCursors::Positions dragCursors{};

    LevelView& Level() { return views.Of(dataset); }
    PlotView View() { return {zoomed, plot.information.span, Level().choice, allData}; }
};

}  // namespace vorela
