#include "plot/modPlot.h"

#include <optional>
#include <tuple>

#include "db/DatasetRecord.h"
#include "general/CheckedMath.h"
#include "general/modGeneral.h"
#include "plot/TimeRange.h"

namespace vorela {
namespace {

/// What was plotted last.
struct LastPlot {
    std::uint64_t generation = 0;  ///< of the selection
    std::string database;
    std::string dataset;
    PresentationOptions options;
};
LastPlot& CurrentPlot() {
    static LastPlot plot;
    return plot;
}

auto TimeOptions(const PresentationOptions& options) {
    return std::tie(options.timeAuto, options.fixed, options.timeRange, options.start, options.end);
}

/// The page of the fixed range that the plot of this dataset shows, or will show with its next redraw.
/// Nothing when it is not the one plotted last, or not with these options.
std::optional<PlottedRange> PageOf(const DatasetRecord& record) {
    const LastPlot& plot = CurrentPlot();
    if (plot.generation != CurrentSelection().generation || plot.database != record.database ||
        plot.dataset != record.dataset || !TurnsPages(plot.options) ||
        TimeOptions(plot.options) != TimeOptions(PrsOpt()))
        return std::nullopt;
    return PageThatShows(plot.options, record.extentB);
}

const DatasetRecord& RecordAt(std::size_t dataset) {
    return CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(dataset), "modPlot");
}

}  // namespace

PlottedRange PlottedRangeOf(std::size_t dataset) {
    return Attempt("Getting x-axis range", PlottedRange{}, [&] {
        const DatasetRecord& record = RecordAt(dataset);
        if (const std::optional<PlottedRange> page = PageOf(record))
            return *page;
        const TimeSpan span = ChosenSpan(PrsOpt(), record.extentA, record.extentB);
        return RangeInSeconds(span.start, span.end);
    });
}

void NotePlottedRange(std::size_t dataset) {
    const DatasetRecord& record = RecordAt(dataset);
    CurrentPlot() = {CurrentSelection().generation, record.database, record.dataset, PrsOpt()};
}

bool PlotDataAvailable(std::string& message) {
    if (CurrentSelection().datasets.empty())
        message = "No data selected";
    else if (CurrentSelection().commonCurves.empty())
        message = "There are no common curves in the selected datasets";
    else
        return true;
    return false;
}

}  // namespace vorela
