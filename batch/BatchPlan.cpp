#include "batch/BatchPlan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "analysis/modPlan.h"
#include "batch/BatchReport.h"
#include "batch/BatchStop.h"
#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

using Json = nlohmann::ordered_json;
using TextTable = std::vector<std::vector<std::string>>;

// --- Inputs ---

void Take(PlanInputs& inputs, const std::string& name, const std::string& value) {
    if (const std::string fault = SetPlanInput(inputs, name, value); !fault.empty())
        throw Stop{exit_status::badUsage, "--plan: " + fault};
}

/// Parameters that were given are the plan's defaults. The program's own settings file is not asked: a plan
/// for another well must not follow what was looked at last.
void TakeParameters(PlanInputs& inputs) {
    const auto given = [](const char* section, const char* key) {
        return ReadIniString(section, key, "", SettingsFilePath());
    };
    for (const PlanField& field : PlanFields())
        if (field.parameter != nullptr)
            if (const std::string text = given("Parameters", field.parameter); !text.empty())
                Take(inputs, field.name, text);
    if (const std::string text = given("Exact", "CompressibilityError"); !text.empty())
        Take(inputs, "compressibilityError", text);
}

void TakeAssignments(PlanInputs& inputs, const std::string& list) {
    std::size_t from = 0;
    while (from <= list.size()) {
        const std::size_t comma = std::min(list.find(',', from), list.size());
        const std::string part = list.substr(from, comma - from);
        const std::size_t equals = part.find('=');
        if (equals == std::string::npos)
            throw Stop{exit_status::badUsage, "--plan " + part + ": NAME=VALUE is needed"};
        Take(inputs, Trimmed(part.substr(0, equals)), Trimmed(part.substr(equals + 1)));
        from = comma + 1;
    }
}

PlanInputs InputsOf(const BatchOptions& options) {
    PlanInputs inputs;
    TakeParameters(inputs);
    for (const std::string& list : options.plan)
        TakeAssignments(inputs, list);
    if (const std::string fault = PlanFault(inputs); !fault.empty())
        throw Stop{exit_status::badUsage, "--plan: " + fault};
    return inputs;
}

// --- JSON ---

Json Number(const std::optional<double>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json ErrorsJson(const std::optional<PlanErrors>& errors) {
    if (!errors)
        return nullptr;
    return {{"sigmaLnPermeability", Number(errors->estimate.sigmaLnPermeability)},
            {"sigmaSkin", Number(errors->estimate.sigmaSkin)},
            {"correlation", Number(errors->estimate.correlation)},
            {"harmonics", errors->harmonics}};
}

Json LevelJson(const PlanLevel& level) {
    return {{"pressure", level.pressure},
            {"flow", level.flow},
            {"variance", level.variance},
            {"shareGauge", level.shareGauge}};
}

std::string PlanJson(const PlanInputs& inputs, const PlanResult& plan) {
    Json json{{"inputs", Json::object()},
              {"lag", plan.lag},
              {"radius", plan.radius},
              {"penetration", plan.penetration},
              {"levels", Json::array()}};
    for (const PlanField& field : PlanFields())
        json["inputs"][field.name] = inputs.*field.field;
    json["inputs"]["wanted"] = Number(inputs.wanted);
    for (const PlanHarmonic& harmonic : plan.harmonics)
        json["levels"].push_back({{"harmonic", harmonic.number},
                                  {"upper", LevelJson(harmonic.upper)},
                                  {"lower", LevelJson(harmonic.lower)}});
    json["single"] = ErrorsJson(plan.single);
    json["joint"] = ErrorsJson(plan.joint);
    json["storage"] = ErrorsJson(plan.storage);
    json["constrained"] = ErrorsJson(plan.constrained);
    json["recommended"] = MethodName(plan.recommended);
    json["cyclesWanted"] = plan.cyclesWanted ? Json(*plan.cyclesWanted) : Json(nullptr);
    json["hoursOnLevel"] = plan.hoursOnLevel;
    constexpr int indentation = 2;
    return json.dump(indentation) + "\n";
}

// --- Table ---

std::string Cell(const std::optional<double>& value) {
    return value ? FormatNumber(*value) : "-";
}

std::string RangeText(const ExactRange& range) {
    return Cell(range.lower) + " to " + (range.upper ? FormatNumber(*range.upper) : "no limit");
}

TextTable LevelRows(const PlanResult& plan) {
    TextTable rows{{"Harmonic", "Level", "Pressure (psi)", "Flow (rps)", "Error of index (bbl/day/psi)",
                    "By the gauge (%)", "Takes part"}};
    constexpr double percent = 100.0;
    for (const PlanHarmonic& harmonic : plan.harmonics)
        for (const auto& [name, level] : {std::pair("upper", harmonic.upper), {"lower", harmonic.lower}})
            rows.push_back({std::to_string(harmonic.number), name, FormatNumber(level.pressure),
                            FormatNumber(level.flow), FormatNumber(std::sqrt(level.variance / 2.0)),
                            FormatNumber(percent * level.shareGauge), harmonic.used ? "yes" : "no"});
    return rows;
}

TextTable MethodRows(const PlanResult& plan) {
    TextTable rows{{"Method", "Error of ln k", "Error of skin", "k (mD), 95 %", "Skin, 95 %"}};
    const auto add = [&](ExactMethod method, const std::optional<PlanErrors>& errors) {
        if (!errors)
            return;
        const ExactEstimate& e = errors->estimate;
        rows.push_back({MethodName(method) + std::string(method == plan.recommended ? " (recommended)" : ""),
                        Cell(e.sigmaLnPermeability), Cell(e.sigmaSkin), RangeText(e.permeabilityRange),
                        RangeText(e.skinRange)});
    };
    add(ExactMethod::single, plan.single);
    add(ExactMethod::joint, plan.joint);
    add(ExactMethod::storage, plan.storage);
    add(ExactMethod::constrained, plan.constrained);
    return rows;
}

TextTable PeriodRows(const PlanInputs& inputs) {
    TextTable rows{
        {"Period (s)", "Cycles", "Lag (degrees)", "Radius (ft)", "Error of ln k", "Error of skin", "Method"}};
    for (const PlanPoint& point : PlanOverPeriods(inputs)) {
        std::vector<std::string> row{FormatNumber(point.period), FormatNumber(std::max(0.0, point.cycles))};
        if (point.result) {
            const PlanErrors& best = point.result->Recommended();
            row.insert(row.end(), {FormatNumber(point.result->lag), FormatNumber(point.result->radius),
                                   Cell(best.estimate.sigmaLnPermeability), Cell(best.estimate.sigmaSkin),
                                   MethodName(point.result->recommended)});
        } else {
            row.insert(row.end(), {"-", "-", "-", "-", "time for less than 2 cycles"});
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string PlanText(const PlanInputs& inputs, const PlanResult& plan) {
    std::string text =
        Aligned({{"Lag (degrees)", FormatNumber(plan.lag)},
                 {"Radius of investigation (ft)", FormatNumber(plan.radius)},
                 {"Grade", std::string(1, plan.grade)},
                 {"Cycles for the error wanted",
                  plan.cyclesWanted ? std::to_string(*plan.cyclesWanted) : std::string("-")},
                 {"Hours on each level", FormatNumber(plan.hoursOnLevel)},
                 {"Error of the well fluid's compressibility (1/psi)", Cell(plan.compressibilitySigma)}});
    text += "\n" + Aligned(LevelRows(plan)) + "\n" + Aligned(MethodRows(plan)) + "\n";
    for (const std::string& message : plan.messages)
        text += message + "\n";
    return text + "\nOther periods at the same time on the level:\n" + Aligned(PeriodRows(inputs));
}

}  // namespace

int RunPlan(const BatchOptions& options) {
    SetSettingsFilePath(options.settingsFile.value_or(""));
    SettingsOverlay overlay;
    for (const SettingValue& setting : options.settings)
        overlay.Set(setting.section, setting.key, setting.value);
    const PlanInputs inputs = InputsOf(options);
    const PlanResult plan = PlanTest(inputs);
    bool allWell = true;
    if (options.jsonFile && !options.JsonToStandardOutput())
        allWell = Attempt("Saving the plan",
                          [&] { WriteFileAtomically(*options.jsonFile, PlanJson(inputs, plan)); });
    const std::string shown =
        options.JsonToStandardOutput() ? PlanJson(inputs, plan) : PlanText(inputs, plan);
    if (std::fputs(shown.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        Say("standard output: the plan could not be written");
        allWell = false;
    }
    return allWell ? exit_status::done : exit_status::failed;
}

}  // namespace vorela
