#include "plot/PlotView.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "general/SettingsTable.h"

namespace vorela {
namespace {

constexpr double fitMargin = 0.04;     // of the extent, above and below
constexpr double leastOfCurves = 0.4;  // of the height, however many rows the header has
constexpr std::size_t mostViews = 100;

double NarrowestAround(double value) {
    return 8 * std::max(std::abs(value) * std::numeric_limits<float>::epsilon(), 1e-12);
}

/// Ends with the digits that the width gives meaning to: no axis begins at 0.000142 that reaches to 0.236.
AxisRange RoundedOut(AxisRange range) {
    const double unit = std::pow(10, std::floor(std::log10((range.maximum - range.minimum) / 100)));
    return {std::floor(range.minimum / unit) * unit, std::ceil(range.maximum / unit) * unit};
}

}  // namespace

AxisRange ZoomedAxis(AxisRange range, double factor, double fixedValue) {
    const double width = range.maximum - range.minimum;
    if (width <= 0)
        return range;
    const double largest = std::max(std::abs(range.minimum), std::abs(range.maximum));
    factor = std::max(factor, NarrowestAround(largest) / width);
    const AxisRange zoomed{fixedValue - (fixedValue - range.minimum) * factor,
                           fixedValue + (range.maximum - fixedValue) * factor};
    return std::isfinite(zoomed.maximum - zoomed.minimum) ? zoomed : range;
}

AxisRange MovedAxis(AxisRange range, double share) {
    const double by = share * (range.maximum - range.minimum);
    return {range.minimum + by, range.maximum + by};
}

std::array<std::optional<AxisRange>, quantityCount> FittedAxes(const PlotInformation& information,
                                                               const PlotFormatOptions& format,
                                                               const TextBands& bands) {
    std::array<std::optional<AxisRange>, quantityCount> axes;
    for (const DatasetPlot& dataset : information.datasets) {
        for (const PlottedCurve& curve : dataset.curves) {
            const DataExtent& extent = curve.values.extent;
            const std::size_t i = IndexOf(curve.quantity);
            if (!format.Shows(curve.quantity) || information.hidden[i] || !extent.minimum || !extent.maximum)
                continue;
            std::optional<AxisRange>& axis = axes[i];
            axis = {std::min(axis ? axis->minimum : *extent.minimum, *extent.minimum),
                    std::max(axis ? axis->maximum : *extent.maximum, *extent.maximum)};
        }
    }
    for (std::optional<AxisRange>& axis : axes) {
        if (!axis)
            continue;
        const double margin = axis->maximum > axis->minimum
                                  ? fitMargin * (axis->maximum - axis->minimum)
                                  : std::max(0.5 * std::abs(axis->maximum) * fitMargin, 0.5);
        const double needed = axis->maximum - axis->minimum + 2 * margin;
        const double height = needed / std::max(1 - bands.top - bands.bottom, leastOfCurves);
        axis = RoundedOut(
            {axis->minimum - margin - bands.bottom * height, axis->maximum + margin + bands.top * height});
    }
    return axes;
}

void ViewHistory::Leave(const PlotView& now) {
    after_.clear();
    if (!before_.empty() && before_.back() == now)
        return;
    if (before_.size() == mostViews)
        before_.erase(before_.begin());
    before_.push_back(now);
}

std::optional<PlotView> ViewHistory::Step(std::vector<PlotView>& from, std::vector<PlotView>& to,
                                          const PlotView& now) {
    if (from.empty())
        return std::nullopt;
    to.push_back(now);
    PlotView view = from.back();
    from.pop_back();
    return view;
}

double SnappedTime(double time, const std::vector<CycleMark>& cycles, double otherCursor, double period,
                   double reach) {
    double nearest = time;
    double distance = reach;
    const auto consider = [&](double candidate) {
        if (std::abs(candidate - time) <= distance) {
            nearest = candidate;
            distance = std::abs(candidate - time);
        }
    };
    if (period > 0) {
        const double periods = std::round((time - otherCursor) / period);
        if (periods != 0)
            consider(otherCursor + periods * period);
    }
    const auto at = std::ranges::lower_bound(
        cycles, time, {}, [](const CycleMark& cycle) { return static_cast<double>(cycle.span.start); });
    if (at != cycles.end())
        consider(at->span.start);
    if (at != cycles.begin()) {
        consider(std::prev(at)->span.start);
        consider(std::prev(at)->span.end);
    }
    return nearest;
}

bool ReadSnapSetting() {
    bool snap = true;
    ReadFields("Cursors", {{"Snap", &snap}});
    return snap;
}

void WriteSnapSetting(bool snap) {
    WriteFields("Cursors", {{"Snap", &snap}});
}

}  // namespace vorela
