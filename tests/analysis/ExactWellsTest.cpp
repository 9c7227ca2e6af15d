// Fifteen simulated wells against the numbers of an independent computation, in its digits.
#include "tests/analysis/ExactSupport.h"

namespace vorela::test {
namespace {

/// Permeability 0: no solution.
struct Expected {
    double k = 0, skin = 0, sigmaLnK = 0, sigmaSkin = 0;
    double p = -1;  ///< -1: none
};
struct Well {
    double k, skin, height;
    int period, cycles, step;
    double noise, drift, compressibility, borehole;
    std::uint64_t seed;
    const char* recommended;
    Expected single, joint, storage, constrained, enlarged;
    double apparent;
};

// Constrained: with an error of 30 % of the well's compressibility.
// clang-format off
const Well wells[] = {
    {1, 0, 50, 240, 9, 50, 0.01, 0, 1e-05, 8.5, 11, "storage", {1.02296, -0.0230061, 0.0305816,
     0.0353182}, {1.0374, 0.00473144, 0.0268132, 0.0291636, 0.568364}, {0.975328, -0.0917771, 0.121088,
     0.185398, 0.438942}, {1.00314, -0.0481011, 0.0917512, 0.140176, 0.591011}, {1.01176, -0.0408544,
     0.0468151, 0.0633699}, 8.76114e-06},
    {1, 5, 50, 600, 7, 100, 0.003, 0.1, 1e-05, 8.5, 12, "storage", {1.05162, 5.3935, 0.184262, 1.25891},
     {0.903782, 4.37087, 0.144396, 0.820182, 0.0139628}, {0.938349, 4.59263, 0.531496, 3.18259,
     0.00618077}, {0.937742, 4.58873, 0.24843, 1.48647, 0.0141248}, {}, 1.00713e-05},
    {10, -2, 30, 240, 9, 50, 0.01, 0.2, 1e-05, 8.5, 13, "single", {9.99464, -2.00038, 0.00137314,
     0.000990927}, {}, {}, {9.99464, -2.00038, 0.00279804, 0.00420697}, {}, 0},
    {10, 5, 30, 60, 13, 10, 0.01, 0.2, 1e-05, 8.5, 14, "storage", {9.26598, 4.49413, 0.0793558, 0.466873},
     {9.26628, 4.50559, 0.0745928, 0.43607, 0.818018}, {10.002, 4.97939, 0.157122, 1.00979, 0.752333},
     {9.99776, 4.97666, 0.156752, 1.00695, 0.876634}, {}, 1.01292e-05},
    {50, 2, 10, 240, 10, 10, 0.02, 0.5, 1e-05, 8.5, 35, "storage", {47.6816, 1.80398, 0.0310704,
     0.143905}, {49.0716, 1.94914, 0.0267942, 0.124784, 0.313964}, {46.1239, 1.65874, 0.0510453, 0.229118,
     0.407833}, {46.6735, 1.7128, 0.0475307, 0.215679, 0.513928}, {}, 7.97981e-06},
    {100, 0, 10, 240, 4, 50, 0.01, 0, 3e-06, 8.5, 16, "storage", {98.8601, -0.0238682, 0.0109864,
     0.0351012}, {99.5172, -0.00389091, 0.00968579, 0.0302787, 0.36429}, {96.5713, -0.104416, 0.0241459,
     0.0785461, 0.447274}, {99.3208, -0.0105949, 0.0112492, 0.0359064, 0.377038}, {98.8229, -0.0251672,
     0.0115382, 0.0370438}, -1.62505e-06},
    {100, 5, 10, 240, 10, 50, 0.005, 0.2, 3e-06, 8.5, 17, "storage", {99.5013, 4.94476, 0.018655,
     0.151272}, {100.209, 5.00599, 0.0171636, 0.139118, 0.893554}, {99.3231, 4.93338, 0.0337767, 0.273963,
     0.79961}, {99.6973, 4.96404, 0.0280083, 0.227713, 0.901899}, {}, 2.7653e-06},
    {100, 5, 30, 240, 10, 50, 0.02, 1, 1e-05, 6, 18, "storage", {98.6798, 4.87404, 0.0255258, 0.213886},
     {98.3922, 4.84737, 0.024058, 0.199917, 0.891604}, {97.2056, 4.7459, 0.0526985, 0.436781, 0.790258},
     {97.6352, 4.78263, 0.0445813, 0.37082, 0.8982}, {}, 9.41788e-06},
    {200, 20, 40, 600, 7, 100, 0.003, 0.1, 1e-05, 8.5, 19, "storage", {199.367, 19.9299, 0.017058,
     0.407202}, {197.327, 19.6801, 0.0142422, 0.334521, 0.237759}, {199.34, 19.9201, 0.0239452, 0.568925,
     0.156658}, {199.274, 19.9123, 0.0236872, 0.562596, 0.26091}, {}, 1.02932e-05},
    {500, 3, 20, 1200, 6, 200, 0.005, 0.05, 1e-05, 12.25, 20, "storage", {502.562, 3.03885, 0.0035639,
     0.026557}, {503.178, 3.04642, 0.00308459, 0.0226812, 0.138374}, {499.62, 2.99356, 0.00589902,
     0.0435866, 0.15765}, {502.383, 3.03461, 0.00389656, 0.0287863, 0.159222}, {}, 2.11917e-06},
    {1000, -2, 30, 240, 20, 50, 0.02, 0.5, 1e-05, 8.5, 21, "storage", {1000.07, -1.99956, 0.00157714,
     0.0037974}, {1000.46, -1.99856, 0.00140757, 0.00328826, 0.965272}, {998.137, -2.00484, 0.00491656,
     0.0131437, 0.953406}, {1000.42, -1.99865, 0.00152219, 0.0036433, 0.965671}, {963.503, -2.09712,
     0.00184934, 0.00437308}, -1.94595e-06},
    {1000, 10, 30, 240, 21, 100, 0.01, 0.2, 1e-05, 8.5, 22, "storage", {1002.49, 10.0241, 0.00962834,
     0.137908}, {1002.58, 10.0279, 0.00832105, 0.118301, 0.841081}, {1008.17, 10.1076, 0.0146806,
     0.210587, 0.752935}, {1006.72, 10.0869, 0.0133192, 0.190713, 0.868177}, {}, 1.08196e-05},
    {2000, 5, 5, 3600, 5, 500, 0.003, 0.02, 1e-05, 8.5, 23, "storage", {2002.36, 5.01021, 0.00475727,
     0.052402}, {2005.43, 5.02774, 0.00406699, 0.0443927, 0.974933}, {2001.38, 5.00552, 0.00726921,
     0.0796136, 0.9474}, {2005.27, 5.02684, 0.00424351, 0.0463458, 0.975369}, {}, 5.09413e-06},
    {5, 0, 100, 120, 30, 20, 0.02, 1, 0.0001, 8.5, 24, "storage", {4.97993, -0.0104199, 0.00622553,
     0.00944555}, {4.97826, -0.0105205, 0.00599392, 0.00894663, 0.908927}, {5.05544, 0.019295, 0.034691,
     0.0672426, 0.848193}, {5.05528, 0.0192355, 0.034659, 0.0671781, 0.937473}, {4.96745, -0.015285,
     0.00837674, 0.0138948}, 0.000100604},
    {100, 5, 5, 240, 4, 100, 0.05, 0.2, 1e-05, 8.5, 25, "single", {}, {}, {}, {}, {}, 0},
};
// clang-format on

constexpr double shareOfSigma = 0.02;
constexpr double partOfSigma = 0.01;
constexpr double limitOfP = 0.01;

void Compare(const std::optional<ExactEstimate>& got, const Expected& expected, const std::string& name) {
    SCOPED_TRACE(name);
    if (expected.k == 0) {
        EXPECT_FALSE(got && got->permeability);
        return;
    }
    ASSERT_TRUE(got && got->permeability && got->sigmaSkin);
    EXPECT_NEAR(std::log(*got->permeability / expected.k), 0, shareOfSigma * expected.sigmaLnK);
    EXPECT_NEAR(*got->skin, expected.skin, shareOfSigma * expected.sigmaSkin);
    EXPECT_NEAR(*got->sigmaLnPermeability / expected.sigmaLnK, 1, partOfSigma);
    EXPECT_NEAR(*got->sigmaSkin / expected.sigmaSkin, 1, partOfSigma);
    EXPECT_NEAR(got->pValue.value_or(-1), expected.p, limitOfP);
}

TEST(ExactWells, HaveTheNumbersOfAnIndependentComputationAndRangesThatHoldTheTruth) {
    for (std::size_t i = 0; i < std::size(wells); ++i) {
        const Well& well = wells[i];
        SCOPED_TRACE("well " + std::to_string(i + 1));
        const Simulation simulation =
            SimulationOf({well.k, well.skin, well.height, well.period, well.cycles, well.step, well.noise,
                          well.drift, well.compressibility, well.borehole, well.seed});
        ExactSettings settings;
        const ExactInterval interval = Analysed(simulation);
        settings.compressibilityError = 30;
        const ExactInterval told = Analysed(simulation, settings);
        Compare(interval.single, well.single, "single");
        Compare(interval.joint, well.joint, "joint");
        Compare(interval.storage, well.storage, "storage");
        Compare(told.constrained, well.constrained, "constrained");
        Compare(interval.enlargedWell, well.enlarged, "enlarged well");
        EXPECT_FALSE(interval.constrained);
        EXPECT_STREQ(MethodName(interval.recommended), well.recommended);
        EXPECT_EQ(told.recommended, well.constrained.k > 0 ? ExactMethod::constrained : ExactMethod::single);
        if (well.storage.k > 0) {
            EXPECT_NEAR(*interval.apparentCompressibility, well.apparent,
                        shareOfSigma * *interval.apparentCompressibilitySigma);
        }
        for (const ExactEstimate* estimate : {&interval.single, &interval.joint, &interval.storage}) {
            EXPECT_TRUE(Holds(estimate->permeabilityRange, well.k));
            EXPECT_TRUE(Holds(estimate->skinRange, well.skin));
        }
    }
}

TEST(ExactWells, StorageGivesTheSameWhateverCompressibilityIsAssumed) {
    for (const std::size_t number : {5U, 7U, 9U, 12U, 14U}) {
        const Well& well = wells[number - 1];
        const ExactInterval interval =
            Analysed(SimulationOf({well.k, well.skin, well.height, well.period, well.cycles, well.step,
                                   well.noise, well.drift, well.compressibility, well.borehole, well.seed}),
                     {}, {}, [](IntervalInputs& inputs) { inputs.wellCompressibility = 0.01; });
        Compare(interval.storage, well.storage, "well " + std::to_string(number));
        EXPECT_EQ(interval.recommended, ExactMethod::storage);
        EXPECT_NEAR(*interval.apparentCompressibility, well.apparent,
                    shareOfSigma * *interval.apparentCompressibilitySigma);
    }
}

TEST(ExactWells, WithoutASolutionTheScatterStillGivesTheLeastPermeability) {
    const Well& well = wells[14];
    const ExactInterval interval =
        Analysed(SimulationOf({well.k, well.skin, well.height, well.period, well.cycles, well.step,
                               well.noise, well.drift, well.compressibility, well.borehole, well.seed}));
    EXPECT_NEAR(*interval.single.permeabilityRange.lower, 52.19193516, 0.02);
    EXPECT_FALSE(interval.single.permeabilityRange.upper);
    EXPECT_TRUE(Says(interval, "lag not positive"));
    EXPECT_TRUE(Says(interval, "52.2 mD"));
    EXPECT_EQ(interval.grade, 'D');
    EXPECT_FALSE(interval.budget.front().lnPermeability);
}

TEST(ExactWells, BudgetOfWellFourSaysWhatHalfAStepUpAndDownDoes) {
    const Well& well = wells[3];
    const ExactInterval interval =
        Analysed(SimulationOf({well.k, well.skin, well.height, well.period, well.cycles, well.step,
                               well.noise, well.drift, well.compressibility, well.borehole, well.seed}));
    ASSERT_EQ(interval.budget.size(), 7U);
    EXPECT_EQ(interval.budget[2].input, "well compressibility");
    EXPECT_NEAR(*interval.budget[2].lnPermeability, 0.5036, 0.002);
    EXPECT_NEAR(*interval.budget[2].skin, 3.1478, 0.02);
    EXPECT_NEAR(*interval.budget[5].lnPermeability, 0.01000008333, 1e-9);  // ln(1.005/0.995)
}

}  // namespace
}  // namespace vorela::test
