// The two cursor lines in the plot area. Cursors count from 1.
#pragma once

#include <QRegion>
#include <array>
#include <optional>

#include "plotview/TimeCursors.h"

class QPainter;
class QPointF;

namespace vorela {

struct ShownPlot;

class PlotCursors {
  public:
    using Positions = std::array<float, 2>;  ///< percent of the chosen time range

    explicit PlotCursors(const ShownPlot& shown) : shown_(shown) {}

    const Positions& Percent() const { return positions_; }
    void Set(const Positions& positions) { positions_ = positions; }
    bool Snaps() const { return snaps_; }
    void SetSnap(bool snap) { snaps_ = snap; }

    /// Hundredths of a second.
    double Time(int cursor) const;
    /// Negative when no line is seen.
    double X(int cursor) const;
    /// The cursor whose line can be grabbed at `x`; 0: none.
    int Near(double x) const;
    /// The positions with one cursor at another time; nothing where the chosen range is none.
    std::optional<Positions> With(int cursor, double time) const;
    /// The time to which a cursor is dragged at `x`; nothing beyond the ends of the axis.
    std::optional<double> DraggedTime(int cursor, double x, bool snap) const;

    void Paint(QPainter& painter) const;
    /// What the lines cover in an area of this size, for the repaint.
    QRegion Region(const QSize& area) const;

  private:
    const ShownPlot& shown_;
    Positions positions_ = TimeCursors::defaults;
    bool snaps_ = true;
};

}  // namespace vorela
