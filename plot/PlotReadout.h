// What the two cursors read: times, their difference, and the plotted curves' values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vorela {

struct CurvePoints;
struct PlotDrawing;

/// One plotted curve at both cursors; nothing where there is no sample (gap, outside the record).
struct CursorValue {
    std::string curve;
    std::string unit;
    std::optional<double> atCursor1, atCursor2;
    std::optional<double> difference;  ///< cursor 2 less cursor 1
    int decimals = 0;                  ///< that the curve's samples bear
    double largest = 0;                ///< magnitude in the shown span
};

struct PlotReadout {
    bool valid = false;    ///< a plot is shown
    bool elapsed = false;  ///< the times count from the beginning of the record
    double time1 = 0;      ///< s, on the plot's time axis
    double time2 = 0;
    double difference = 0;          ///< cursor 2 less cursor 1, s
    double largestTime = 0;         ///< that the shown span holds, s
    std::optional<double> periods;  ///< the difference in periods of test
    std::vector<CursorValue> values;
};

/// Reads the shown curves of the drawing's first dataset at two times (hundredths of a second), from the
/// database where they are not in memory. Values that cannot be read are left empty, after a report.
PlotReadout ReadCursors(const PlotDrawing& drawing, double time1, double time2);

/// Decimals that tell the drawn samples apart: as many as the recording has, at most what single precision
/// holds at their magnitude (seven significant digits).
int DecimalsBorne(const CurvePoints& curve);

/// A value with all its decimals, so that digits stand still while cursors move; "-" for none.
std::string ReadoutText(const std::optional<double>& value, int decimals);
std::string FixedText(double value, int decimals);
/// Times as they are typed and read: at least to the hundredth of a second.
std::string ReadoutTimeText(double seconds);

}  // namespace vorela
