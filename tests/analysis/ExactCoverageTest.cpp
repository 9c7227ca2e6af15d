// What the errors promise, over many simulated tests: ranges that hold the truth in 95 of 100 of them, and
// errors that a plan predicts.
#include "analysis/modPlan.h"
#include "tests/analysis/ExactSupport.h"

namespace vorela::test {
namespace {

constexpr int seeds = 200;
constexpr int planSeeds = 100;  // their scatter is known to 7 %

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

TEST(ExactCoverage, PlannedErrorsAreTheScatterOfTests) {
    for (const auto& [k, skin, height, period, cycles] :
         {std::tuple(100.0, 5.0, 30.0, 240, 9), {10.0, 0.0, 50.0, 600, 6}, {1000.0, 10.0, 30.0, 240, 16}}) {
        SimulatedWell well{k, skin, height, period, cycles + 1, 50, 0.005};
        PlanInputs inputs;
        inputs.permeability = k;
        inputs.skin = skin;
        inputs.height = height;
        inputs.period = period;
        inputs.cycles = cycles;
        inputs.step = 0.5;
        inputs.depth2 = 9720 + height;
        inputs.ownValve = 0;
        const Simulation simulation = SimulationOf(well);
        // Noise in parts of each signal: the plan's own amplitudes tell the spinner's.
        const dravik::Truth truth = dravik::TruthOf(simulation);
        inputs.amplitude = std::numbers::pi / 4 * 50 * truth.levels[0].downholeHpi;
        inputs.gauge = well.noise * 50;
        std::vector<double> single, joint, storage;
        for (int seed = 1; seed <= planSeeds; ++seed) {
            well.seed = static_cast<std::uint64_t>(seed);
            const ExactInterval interval = Analysed(SimulationOf(well));
            single.push_back(std::log(*interval.single.permeability));
            joint.push_back(std::log(*interval.joint.permeability));
            storage.push_back(std::log(*interval.storage.permeability));
        }
        // The two spinners' noises differ: the mean of their squares weighs both alike.
        inputs.flow = well.noise * std::hypot(truth.levels[0].flowAmplitude, truth.levels[1].flowAmplitude) /
                      std::numbers::sqrt2;
        const PlanResult plan = PlanTest(inputs);
        const std::tuple<const char*, const PlanErrors&, const std::vector<double>&> methods[] = {
            {"single", plan.single, single},
            {"joint", *plan.joint, joint},
            {"storage", *plan.storage, storage}};
        for (const auto& [name, errors, values] : methods) {
            const double ratio = *errors.estimate.sigmaLnPermeability / Deviation(values);
            EXPECT_GT(ratio, 0.8) << name << " of " << k;
            EXPECT_LT(ratio, 1.25) << name << " of " << k;
            std::printf("%g mD, %s: predicted / scatter %.3f\n", k, name, ratio);
        }
    }
}

}  // namespace
}  // namespace vorela::test
