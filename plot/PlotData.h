// Plot data assembly: which curve stands for which quantity, over which time range, with which values and
// vertical ranges.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "plot/CurveSamples.h"
#include "plot/TimeRange.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"

namespace vorela {

/// A sample (low = high), the minimum and maximum of a dense column, or a break of the line.
struct CurvePoint {
    double time = 0;  ///< hundredths of a second; of a column its middle
    float low = 0;
    float high = 0;
    bool IsBreak() const { return std::isnan(low); }
};

/// The values of one curve over the span, one break at most between two runs.
struct CurvePoints {
    std::int32_t step = 0;
    bool dense = false;   ///< columns of minima and maxima, else the samples themselves
    bool coarse = false;  ///< columns of a few samples each, while the overview of a long curve is not built
    std::vector<CurvePoint> points;
    DataExtent extent;
};
/// Reads the points of a span (hundredths of a second) every SamplingStep. Between samples that lie on both
/// sides of an end of the span the line goes on to that end.
CurvePoints ReadCurvePoints(PlotCurveReader& curve, TimeSpan span, std::int32_t pointsWanted,
                            bool mayBeCoarse = false);

struct PlottedCurve {
    Quantity quantity = Quantity::pressure;
    std::string name;  ///< "ZG"
    std::string unit;  ///< "psi"
    CurvePoints values;
    std::optional<TimeSpan> recorded{};  ///< from the first to the last sample; nothing of an empty curve
};

struct DatasetPlot {
    std::size_t dataset = 0;           ///< position in the selection
    std::vector<PlottedCurve> curves;  ///< those that exist, by quantity code
    const PlottedCurve* Find(Quantity quantity) const;
};

struct AxisRange {
    double minimum = 0;
    double maximum = 1;
    bool operator==(const AxisRange&) const = default;
};

/// What a viewer changed of a plot for his view, apart from its span; by quantity code.
struct ViewChoice {
    std::array<std::optional<AxisRange>, quantityCount> axes;  ///< in place of the ranges of the options
    std::array<bool, quantityCount> hidden{};                  ///< curves that are not drawn
    bool operator==(const ViewChoice&) const = default;
};

/// A valve cycle on the time axis, hundredths of a second.
struct CycleMark {
    std::int32_t number = 0;  ///< from 1
    TimeSpan span;
};

/// All that a drawing needs to know of the data.
struct PlotInformation {
    TimeSpan span;                              ///< plotted
    std::int32_t elapsedOrigin = 0;             ///< hundredths of a second; what the time axis counts from
    std::array<AxisRange, quantityCount> axes;  ///< by quantity code
    std::string title;                          ///< of the single plot
    std::array<bool, quantityCount> hidden{};   ///< by quantity code
    std::vector<CycleMark> cycles;              ///< of the first dataset
    std::int32_t selectedCycle = 0;             ///< 0: the window, or none
    std::vector<DatasetPlot> datasets;
    bool IsCoarse() const;
};

enum class TimeMode {
    chosen,  ///< as the time options say
    follow,  ///< the same, but a fixed range moves forward page by page once data lie beyond it
    zoomed,  ///< a span of the viewer's; the presentation options stay as they are
};

struct PlotRequest {
    std::vector<std::size_t> datasets;
    std::int32_t pointsWanted = 1000;  ///< width of the plot area in device pixels
    TimeMode mode = TimeMode::chosen;
    TimeSpan zoom;       ///< of TimeMode::zoomed
    bool verify = true;  ///< look whether curves in memory were made anew
    ViewChoice view{};
    bool mayBeCoarse = false;  ///< rather a coarse picture at once than the whole one after a wait
};

/// Reads on, for `milliseconds` at most, where a picture was coarse: the share that is done, 1 when the
/// picture can be drawn whole. Meant to be called between events.
double ReadOnForPlot(std::size_t dataset, int milliseconds);

/// True when the plot can be drawn. Otherwise false with a message for the plot driver's box; the message is
/// empty when the failure was reported already. Shows the messages about curves that another one stands in
/// for. Sets the plotted range and the plotted axis ranges of the presentation options, unless zoomed.
bool GetPlotInformation(const PlotRequest& request, PlotInformation& information, std::string& message);

/// The curve that stands for each quantity under this format, whether it exists or not; `fallbacks` gets the
/// messages about curves that are not there.
std::array<std::string, quantityCount> ChooseCurveNames(const PlotFormatOptions& format,
                                                        std::vector<std::string>& fallbacks);

}  // namespace vorela
