// Plans against the numbers of an independent computation.
#include "analysis/modPlan.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

struct ExpectedErrors {
    double lnK = 0, skin = 0;
};
struct Plan {
    std::vector<std::pair<std::string, std::string>> inputs;
    double upper, lower;
    ExpectedErrors single;
    double correlation;
    ExpectedErrors joint, storage, constrained;
    double penetration;
    std::int64_t cyclesWanted;  ///< for an error of 0.005, compressibility not known
};
const Plan plans[] = {{{{"k", "100"}, {"skin", "5"}},
                       2.1545e-6,
                       1.12001e-6,
                       {.00585123, .0477835},
                       .995518,
                       {.0052393, .0423524},
                       {.00995712, .0812865},
                       {},
                       16.7271,
                       36},
                      {{{"k", "10"},
                        {"skin", "0"},
                        {"height", "50"},
                        {"period", "600"},
                        {"cycles", "6"},
                        {"compressibilityError", "30"}},
                       8.36734e-7,
                       5.85764e-7,
                       {.00293046, .00750556},
                       .956118,
                       {.00247113, .00603701},
                       {.00655042, .0178911},
                       {.00626132, .0170747},
                       8.36353,
                       11},
                      {{{"k", "1000"},
                        {"skin", "10"},
                        {"cycles", "16"},
                        {"step", "0.5"},
                        {"gauge", "0.02"},
                        {"gaugeCorner", "0.0041666666666666667"},
                        {"compressibilityError", "10"}},
                       3.35007e-5,
                       3.13988e-6,
                       {.00563197, .080525},
                       .998499,
                       {.00505052, .0717968},
                       {.00908875, .129619},
                       {.00702129, .100037},
                       52.8956,
                       53}};

constexpr double limit = 1e-5;

void Compare(const std::optional<PlanErrors>& got, const ExpectedErrors& expected) {
    ASSERT_EQ(got.has_value(), expected.lnK > 0);
    if (!got)
        return;
    EXPECT_NEAR(*got->estimate.sigmaLnPermeability / expected.lnK, 1, limit);
    EXPECT_NEAR(*got->estimate.sigmaSkin / expected.skin, 1, limit);
}

TEST(Plan, HasTheNumbersOfAnIndependentComputation) {
    for (const Plan& plan : plans) {
        PlanInputs inputs;
        for (const auto& [name, value] : plan.inputs)
            EXPECT_EQ(SetPlanInput(inputs, name, value), "");
        ASSERT_FALSE(FaultOfPlan(inputs));
        const PlanResult result = PlanTest(inputs);
        EXPECT_NEAR(result.harmonics[0].upper.variance / plan.upper, 1, limit);
        EXPECT_NEAR(result.harmonics[0].lower.variance / plan.lower, 1, limit);
        Compare(result.single, plan.single);
        EXPECT_NEAR(*result.single.estimate.correlation, plan.correlation, limit);
        Compare(result.joint, plan.joint);
        Compare(result.storage, plan.storage);
        Compare(result.constrained, plan.constrained);
        EXPECT_NEAR(result.penetration / plan.penetration, 1, limit);
        EXPECT_DOUBLE_EQ(result.radius, 1.5 * result.penetration);
        EXPECT_EQ(result.recommended,
                  plan.constrained.lnK > 0 ? ExactMethod::constrained : ExactMethod::storage);
        inputs.compressibilityError = -1;
        inputs.wanted = 0.005;
        const PlanResult wanted = PlanTest(inputs);
        EXPECT_EQ(wanted.cyclesWanted, plan.cyclesWanted);
        EXPECT_NEAR(wanted.hoursOnLevel, static_cast<double>(plan.cyclesWanted + 2) * inputs.period / 3600,
                    1e-12);
    }
}

TEST(Plan, OtherPeriodsKeepTheTimeOnTheLevelAndSayWhereTwoCyclesDoNotFit) {
    PlanInputs inputs;
    inputs.permeability = 100;
    inputs.skin = 5;
    const auto points = PlanOverPeriods(inputs);
    EXPECT_NEAR(points.front().period, 20, 1e-9);
    EXPECT_NEAR(points.back().period, 14400, 1e-6);
    EXPECT_FALSE(points.back().result);
    double radius = 0;
    for (const PlanPoint& point : points) {
        EXPECT_NEAR((point.cycles + 2) * point.period, 11 * 240, 1e-6);
        if (!point.result)
            continue;
        EXPECT_GT(point.result->radius, radius);
        radius = point.result->radius;
    }
    EXPECT_TRUE(points.front().result);
}

TEST(Plan, WarnsOfWhatThePredictedErrorDoesNotContain) {
    PlanInputs inputs;
    inputs.permeability = 100;
    inputs.skin = 5;
    EXPECT_TRUE(PlanTest(inputs).messages.empty());
    inputs.period = 20;
    inputs.cycles = 5000;
    inputs.step = 0.05;
    const PlanResult quick = PlanTest(inputs);
    EXPECT_THAT(quick.messages, Contains(HasSubstr("flow delay of 10 ms")));
    EXPECT_THAT(quick.messages, Contains(HasSubstr("step is coarse")));
    inputs.ramp = 0.1;
    EXPECT_THAT(PlanTest(inputs).messages, Not(Contains(HasSubstr("step is coarse"))));
    // Noise that drowns the harmonics leaves the fundamental.
    inputs.gauge = 1000;
    const PlanResult noisy = PlanTest(inputs);
    EXPECT_EQ(noisy.recommended, ExactMethod::single);
    EXPECT_EQ(noisy.grade, 'D');
    EXPECT_THAT(noisy.messages, Contains(HasSubstr("go by the 95 % ranges")));
    EXPECT_THAT(quick.messages, Not(Contains(HasSubstr("go by the 95 % ranges"))));
}

std::string FaultInput(const PlanInputs& inputs) {
    const auto fault = FaultOfPlan(inputs);
    return fault ? fault->input : "";
}

TEST(Plan, InputsAreRefusedByNameAndRange) {
    PlanInputs inputs;
    for (const auto& [name, value, words] : {std::tuple("kk", "1", "no input \"kk\""),
                                             {"k", "-1", "k: a number from"},
                                             {"cycles", "2.5", "whole"},
                                             {"wanted", "x", "wanted"},
                                             {"k", "", "k: a number"}})
        EXPECT_THAT(SetPlanInput(inputs, name, value), HasSubstr(words));
    EXPECT_EQ(FaultInput(inputs), "k");
    inputs.permeability = 1;
    EXPECT_EQ(FaultInput(inputs), "skin");
    inputs.skin = 1;
    EXPECT_EQ(FaultInput(inputs), "");
    inputs.depth2 = inputs.depth1;
    EXPECT_EQ(FaultInput(inputs), "depth1");
    inputs.depth2 += 50;
    inputs.kBelow = inputs.compressibility = 0;
    EXPECT_EQ(FaultInput(inputs), "kBelow");
}

}  // namespace
}  // namespace vorela::test
