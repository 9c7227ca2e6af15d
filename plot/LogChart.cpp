#include "plot/LogChart.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "plot/PictureAxes.h"

namespace vorela {
namespace {

constexpr PenDescription markerLine{LineStyle::dotted, 1, {96, 96, 96}};
constexpr double leftMargin = 62, rightMargin = 18;  ///< the longest mark beside an axis, half of one below
constexpr double topMargin = 22, bottomMargin = 24;
constexpr double captionHeight = 18;
constexpr std::size_t columns = 2;

/// The line's points in order, a gap where there is no value. One alone between two gaps is seen as a short
/// stroke.
std::vector<DevicePoint> PointsOf(const LogChart& chart, const ChartLine& line) {
    constexpr double stroke = 1.004;
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    std::vector<DevicePoint> points;
    const auto at = [&](std::size_t i) {
        return i < line.values.size() ? line.values[i].value_or(none) : none;
    };
    for (std::size_t i = 0; i < chart.across.size(); ++i) {
        points.push_back({chart.across[i], at(i)});
        if (std::isfinite(at(i)) && (i == 0 || !std::isfinite(at(i - 1))) && !std::isfinite(at(i + 1)))
            points.push_back({chart.across[i] * stroke, at(i)});
    }
    return points;
}

void DrawPanel(DrawingSurface& surface, const LogChart& chart, const ChartPanel& panel,
               const FrameRectangle& frame) {
    AxisSpan across{chart.across.front(), chart.across.back(), true};
    AxisSpan upward;
    upward.logarithmic = true;
    std::vector<std::pair<PenDescription, std::string>> legend;
    for (const ChartLine& line : panel.lines) {
        legend.emplace_back(line.pen, line.caption);
        for (const std::optional<double>& value : line.values)
            upward.Include(value.value_or(0.0));
    }
    upward.WidenToTicks(false);
    PictureAxes axes(surface, frame, across, upward);
    axes.Draw("", "", "");
    if (chart.marker)
        axes.Line({*chart.marker, upward.low}, {*chart.marker, upward.high}, markerLine);
    for (const ChartLine& line : panel.lines)
        axes.Curve(PointsOf(chart, line), line.pen);
    axes.Legend(legend);
}

}  // namespace

void DrawLogChart(DrawingSurface& surface, const LogChart& chart) {
    if (chart.across.size() < 2 || chart.panels.empty())
        return;
    const std::size_t rows = (chart.panels.size() + columns - 1) / columns;
    const PictureSize size = surface.Size();
    const double width = size.width / columns;
    const double height = (size.height - captionHeight) / static_cast<double>(rows);
    for (std::size_t i = 0; i < chart.panels.size(); ++i) {
        const double left = static_cast<double>(i % columns) * width;
        const std::size_t row = i / columns;
        const double top = static_cast<double>(row) * height;
        DrawPanel(surface, chart, chart.panels[i],
                  {left + leftMargin, top + topMargin, left + width - rightMargin,
                   std::max(top + height - bottomMargin, top + topMargin + 1)});
    }
    const DrawingObject font = surface.CreateFont({.typeface = "Arial", .height = 13});
    surface.SelectObject(font);
    surface.SetTextAlign(TextAlignment::bottomCentre);
    surface.TextOut({size.width / 2, size.height - 1}, chart.acrossCaption);
    surface.DeleteObject(font);
}

}  // namespace vorela
