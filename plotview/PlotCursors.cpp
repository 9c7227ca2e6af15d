#include "plotview/PlotCursors.h"

#include <QPainter>
#include <cmath>

#include "db/IndexUnits.h"
#include "plot/PlotView.h"
#include "plotview/PainterSurface.h"
#include "plotview/ShownPlot.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

// Pixels.
constexpr int snapDistance = 6;
constexpr int grabDistance = 5;  // beside a line
constexpr int repaintedWidth = 20;

}  // namespace

double PlotCursors::Time(int cursor) const {
    return SecondsAt({shown_.chosen.start, shown_.chosen.end},
                     positions_[static_cast<std::size_t>(cursor) - 1]);
}

double PlotCursors::X(int cursor) const {
    const PlotCell* cell = shown_.FirstCell();
    if (!shown_.shown || cell == nullptr)
        return -1;
    const double x = shown_.Scale().X(Time(cursor));
    return x >= cell->left && x <= cell->right ? x : -1;
}

int PlotCursors::Near(double at) const {
    int nearest = 0;
    double distance = grabDistance + 0.5;
    for (int cursor = 1; cursor <= 2; ++cursor) {
        const double x = X(cursor);
        if (x >= 0 && std::abs(x - at) < distance) {
            nearest = cursor;
            distance = std::abs(x - at);
        }
    }
    return nearest;
}

std::optional<PlotCursors::Positions> PlotCursors::With(int cursor, double time) const {
    if (shown_.chosen.end == shown_.chosen.start)
        return std::nullopt;
    Positions moved = positions_;
    moved[static_cast<std::size_t>(cursor) - 1] =
        static_cast<float>(PercentAt({shown_.chosen.start, shown_.chosen.end}, time));
    return moved;
}

// As in the control below: a move beyond an end of the axis is ignored.
std::optional<double> PlotCursors::DraggedTime(int cursor, double x, bool snap) const {
    const PlotCell* cell = shown_.FirstCell();
    if (cell == nullptr || x < cell->left || x > cell->right)
        return std::nullopt;
    const double time = shown_.Scale().Time(x);
    if (!snap || !snaps_)
        return time;
    return SnappedTime(time, shown_.plot.information.cycles, Time(3 - cursor),
                       IndexUnitsIn(CurrentParameters().period),
                       shown_.Scale().Time(x + snapDistance) - time);
}

void PlotCursors::Paint(QPainter& painter) const {
    const auto pens = PensOf(false);
    for (int cursor = 1; cursor <= 2; ++cursor) {
        const double x = X(cursor);
        if (x < 0)
            continue;
        const PlotPen pen = cursor == 1 ? PlotPen::cursor1 : PlotPen::cursor2;
        painter.setPen(ToQPen(pens[static_cast<std::size_t>(pen) - 1]));
        for (const PlotCell& cell : shown_.plot.layout.cells)
            painter.drawLine(QPointF(x, cell.top), QPointF(x, cell.bottom));
    }
}

QRegion PlotCursors::Region(const QSize& area) const {
    QRegion region;
    for (int cursor = 1; cursor <= 2; ++cursor)
        if (const double x = X(cursor); x >= 0 && x <= area.width())
            region += QRect(static_cast<int>(x) - repaintedWidth / 2, 0, repaintedWidth, area.height());
    return region;
}

}  // namespace vorela
