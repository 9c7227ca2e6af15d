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
constexpr int mostDecimals = 12;

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
        if (drawing.information.hidden[IndexOf(curve.quantity)])
            continue;
        const DataExtent& extent = curve.values.extent;
        CursorValue value{curve.name, curve.unit, {}, {}, {}, DecimalsBorne(curve.values), 0};
        value.largest = std::max(std::abs(extent.minimum.value_or(0)), std::abs(extent.maximum.value_or(0)));
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
    readout.largestTime = SecondsOf(static_cast<double>(drawing.information.span.end));
    if (CurrentParameters().period > 0)
        readout.periods = readout.difference / CurrentParameters().period;
    Attempt("Displaying cursor values", [&] { ReadValues(drawing, time1, time2, readout); });
    return readout;
}

int DecimalsBorne(const CurvePoints& curve) {
    double largest = 0;
    for (const CurvePoint& point : curve.points)
        if (!point.IsBreak())
            largest = std::max<double>({largest, std::abs(point.low), std::abs(point.high)});
    const int whole = largest > 0 ? static_cast<int>(std::floor(std::log10(largest))) + 1 : 1;
    const int most = std::clamp(significantDigits - whole, 0, mostDecimals);
    int decimals = 0;
    const auto bears = [&](float value) {
        for (; decimals < most; ++decimals) {
            const double power = std::pow(10.0, decimals);
            if (static_cast<float>(std::round(value * power) / power) == value)
                return;
        }
    };
    for (const CurvePoint& point : curve.points) {
        if (point.IsBreak())
            continue;
        bears(point.low);
        bears(point.high);
    }
    return decimals;
}

std::string FixedText(double value, int decimals) {
    return FormatByPattern(value,
                           decimals <= 0 ? "0" : "0." + std::string(static_cast<std::size_t>(decimals), '0'));
}

std::string ReadoutText(const std::optional<double>& value, int decimals) {
    return value ? FixedText(*value, decimals) : "-";
}

std::string ReadoutTimeText(double seconds) {
    return WithDecimals(seconds, timeDecimals);
}

}  // namespace vorela
