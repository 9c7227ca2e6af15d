#include "batch/BatchPlan.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "analysis/PlanForm.h"
#include "analysis/PlanTables.h"
#include "batch/BatchExact.h"
#include "batch/BatchReport.h"
#include "batch/BatchStop.h"
#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/Version.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

using Json = nlohmann::ordered_json;
/// As `schema` of the results: docs/schema, the second number rises with a new key.
constexpr const char* planSchema = "vorela-plan/1.0";

// --- Inputs ---

void Take(PlanInputs& inputs, const std::string& name, const std::string& value) {
    if (const std::string fault = SetPlanInput(inputs, name, value); !fault.empty())
        throw Stop{exit_status::badUsage, "--plan: " + fault};
}

/// Parameters that were given are the plan's defaults. The program's own settings file is not asked: a plan
/// for another well must not follow what was looked at last.
void TakeParameters(PlanInputs& inputs) {
    for (const PlanField& field : PlanFields())
        if (const std::string text = PlanParameterText(field); !text.empty())
            Take(inputs, field.name, text);
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
    if (const auto fault = FaultOfPlan(inputs))
        throw Stop{exit_status::badUsage, std::string("--plan: ") + fault->input + ": " + fault->text};
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

Json HarmonicJson(const PlanHarmonic& harmonic) {
    return {{"harmonic", harmonic.number},
            {"upper", LevelJson(harmonic.upper)},
            {"lower", LevelJson(harmonic.lower)},
            {"used", harmonic.used}};
}

Json CyclesWanted(const PlanResult& plan) {
    return plan.cyclesWanted ? Json(*plan.cyclesWanted) : Json(nullptr);
}

/// The line of a period in the table; without a result its values are null and `fault` says why.
Json PeriodJson(const PlanPoint& point) {
    Json json{{"period", point.period}, {"cycles", std::max(0.0, point.cycles)}, {"fault", nullptr}};
    if (!point.result) {
        json["fault"] = point.fault;
        for (const char* key : {"lag", "radius", "pressure", "flow", "sigmaLnPermeability", "sigmaSkin",
                                "recommended", "cyclesWanted", "hoursOnLevel"})
            json[key] = nullptr;
        return json;
    }
    const PlanResult& plan = *point.result;
    const PlanLevel& upper = plan.harmonics.front().upper;
    const ExactEstimate& best = plan.Recommended().estimate;
    json.update({{"lag", plan.lag},
                 {"radius", plan.radius},
                 {"pressure", upper.pressure},
                 {"flow", upper.flow},
                 {"sigmaLnPermeability", Number(best.sigmaLnPermeability)},
                 {"sigmaSkin", Number(best.sigmaSkin)},
                 {"recommended", MethodName(plan.recommended)},
                 {"cyclesWanted", CyclesWanted(plan)},
                 {"hoursOnLevel", plan.hoursOnLevel}});
    return json;
}

Json InputsJson(const PlanInputs& inputs) {
    Json json;
    for (const PlanField& field : PlanFields())
        json[field.name] = inputs.*field.field;
    json["wanted"] = Number(inputs.wanted);
    return json;
}

std::string PlanJson(const PlanInputs& inputs, const PlanResult& plan) {
    Json json{{"schema", planSchema},
              {"program", VersionLine("vorela-batch")},
              {"inputs", InputsJson(inputs)},
              {"lag", plan.lag},
              {"radius", plan.radius},
              {"penetration", plan.penetration},
              {"grade", std::string(1, plan.grade)},
              {"levels", Json::array()},
              {"single", ErrorsJson(plan.single)},
              {"joint", ErrorsJson(plan.joint)},
              {"storage", ErrorsJson(plan.storage)},
              {"constrained", ErrorsJson(plan.constrained)},
              {"recommended", MethodName(plan.recommended)},
              {"apparentCompressibilitySigma", Number(plan.compressibilitySigma)},
              {"cyclesWanted", CyclesWanted(plan)},
              {"hoursOnLevel", plan.hoursOnLevel},
              {"budget", BudgetJson(plan.budget)},
              {"messages", plan.messages},
              {"periods", Json::array()}};
    for (const PlanHarmonic& harmonic : plan.harmonics)
        json["levels"].push_back(HarmonicJson(harmonic));
    for (const PlanPoint& point : PlanOverPeriods(inputs))
        json["periods"].push_back(PeriodJson(point));
    constexpr int indentation = 2;
    return json.dump(indentation) + "\n";
}

// --- Table ---

std::string PlanText(const PlanInputs& inputs, const PlanResult& plan) {
    std::string text = Aligned(PlanSummaryRows(plan)) + "\n" + Aligned(PlanLevelRows(plan)) + "\n" +
                       Aligned(PlanMethodRows(plan));
    for (const std::string& message : plan.messages)
        text += (&message == &plan.messages.front() ? "\n" : "") + message + "\n";
    return text + "\nOther periods at the same time on the level:\n" +
           Aligned(PlanPeriodRows(PlanOverPeriods(inputs)));
}

}  // namespace

int RunPlan(const BatchOptions& options) {
    SetSettingsFilePath(options.settingsFile.value_or(""));
    SettingsOverlay overlay;
    for (const SettingValue& setting : options.settings)
        overlay.Set(setting.section, setting.key, setting.value);
    if (options.settingsFile)
        SayOfSettings(options);
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
