#include "plot/modPlotFormat.h"

#include <algorithm>
#include <limits>
#include <variant>

#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* section = "Plot";
constexpr const char* source = "modPlotFormat";
constexpr std::int16_t lastQuantityCode = quantityCount - 1;

/// How a key is read: as an integer, as a text that is converted, or as a flag.
enum class Kind { integer, text, flag };
using Place = std::variant<std::int16_t*, std::int32_t*, bool*>;

struct Key {
    const char* name;
    Kind kind;
    double lower;
    double upper;
    Place (*place)(PlotFormatOptions&);
};

constexpr double anyLow = std::numeric_limits<std::int32_t>::min();
constexpr double anyHigh = std::numeric_limits<std::int32_t>::max();

/// In the section's order.
constexpr std::array keys{
    Key{"Y1", Kind::integer, 0, lastQuantityCode, [](PlotFormatOptions& f) -> Place { return &f.y1; }},
    Key{"Y2", Kind::integer, 0, lastQuantityCode, [](PlotFormatOptions& f) -> Place { return &f.y2; }},
    Key{"Horizontal", Kind::text, 1, mostGridlines,
        [](PlotFormatOptions& f) -> Place { return &f.horizontal; }},
    Key{"Vertical", Kind::text, 1, mostGridlines, [](PlotFormatOptions& f) -> Place { return &f.vertical; }},
    Key{"Valve", Kind::integer, 0, 1, [](PlotFormatOptions& f) -> Place { return &f.valve; }},
    Key{"Flow", Kind::integer, 0, 1, [](PlotFormatOptions& f) -> Place { return &f.flowCurve; }},
    Key{"NPlots", Kind::integer, 1, 2, [](PlotFormatOptions& f) -> Place { return &f.nPlots; }},
    Key{"PPres", Kind::flag, anyLow, anyHigh, [](PlotFormatOptions& f) -> Place { return &f.pressure; }},
    Key{"PFlow", Kind::flag, anyLow, anyHigh, [](PlotFormatOptions& f) -> Place { return &f.flow; }},
    Key{"PValve", Kind::flag, anyLow, anyHigh, [](PlotFormatOptions& f) -> Place { return &f.valveShown; }},
    Key{"PFPres", Kind::flag, anyLow, anyHigh,
        [](PlotFormatOptions& f) -> Place { return &f.filteredPressure; }},
    Key{"PFFlow", Kind::flag, anyLow, anyHigh, [](PlotFormatOptions& f) -> Place { return &f.filteredFlow; }},
};

std::string TextOf(const Place& place) {
    struct Writer {
        std::string operator()(const std::int16_t* value) const { return std::to_string(*value); }
        std::string operator()(const std::int32_t* value) const { return std::to_string(*value); }
        std::string operator()(const bool* value) const { return *value ? "-1" : "0"; }
    };
    return std::visit(Writer{}, place);
}

void ReadKey(const Key& key, PlotFormatOptions& format) {
    const Place place = key.place(format);
    const std::string current = TextOf(place);
    const std::string& path = SettingsFilePath();
    double number = 0;
    if (key.kind == Kind::text)
        number = LeadingNumber(ReadIniString(section, key.name, current, path));
    else
        number = ReadIniInteger(section, key.name, LeadingInteger(current), path);
    struct Store {
        double number;
        void operator()(std::int16_t* value) const { *value = RoundTo<std::int16_t>(number, source); }
        void operator()(std::int32_t* value) const { *value = RoundTo<std::int32_t>(number, source); }
        void operator()(bool* value) const { *value = number != 0; }
    };
    std::visit(Store{number}, place);
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
        PlotFormatOptions format;
        std::optional<RunTimeError> fault;
        for (const Key& key : keys) {
            try {
                ReadKey(key, format);
            } catch (const RunTimeError& error) {
                fault = error;
            }
        }
        PlotFormat() = format;
        if (fault)
            throw *fault;
    });
}

void WritePlotFormat() {
    Attempt("Writing plot options", [] {
        for (const Key& key : keys)
            WriteIniString(section, key.name, TextOf(key.place(PlotFormat())), SettingsFilePath());
    });
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

std::optional<SettingRange> PlotFormatSettingRange(const std::string& key) {
    for (const Key& known : keys)
        if (EqualIgnoringCase(known.name, key))
            return SettingRange{known.lower, known.upper, known.name + std::string(": Out of range"), true};
    return std::nullopt;
}

}  // namespace vorela
