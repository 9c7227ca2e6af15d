// What a viewer does with a plot: value axes of his own, the way back through his views, and where a cursor
// snaps.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "plot/PlotData.h"
#include "plot/PlotTexts.h"
#include "plot/modPlotFormat.h"

namespace vorela {

/// The range made `factor` times as wide around a value that stays where it is; no narrower than what single
/// precision tells apart there.
AxisRange ZoomedAxis(AxisRange range, double factor, double fixedValue);
/// The range moved by a share of its width.
AxisRange MovedAxis(AxisRange range, double share);
/// For every quantity that is shown and not hidden: the extent of its data in the shown span, with a margin
/// and clear of the texts at the plot's upper and lower edge.
std::array<std::optional<AxisRange>, quantityCount> FittedAxes(const PlotInformation& information,
                                                               const PlotFormatOptions& format,
                                                               const TextBands& bands = {});

/// A view as the viewer's history keeps it.
struct PlotView {
    bool zoomed = false;  ///< `span` in place of what the time options choose
    TimeSpan span;        ///< hundredths of a second
    ViewChoice choice;
    bool allData = false;  ///< `span` grows with the record
    bool operator==(const PlotView&) const = default;
};

/// The views before and after the present one.
class ViewHistory {
  public:
    /// The view is about to change; what lay ahead is gone.
    void Leave(const PlotView& now);
    std::optional<PlotView> Back(const PlotView& now) { return Step(before_, after_, now); }
    std::optional<PlotView> Forward(const PlotView& now) { return Step(after_, before_, now); }
    bool HasBefore() const { return !before_.empty(); }
    bool HasAfter() const { return !after_.empty(); }

  private:
    static std::optional<PlotView> Step(std::vector<PlotView>& from, std::vector<PlotView>& to,
                                        const PlotView& now);
    std::vector<PlotView> before_, after_;
};

/// The valve boundary, or the time whole periods away from the other cursor, that lies nearest to `time`
/// within `reach`; else `time` itself. Hundredths of a second; `period` 0: boundaries only.
double SnappedTime(double time, const std::vector<CycleMark>& cycles, double otherCursor, double period,
                   double reach);

/// Cursors dragged in the plot snap: `Snap` of the settings' `[Cursors]`, on unless it says otherwise.
bool ReadSnapSetting();
void WriteSnapSetting(bool snap);

}  // namespace vorela
