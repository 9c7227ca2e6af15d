#include "plot/ViewSpan.h"

#include <algorithm>
#include <cmath>

namespace vorela {

TimeSpan FitSpan(double start, double end, TimeSpan limits) {
    const double room = std::max<double>(static_cast<double>(limits.end) - limits.start, narrowestView);
    const double width = std::clamp<double>(end - start, narrowestView, room);
    const double middle = (start + end) / 2;
    const double from =
        std::clamp(middle - width / 2, static_cast<double>(limits.start), limits.start + room - width);
    return {static_cast<std::int32_t>(std::lround(from)),
            static_cast<std::int32_t>(std::lround(from + width))};
}

TimeSpan ZoomedSpan(TimeSpan view, double factor, double fixedTime, TimeSpan limits) {
    const double width = static_cast<double>(view.end) - view.start;
    // What stays put decides where the narrowest view lies, too.
    const double effective = std::max(factor, narrowestView / width);
    return FitSpan(fixedTime - (fixedTime - view.start) * effective,
                   fixedTime + (view.end - fixedTime) * effective, limits);
}

TimeSpan PannedSpan(TimeSpan view, double share, TimeSpan limits) {
    const double by = share * (static_cast<double>(view.end) - view.start);
    return FitSpan(view.start + by, view.end + by, limits);
}

}  // namespace vorela
