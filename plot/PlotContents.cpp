#include "plot/PlotContents.h"

#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

std::optional<Quantity> QuantityOfCode(std::int16_t code) {
    if (code < 0 || code >= static_cast<std::int16_t>(quantityCount))
        return std::nullopt;
    return static_cast<Quantity>(code);
}

/// Why nothing of a curve is seen; empty when something is.
std::string Absence(const PlotInformation& information, const PlottedCurve& curve) {
    if (!curve.values.points.empty())
        return "";
    const auto seconds = [&](std::int32_t time) {
        return FormatNumber(SecondsOf(static_cast<double>(time) - information.elapsedOrigin)) + " s";
    };
    if (!curve.recorded)
        return "has no data";
    if (curve.recorded->end <= information.span.start)
        return "ends " + seconds(curve.recorded->end);
    if (curve.recorded->start >= information.span.end)
        return "begins " + seconds(curve.recorded->start);
    return "has no data here";
}

}  // namespace

std::vector<PlotContents> ContentsOfPlots(const PlotFormatOptions& format, const std::string& singleTitle) {
    const auto shown = [&](std::vector<Quantity> quantities) {
        std::erase_if(quantities, [&](Quantity quantity) { return !format.Shows(quantity); });
        return quantities;
    };
    if (DrawnPlots(format.nPlots) == 1)
        return {{singleTitle,
                 shown({Quantity::valve, Quantity::pressure, Quantity::flow, Quantity::filteredPressure,
                        Quantity::filteredFlow}),
                 QuantityOfCode(format.y1), QuantityOfCode(format.y2)}};
    return {{"Pressure sensor - P", shown({Quantity::valve, Quantity::pressure, Quantity::filteredPressure}),
             Quantity::pressure, Quantity::valve},
            {"Flow meter - Q", shown({Quantity::valve, Quantity::flow, Quantity::filteredFlow}),
             Quantity::flow, Quantity::valve}};
}

const PlottedCurve* FindCurve(const PlotInformation& information, Quantity quantity) {
    for (const DatasetPlot& dataset : information.datasets)
        if (const PlottedCurve* curve = dataset.Find(quantity))
            return curve;
    return nullptr;
}

std::string AxisLabel(const PlotInformation& information, Quantity quantity) {
    const PlottedCurve* curve = FindCurve(information, quantity);
    if (quantity == Quantity::valve)
        return curve != nullptr && curve->name == curve::valveSignal ? "Valve - Ref. Signal"
                                                                     : "Valve - PVLPOS (cps)";
    const bool filtered = quantity == Quantity::filteredPressure || quantity == Quantity::filteredFlow;
    const bool pressure = quantity == Quantity::pressure || quantity == Quantity::filteredPressure;
    const auto known = [](const std::string& text) { return text.empty() ? std::string("Unknown") : text; };
    return std::string(filtered ? "Filtered " : "") + (pressure ? "Pressure" : "Flow") + " - " +
           known(curve != nullptr ? curve->name : "") + " (" + known(curve != nullptr ? curve->unit : "") +
           ")";
}

std::string LegendText(const PlotInformation& information, const PlotContents& contents, Quantity quantity,
                       bool brief) {
    const PlottedCurve* curve = FindCurve(information, quantity);
    if (curve == nullptr)
        return "";
    if (information.hidden[IndexOf(quantity)])
        return curve->name + " (hidden)";
    if (const std::string absence = Absence(information, *curve); !absence.empty())
        return curve->name + " " + absence;
    if (brief || contents.HasAxis(quantity))
        return curve->name;
    const AxisRange& axis = information.axes[IndexOf(quantity)];
    std::string text = curve->name + " " + FormatNumber(axis.minimum) + " ... " + FormatNumber(axis.maximum);
    return curve->unit.empty() ? text : text + " " + curve->unit;
}

}  // namespace vorela
