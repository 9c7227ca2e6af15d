#include "batch/BatchPlan.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "analysis/PlanForm.h"
#include "analysis/PlanTables.h"
#include "batch/BatchReport.h"
#include "batch/BatchStop.h"
#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

using Json = nlohmann::ordered_json;

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

std::string PlanText(const PlanInputs& inputs, const PlanResult& plan) {
    std::string text = Aligned(PlanSummaryRows(plan)) + "\n" + Aligned(PlanLevelRows(plan)) + "\n" +
                       Aligned(PlanMethodRows(plan)) + "\n";
    for (const std::string& message : plan.messages)
        text += message + "\n";
    return text + "\nOther periods at the same time on the level:\n" +
           Aligned(PlanPeriodRows(PlanOverPeriods(inputs)));
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
