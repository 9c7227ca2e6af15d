// Curves as line segments of the device: mapping, clipping, dense columns.
#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "plot/DrawingSurface.h"
#include "plot/PlotData.h"
#include "plot/PlotLayout.h"

namespace vorela {

/// Time and value to device units and back, for one plot area and one axis. The one place where this is
/// computed.
class PlotScale {
  public:
    PlotScale(const PlotCell& cell, TimeSpan span, AxisRange axis);
    double X(double time) const;   ///< time in hundredths of a second
    double Y(double value) const;  ///< the middle of the plot area when the axis has no extent
    double Time(double x) const;

  private:
    double left_, right_, top_, bottom_;
    double start_, end_, minimum_, maximum_;
};

struct Segment {
    DevicePoint from;
    DevicePoint to;
    bool operator==(const Segment&) const = default;
};

/// Nothing when both ends lie beyond the same limit. Otherwise an end outside is put on the limit it crossed,
/// its x left as it is: a curve that leaves the plot area runs flattened along the edge, so that it is seen
/// to go on beyond it. `upper` is the smaller device y.
std::optional<Segment> ClipSegment(Segment segment, double lower, double upper);

/// Calls `segment` for each segment of the curve from left to right, not yet clipped. Dense columns give one
/// vertical segment each, long enough to touch the column before.
void ForEachSegment(const CurvePoints& curve, const PlotScale& scale, double pixelsPerUnit,
                    const std::function<void(const Segment&)>& segment);

/// Draws with the pen that is selected, clipped to the cell.
void DrawCurve(DrawingSurface& surface, const CurvePoints& curve, const PlotScale& scale,
               const PlotCell& cell);
/// The same as polylines of at most `valveBufferPoints` points, each run starting with the last point of the
/// one before.
inline constexpr std::size_t valveBufferPoints = 500;
void DrawValveCurve(DrawingSurface& surface, const CurvePoints& curve, const PlotScale& scale,
                    const PlotCell& cell);

}  // namespace vorela
