#include "batch/BatchExact.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

namespace vorela {
namespace {

using Json = nlohmann::ordered_json;

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
              {"budget", BudgetJson(interval.budget)}};
    for (const ExactHarmonic& harmonic : interval.harmonics) {
        Json item = HarmonicJson(harmonic);
        item["used"] = harmonic.used;
        json["harmonics"].push_back(std::move(item));
    }
    return json;
}

}  // namespace

Json BudgetJson(const std::vector<ExactBudgetLine>& budget) {
    Json json = Json::array();
    for (const ExactBudgetLine& line : budget)
        json.push_back({{"input", line.input},
                        {"step", line.step},
                        {"lnPermeability", Number(line.lnPermeability)},
                        {"skin", Number(line.skin)}});
    return json;
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
