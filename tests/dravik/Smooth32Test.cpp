// The filter library as the program meets it: through the loaded module.
#include <numeric>

#include "platform/DravikLibraries.h"
#include "tests/support/DravikFixture.h"

namespace dravik {
using namespace vorela::test;

namespace {

class Smooth32 : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(vorela::test::LoadBuiltLibraries()); }

    std::int32_t Create(const std::string& definition) {
        return api.CreateSOFilter("", definition.c_str(), 0, 0);
    }
    /// A prepared filter on the 10 Hz grid, 0 when that fails.
    std::int32_t Prepared(const std::string& definition, std::int16_t step = 10) {
        const std::int32_t handle = Create(definition);
        return handle != 0 && api.InitSOFilter(handle, 100, step) != 0 ? handle : 0;
    }
    std::vector<double> Filter(const std::string& definition, const std::vector<float>& input) {
        const std::int32_t handle = Prepared(definition);
        EXPECT_NE(handle, 0) << definition;
        std::vector<double> output(input.begin(), input.end());
        for (double& value : output)
            EXPECT_NE(api.ApplySOFilter(handle, &value), 0);
        api.DestroySOFilter(handle);
        return output;
    }

    const vorela::Smooth32Api& api = vorela::LoadedLibraries().filter;
};

/// Weights by the plain definition of each filter, of unit sum.
std::vector<long double> Weights(const std::string& type, int n) {
    std::vector<long double> weights;
    const int half = (n - 1) / 2;
    for (int i = 0; i < n; ++i) {
        const long double x = i - half;
        const long double gaussian = std::exp(-x * x / (2.0L * n / 6.0L * n / 6.0L));
        weights.push_back(type == "Square" ? 1.0L : type == "Triangle" ? half + 1 - std::abs(x) : gaussian);
    }
    const long double sum = std::accumulate(weights.begin(), weights.end(), 0.0L);
    for (long double& weight : weights)
        weight /= sum;
    return weights;
}

/// Output sample `at` by direct summation, the first input standing for all before it.
float Direct(const std::vector<float>& input, const std::vector<long double>& weights, std::size_t at) {
    long double sum = 0.0L;
    for (std::size_t i = 0; i < weights.size(); ++i)
        sum += weights[i] * (at >= i ? input[at - i] : input.front());
    return static_cast<float>(sum);
}

/// The same single or one of its two neighbours.
bool IsNext(double value, float expected) {
    const auto got = static_cast<float>(value);
    return got == std::nextafter(expected, got);
}

TEST_F(Smooth32, EqualsDirectConvolutionWithinOneUnitInTheLastPlace) {
    std::mt19937 random(7);
    std::vector<float> input(400);
    for (float& value : input)
        value = static_cast<float>(random() % 100000) / 777.0F - 40.0F;
    // 25 steps; 24 becomes 25; one step; as many as samples.
    const std::tuple<const char*, const char*, int> cases[] = {
        {"Square,2.5", "Square", 25},    {"Triangle,2.4", "Triangle", 25}, {"Gaussian,2.5", "Gaussian", 25},
        {"Square,0.1", "Square", 1},     {"None,2.5", "Square", 1},        {"Triangle,0.3", "Triangle", 3},
        {"Gaussian,40", "Gaussian", 401}};
    for (const auto& [definition, type, n] : cases) {
        const std::vector<double> output = Filter(definition, input);
        const std::vector<long double> weights = Weights(type, n);
        for (std::size_t i = 0; i < input.size(); ++i)
            ASSERT_TRUE(IsNext(output[i], Direct(input, weights, i))) << definition << " at " << i;
    }
}

TEST_F(Smooth32, SumsDoNotDriftAfterMillionsOfSamplesAndABurst) {
    // A burst 1e12 times the signal leaves its rounding in a naive running sum for good.
    constexpr std::size_t count = 3'000'000;
    std::vector<float> input(count);
    for (std::size_t i = 0; i < count; ++i)
        input[i] = i % 100'000 == 5 ? 3e12F : std::sin(static_cast<float>(i % 6283) / 1000.0F) + 0.1F;
    for (const char* type : {"Square", "Triangle"}) {
        const std::vector<double> output = Filter(std::string(type) + ",10.1", input);
        const std::vector<long double> weights = Weights(type, 101);
        for (std::size_t i = count - 5000; i < count; i += 7)
            ASSERT_TRUE(IsNext(output[i], Direct(input, weights, i))) << type << " at " << i;
    }
}

TEST_F(Smooth32, LagIsHalfTheLengthInIndexUnits) {
    EXPECT_EQ(api.GetSOFilterLag(Prepared("None,2.5")), 0);
    EXPECT_EQ(api.GetSOFilterLag(Prepared("Square,2.5")), 120);       // (25 - 1) / 2 * 10
    EXPECT_EQ(api.GetSOFilterLag(Prepared("Gaussian,2.5", 7)), 126);  // 35.7 -> 36 -> 37 samples
    EXPECT_EQ(api.GetSOFilterLag(Prepared("Triangle,0")), 0);
    EXPECT_EQ(api.GetSOFilterLag(Create("Square,2.5")), 0) << "not prepared";
    EXPECT_EQ(api.GetSOFilterLag(12345678), 0);
}

TEST_F(Smooth32, InitForgetsWhatTheFilterHasSeen) {
    const std::int32_t handle = Prepared("Square,1");
    double value = 1000.0;
    api.ApplySOFilter(handle, &value);
    ASSERT_NE(api.InitSOFilter(handle, 100, 10), 0);
    value = 2.0;
    api.ApplySOFilter(handle, &value);
    EXPECT_EQ(value, 2.0);
}

TEST_F(Smooth32, DefinitionsThatMakeNoSenseGiveHandleZero) {
    for (const char* text : {"", "Square", "Square,", "Square,x", "Square,-1", "Square,inf", "Square,nan",
                             "square,1", "Median,1", ",1", "Square,1,2", "Square 1"})
        EXPECT_EQ(Create(text), 0) << text;
    EXPECT_EQ(api.CreateSOFilter(nullptr, nullptr, 0, 0), 0);
}

TEST_F(Smooth32, InitRefusesBadValuesAndFiltersBeyondTenMillionSamples) {
    const std::int32_t handle = Create("Square,99999.99");
    EXPECT_NE(api.InitSOFilter(handle, 100, 1), 0) << "9,999,999 samples";
    const std::int32_t tooLong = Create("Square,100000");
    EXPECT_EQ(api.InitSOFilter(tooLong, 100, 1), 0) << "10,000,001 samples";
    EXPECT_NE(api.InitSOFilter(tooLong, 100, 2), 0);
    EXPECT_EQ(api.InitSOFilter(handle, 100, 0), 0);
    EXPECT_EQ(api.InitSOFilter(handle, 0, 10), 0);
    EXPECT_EQ(api.InitSOFilter(handle, 100, -10), 0);
    EXPECT_EQ(api.InitSOFilter(0, 100, 10), 0);
    api.DestroySOFilter(handle);
    api.DestroySOFilter(tooLong);
    api.DestroySOFilter(tooLong);
    EXPECT_EQ(api.InitSOFilter(handle, 100, 10), 0) << "destroyed";
}

TEST_F(Smooth32, AValueThatIsNotFiniteIsRefusedAndLeavesTheFilterAsItWas) {
    const std::vector<float> input{1.0F, 4.0F, -2.0F};
    for (const char* definition : {"None,1", "Square,1", "Triangle,1", "Gaussian,1"}) {
        const std::int32_t disturbed = Prepared(definition);
        std::vector<double> output(input.begin(), input.end());
        for (double& value : output) {
            for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
                double refused = bad;
                EXPECT_EQ(api.ApplySOFilter(disturbed, &refused), 0);
                EXPECT_TRUE(std::isnan(bad) ? std::isnan(refused) : refused == bad);
            }
            ASSERT_NE(api.ApplySOFilter(disturbed, &value), 0);
        }
        EXPECT_EQ(output, Filter(definition, input)) << definition;
    }
    double value = 1.0;
    EXPECT_EQ(api.ApplySOFilter(Create("Square,1"), &value), 0) << "not prepared";
    EXPECT_EQ(api.ApplySOFilter(Prepared("Square,1"), nullptr), 0);
}

}  // namespace
}  // namespace dravik
