#include "plot/modPlotFormat.h"

#include <algorithm>

#include "db/CommonCurves.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* section = "Plot";
constexpr const char* source = "modPlotFormat";
constexpr std::int16_t lastQuantityCode = quantityCount - 1;

/// In the section's order.
SettingFields Fields(PlotFormatOptions& format) {
    constexpr auto integer = SettingReading::integer;
    return {{"Y1", &format.y1, {0, lastQuantityCode}, integer},
            {"Y2", &format.y2, {0, lastQuantityCode}, integer},
            {"Horizontal", &format.horizontal, {1, mostGridlines}},
            {"Vertical", &format.vertical, {1, mostGridlines}},
            {"Valve", &format.valve, {0, 1}, integer},
            {"Flow", &format.flowCurve, {0, 1}, integer},
            {"NPlots", &format.nPlots, {1, 2}, integer},
            {"PPres", &format.pressure},
            {"PFlow", &format.flow},
            {"PValve", &format.valveShown},
            {"PFPres", &format.filteredPressure},
            {"PFFlow", &format.filteredFlow}};
}

std::int16_t IntegerOf(const std::string& text) {
    const std::optional<double> number = StrictNumber(text);
    if (!number)
        throw RunTimeError{error_number::typeMismatch, source, "Type mismatch"};
    return RoundTo<std::int16_t>(*number, source);
}

}  // namespace

PlotFormatOptions& PlotFormat() {
    static PlotFormatOptions format;
    return format;
}

bool PlotFormatOptions::Shows(Quantity quantity) const {
    switch (quantity) {
        case Quantity::pressure:
            return pressure;
        case Quantity::flow:
            return flow;
        case Quantity::valve:
            return valveShown;
        case Quantity::filteredPressure:
            return filteredPressure;
        case Quantity::filteredFlow:
            return filteredFlow;
    }
    return false;
}

int DrawnGridlines(std::int16_t stored) {
    return std::clamp<int>(stored, 1, mostGridlines);
}
int DrawnPlots(std::int16_t stored) {
    return std::clamp<int>(stored, 1, 2);
}

void ReadPlotFormat() {
    Attempt("Reading plot options", [] {
        PlotFormat() = PlotFormatOptions{};
        if (ReadFields(section, Fields(PlotFormat())))
            throw RunTimeError{error_number::overflow, source, "Overflow"};
    });
}

void WritePlotFormat() {
    Attempt("Writing plot options", [] { WriteFields(section, Fields(PlotFormat())); });
}

PlotFormatForm ShowPlotFormat() {
    const PlotFormatOptions& format = PlotFormat();
    const auto choice = [](std::int32_t code, int last) {
        return static_cast<std::int16_t>(std::clamp<std::int32_t>(code, 0, last));
    };
    PlotFormatForm form;
    form.y1 = choice(format.y1, lastQuantityCode);
    form.y2 = choice(format.y2, lastQuantityCode);
    form.mod = choice(format.valve, 1);
    form.flow = choice(format.flowCurve, 1);
    form.horizontal = std::to_string(DrawnGridlines(format.horizontal));
    form.vertical = std::to_string(DrawnGridlines(format.vertical));
    form.nPlotsEntry = choice(DrawnPlots(format.nPlots) - 1, 1);
    form.pressure = format.pressure;
    form.flowShown = format.flow;
    form.valve = format.valveShown;
    form.filteredPressure = format.filteredPressure;
    form.filteredFlow = format.filteredFlow;
    return form;
}

bool GetPlotFormatFromDialog(const PlotFormatForm& form) {
    return Attempt("Getting plot information", false, [&] {
        PlotFormatOptions& format = PlotFormat();
        format.y1 = form.y1;
        format.y2 = form.y2;
        format.horizontal = IntegerOf(form.horizontal);
        format.vertical = IntegerOf(form.vertical);
        format.valve = form.mod;
        format.flowCurve = form.flow;
        format.nPlots = static_cast<std::int16_t>(form.nPlotsEntry + 1);
        format.pressure = form.pressure;
        format.flow = form.flowShown;
        format.valveShown = form.valve;
        format.filteredPressure = form.filteredPressure;
        format.filteredFlow = form.filteredFlow;
        const Selection& selection = CurrentSelection();
        if (format.valve != 1 || selection.datasets.empty() || selection.commonCurves.empty() ||
            ValveSignalInCommonList())
            return true;
        CurrentPorts().messages->Show(
            MessageIcon::information, "Vorela",
            "The reconstructed valve signal curve (PVLSIG) has not been created.\r\r"
            "Create the curve using the option in the Action menu.");
        return false;
    });
}

bool ValveSignalInCommonList() {
    return CurveInCommonList(curve::valveSignal);
}

SettingsSection PlotSettings() {
    return {section, Fields(PlotFormat())};
}

}  // namespace vorela
