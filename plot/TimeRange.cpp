#include "plot/TimeRange.h"

#include <cmath>
#include <cstdlib>

#include "db/IndexUnits.h"
#include "general/CheckedMath.h"

namespace vorela {
namespace {

constexpr const char* source = "modPlot";
constexpr std::int32_t tenSeconds = 1000;

std::int32_t FloorSteps(std::int32_t t, std::int32_t n) {
    return RoundTo<std::int32_t>(std::floor(CheckedDivide(t, n, source)), source);
}

std::int32_t Hundredths(std::int64_t seconds) {
    return CheckedNarrow<std::int32_t>(IndexUnitsIn(seconds), source);
}

}  // namespace

void RoundDownTime(std::int32_t& t, std::int32_t n) {
    t = CheckedNarrow<std::int32_t>(std::int64_t{FloorSteps(t, n)} * n, source);
}

void RoundUpTime(std::int32_t& t, std::int32_t n) {
    t = CheckedNarrow<std::int32_t>((std::int64_t{FloorSteps(t, n)} + 1) * n, source);
}

TimeSpan ChosenSpan(const PresentationOptions& options, std::int32_t first, std::int32_t last) {
    TimeSpan span{first, last};
    RoundDownTime(span.start, tenSeconds);
    RoundUpTime(span.end, tenSeconds);
    if (options.timeAuto)
        return span;
    if (!options.fixed)
        return {RoundTo<std::int32_t>(IndexUnitsIn(options.start), source),
                RoundTo<std::int32_t>(IndexUnitsIn(options.end), source)};
    const std::int64_t width = Hundredths(options.timeRange);
    if (span.end - width < span.start)
        span.end = CheckedNarrow<std::int32_t>(span.start + width, source);
    else
        span.start = CheckedNarrow<std::int32_t>(span.end - width, source);
    return span;
}

bool TurnsPages(const PresentationOptions& options) {
    return options.fixed && !options.timeAuto;
}

PlottedRange PageThatShows(const PresentationOptions& options, std::int32_t latest) {
    PlottedRange page{options.rangeStart, options.rangeEnd};
    std::int64_t width = options.timeRange;
    while (latest > IndexUnitsIn(page.end)) {
        page = RangeInSeconds(Hundredths(page.start + width), Hundredths(page.end + width));
        width = page.end - page.start;
    }
    return page;
}

std::int32_t ElapsedOrigin(std::int32_t first) {
    RoundDownTime(first, tenSeconds);
    return first;
}

std::int32_t SamplingStep(TimeSpan span, std::int32_t points, std::int32_t ownInterval) {
    const double width = std::abs(static_cast<double>(span.end) - span.start);
    std::int32_t step = RoundTo<std::int32_t>(CheckedDivide(width, points, source), source);
    if (step <= ownInterval)
        step = ownInterval;
    return step == 0 ? static_cast<std::int32_t>(IndexUnitsIn(1)) : step;
}

double SecondsAt(const PlottedRange& range, double percent) {
    return range.start + percent / 100.0 * (static_cast<double>(range.end) - range.start);
}

double PercentAt(const PlottedRange& range, double seconds) {
    return CheckedDivide(seconds - range.start, static_cast<double>(range.end) - range.start, source) * 100.0;
}

}  // namespace vorela
