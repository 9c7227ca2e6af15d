#include "plot/modPlot.h"

#include "db/DatasetRecord.h"
#include "general/CheckedMath.h"
#include "general/modGeneral.h"
#include "plot/TimeRange.h"

namespace vorela {

PlottedRange PlottedRangeOf(std::size_t dataset) {
    return Attempt("Getting x-axis range", PlottedRange{}, [&] {
        const DatasetRecord& record =
            CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(dataset), "modPlot");
        const TimeSpan span = ChosenSpan(PrsOpt(), record.extentA, record.extentB);
        return RangeInSeconds(span.start, span.end);
    });
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
