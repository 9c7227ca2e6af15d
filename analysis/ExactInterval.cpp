#include "analysis/ExactInterval.h"

#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <utility>

#include "analysis/ExactFit.h"
#include "analysis/ExactLayer.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

using Complex = std::complex<double>;
constexpr double secondsPerDay = 86400.0;
constexpr double percent = 100.0;

const char* const tooLittleIsKnown = "without harmonics the result rests on the assumed well compressibility";

/// What the computation of one interval works on.
struct Work {
    const ExactLevel& level1;
    const ExactLevel& level2;
    const IntervalInputs& inputs;
    const ExactSettings& settings;
    std::vector<FitHarmonic> harmonics;  ///< all, storage by the assumed compressibility taken off
    std::vector<FitHarmonic> used;       ///< those that stand out of the noise
};

// --- Inputs ---

std::string FaultOf(const Work& work, const ExactLayer& layer) {
    for (const ExactLevel* level : {&work.level1, &work.level2})
        if (!level->fault.empty())
            return level->fault + " (" + level->dataset + ")";
    constexpr double samePeriod = 0.005;
    if (std::abs(work.level1.period / work.level2.period - 1.0) > samePeriod)
        return "levels have different periods";
    if (std::string fault = LayerFault(layer); !fault.empty())
        return fault;
    if (!(work.inputs.casingID > 0.0) || !std::isfinite(work.inputs.casingID))
        return "casing ID must be positive";
    if (!std::isfinite(work.inputs.wellCompressibility))
        return "well compressibility must be a number";
    return {};
}

Complex StorageIndex(const ExactLayer& layer, int harmonic, double storage) {
    return {0.0, OmegaPerDay(layer, harmonic) * storage};
}

void PutHarmonics(Work& work, ExactInterval& interval) {
    constexpr double leastOfNoise = 5.0;
    const std::size_t count = std::min(work.level1.harmonics.size(), work.level2.harmonics.size());
    for (std::size_t i = 0; i < count; ++i) {
        const ExactHarmonic& upper = work.level1.harmonics[i];
        const ExactHarmonic& lower = work.level2.harmonics[i];
        FitHarmonic fit;
        fit.number = upper.number;
        fit.index =
            upper.index - lower.index -
            StorageIndex(interval.layer, fit.number, interval.wellCompressibility * interval.wellVolume);
        ExactHarmonic shown{fit.number, fit.index, {}, false};
        if (upper.sigma && lower.sigma) {
            for (const auto& [level, sigma] :
                 {std::pair(&work.level1, *upper.sigma), {&work.level2, *lower.sigma}}) {
                fit.parts.push_back({2.0 * sigma * sigma, *level->degreesOfFreedom});
                fit.variance += fit.parts.back().value;
            }
            shown.sigma = std::sqrt(fit.variance / 2.0);
            shown.used = std::abs(fit.index) > leastOfNoise * std::sqrt(fit.variance);
        }
        work.harmonics.push_back(fit);
        if (shown.used)
            work.used.push_back(fit);
        interval.harmonics.push_back(shown);
    }
    // Without the fundamental the others say nothing.
    if (!work.used.empty() && work.used.front().number != 1)
        work.used.clear();
}

// --- Methods ---

void PutStorage(ExactInterval& interval, const JointResult& result) {
    interval.storage = result.estimate;
    interval.storage.storage = result.storage;
    interval.apparentCompressibility = interval.wellCompressibility + result.storage / interval.wellVolume;
    interval.apparentCompressibilitySigma = result.sigmaStorage / interval.wellVolume;
}

/// The constrained fit. With the fundamental alone k and S are those of single, and the storage's error
/// enters theirs.
void PutConstrained(const Work& work, ExactInterval& interval) {
    const double error = work.settings.compressibilityError;
    const double sigma = error * std::abs(interval.wellCompressibility) * interval.wellVolume / percent;
    if (!(error > 0.0) || !(sigma > 0.0))
        return;
    std::vector<FitHarmonic> harmonics = work.used;
    if (harmonics.size() < 2) {
        if (!interval.single.HasSolution())
            return;
        harmonics.assign(1, work.harmonics.front());
    }
    const auto result =
        FitJoint(interval.layer, harmonics, {StorageKnowledge::limited, sigma}, work.settings.confidence);
    if (!result)
        return;
    interval.constrained = result->estimate;
    interval.constrained->storage = result->storage;
}

void PutMethods(const Work& work, ExactInterval& interval) {
    const double confidence = work.settings.confidence;
    interval.single = FitSingle(interval.layer, work.harmonics.front(), confidence);
    interval.enlargedWell = FitEnlargedWell(interval.layer, work.harmonics.front(), confidence);
    if (work.used.size() >= 2) {
        if (const auto result = FitJoint(interval.layer, work.used, {}, confidence))
            interval.joint = result->estimate;
        if (interval.wellVolume > 0.0)
            if (const auto result =
                    FitJoint(interval.layer, work.used, {StorageKnowledge::free, 0.0}, confidence))
                PutStorage(interval, *result);
    }
    if (interval.wellVolume > 0.0)
        PutConstrained(work, interval);
}

// --- What is recommended ---

bool Agrees(const ExactEstimate& estimate) {
    return estimate.HasSolution() && estimate.pValue.value_or(1.0) >= disagreement;
}

/// A result must not rest on the compressibility of the well's fluid unless the user states its error: where
/// it is wrong by a half, say, no test on the same data would show it.
ExactMethod Choose(const Work& work, const ExactInterval& interval) {
    const bool harmonics = work.used.size() >= 2;
    const double error = work.settings.compressibilityError;
    if (interval.wellVolume == 0.0 && interval.joint.HasSolution())
        return ExactMethod::joint;
    if (interval.wellVolume == 0.0)
        return ExactMethod::single;
    if (!harmonics)
        return interval.constrained ? ExactMethod::constrained : ExactMethod::single;
    if (interval.constrained && Agrees(*interval.constrained))
        return ExactMethod::constrained;
    if (error == 0.0 && Agrees(interval.joint))
        return ExactMethod::joint;
    if (interval.storage.HasSolution())
        return ExactMethod::storage;
    return interval.joint.HasSolution() ? ExactMethod::joint : ExactMethod::single;
}

// --- Messages ---

void AddSolutionMessages(const Work& work, ExactInterval& interval) {
    std::vector<std::string>& messages = interval.messages;
    const Complex fundamental = work.harmonics.front().index;
    if (!(fundamental.imag() > 0.0)) {
        std::string text = "lag not positive: storage of the well, a time offset or noise exceeds the signal";
        if (interval.single.permeabilityRange.lower)
            text += "; permeability of at least " + FormatNumber(*interval.single.permeabilityRange.lower) +
                    " mD";
        messages.push_back(text);
    } else if (fundamental.real() <= 0.0) {
        messages.push_back("lag of 90 degrees or more: not a resistance");
    }
    const ExactEstimate* recommended = interval.Recommended();
    if (recommended != nullptr && recommended->HasSolution() && recommended->permeabilityRange.lower &&
        !recommended->permeabilityRange.upper)
        messages.push_back("permeability has no upper limit");
}

/// Storage below zero is what a late flow record looks like: a delay takes as much from it as the flow in
/// phase that passes meanwhile. That is counted from the assumed storage where the assumed compressibility is
/// one that a liquid can have. One that is not, as the 0.01 that stands until the user sets it, would count
/// its own excess as delay (100 mD, flow late by 1 s: 617 s); there only what is below zero counts, which is
/// too little by no more than the storage of the fluid (0.55 s of that second).
void AddLateFlowMessage(const Work& work, ExactInterval& interval) {
    constexpr double mostOfALiquid = 1e-4;  // 1/psi
    if (!interval.apparentCompressibility ||
        !(*interval.apparentCompressibility < -2.0 * *interval.apparentCompressibilitySigma))
        return;
    const bool liquid = interval.wellCompressibility >= 0.0 && interval.wellCompressibility <= mostOfALiquid;
    const double from = liquid ? interval.wellCompressibility : 0.0;
    const double storage = (*interval.apparentCompressibility - from) * interval.wellVolume;
    const double late = -secondsPerDay * storage / work.harmonics.front().index.real();
    interval.messages.push_back("apparent well compressibility is negative: flow record late by about " +
                                FormatNumber(late) + " s");
}

void AddMethodMessages(const Work& work, ExactInterval& interval) {
    constexpr double largeError = 0.3;
    std::vector<std::string>& messages = interval.messages;
    const bool rests = interval.wellVolume > 0.0 && interval.recommended == ExactMethod::single;
    if (rests && work.used.size() < 2)
        messages.push_back(tooLittleIsKnown);
    else if (interval.wellVolume > 0.0 && work.settings.compressibilityError < 0.0 &&
             !interval.storage.HasSolution())
        messages.push_back(
            "storage of the well not resolved: the result rests on the assumed well compressibility");
    if (interval.joint.HasSolution() && !Agrees(interval.joint))
        messages.push_back("harmonics disagree");
    if (interval.recommended == ExactMethod::storage && !Agrees(interval.storage))
        messages.push_back("not the model of one radial layer");
    if (interval.recommended == ExactMethod::storage && work.settings.compressibilityError < 0.0 &&
        interval.storage.sigmaLnPermeability.value_or(0.0) > largeError)
        messages.push_back("state the error of the well compressibility or choose a longer period");
}

void AddLevelNotes(const Work& work, ExactInterval& interval) {
    for (const ExactLevel* level : {&work.level1, &work.level2})
        for (const std::string& note : level->notes)
            interval.messages.push_back(note + " (" + level->dataset + ")");
    // Both inputs are 1 until the user sets them.
    if (interval.layer.porosity == 1.0 || interval.layer.compressibility == 1.0)
        interval.messages.push_back("porosity and total compressibility are still at their defaults");
}

// --- Budget ---

/// An interval's inputs, one of them changed by half of its step up or down.
struct Changed {
    Complex difference;  ///< of the levels' indices
    double storage = 0;
    ExactLayer layer;
};

struct BudgetInput {
    const char* name;
    const char* step;
    std::function<void(Changed&, double part)> change;
};

const std::array<BudgetInput, 7>& BudgetInputs() {
    constexpr double delay = 0.01;  // s
    constexpr double tenth = 0.1;
    constexpr double hundredth = 0.01;
    static const std::array<BudgetInput, 7> inputs{{
        {"flow delay", "10 ms",
         [](Changed& c, double part) {
             c.difference *= std::polar(1.0, part * 2.0 * std::numbers::pi / c.layer.period * delay);
         }},
        {"flow calibration", "1 %", [](Changed& c, double part) { c.difference *= 1.0 + part * hundredth; }},
        {"well compressibility", "10 %", [](Changed& c, double part) { c.storage *= 1.0 + part * tenth; }},
        {"porosity x total compressibility", "10 %",
         [](Changed& c, double part) { c.layer.compressibility *= 1.0 + part * tenth; }},
        {"height", "1 %", [](Changed& c, double part) { c.layer.height *= 1.0 + part * hundredth; }},
        {"viscosity", "1 %", [](Changed& c, double part) { c.layer.viscosity *= 1.0 + part * hundredth; }},
        {"borehole diameter", "1 %",
         [](Changed& c, double part) { c.layer.boreholeDiameter *= 1.0 + part * hundredth; }},
    }};
    return inputs;
}

std::optional<PermeabilityAndSkin> SolutionOf(const Changed& inputs) {
    return InvertThinSkin(inputs.layer, inputs.difference - StorageIndex(inputs.layer, 1, inputs.storage));
}

}  // namespace

double BarrelsOfWell(double casingID, double length) {
    constexpr double barrelsPerCubicFoot = 0.178;
    constexpr double inchesDiameterToFeetRadius = 24.0;
    const double radius = casingID / inchesDiameterToFeetRadius;
    return barrelsPerCubicFoot * std::numbers::pi * length * radius * radius;
}

ExactInterval AnalyseInterval(const ExactLevel& level1, const ExactLevel& level2,
                              const IntervalInputs& inputs, const ExactSettings& settings) {
    Work work{level1, level2, inputs, settings, {}, {}};
    ExactInterval interval;
    interval.label = inputs.label;
    interval.depth1 = inputs.depth1;
    interval.depth2 = inputs.depth2;
    interval.layer = inputs.layer;
    interval.layer.period = (level1.period + level2.period) / 2.0;
    interval.wellCompressibility = inputs.wellCompressibility;
    interval.wellVolume = BarrelsOfWell(inputs.casingID, std::abs(inputs.depth2 - inputs.depth1));
    if (const std::string fault = FaultOf(work, interval.layer); !fault.empty()) {
        interval.messages.push_back(fault);
        AddLevelNotes(work, interval);
        return interval;
    }
    PutHarmonics(work, interval);
    PutMethods(work, interval);
    interval.recommended = Choose(work, interval);
    interval.grade = GradeOf(*interval.Recommended());
    AddSolutionMessages(work, interval);
    AddMethodMessages(work, interval);
    AddLateFlowMessage(work, interval);
    AddLevelNotes(work, interval);
    interval.budget =
        BudgetOf(interval.layer, level1.harmonics.front().index - level2.harmonics.front().index,
                 interval.wellCompressibility * interval.wellVolume);
    return interval;
}

std::vector<ExactBudgetLine> BudgetOf(const ExactLayer& layer, Complex difference, double storage) {
    const Changed asIs{difference, storage, layer};
    const bool solved = SolutionOf(asIs).has_value();
    std::vector<ExactBudgetLine> lines;
    for (const BudgetInput& input : BudgetInputs()) {
        ExactBudgetLine line{input.name, input.step, {}, {}};
        Changed more = asIs;
        Changed less = asIs;
        input.change(more, 0.5);
        input.change(less, -0.5);
        const auto above = SolutionOf(more);
        const auto below = SolutionOf(less);
        if (solved && above && below) {
            line.lnPermeability = std::log(above->permeability / below->permeability);
            line.skin = above->skin - below->skin;
        }
        lines.push_back(line);
    }
    return lines;
}

std::vector<Complex> ModelCurve(const ExactInterval& interval, const ExactEstimate& estimate,
                                const std::vector<double>& periods) {
    std::vector<Complex> curve;
    if (!estimate.HasSolution())
        return curve;
    for (const double period : periods) {
        ExactLayer layer = interval.layer;
        layer.period = period;
        curve.push_back(ThinSkinIndex(layer, 1, {*estimate.permeability, *estimate.skin}).index);
    }
    return curve;
}

}  // namespace vorela
