// Presentation options: the plotted time range and the vertical range of each of the five quantities.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "general/RangeCheck.h"

namespace vorela {

/// Quantity codes of axes and curves.
enum class Quantity : std::int16_t { pressure = 0, flow = 1, valve = 2, filteredPressure = 3, filteredFlow = 4 };
inline constexpr std::size_t quantityCount = 5;

/// The user's range of one quantity and the range drawn.
struct AxisOptions {
    double minimum = 0;
    double maximum = 0;
    bool automatic = true;
    double plottedMinimum = 0;
    double plottedMaximum = 0;
};

struct PresentationOptions {
    std::int32_t rangeStart = 0;  ///< first second of the plotted range
    std::int32_t rangeEnd = 0;    ///< last second of it
    std::int32_t timeRange = 240; ///< width of the "Fixed range" window, s
    bool timeAuto = false;        ///< "All data"
    bool elapsed = false;         ///< "Display elapsed time"
    bool fixed = true;            ///< "Fixed range", else "Specific zone"
    double start = 0;             ///< of the specific zone, s
    double end = 1000;
    std::array<AxisOptions, quantityCount> axes;  ///< by quantity code
};
PresentationOptions& PrsOpt();

/// Smallest and largest sample of each quantity over the plotted span; empty where there was no sample.
struct DataExtent {
    std::optional<double> minimum, maximum;
};
using DataExtents = std::array<DataExtent, quantityCount>;

void ReadPresentationOptions();
void WritePresentationOptions();

/// floor(v / n) · n, and one whole step more: (floor(v / n) + 1) · n, also when v is a multiple already (kept on
/// purpose). 32-bit product: overflow (6).
double RoundDown(double value, std::int32_t step);
double RoundUp(double value, std::int32_t step);

/// `first`, `last` in hundredths of a second; the plotted span is never narrower than 60 s.
void UpdateTimeRange(std::int32_t first, std::int32_t last);
void UpdateYAxes(const DataExtents& extents);

}  // namespace vorela
