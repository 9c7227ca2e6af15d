#include "batch/BatchExact.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

#include "general/NumberText.h"

namespace vorela {
namespace {

using Json = nlohmann::ordered_json;

// --- Table ---

std::string Cell(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? FormatNumber(*value) : "-";
}

std::string RangeCell(const ExactRange& range) {
    if (!range.lower && !range.upper)
        return "-";
    if (!range.upper)
        return "from " + Cell(range.lower);
    return (range.lower ? Cell(range.lower) : "") + " to " + Cell(range.upper);
}

// --- JSON ---

Json Number(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? Json(*value) : Json(nullptr);
}

Json Grade(const std::optional<char>& grade) {
    return grade ? Json(std::string(1, *grade)) : Json(nullptr);
}

Json RangeJson(const ExactRange& range) {
    return Json::array({Number(range.lower), Number(range.upper)});
}

Json EstimateJson(const ExactEstimate& estimate) {
    return {{"permeability", Number(estimate.permeability)},
            {"skin", Number(estimate.skin)},
            {"sigmaLnPermeability", Number(estimate.sigmaLnPermeability)},
            {"sigmaSkin", Number(estimate.sigmaSkin)},
            {"correlation", Number(estimate.correlation)},
            {"permeabilityRange", RangeJson(estimate.permeabilityRange)},
            {"skinRange", RangeJson(estimate.skinRange)},
            {"degreesOfFreedom", Number(estimate.degreesOfFreedom)},
            {"x", Number(estimate.x)},
            {"pValue", Number(estimate.pValue)}};
}

Json EstimateJson(const std::optional<ExactEstimate>& estimate) {
    return estimate ? EstimateJson(*estimate) : Json(nullptr);
}

Json HarmonicJson(const ExactHarmonic& harmonic) {
    return {{"number", harmonic.number},
            {"real", Number(harmonic.index.real())},
            {"imag", Number(harmonic.index.imag())},
            {"sigma", Number(harmonic.sigma)}};
}

Json CycleJson(const ExactCycle& cycle) {
    return {{"number", cycle.number},
            {"grade", Grade(cycle.grade)},
            {"snrPressure", Number(cycle.snrPressure)},
            {"snrFlow", Number(cycle.snrFlow)},
            {"phaseSigma", Number(cycle.phaseSigma)},
            {"deviation", Number(cycle.deviation)},
            {"drift", Number(cycle.drift)},
            {"periodError", Number(cycle.periodError)},
            {"periods", cycle.periods},
            {"filled", Number(cycle.filled)}};
}

Json LevelJson(const ExactLevel& level) {
    const bool used = level.firstCycle > 0;
    Json json{{"dataset", level.dataset},
              {"firstCycle", used ? Json(level.firstCycle) : Json(nullptr)},
              {"lastCycle", used ? Json(level.lastCycle) : Json(nullptr)},
              {"period", used ? Json(level.period) : Json(nullptr)},
              {"degreesOfFreedom", Number(level.degreesOfFreedom)},
              {"harmonics", Json::array()},
              {"cycles", Json::array()}};
    for (const ExactHarmonic& harmonic : level.harmonics) {
        Json item = HarmonicJson(harmonic);
        item["snr"] = Number(harmonic.SignalToNoise());
        json["harmonics"].push_back(std::move(item));
    }
    for (const ExactCycle& cycle : level.cycles)
        json["cycles"].push_back(CycleJson(cycle));
    return json;
}

Json IntervalJson(const ExactInterval& interval) {
    const bool some = interval.recommended != ExactMethod::none;
    Json json{{"label", interval.label},
              {"recommended", some ? Json(MethodName(interval.recommended)) : Json(nullptr)},
              {"grade", Grade(interval.grade)},
              {"messages", interval.messages},
              {"harmonics", Json::array()},
              {"single", EstimateJson(interval.single)},
              {"joint", EstimateJson(interval.joint)},
              {"storage", EstimateJson(interval.storage)},
              {"constrained", EstimateJson(interval.constrained)},
              {"enlargedWell", EstimateJson(interval.enlargedWell)},
              {"apparentCompressibility", Number(interval.apparentCompressibility)},
              {"apparentCompressibilitySigma", Number(interval.apparentCompressibilitySigma)},
              {"budget", Json::array()}};
    for (const ExactHarmonic& harmonic : interval.harmonics) {
        Json item = HarmonicJson(harmonic);
        item["used"] = harmonic.used;
        json["harmonics"].push_back(std::move(item));
    }
    for (const ExactBudgetLine& line : interval.budget)
        json["budget"].push_back({{"input", line.input},
                                  {"step", line.step},
                                  {"lnPermeability", Number(line.lnPermeability)},
                                  {"skin", Number(line.skin)}});
    return json;
}

}  // namespace

std::vector<std::vector<std::string>> ExactRows(const ExactResults& results) {
    std::vector<std::vector<std::string>> rows;
    for (const ExactInterval& interval : results.intervals) {
        const ExactEstimate none;
        const ExactEstimate& shown = interval.Recommended() != nullptr ? *interval.Recommended() : none;
        std::optional<double> sigma;
        if (shown.permeability && shown.sigmaLnPermeability)
            sigma = *shown.permeability * *shown.sigmaLnPermeability;
        rows.push_back(
            {interval.label, Cell(shown.permeability), Cell(sigma), RangeCell(shown.permeabilityRange),
             Cell(shown.skin), Cell(shown.sigmaSkin), RangeCell(shown.skinRange),
             interval.grade ? std::string(1, *interval.grade) : std::string("-"), Cell(shown.pValue),
             interval.recommended == ExactMethod::none ? "-" : MethodName(interval.recommended)});
    }
    if (!rows.empty())
        rows.insert(rows.begin(), {"Exact: interval (ft)", "k (mD)", "+-", "range", "Skin", "+-", "range",
                                   "Grade", "p", "Method"});
    return rows;
}

std::vector<std::string> ExactMessages(const ExactResults& results) {
    std::vector<std::string> lines;
    for (const ExactInterval& interval : results.intervals)
        for (const std::string& message : interval.messages)
            lines.push_back(interval.label + ": " + message);
    return lines;
}

Json ExactJson(const ExactResults& results) {
    Json json{{"levels", Json::array()}, {"intervals", Json::array()}};
    for (const ExactLevel& level : results.levels)
        json["levels"].push_back(LevelJson(level));
    for (const ExactInterval& interval : results.intervals)
        json["intervals"].push_back(IntervalJson(interval));
    return json;
}

}  // namespace vorela
