#include "plot/Crosshair.h"

#include <algorithm>
#include <cmath>

#include "db/IndexUnits.h"
#include "plot/PlotSpot.h"

namespace vorela {
namespace {

constexpr double beside = 14;  // of the curves' values from the pointer, device units
constexpr double padding = 3;

/// A value as an axis bears it: to a thousandth of its range.
std::string AxisText(const AxisRange& axis, double value) {
    const double width = axis.maximum - axis.minimum;
    const int decimals =
        width > 0 ? std::clamp(3 - static_cast<int>(std::floor(std::log10(width))), 0, 12) : 3;
    return FixedText(value, decimals);
}

double ValueAt(const PlotCell& cell, const AxisRange& axis, double y) {
    return axis.maximum - (axis.maximum - axis.minimum) * (y - cell.top) / (cell.bottom - cell.top);
}

/// Labels are made where they belong and pushed into the picture.
class Labels {
  public:
    Labels(Crosshair& cross, PictureSize picture, double height, const TextMeasure& measure)
        : cross_(cross), picture_(picture), height_(height), measure_(measure) {}

    PictureSize SizeOf(const std::vector<std::string>& lines) const {
        double width = 0;
        for (const std::string& line : lines)
            width = std::max(width, measure_(line));
        return {width + 2 * padding, height_ * static_cast<double>(lines.size())};
    }
    void Add(double left, double top, const std::vector<std::string>& lines) {
        const PictureSize size = SizeOf(lines);
        left = std::clamp(left, 0.0, std::max(0.0, picture_.width - size.width));
        top = std::clamp(top, 0.0, std::max(0.0, picture_.height - size.height));
        cross_.labels.push_back({{left, top, left + size.width, top + size.height}, lines});
    }

  private:
    Crosshair& cross_;
    PictureSize picture_;
    double height_;
    const TextMeasure& measure_;
};

std::vector<std::string> ValueLines(const std::vector<CursorValue>& values) {
    std::vector<std::string> lines;
    lines.reserve(values.size());
    for (const CursorValue& value : values)
        lines.push_back(value.curve + "  " + ReadoutText(value.atCursor1, value.decimals) +
                        (value.unit.empty() || !value.atCursor1 ? "" : " " + value.unit));
    return lines;
}

}  // namespace

double TimeAt(const PlotDrawing& drawing, DevicePoint point) {
    if (drawing.layout.cells.empty())
        return 0;
    return PlotScale(drawing.layout.cells.front(), drawing.information.span, {}).Time(point.x);
}

std::optional<Crosshair> PlanCrosshair(const PlotDrawing& drawing, DevicePoint point,
                                       const std::vector<CursorValue>& values, PictureSize picture,
                                       const TextMeasure& measure) {
    const PlotSpot spot = SpotAt(drawing, point);
    if (spot.kind == SpotKind::outside)
        return std::nullopt;
    const PlotCell& cell = drawing.layout.cells[spot.cell];
    if (point.x < cell.left || point.x > cell.right)
        return std::nullopt;
    const auto contents = ContentsOfPlots(drawing.format, drawing.information.title)[spot.cell];
    const double height = drawing.layout.fontHeight;
    Crosshair cross;
    cross.from[0] = {point.x, static_cast<double>(drawing.layout.cells.front().top)};
    cross.to[0] = {point.x, static_cast<double>(drawing.layout.cells.back().bottom)};
    cross.from[1] = {static_cast<double>(cell.left), point.y};
    cross.to[1] = {static_cast<double>(cell.right), point.y};
    Labels labels(cross, picture, height, measure);
    const double seconds = SecondsOf(TimeAt(drawing, point) - drawing.information.elapsedOrigin);
    const std::vector<std::string> time{FixedText(seconds, 2) + " s"};
    labels.Add(point.x - labels.SizeOf(time).width / 2, cell.bottom + 1.0, time);
    const auto axisValue = [&](Quantity quantity) {
        const AxisRange& axis = drawing.information.axes[IndexOf(quantity)];
        return std::vector<std::string>{AxisText(axis, ValueAt(cell, axis, point.y))};
    };
    if (contents.leftAxis)
        labels.Add(cell.left + 1.0, point.y - height / 2, axisValue(*contents.leftAxis));
    if (contents.rightAxis) {
        const auto lines = axisValue(*contents.rightAxis);
        labels.Add(cell.right - 1.0 - labels.SizeOf(lines).width, point.y - height / 2, lines);
    }
    if (const std::vector<std::string> lines = ValueLines(values); !lines.empty()) {
        const PictureSize size = labels.SizeOf(lines);
        const bool onLeft = point.x + beside + size.width > cell.right - 80;
        const bool above = point.y + beside + size.height > cell.bottom;
        labels.Add(onLeft ? point.x - beside - size.width : point.x + beside,
                   above ? point.y - beside - size.height : point.y + beside, lines);
    }
    return cross;
}

}  // namespace vorela
