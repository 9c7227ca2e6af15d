#include "plot/PlotReadout.h"

#include <algorithm>
#include <cmath>

#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "plot/PlotRenderer.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr int significantDigits = 7;
constexpr int timeDecimals = 3;

std::string WithDecimals(double value, int decimals) {
    const std::string pattern =
        decimals <= 0 ? "0" : "0." + std::string(static_cast<std::size_t>(decimals), '#');
    return FormatByPattern(value, pattern);
}

void ReadValues(const PlotDrawing& drawing, double time1, double time2, PlotReadout& readout) {
    const DatasetPlot& plot = drawing.information.datasets.front();
    const DatasetRecord& record =
        CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(plot.dataset), "modPlot");
    const DravikDatabase database(record.database);
    for (const PlottedCurve& curve : plot.curves) {
        if (!drawing.format.Shows(curve.quantity))
            continue;
        CursorValue value{curve.name, curve.unit, {}, {}, {}};
        if (database.IsOpen()) {
            if (auto reader = PlotCurveReader::Attach(database, record.dataset, curve.name, false)) {
                value.atCursor1 = reader->At(time1);
                value.atCursor2 = reader->At(time2);
                if (value.atCursor1 && value.atCursor2)
                    value.difference = *value.atCursor2 - *value.atCursor1;
            }
        }
        readout.values.push_back(std::move(value));
    }
}

}  // namespace

PlotReadout ReadCursors(const PlotDrawing& drawing, double time1, double time2) {
    PlotReadout readout;
    if (drawing.information.datasets.empty())
        return readout;
    readout.valid = true;
    readout.elapsed = PrsOpt().elapsed;
    readout.time1 = SecondsOf(time1 - drawing.information.elapsedOrigin);
    readout.time2 = SecondsOf(time2 - drawing.information.elapsedOrigin);
    readout.difference = readout.time2 - readout.time1;
    if (CurrentParameters().period > 0)
        readout.periods = readout.difference / CurrentParameters().period;
    Attempt("Displaying cursor values", [&] { ReadValues(drawing, time1, time2, readout); });
    return readout;
}

std::string ReadoutText(const std::optional<double>& value) {
    if (!value)
        return "-";
    if (*value == 0)
        return "0";
    const int whole = static_cast<int>(std::floor(std::log10(std::abs(*value)))) + 1;
    return WithDecimals(*value, std::clamp(significantDigits - whole, 0, 15));
}

std::string ReadoutTimeText(double seconds) {
    return WithDecimals(seconds, timeDecimals);
}

}  // namespace vorela
