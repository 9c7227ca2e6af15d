// Zoom and pan of the time axis: the span that is seen, apart from the span that the time options choose.
// Hundredths of a second.
#pragma once

#include "plot/TimeRange.h"

namespace vorela {

/// Narrowest view.
inline constexpr std::int32_t narrowestView = 20;

/// `wanted` made at least narrowestView wide and moved (or cut) into `limits`.
TimeSpan FitSpan(double start, double end, TimeSpan limits);

/// `view` made `factor` times as wide around the time that stays where it is.
TimeSpan ZoomedSpan(TimeSpan view, double factor, double fixedTime, TimeSpan limits);

/// `view` moved by a share of its width.
TimeSpan PannedSpan(TimeSpan view, double share, TimeSpan limits);

}  // namespace vorela
