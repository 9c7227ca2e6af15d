#include "analysis/modPlan.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "analysis/ExactFit.h"
#include "analysis/ExactInterval.h"
#include "analysis/ExactLayer.h"
#include "analysis/modIntervalInfo.h"
#include "general/NumberText.h"
#include "general/RangeCheck.h"
#include "general/WellFunction.h"

namespace vorela {
namespace {

using Complex = std::complex<double>;
constexpr double degrees = 180.0 / std::numbers::pi;
constexpr double secondsPerHour = 3600.0;
constexpr double percent = 100.0;
constexpr double confidence = 95.0;
constexpr double marginPeriods = 2.0;  ///< one of start-up, half of one before and behind
constexpr std::array<int, 3> harmonicNumbers{1, 3, 5};

const std::array<PlanField, 27>& Fields() {
    using P = PlanInputs;
    static const std::array<PlanField, 27> fields{{
        {"k", &P::permeability, 1e-4, 1e7, "permeability of the interval, mD"},
        {"skin", &P::skin, -10, 1e4, "skin of the interval"},
        {"height", &P::height, 1e-3, 1e5, "height of the interval, ft", "1Height"},
        {"porosity", &P::porosity, 1e-4, 1, "porosity, v/v", "1Porosity"},
        {"viscosity", &P::viscosity, 1e-4, 1e5, "viscosity, cP", "1Viscosity"},
        {"ct", &P::ct, 1e-9, 1, "total compressibility, 1/psi", "1CT"},
        {"dw", &P::dw, 1, 10000, "borehole diameter, in", "DW"},
        {"kBelow", &P::kBelow, 0, 1e7, "permeability of the layers below (0: none), mD"},
        {"skinBelow", &P::skinBelow, -10, 1e4, "skin of the layers below"},
        {"heightBelow", &P::heightBelow, 1e-3, 1e5, "height of the layers below, ft"},
        {"depth1", &P::depth1, 0, 1e5, "depth of the upper level, ft"},
        {"depth2", &P::depth2, 0, 1e5, "depth of the lower level, ft"},
        {"td", &P::td, 1, 1e6, "total open depth, ft", "TD"},
        {"casing", &P::casing, 1.7, 10000, "casing ID, in", "CasingID"},
        {"compressibility", &P::compressibility, 0, 1, "compressibility of the well fluid, 1/psi",
         "Compressibility"},
        {"spinner", &P::spinner, 0, 3, "type of the spinner, as in the parameters", "Spinner", true},
        {"slope", &P::slope, 1e-4, 100, "spinner slope, rps/ft/min", "Slope"},
        {"period", &P::period, 1, 1e6, "period of test, s", "Period"},
        {"cycles", &P::cycles, 2, 1e6, "cycles used", nullptr, true},
        {"step", &P::step, 0.001, 1e4, "sampling step, s"},
        {"amplitude", &P::amplitude, 1e-6, 1e9, "half the swing of the valve's square wave, bbl/day"},
        {"ramp", &P::ramp, 0, 1e5, "length of the valve's edges, s"},
        {"ownValve", &P::ownValve, 0, 1, "1: the valve travels with the tool; 0: it stays at the upper level",
         nullptr, true},
        {"gauge", &P::gauge, 0, 1e6, "noise of the gauge, psi"},
        {"flow", &P::flow, 0, 1e6, "noise of the spinner, rps"},
        {"gaugeCorner", &P::gaugeCorner, 0, 1e6, "1/f noise of the gauge exceeds the white one below, 1/s"},
        {"flowCorner", &P::flowCorner, 0, 1e6, "1/f noise of the spinner exceeds the white one below, 1/s"},
    }};
    return fields;
}

const PlanField& ErrorField() {
    static const PlanField field{"compressibilityError", &PlanInputs::compressibilityError, -1, 1e6,
                                 "standard error of the well fluid's compressibility, % (-1: not known)"};
    return field;
}

// --- Indices, amplitudes, noise ---

ExactLayer LayerOf(const PlanInputs& inputs) {
    return {inputs.height, inputs.porosity, inputs.viscosity, inputs.ct, inputs.dw, inputs.period};
}

/// What flows past the lower level without the storage of the well.
Complex BelowIndex(const PlanInputs& inputs, int harmonic) {
    if (inputs.kBelow == 0.0)
        return {};
    ExactLayer below = LayerOf(inputs);
    below.height = inputs.heightBelow;
    return ThinSkinIndex(below, harmonic, {inputs.kBelow, inputs.skinBelow}).index;
}

/// Past the upper and the lower level.
struct LevelIndices {
    Complex interval, upper, lower;
};
LevelIndices IndicesOf(const PlanInputs& inputs, int harmonic) {
    const ExactLayer layer = LayerOf(inputs);
    const Complex below = BelowIndex(inputs, harmonic);
    const auto storage = [&](double depth) {
        return Complex{0.0, OmegaPerDay(layer, harmonic) * inputs.compressibility *
                                BarrelsOfWell(inputs.casing, inputs.td - depth)};
    };
    const Complex own = ThinSkinIndex(layer, harmonic, {inputs.permeability, inputs.skin}).index;
    return {own, own + below + storage(inputs.depth1), below + storage(inputs.depth2)};
}

double FactorOfSpinner(const PlanInputs& inputs) {
    return FlowConversion(static_cast<int>(inputs.spinner), inputs.casing, inputs.slope);
}

/// Amplitude of a harmonic of the valve's wave at the valve, bbl/day.
double ValveAmplitude(const PlanInputs& inputs, int harmonic) {
    const double angle = std::numbers::pi * harmonic * inputs.ramp / inputs.period;
    const double edge = angle == 0.0 ? 1.0 : std::abs(std::sin(angle) / angle);
    return 4.0 * inputs.amplitude / (std::numbers::pi * harmonic) * edge;
}

PlanLevel LevelAt(const PlanInputs& inputs, int harmonic, Complex own, Complex atValve) {
    const double factor = FactorOfSpinner(inputs);
    const double perSample = 4.0 * inputs.step / (inputs.cycles * inputs.period);
    const auto noise = [&](double white, double corner) {
        return perSample * white * white * (1.0 + corner * inputs.period / harmonic);
    };
    PlanLevel level;
    level.pressure = ValveAmplitude(inputs, harmonic) / std::abs(atValve);
    level.flow = level.pressure * std::abs(own) / factor;
    const double byGauge = std::norm(own) * noise(inputs.gauge, inputs.gaugeCorner);
    const double bySpinner = factor * factor * noise(inputs.flow, inputs.flowCorner);
    level.variance = (byGauge + bySpinner) / (level.pressure * level.pressure);
    level.shareGauge = byGauge + bySpinner > 0.0 ? byGauge / (byGauge + bySpinner) : 0.0;
    return level;
}

FitHarmonic FitOf(const PlanHarmonic& harmonic, Complex index, double cycles) {
    const double degreesOfFreedom = 4.0 * std::min(std::floor(cycles / 2.0), 12.0);
    FitHarmonic fit;
    fit.number = harmonic.number;
    fit.index = index;
    fit.variance = harmonic.upper.variance + harmonic.lower.variance;
    if (fit.variance > 0.0)
        fit.parts = {{harmonic.upper.variance, degreesOfFreedom},
                     {harmonic.lower.variance, degreesOfFreedom}};
    return fit;
}

// --- Errors ---

/// The fundamental alone, in closed form.
PairCovariance SingleCovariance(const PlanInputs& inputs, const FitHarmonic& fundamental) {
    const ExactLayer layer = LayerOf(inputs);
    const double x = RadiusFactor(layer, 1) / std::sqrt(inputs.permeability);
    const Complex f = WellFunction(x);
    const Complex slope = WellFunctionSlope(x, f);
    const double growth = 2.0 + slope.imag() / f.imag();  // of ln G over ln X
    const double scatter = std::sqrt(fundamental.variance / 2.0);
    const double size = std::abs(fundamental.index);
    const double lnK = 2.0 / growth * scatter / fundamental.index.imag();
    const double a = inputs.skin + f.real() + slope.real() / 2.0;
    const double own = inputs.permeability * Mobility(layer) * scatter / (size * size);
    return {lnK * lnK, a * lnK * lnK, own * own + a * a * lnK * lnK};
}

PlanErrors ErrorsOf(const PlanInputs& inputs, const PairCovariance& covariance, double degreesOfFreedom,
                    std::vector<int> harmonics) {
    PlanErrors errors;
    errors.estimate.permeability = inputs.permeability;
    errors.estimate.skin = inputs.skin;
    errors.estimate.x = RadiusFactor(LayerOf(inputs), 1) / std::sqrt(inputs.permeability);
    SetErrors(errors.estimate, covariance, degreesOfFreedom, confidence);
    errors.harmonics = std::move(harmonics);
    return errors;
}

std::optional<PlanErrors> JointErrors(const PlanInputs& inputs, const std::vector<FitHarmonic>& harmonics,
                                      const StorageKnowledge& knowledge, double* sigmaStorage = nullptr) {
    const auto predicted =
        PredictJoint(LayerOf(inputs), {inputs.permeability, inputs.skin}, harmonics, knowledge);
    if (!predicted)
        return std::nullopt;
    std::vector<int> numbers;
    numbers.reserve(harmonics.size());
    for (const FitHarmonic& harmonic : harmonics)
        numbers.push_back(harmonic.number);
    if (sigmaStorage != nullptr)
        *sigmaStorage = predicted->sigmaStorage;
    return ErrorsOf(inputs, predicted->covariance, predicted->degreesOfFreedom, std::move(numbers));
}

void PutJoint(PlanResult& result, const PlanInputs& inputs, const std::vector<FitHarmonic>& used,
              const FitHarmonic& fundamental) {
    const double volume = BarrelsOfWell(inputs.casing, inputs.depth2 - inputs.depth1);
    if (used.size() >= 2) {
        result.joint = JointErrors(inputs, used, {});
        double sigma = 0.0;
        result.storage = JointErrors(inputs, used, {StorageKnowledge::free, 0.0}, &sigma);
        if (result.storage)
            result.compressibilitySigma = sigma / volume;
    }
    const double known = inputs.compressibilityError / percent * inputs.compressibility * volume;
    if (known > 0.0)
        result.constrained =
            JointErrors(inputs, used.size() >= 2 ? used : std::vector<FitHarmonic>{fundamental},
                        {StorageKnowledge::limited, known});
}

ExactMethod Recommend(const PlanResult& result, const PlanInputs& inputs) {
    if (result.constrained)
        return ExactMethod::constrained;
    if (inputs.compressibilityError == 0.0 && result.joint)
        return ExactMethod::joint;
    return result.storage ? ExactMethod::storage : ExactMethod::single;
}

// --- Advice ---

void PutTime(PlanResult& result, const PlanInputs& inputs) {
    double cycles = inputs.cycles;
    const std::optional<double> sigma = result.Recommended().estimate.sigmaLnPermeability;
    if (inputs.wanted && sigma) {
        const double ratio = *sigma / *inputs.wanted;
        cycles = std::max(2.0, std::ceil(inputs.cycles * ratio * ratio));
        constexpr double most = 1e15;
        result.cyclesWanted = static_cast<std::int64_t>(std::min(cycles, most));
    }
    result.hoursOnLevel = (cycles + marginPeriods) * inputs.period / secondsPerHour;
}

void PutMessages(PlanResult& result, const PlanInputs& inputs) {
    constexpr double samplesForASharpEdge = 1000.0;
    constexpr double stepsOfASoftEdge = 2.0;
    if (inputs.step > inputs.period / samplesForASharpEdge && inputs.ramp < stepsOfASoftEdge * inputs.step)
        result.messages.push_back("step is coarse for a sharp valve edge");
    const std::optional<double> sigma = result.Recommended().estimate.sigmaLnPermeability;
    for (const ExactBudgetLine& line : result.budget) {
        const bool byTheTools = line.input == "flow delay" || line.input == "flow calibration";
        if (byTheTools && line.lnPermeability && sigma && std::abs(*line.lnPermeability) > *sigma)
            result.messages.push_back(line.input + " of " + line.step + " changes permeability by " +
                                      FormatNumber(percent * std::abs(*line.lnPermeability)) +
                                      " %, more than the predicted error");
    }
    // Permeability is the inverse of what is measured: the predicted error is that of many like tests up to
    // here (within 15 %); above, some of them stray far upwards, and their skins with them.
    constexpr double largeError = 0.2;
    if (sigma && *sigma > largeError)
        result.messages.push_back(
            "an error of ln k above 0.2 lets results stray further up than down: go by the 95 % ranges");
    if (!result.storage)
        result.messages.push_back("without harmonics the result rests on the assumed well compressibility");
}

}  // namespace

std::span<const PlanField> PlanFields() {
    static const std::vector<PlanField> fields = [] {
        std::vector<PlanField> all(Fields().begin(), Fields().end());
        all.push_back(ErrorField());
        return all;
    }();
    return fields;
}

std::string SetPlanInput(PlanInputs& inputs, const std::string& name, const std::string& value) {
    if (EqualIgnoringCase(name, "wanted")) {
        const auto number = NumberInRange(value, leastWantedError, mostWantedError);
        if (!number)
            return "wanted: a standard error of ln k from 0.000001 to 10 is needed, not \"" + value + "\"";
        inputs.wanted = *number;
        return {};
    }
    for (const PlanField& field : PlanFields()) {
        if (!EqualIgnoringCase(name, field.name))
            continue;
        const auto number = NumberInRange(value, field.lower, field.upper);
        if (!number || (field.whole && std::trunc(*number) != *number))
            return std::string(field.name) + ": a " + (field.whole ? "whole " : "") + "number from " +
                   ShortestText(field.lower) + " to " + ShortestText(field.upper) + " is needed, not \"" +
                   value + "\"";
        inputs.*field.field = *number;
        return {};
    }
    return "there is no input \"" + name + "\" of a plan";
}

std::optional<PlanFault> FaultOfPlan(const PlanInputs& inputs) {
    if (std::isnan(inputs.permeability))
        return PlanFault{"k", "the permeability of the interval is needed"};
    if (std::isnan(inputs.skin))
        return PlanFault{"skin", "the skin of the interval is needed"};
    if (!(inputs.depth1 < inputs.depth2))
        return PlanFault{"depth1", "the upper level must lie above the lower one"};
    if (!(inputs.depth2 <= inputs.td))
        return PlanFault{"depth2", "both levels must lie above the total depth"};
    if (!(inputs.step <= inputs.period / 4.0))
        return PlanFault{"step", "a period needs four samples at least"};
    if (!(inputs.ramp <= inputs.period / 2.0))
        return PlanFault{"ramp", "an edge is half a period long at most"};
    if (inputs.compressibilityError < 0.0 && inputs.compressibilityError != -1.0)
        return PlanFault{"compressibilityError", "-1 (not known), 0 or more is needed"};
    if (inputs.gauge == 0.0 && inputs.flow == 0.0)
        return PlanFault{"gauge", "without any noise of gauge or spinner there is no error to predict"};
    const LevelIndices first = IndicesOf(inputs, 1);
    if (!(first.interval.imag() > 0.0 && std::abs(first.lower) > 0.0))
        return PlanFault{
            "kBelow", "nothing flows past the lower level: layers below or a compressible fluid are needed"};
    return std::nullopt;
}

const PlanErrors& PlanResult::Recommended() const {
    if (recommended == ExactMethod::joint && joint)
        return *joint;
    if (recommended == ExactMethod::storage && storage)
        return *storage;
    return recommended == ExactMethod::constrained && constrained ? *constrained : single;
}

PlanResult PlanTest(const PlanInputs& inputs) {
    constexpr double radiusOfPenetration = 1.5;
    constexpr double leastOfNoise = 5.0;
    PlanResult result;
    std::vector<FitHarmonic> used;
    FitHarmonic fundamental;
    for (const int n : harmonicNumbers) {
        const LevelIndices indices = IndicesOf(inputs, n);
        const bool own = inputs.ownValve != 0.0;
        PlanHarmonic harmonic{n, LevelAt(inputs, n, indices.upper, indices.upper),
                              LevelAt(inputs, n, indices.lower, own ? indices.lower : indices.upper), false};
        const FitHarmonic fit = FitOf(harmonic, indices.interval, inputs.cycles);
        harmonic.used = std::abs(fit.index) > leastOfNoise * std::sqrt(fit.variance);
        if (n == 1)
            fundamental = fit;
        if (harmonic.used && (n == 1 || !used.empty()))
            used.push_back(fit);
        result.harmonics.push_back(harmonic);
    }
    const ExactLayer layer = LayerOf(inputs);
    result.lag = std::arg(fundamental.index) * degrees;
    result.penetration = PenetrationDepth(layer, inputs.permeability);
    result.radius = radiusOfPenetration * result.penetration;
    result.single =
        ErrorsOf(inputs, SingleCovariance(inputs, fundamental), SatterthwaiteDegrees(fundamental.parts), {1});
    PutJoint(result, inputs, used, fundamental);
    result.recommended = Recommend(result, inputs);
    result.grade = GradeOf(result.Recommended().estimate);
    const double storage =
        inputs.compressibility * BarrelsOfWell(inputs.casing, inputs.depth2 - inputs.depth1);
    const LevelIndices first = IndicesOf(inputs, 1);
    result.budget = BudgetOf(layer, first.upper - first.lower, storage);
    PutTime(result, inputs);
    PutMessages(result, inputs);
    return result;
}

std::vector<PlanPoint> PlanOverPeriods(const PlanInputs& inputs) {
    constexpr double shortest = 20.0;
    constexpr double longest = 14400.0;
    constexpr int points = 20;
    constexpr double fewest = 2.0;
    const double time = (inputs.cycles + marginPeriods) * inputs.period;
    std::vector<PlanPoint> list;
    for (int i = 0; i < points; ++i) {
        PlanPoint point;
        point.period = shortest * std::pow(longest / shortest, i / (points - 1.0));
        point.cycles = time / point.period - marginPeriods;
        PlanInputs there = inputs;
        there.period = point.period;
        there.cycles = point.cycles;
        if (point.cycles < fewest)
            point.fault = "time for less than 2 cycles";
        else if (const auto fault = FaultOfPlan(there))
            point.fault = fault->text;
        else
            point.result = PlanTest(there);
        list.push_back(std::move(point));
    }
    return list;
}

}  // namespace vorela
