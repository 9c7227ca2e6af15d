// What the plots of a picture show: curves, axes and what they are called.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "plot/PlotData.h"
#include "plot/modPlotFormat.h"

namespace vorela {

/// What one plot of the picture shows.
struct PlotContents {
    std::string title;
    std::vector<Quantity> curves;      ///< in drawing order, later ones over earlier ones
    std::optional<Quantity> leftAxis;  ///< nothing: a code that is no quantity
    std::optional<Quantity> rightAxis;
    bool HasAxis(Quantity quantity) const { return leftAxis == quantity || rightAxis == quantity; }
};
/// One plot with everything, or pressure above flow with the valve in both; only curves that the format
/// shows.
std::vector<PlotContents> ContentsOfPlots(const PlotFormatOptions& format, const std::string& singleTitle);

/// The first dataset's curve of a quantity; null when there is none.
const PlottedCurve* FindCurve(const PlotInformation& information, Quantity quantity);

/// "Pressure - ZG (psi)", "Filtered Flow - RTC_qs (rps)", "Valve - PVLPOS (cps)", "Valve - Ref. Signal".
std::string AxisLabel(const PlotInformation& information, Quantity quantity);

/// A curve in the legend: its name; with its range where no axis shows that ("ZG_p -40 ... 45 psi"); what is
/// to be said of a curve without data in the shown span ("RTC ends 4810 s"). `brief`: without the range.
std::string LegendText(const PlotInformation& information, const PlotContents& contents, Quantity quantity,
                       bool brief);

}  // namespace vorela
