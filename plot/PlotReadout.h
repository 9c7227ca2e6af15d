// What the two cursors read: times, their difference, and the plotted curves' values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vorela {

/// One plotted curve at both cursors; nothing where there is no sample (gap, outside the record).
struct CursorValue {
    std::string curve;
    std::string unit;
    std::optional<double> atCursor1, atCursor2;
    std::optional<double> difference;  ///< cursor 2 less cursor 1
};

struct PlotReadout {
    bool valid = false;  ///< a plot is shown
    double time1 = 0;    ///< s, on the plot's time axis
    double time2 = 0;
    double difference = 0;  ///< cursor 2 less cursor 1, s
    std::optional<double> periods;  ///< the difference in periods of test
    std::vector<CursorValue> values;
};

/// A value as the strip shows it: six significant digits at least, so that neighbouring samples differ.
std::string ReadoutText(const std::optional<double>& value);

}  // namespace vorela
