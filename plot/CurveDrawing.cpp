#include "plot/CurveDrawing.h"

#include <algorithm>
#include <vector>

namespace vorela {
namespace {

/// A column on the device: y grows downwards.
struct DeviceColumn {
    double x = 0;
    double low = 0;   ///< of the minimum
    double high = 0;  ///< of the maximum
};

using SegmentSink = std::function<void(const Segment&)>;

/// Segments of a run of columns without a break.
class ColumnRun {
  public:
    ColumnRun(double pixelsPerUnit, const SegmentSink& sink) : pixel_(1.0 / pixelsPerUnit), sink_(sink) {}

    void Add(const DeviceColumn& column) {
        if (!joined_) {
            sink_({{column.x, column.low}, {column.x, column.high}});
        } else if (column.x - previous_.x > pixel_ * 1.01) {
            Join(column);
        } else {
            Touch(column);
        }
        previous_ = column;
        joined_ = true;
    }
    void Break() { joined_ = false; }

  private:
    /// Columns further apart than a pixel: both outlines are joined, so that no hole shows.
    void Join(const DeviceColumn& column) {
        sink_({{previous_.x, previous_.low}, {column.x, column.low}});
        if (column.low - column.high > pixel_ || previous_.low - previous_.high > pixel_) {
            sink_({{previous_.x, previous_.high}, {column.x, column.high}});
            sink_({{column.x, column.low}, {column.x, column.high}});
        }
    }
    void Touch(const DeviceColumn& column) {
        const double low = std::max(column.low, previous_.high);
        const double high = std::min(column.high, previous_.low);
        if (low - high < pixel_)
            sink_({{previous_.x, column.low}, {column.x, column.low}});
        else
            sink_({{column.x, low}, {column.x, high}});
    }

    double pixel_;
    const SegmentSink& sink_;
    DeviceColumn previous_;
    bool joined_ = false;  ///< a column stands before the next one
};

void ForEachClipped(DrawingSurface& surface, const CurvePoints& curve, const PlotScale& scale,
                    const PlotCell& cell, const SegmentSink& sink) {
    ForEachSegment(curve, scale, surface.PixelsPerUnit(), [&](const Segment& segment) {
        if (const std::optional<Segment> clipped = ClipSegment(segment, cell.bottom, cell.top))
            sink(*clipped);
    });
}

}  // namespace

PlotScale::PlotScale(const PlotCell& cell, TimeSpan span, AxisRange axis)
    : left_(cell.left),
      right_(cell.right),
      top_(cell.top),
      bottom_(cell.bottom),
      start_(span.start),
      end_(span.end),
      minimum_(axis.minimum),
      maximum_(axis.maximum) {}

double PlotScale::X(double time) const {
    return end_ == start_ ? left_ : left_ + (time - start_) / (end_ - start_) * (right_ - left_);
}

double PlotScale::Y(double value) const {
    if (maximum_ == minimum_)
        return (top_ + bottom_) / 2;
    return bottom_ - (value - minimum_) / (maximum_ - minimum_) * (bottom_ - top_);
}

double PlotScale::Time(double x) const {
    return right_ == left_ ? start_ : start_ + (x - left_) / (right_ - left_) * (end_ - start_);
}

std::optional<Segment> ClipSegment(Segment segment, double lower, double upper) {
    if ((segment.from.y > lower && segment.to.y > lower) || (segment.from.y < upper && segment.to.y < upper))
        return std::nullopt;
    segment.from.y = std::clamp(segment.from.y, upper, lower);
    segment.to.y = std::clamp(segment.to.y, upper, lower);
    return segment;
}

void ForEachSegment(const CurvePoints& curve, const PlotScale& scale, double pixelsPerUnit,
                    const SegmentSink& segment) {
    ColumnRun columns(pixelsPerUnit, segment);
    const std::vector<CurvePoint>& points = curve.points;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const CurvePoint& point = points[i];
        if (point.IsBreak()) {
            columns.Break();
            continue;
        }
        const double x = scale.X(point.time);
        if (curve.dense) {
            columns.Add({x, scale.Y(point.low), scale.Y(point.high)});
            continue;
        }
        const bool first = i == 0 || points[i - 1].IsBreak();
        const bool last = i + 1 == points.size() || points[i + 1].IsBreak();
        const DevicePoint here{x, scale.Y(point.low)};
        if (!first)
            segment({{scale.X(points[i - 1].time), scale.Y(points[i - 1].low)}, here});
        else if (last)
            segment({here, here});  // a lone sample between gaps is a dot
    }
}

void DrawCurve(DrawingSurface& surface, const CurvePoints& curve, const PlotScale& scale,
               const PlotCell& cell) {
    ForEachClipped(surface, curve, scale, cell, [&](const Segment& segment) {
        surface.MoveTo(segment.from);
        surface.LineTo(segment.to);
    });
}

void DrawValveCurve(DrawingSurface& surface, const CurvePoints& curve, const PlotScale& scale,
                    const PlotCell& cell) {
    std::vector<DevicePoint> buffer;
    buffer.reserve(valveBufferPoints);
    const auto flush = [&] {
        if (buffer.size() > 1)
            surface.Polyline(buffer);
        buffer.clear();
    };
    ForEachClipped(surface, curve, scale, cell, [&](const Segment& segment) {
        if (buffer.size() == valveBufferPoints) {
            const DevicePoint last = buffer.back();
            flush();
            buffer.push_back(last);
        }
        if (buffer.empty() || buffer.back() != segment.from) {
            flush();
            buffer.push_back(segment.from);
        }
        buffer.push_back(segment.to);
    });
    flush();
}

}  // namespace vorela
