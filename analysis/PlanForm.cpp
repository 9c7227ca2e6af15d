#include "analysis/PlanForm.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr const char* section = "Plan";
constexpr const char* wanted = "wanted";

const PlanField* FieldOf(const std::string& input) {
    const auto fields = PlanFields();
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](const PlanField& field) { return input == field.name; });
    return found == fields.end() ? nullptr : &*found;
}

std::string Capitalised(std::string name) {
    if (name.front() >= 'a' && name.front() <= 'z')
        name.front() = static_cast<char>(name.front() - 'a' + 'A');
    return name;
}

std::string StoredText(const std::string& input) {
    return ReadIniString(section, Capitalised(input), "", SettingsFilePath());
}

/// What stands in a box that was never kept.
std::string FirstText(const PlanField& field) {
    if (std::string text = PlanParameterText(field); !text.empty())
        return text;
    const double value = PlanInputs{}.*field.field;
    return std::isnan(value) ? std::string() : ShortestText(value);
}

std::string TextOf(const PlanForm& form, const std::string& input) {
    const auto found = form.find(input);
    return found == form.end() ? std::string() : found->second;
}

/// What is wrong with one box, said as the other dialogs do; "" when nothing.
std::string FaultOfBox(const PlanBox& box, const std::string& text, PlanInputs& inputs) {
    const std::string caption = box.caption;
    if (box.input == std::string(wanted)) {
        double value = 0.0;
        if (Trimmed(text).empty()) {
            inputs.wanted.reset();
        } else if (CheckRange({text}, leastWantedError, mostWantedError, value)) {
            inputs.wanted = value;
        } else {
            return caption + ": Out of range";
        }
        return {};
    }
    const PlanField& field = *FieldOf(box.input);
    // The slope is asked of one type of spinner only; for the others its box is closed.
    if (field.field == &PlanInputs::slope && inputs.spinner != userDefinedSpinner)
        return {};
    if (Trimmed(text).empty())
        return caption + ": a value is needed";
    double value = 0.0;
    if (!CheckRange({text}, field.lower, field.upper, value))
        return caption + ": Out of range";
    if (field.whole && std::trunc(value) != value)
        return caption + ": a whole number is needed";
    inputs.*field.field = value;
    return {};
}

}  // namespace

std::span<const PlanBox> PlanBoxes() {
    using G = PlanGroup;
    static const std::array<PlanBox, 29> boxes{{
        {G::interval, "k", "Permeability", "mD"},
        {G::interval, "skin", "Skin", ""},
        {G::interval, "height", "Height", "ft"},
        {G::interval, "porosity", "Porosity", "v/v"},
        {G::interval, "viscosity", "Viscosity", "cP"},
        {G::interval, "ct", "Total compressibility", "1/psi"},
        {G::below, "kBelow", "Permeability below", "mD"},
        {G::below, "skinBelow", "Skin below", ""},
        {G::below, "heightBelow", "Height below", "ft"},
        {G::well, "depth1", "Upper level", "ft"},
        {G::well, "depth2", "Lower level", "ft"},
        {G::well, "td", "Total depth", "ft"},
        {G::well, "casing", "Casing ID", "in"},
        {G::well, "dw", "Borehole diameter", "in"},
        {G::well, "compressibility", "Fluid compressibility", "1/psi"},
        {G::well, "compressibilityError", "Its error (-1: not known)", "%"},
        {G::tools, "spinner", "Spinner", ""},
        {G::tools, "slope", "Spinner slope", "rps/ft/min"},
        {G::tools, "gauge", "Noise of gauge", "psi"},
        {G::tools, "flow", "Noise of spinner", "rps"},
        {G::tools, "gaugeCorner", "1/f corner of gauge", "1/s"},
        {G::tools, "flowCorner", "1/f corner of spinner", "1/s"},
        {G::test, "period", "Period of test", "s"},
        {G::test, "cycles", "Cycles used", ""},
        {G::test, "step", "Sampling step", "s"},
        {G::test, "amplitude", "Half the valve's swing", "bbl/day"},
        {G::test, "ramp", "Length of valve edges", "s"},
        {G::test, "ownValve", "Valve travels with the tool", ""},
        {G::test, wanted, "Wanted error of ln k", ""},
    }};
    return boxes;
}

const char* PlanGroupName(PlanGroup group) {
    constexpr std::array<const char*, planGroupCount> names{"Interval", "Layers below", "Well", "Tools",
                                                            "Test"};
    return names.at(static_cast<std::size_t>(group));
}

std::string PlanControlName(const std::string& input) {
    return "txt" + Capitalised(input);
}

std::string PlanMeaning(const std::string& input) {
    const PlanField* const field = FieldOf(input);
    const auto range = [](double lower, double upper) {
        return " (" + ShortestText(lower) + " to " + ShortestText(upper) + ")";
    };
    return field == nullptr
               ? "standard error of ln k that the test shall reach; 0.05 is 5 % of permeability" +
                     range(leastWantedError, mostWantedError) + "; may be empty"
               : field->meaning + range(field->lower, field->upper);
}

std::string PlanParameterText(const PlanField& field) {
    if (field.field == &PlanInputs::compressibilityError)
        return ReadIniString("Exact", "CompressibilityError", "", SettingsFilePath());
    return field.parameter == nullptr ? std::string()
                                      : ReadIniString("Parameters", field.parameter, "", SettingsFilePath());
}

PlanForm ShowPlan() {
    PlanForm form{{wanted, StoredText(wanted)}};
    for (const PlanField& field : PlanFields()) {
        const std::string stored = StoredText(field.name);
        form[field.name] = stored.empty() ? FirstText(field) : stored;
    }
    return form;
}

std::optional<Refusal> ValidatePlan(const PlanForm& form, PlanInputs& inputs) {
    PlanInputs taken;
    for (const PlanBox& box : PlanBoxes())
        if (std::string fault = FaultOfBox(box, TextOf(form, box.input), taken); !fault.empty())
            return Refusal{PlanControlName(box.input), std::move(fault)};
    if (const auto fault = FaultOfPlan(taken)) {
        const auto boxes = PlanBoxes();
        const auto box = std::find_if(boxes.begin(), boxes.end(), [&](const PlanBox& one) {
            return std::string(one.input) == fault->input;
        });
        return Refusal{PlanControlName(fault->input), std::string(box->caption) + ": " + fault->text};
    }
    inputs = taken;
    return std::nullopt;
}

void KeepPlan(const PlanForm& form) {
    Attempt("Writing parameters", [&] {
        for (const PlanBox& box : PlanBoxes())
            WriteIniString(section, Capitalised(box.input), TextOf(form, box.input), SettingsFilePath());
    });
}

TextRows PlanReport(const PlanForm& form, const PlanResult& plan, const std::vector<PlanPoint>& points) {
    TextRows report{{"Plan of a test", "Value", "Unit"}};
    for (const PlanBox& box : PlanBoxes())
        report.push_back({box.caption, TextOf(form, box.input), box.unit});
    TextRows messages;
    for (const std::string& message : plan.messages)
        messages.push_back({message});
    for (const TextRows& table : {PlanSummaryRows(plan), messages, PlanLevelRows(plan), PlanMethodRows(plan),
                                  PlanPeriodRows(points)}) {
        if (table.empty())
            continue;
        report.emplace_back();
        report.insert(report.end(), table.begin(), table.end());
    }
    return report;
}

}  // namespace vorela
