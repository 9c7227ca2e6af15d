// Known values after gridding.
#include <bit>
#include <charconv>
#include <functional>
#include <random>

#include "tests/exchange/ExchangeTest.h"
#include "tests/support/CommaLocale.h"

namespace dravik {
namespace {

std::string Rows(int count, const std::function<double(int)>& time,
                 const std::function<double(double)>& value) {
    std::string text = "Time (s),P\n";
    for (int i = 0; i < count; ++i) {
        std::array<char, 64> line{};
        std::snprintf(line.data(), line.size(), "%.6f,%.9g\n", time(i), value(time(i)));
        text += line.data();
    }
    return text;
}

/// Phase in degrees and amplitude of a sine of 60 s over whole periods of the grid.
std::pair<double, double> SineOf(const ImportPlan& plan, double period) {
    const std::vector<float> values = CurveOf(plan, 0, 1000);
    const double step = plan.grid.step / 100.0;
    double a = 0.0;
    double b = 0.0;
    double span = 0.0;
    for (std::size_t i = 0; i < values.size() && span + step <= 20 * period + 1e-9; ++i, span += step) {
        const double angle =
            2.0 * M_PI * (plan.grid.firstIndex / 100.0 + static_cast<double>(i) * step) / period;
        a += static_cast<double>(values[i]) * std::sin(angle) * step;
        b += static_cast<double>(values[i]) * std::cos(angle) * step;
    }
    return {std::atan2(b, a) * 180.0 / M_PI, 2.0 * std::hypot(a, b) / span};
}

TEST(Grid, KeepsPhaseAndAmplitudeOfASine) {
    constexpr double period = 60.0;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> jitter(-0.02, 0.02);
    struct Sampling {
        double step;
        double jitter;
        double degrees;
        double share;
    };
    for (const Sampling& s : {Sampling{1.0, 1.0, 0.05, 1.5e-3},
                              {1.0003, 0.0, 0.02, 1.5e-3},
                              {0.125, 0.0, 0.02, 1e-4},
                              {1.0 / 3.0, 0.0, 0.02, 1.5e-3},
                              {0.008, 0.0, 0.02, 1e-4}}) {
        const int rows = static_cast<int>(1230.0 / s.step);
        const ImportPlan plan = PlanOf(Rows(
            rows, [&](int i) { return i * s.step + s.jitter * jitter(random); },
            [&](double t) { return std::sin(2.0 * M_PI * t / period); }));
        const auto [phase, amplitude] = SineOf(plan, period);
        EXPECT_NEAR(phase, 0.0, s.degrees) << s.step;
        EXPECT_NEAR(amplitude, 1.0, s.share) << s.step;
    }
}

TEST(Grid, RowsOnAGridStayAsTheyAreAndGapsStayGaps) {
    const ImportPlan plan = PlanOf("T,P,V\n0,1,1\n1.004,2,1\n2,,3\n4.996,6,3\n6,7,3\n7,8,1\n8,9,1\n");
    EXPECT_EQ(CurveOf(plan, 0), (std::vector<float>{1, 2, noSample, noSample, noSample, 6, 7, 8, 9}));
    EXPECT_EQ(CurveOf(plan, 1, 2), (std::vector<float>{1, 1, 3, noSample, noSample, 3, 3, 1, 1}));
    Choices fill;
    fill.fill = 4.0;
    const ImportPlan filled = PlanOf("T,P,V\n0,1,1\n1.004,2,1\n2,,3\n4.996,6,3\n6,7,3\n7,8,1\n8,9,1\n", fill);
    const std::vector<float> values = CurveOf(filled, 0, 3);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_NEAR(values[i], static_cast<float>(i) + 1.0F, 0.01) << i;
    EXPECT_EQ(CurveOf(filled, 1), (std::vector<float>{1, 1, 3, 3, 3, 3, 3, 1, 1}));
    EXPECT_TRUE(Tells(filled, "1 gap between rows of up to 4 s filled"));
}

TEST(Grid, CodesAreNeverInterpolated) {
    const ImportPlan plan = PlanOf("T,P,V\n0,0,1\n0.125,1,1\n0.25,2,3\n0.375,3,3\n0.5,4,1\n0.625,5,1\n");
    EXPECT_EQ(plan.grid.step, 12);
    EXPECT_EQ(CurveOf(plan, 1), (std::vector<float>{1, 1, 1, 3, 3, 1}));
    EXPECT_NEAR(CurveOf(plan, 0)[1], 0.96, 1e-6);
}

TEST(Grid, MeansOverACoarserStep) {
    Choices choices;
    choices.step = 200;
    const ImportPlan plan = PlanOf(
        "T,P,V\n0,1,1\n0.5,3,1\n1,5,1\n1.5,7,3\n2,9,3\n1.9,11,3\n3.2,13,1\n4,15,1\n4.5,17,1\n5,1,1\n5.5,1,"
        "1\n6,5,1\n",
        choices);
    EXPECT_EQ(CurveOf(plan, 0), (std::vector<float>{2, 8, 15, 7.0F / 3.0F}));
    EXPECT_EQ(CurveOf(plan, 0, 1), (std::vector<float>{2, 8, 15, 7.0F / 3.0F}));
    EXPECT_EQ(CurveOf(plan, 1), (std::vector<float>{1, 3, 1, 1}));
    EXPECT_TRUE(Tells(plan, "over steps of 2 s, whose middle lies 0.25 s before their place"));
}

TEST(Grid, FallingRowsAreTurnedRoundWhateverTheirNumber) {
    const int rows = 200000;  // several blocks of the file
    const ImportPlan plan = PlanOf(Rows(
        rows, [](int i) { return rows - 1 - i; }, [](double t) { return t; }));
    const std::vector<float> values = CurveOf(plan, 0);
    ASSERT_EQ(values.size(), static_cast<std::size_t>(rows));
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(values[i], static_cast<float>(i));
}

TEST(Grid, FallingDatesAreTurnedRoundOverManyBlocks) {
    std::string text = "Date,P\n";
    for (int i = 99999; i >= 0; --i) {
        std::array<char, 64> line{};
        std::snprintf(line.data(), line.size(), "%02d/03/2024 %02d:%02d:%02d,%d\n", 14 + i / 86400,
                      i / 3600 % 24, i / 60 % 60, i % 60, i);
        text += line.data();
    }
    const std::vector<float> values = CurveOf(PlanOf(text), 0);
    ASSERT_EQ(values.size(), 100000U);
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(values[i], static_cast<float>(i));
}

TEST(Grid, TheGridIsThatOfMostRows) {
    const ImportPlan plan = PlanOf("T,P\n0.3,1\n5,2\n10,3\n15,4\n20,5\n25,6\n30,7\n");
    EXPECT_EQ(plan.grid.firstIndex, 500);
    EXPECT_EQ(CurveOf(plan, 0), (std::vector<float>{2, 3, 4, 5, 6, 7}));
    // Between hundredths: its places are whole ones all the same, no value off by over half of one.
    const ImportPlan drifting = PlanOf(Rows(
        40, [](int i) { return i * 1.0003; }, [](double t) { return t; }));
    const std::vector<float> values = CurveOf(drifting, 0);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_NEAR(values[i], drifting.grid.firstIndex / 100.0 + static_cast<double>(i), 0.0051);
}

TEST(Grid, AGivenGridIsMetByItsDates) {
    Choices choices;
    choices.target = TargetGrid{1, 100, 50, 1710408590.0, true, false, {}};
    const ImportPlan plan =
        PlanOf("D,P\n2024-03-14 09:30:00,1.5\n2024-03-14 09:30:01,2.5\n2024-03-14 09:30:02,3.5\n", choices);
    EXPECT_EQ(plan.grid.firstIndex, 1050);
    EXPECT_EQ(CurveOf(plan, 0), (std::vector<float>{2, 3}));
}

TEST(Grid, SinglesComeBackTheSame) {
    const std::vector<float> singles{0.1F,        1e-45F,      std::numeric_limits<float>::max(),
                                     16777217.0F, 1.0F / 3.0F, 1.17549435e-38F};
    std::string text = "T,A\n";
    for (std::size_t i = 0; i < singles.size(); ++i) {
        std::array<char, 64> line{};
        std::snprintf(line.data(), line.size(), "%zu,%.9g\n", i, static_cast<double>(singles[i]));
        text += line.data();
    }
    EXPECT_EQ(CurveOf(PlanOf(text), 0), singles);
}

TEST(Grid, NumbersBeyondSinglesAreTheSameInAnyLanguage) {
    const vorela::test::CommaLocale german;
    EXPECT_EQ(CurveOf(PlanOf("T,A\n0,1.5e-50\n1,-2.5e-46\n2,1.5e-400\n3,2.5\n"), 0),
              (std::vector<float>{0, 0, 0, 2.5}));
    EXPECT_TRUE(Tells(PlanOf("T,A\n0,1.5\n1,0.1e50\n2,2.5\n"), "beyond single"));
}

/// A number as some logger may write it; `form` counts through the ways.
std::string NumberText(std::mt19937_64& random, std::uint64_t form) {
    std::array<char, 400> text{};
    const auto upTo = [&](std::uint64_t most) { return static_cast<int>(random() % (most + 1)); };
    const double some = std::ldexp(static_cast<double>(random() >> 11), upTo(20) - 60) * (upTo(1) * 2 - 1);
    const auto single = static_cast<float>(some);
    if (form % 4 == 0)
        std::snprintf(text.data(), text.size(), "%.*f", upTo(12), some);
    else if (form % 4 == 1)
        std::snprintf(text.data(), text.size(), "%.*g", upTo(17), some * std::pow(10.0, upTo(60) - 30));
    else if (form % 4 == 2)  // midway between two singles
        std::snprintf(text.data(), text.size(), "%.*f", upTo(30),
                      (static_cast<double>(single) + std::nextafterf(single, 1e30F)) / 2);
    else
        std::snprintf(text.data(), text.size(), "%.*s.%d", 1 + upTo(18), "8765432109876543210", upTo(9999));
    return text.data();
}

TEST(Grid, NumbersAreThoseOfFromChars) {
    std::mt19937_64 random(5);
    std::string text = "T,A\n";
    std::vector<float> expected;
    for (std::uint64_t i = 0; i < 200000; ++i) {
        const std::string number = NumberText(random, i);
        std::from_chars(number.data(), number.data() + number.size(), expected.emplace_back());
        text += std::to_string(i) + "," + number + "\n";
    }
    const std::vector<float> values = CurveOf(PlanOf(text), 0);
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(std::bit_cast<std::uint32_t>(values[i]), std::bit_cast<std::uint32_t>(expected[i])) << i;
}

}  // namespace
}  // namespace dravik
