// Plot data: what is plotted, over which range, with which sampling step.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vorela {

/// Range in whole seconds.
struct PlottedRange {
    std::int32_t start = 0;
    std::int32_t end = 0;
};
/// The range that a plot of this dataset has under the current presentation options, without changing them.
PlottedRange PlottedRangeOf(std::size_t dataset);

/// At least one dataset is selected and the datasets share a curve; otherwise false and the message.
bool PlotDataAvailable(std::string& message);

}  // namespace vorela
