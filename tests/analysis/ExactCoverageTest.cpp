// What the errors promise, over many simulated tests: ranges that hold the truth in 95 of 100 of them, and
// errors that a plan predicts.
#include "analysis/modPlan.h"
#include "tests/analysis/ExactSupport.h"

namespace vorela::test {
namespace {

constexpr int seeds = 200;
constexpr int planSeeds = 250;  // their scatter is known to 4.5 %

struct Coverage {
    int k = 0, skin = 0;
    void Add(const ExactEstimate* estimate, const SimulatedWell& well) {
        ASSERT_TRUE(estimate != nullptr && estimate->HasSolution());
        k += Holds(estimate->permeabilityRange, well.k) ? 1 : 0;
        skin += Holds(estimate->skinRange, well.skin) ? 1 : 0;
    }
    void Check(const std::string& name) const {
        // 95 of 100, within the scatter of this many seeds.
        for (const int count : {k, skin}) {
            EXPECT_GE(count, 0.91 * seeds) << name;
            EXPECT_LE(count, 0.98 * seeds) << name;
        }
        std::printf("%s: k %.3f, skin %.3f\n", name.c_str(), 1.0 * k / seeds, 1.0 * skin / seeds);
    }
};

TEST(ExactCoverage, RangesHoldTheTruthIn95Of100TestsWhateverCompressibilityIsAssumed) {
    SimulatedWell well{1000, 10, 30, 240, 6, 100, 0.01, 0.2};
    Coverage single, joint, storage;
    std::map<double, Coverage> recommended;
    for (int seed = 1; seed <= seeds; ++seed) {
        well.seed = static_cast<std::uint64_t>(seed);
        const Simulation simulation = SimulationOf(well);
        const ExactLevel upper = AnalyseLevel(RecordOf(simulation, 0), {});
        const ExactLevel lower = AnalyseLevel(RecordOf(simulation, 1), {});
        for (const double factor : {1.0, 0.3, 3.0}) {
            IntervalInputs inputs = InputsOf(simulation);
            inputs.wellCompressibility *= factor;
            const ExactInterval interval = AnalyseInterval(upper, lower, inputs, {});
            recommended[factor].Add(interval.Recommended(), well);
            if (factor == 1.0) {
                single.Add(&interval.single, well);
                joint.Add(&interval.joint, well);
                storage.Add(&interval.storage, well);
            }
        }
    }
    single.Check("single");
    joint.Check("joint");
    storage.Check("storage");
    for (const auto& [factor, coverage] : recommended)
        coverage.Check("recommended, compressibility x " + std::to_string(factor));
}

double Deviation(const std::vector<double>& values) {
    double sum = 0, squares = 0;
    for (const double value : values) {
        sum += value;
        squares += value * value;
    }
    const auto count = static_cast<double>(values.size());
    return std::sqrt((squares - sum * sum / count) / (count - 1));
}

/// 1/f noise over white of the standard deviation `white`, which it exceeds below `corner` (1/s); white noise
/// through a filter of half an order.
void AddFlicker(SampledCurve& curve, double white, double corner, std::mt19937_64& random) {
    const std::size_t count = curve.values.size();
    std::vector<double> response(count, 1.0);
    for (std::size_t i = 1; i < count; ++i)
        response[i] = response[i - 1] * (static_cast<double>(i) - 0.5) / static_cast<double>(i);
    std::normal_distribution<double> normal(
        0.0, white * std::sqrt(2 * std::numbers::pi * corner * curve.step / 100));
    for (std::size_t from = 0; from < count; ++from) {
        const double impulse = normal(random);
        for (std::size_t i = from; i < count; ++i)
            curve.values[i] += impulse * response[i - from];
    }
}

struct PlannedWell {
    SimulatedWell well;
    double flowCorner = 0;  ///< 1/s
};

/// The plan of a simulated test. The spinners' noises differ there: the mean of their squares weighs alike.
PlanInputs PlanOf(const PlannedWell& planned, const dravik::Truth& truth) {
    const SimulatedWell& well = planned.well;
    PlanInputs inputs;
    inputs.permeability = well.k;
    inputs.skin = well.skin;
    inputs.height = well.height;
    inputs.period = well.period;
    inputs.cycles = well.cycles - 1;
    inputs.step = well.step / 100.0;
    inputs.depth2 = 9720 + well.height;
    inputs.ownValve = 0;
    inputs.amplitude = std::numbers::pi / 4 * 50 * truth.levels[0].downholeHpi;
    inputs.gauge = well.noise * 50;
    inputs.flow = well.noise * std::hypot(truth.levels[0].flowAmplitude, truth.levels[1].flowAmplitude) /
                  std::numbers::sqrt2;
    inputs.flowCorner = planned.flowCorner;
    return inputs;
}

/// What a plan predicts of one quantity, and what tests gave.
struct Prediction {
    const char* name;
    double predicted = 0;
    std::vector<double> values{};
};

std::vector<Prediction> PredictionsOf(const PlanResult& plan) {
    std::vector<Prediction> all;
    for (const auto& [k, skin, errors] : {std::tuple("single k", "single skin", &plan.single),
                                          {"joint k", "joint skin", &*plan.joint},
                                          {"storage k", "storage skin", &*plan.storage}}) {
        all.push_back({k, *errors->estimate.sigmaLnPermeability});
        all.push_back({skin, *errors->estimate.sigmaSkin});
    }
    all.push_back({"well compressibility", *plan.compressibilitySigma});
    return all;
}

void AddTest(const ExactInterval& interval, std::vector<Prediction>& predictions) {
    auto next = predictions.begin();
    for (const ExactEstimate* estimate : {&interval.single, &interval.joint, &interval.storage}) {
        (next++)->values.push_back(std::log(*estimate->permeability));
        (next++)->values.push_back(*estimate->skin);
    }
    next->values.push_back(*interval.apparentCompressibility);
}

TEST(ExactCoverage, PlannedErrorsAreTheScatterOfTests) {
    const PlannedWell wells[] = {{{100, 5, 30, 240, 10, 50, 0.005}},
                                 {{10, 0, 50, 600, 7, 100, 0.005}},
                                 {{1000, 10, 30, 240, 17, 50, 0.005}},
                                 {{50, 8, 20, 1200, 5, 250, 0.002}},
                                 {{10, 2, 30, 120, 13, 50, 0.003}, 1.0 / 40}};
    for (const PlannedWell& planned : wells) {
        SimulatedWell well = planned.well;
        const dravik::Truth truth = dravik::TruthOf(SimulationOf(well));
        const PlanInputs inputs = PlanOf(planned, truth);
        const PlanResult plan = PlanTest(inputs);
        EXPECT_NEAR(plan.harmonics[0].upper.pressure, 50, 1e-9);
        EXPECT_NEAR(plan.harmonics[0].lower.flow / truth.levels[1].flowAmplitude, 1, 1e-4);
        EXPECT_NEAR(plan.lag, truth.layers[0].phase, 1e-2);
        std::vector<Prediction> predictions = PredictionsOf(plan);
        for (int seed = 1; seed <= planSeeds; ++seed) {
            well.seed = static_cast<std::uint64_t>(seed);
            const Simulation simulation = SimulationOf(well);
            std::mt19937_64 random(well.seed);
            const double barrels =
                1 / dravik::SpinnerResponse(simulation.spinnerSlope, simulation.well.casingId);
            AddTest(Analysed(simulation, {},
                             [&](LevelRecord& record) {
                                 if (planned.flowCorner > 0)
                                     AddFlicker(record.flow, inputs.flow * barrels, planned.flowCorner,
                                                random);
                             }),
                    predictions);
        }
        for (const Prediction& prediction : predictions) {
            const double ratio = prediction.predicted / Deviation(prediction.values);
            EXPECT_NEAR(ratio, 1, 0.15) << well.k << " mD, " << prediction.name;
            std::printf("%g mD, %s: predicted / scatter %.3f\n", well.k, prediction.name, ratio);
        }
    }
}

}  // namespace
}  // namespace vorela::test
