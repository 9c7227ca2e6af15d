// The plot driver's questions about a dataset's plot that need no drawing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "plot/modPlotScales.h"

namespace vorela {

/// The range that a plot of this dataset has under the current presentation options, without changing them. A
/// fixed range that has been followed page by page stands at its page. Reported ("Getting x-axis range") and
/// empty when it cannot be had.
PlottedRange PlottedRangeOf(std::size_t dataset);
/// Takes the plotted range of the presentation options as that of this dataset.
void NotePlottedRange(std::size_t dataset);

/// At least one dataset is selected and the datasets share a curve; otherwise false and the message.
bool PlotDataAvailable(std::string& message);

}  // namespace vorela
