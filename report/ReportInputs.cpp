#include <utility>

#include "analysis/modExact.h"
#include "analysis/modIntervalInfo.h"
#include "general/NumberText.h"
#include "report/ReportParts.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

/// Caption and value of each input.
using InputTexts = std::vector<std::pair<std::string, std::string>>;

std::string YesNo(bool on) {
    return on ? "yes" : "no";
}

template <typename Names>
std::string NameOf(const Names& names, std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < names.size()
               ? names[static_cast<std::size_t>(index)]
               : std::to_string(index);
}

std::string SpinnerName(std::int32_t type) {
    const auto& types = SpinnerTypes();
    const bool known = type >= 0 && static_cast<std::size_t>(type) < types.size();
    return known ? types[static_cast<std::size_t>(type)].name : std::to_string(type);
}

InputTexts WellInputs(const ParameterSet& set, bool withSlope) {
    InputTexts inputs{{"Period of test (seconds)", ShortestText(set.period)},
                      {"Use period in match", YesNo(set.usePeriodInMatch != 0)},
                      {"Band pass filter", YesNo(set.bandPass != 0)},
                      {"Number of times to apply the filter", std::to_string(set.filterN)},
                      {"Casing internal diameter (inches)", ShortestText(set.casingID)},
                      {"Total open depth (ft)", ShortestText(set.td)},
                      {"Compressibility of fluid in well (1/psi)", ShortestText(set.compressibility)},
                      {"Spinner type", SpinnerName(set.spinner)},
                      {"Formation volume factor (rb/stb)", ShortestText(set.b0)},
                      {"Borehole diameter (inches)", ShortestText(set.dw)},
                      {"Dravik flow filter", NameOf(SpinnerFilterTypes(), set.dFilt)},
                      {"Length of the Dravik flow filter (seconds)", ShortestText(set.dLen)}};
    if (withSlope)
        inputs.insert(inputs.begin() + 8, {"Spinner slope (rps/ft/min)", ShortestText(set.slope)});
    return inputs;
}

InputTexts ExactInputs(const ExactSettings& settings) {
    const auto cycle = [](std::int32_t number) { return number == 0 ? "automatic" : std::to_string(number); };
    return {{"First cycle of the exact analysis", cycle(settings.firstCycle)},
            {"Last cycle of the exact analysis", cycle(settings.lastCycle)},
            {"Highest harmonic", std::to_string(settings.harmonics)},
            {"Confidence of the ranges (%)", ShortestText(settings.confidence)},
            {"Standard error of the well fluid's compressibility (%)",
             settings.compressibilityError < 0 ? "not known" : ShortestText(settings.compressibilityError)}};
}

ReportTable Marked(const char* caption, const InputTexts& inputs, const InputTexts& defaults) {
    ReportTable table{caption, {{"Input", "Value", ""}}};
    for (std::size_t i = 0; i < inputs.size(); ++i)
        table.rows.push_back({inputs[i].first, inputs[i].second,
                              inputs[i].second == defaults.at(i).second ? defaultMark : ""});
    return table;
}

ReportTable IntervalInputs() {
    ReportTable table{
        "Inputs of the intervals",
        {{"Interval (ft)", "Porosity (v/v)", "Viscosity (cP)", "Compressibility (1/psi)", "Height (ft)"}}};
    const std::vector<IntervalParameters>& entries = CurrentParameters().intervals;
    const IntervalParameters preset;
    for (std::size_t i = 1; i <= IntervalCount(); ++i) {
        const IntervalParameters entry = i < entries.size() ? entries[i] : preset;
        std::vector<std::string> row{CurrentIntervals()[i].label};
        for (const IntervalField field : {&IntervalParameters::porosity, &IntervalParameters::viscosity,
                                          &IntervalParameters::ct, &IntervalParameters::height})
            row.push_back(ShortestText(entry.*field) +
                          (entry.*field == preset.*field ? std::string(" (") + defaultMark + ")" : ""));
        table.rows.push_back(std::move(row));
    }
    return table;
}

}  // namespace

ReportSection InputSection() {
    ReportSection section{"Inputs", 1, true};
    section.blocks.emplace_back(ReportText{
        "An input marked \"default\" still has the value that the program begins with: whether it holds "
        "for this well has to be checked."});
    const ParameterSet& set = CurrentParameters();
    const bool withSlope = set.spinner == userDefinedSpinner;
    section.blocks.emplace_back(
        Marked("Well and analysis", WellInputs(set, withSlope), WellInputs(ParameterSet{}, withSlope)));
    if (IntervalCount() > 0)
        section.blocks.emplace_back(IntervalInputs());
    section.blocks.emplace_back(
        Marked("Exact analysis", ExactInputs(CurrentExactSettings()), ExactInputs({})));
    return section;
}

}  // namespace vorela
