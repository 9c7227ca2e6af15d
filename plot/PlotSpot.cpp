#include "plot/PlotSpot.h"

namespace vorela {
namespace {

constexpr double nearNumber = 3;  // device units round a cycle's number

std::optional<PlotSpot> TextSpot(const PlotDrawing& drawing, DevicePoint point) {
    for (const PlacedText& text : drawing.texts) {
        DeviceBox box = text.box;
        if (text.role == TextRole::legend && box.Contains(point))
            return PlotSpot{SpotKind::legend, text.cell, text.quantity};
        box = {box.left - nearNumber, box.top, box.right + nearNumber, box.bottom};
        if (text.role == TextRole::cycleNumber && box.Contains(point))
            return PlotSpot{SpotKind::cycle, text.cell, {}, text.cycle};
    }
    return std::nullopt;
}

}  // namespace

PlotSpot SpotAt(const PlotDrawing& drawing, DevicePoint point) {
    if (const std::optional<PlotSpot> text = TextSpot(drawing, point))
        return *text;
    const auto contents = ContentsOfPlots(drawing.format, drawing.information.title);
    for (std::size_t i = 0; i < std::min(contents.size(), drawing.layout.cells.size()); ++i) {
        const PlotCell& cell = drawing.layout.cells[i];
        if (point.y < cell.top || point.y > cell.bottom)
            continue;
        const auto column = [&](const std::optional<Quantity>& axis) {
            const double width = axis ? AxisColumnWidth(drawing.texts, i, *axis) : 0;
            return width > 0 ? width + 2.0 * drawing.layout.gap : 0;
        };
        const double left = column(contents[i].leftAxis), right = column(contents[i].rightAxis);
        if (left > 0 && point.x <= cell.left + left)
            return {SpotKind::axis, i, contents[i].leftAxis};
        if (right > 0 && point.x >= cell.right - right)
            return {SpotKind::axis, i, contents[i].rightAxis};
        if (point.x >= cell.left && point.x <= cell.right)
            return {SpotKind::plot, i};
    }
    return {};
}

}  // namespace vorela
