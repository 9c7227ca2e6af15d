// Time arithmetic of the plot: which span is shown, with which sampling step, and where the cursors stand in
// it. Times are hundredths of a second in 32 bits unless a name says seconds; what leaves that range is
// overflow (6), thrown.
#pragma once

#include <cstdint>

#include "plot/modPlotScales.h"

namespace vorela {

/// t = floor(t / n) · n, and t = (floor(t / n) + 1) · n: a whole step more, also when t is a multiple
/// already, so that the last sample never lies on the plot's edge.
void RoundDownTime(std::int32_t& t, std::int32_t n);
void RoundUpTime(std::int32_t& t, std::int32_t n);

struct TimeSpan {
    std::int32_t start = 0;
    std::int32_t end = 0;
    bool operator==(const TimeSpan&) const = default;
};

/// The span that the time options choose for data from `first` to `last`, before it is widened to a minute.
TimeSpan ChosenSpan(const PresentationOptions& options, std::int32_t first, std::int32_t last);

/// Whether following data turns pages: all data grow with the record and a specific zone is the viewer's.
bool TurnsPages(const PresentationOptions& options);
/// The plotted range, moved forward by TimeRange as often as `latest` lies beyond its end.
PlottedRange PageThatShows(const PresentationOptions& options, std::int32_t latest);

/// Where elapsed time counts from: the first time rounded down to 10 s, so that "All data" begins at 0.
std::int32_t ElapsedOrigin(std::int32_t first);

/// Distance of the values to read for `points` of them over the span: at least the curve's own interval; 100
/// (1 s) where that is 0 too.
std::int32_t SamplingStep(TimeSpan span, std::int32_t points, std::int32_t ownInterval);

/// The time at `percent` of a range, in seconds, and back.
double SecondsAt(const PlottedRange& range, double percent);
double PercentAt(const PlottedRange& range, double seconds);

}  // namespace vorela
