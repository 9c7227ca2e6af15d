// The filter library as the program meets it: through the loaded module.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "dravik/include/Smooth32.h"

extern "C" int HeadersCompileAsC(void);

namespace {

class Smooth32 : public testing::Test {
  protected:
    Smooth32() : module_(dlopen(VORELA_BIN_DIR "/Smooth32.so", RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(module_, nullptr) << dlerror();
        Load(create, "CreateSOFilter");
        Load(init, "InitSOFilter");
        Load(lag, "GetSOFilterLag");
        Load(apply, "ApplySOFilter");
        Load(destroy, "DestroySOFilter");
    }
    ~Smooth32() override { dlclose(module_); }

    template <typename Function>
    void Load(Function& function, const char* name) {
        function = reinterpret_cast<Function>(dlsym(module_, name));
        ASSERT_NE(function, nullptr) << name;
    }

    /// A prepared filter on the 10 Hz grid, 0 when that fails.
    std::int32_t Prepared(const std::string& specification, std::int16_t step = 10) {
        const std::int32_t handle = create("", specification.c_str(), 0, 0);
        return handle != 0 && init(handle, 100, step) != 0 ? handle : 0;
    }

    std::vector<double> Filter(const std::string& specification, const std::vector<float>& input) {
        const std::int32_t handle = Prepared(specification);
        EXPECT_NE(handle, 0) << specification;
        std::vector<double> output;
        for (const float value : input) {
            double filtered = value;
            EXPECT_NE(apply(handle, &filtered), 0);
            output.push_back(filtered);
        }
        destroy(handle);
        return output;
    }

    void* module_;
    decltype(&CreateSOFilter) create = nullptr;
    decltype(&InitSOFilter) init = nullptr;
    decltype(&GetSOFilterLag) lag = nullptr;
    decltype(&ApplySOFilter) apply = nullptr;
    decltype(&DestroySOFilter) destroy = nullptr;
};

std::vector<long double> UnitSum(std::vector<long double> weights) {
    const long double sum = std::accumulate(weights.begin(), weights.end(), 0.0L);
    for (long double& weight : weights)
        weight /= sum;
    return weights;
}

/// Weights by the plain definition of each filter.
std::vector<long double> Weights(const std::string& type, int n) {
    std::vector<long double> weights;
    for (int i = 0; i < n; ++i) {
        const long double x = i - (n - 1) / 2;
        if (type == "Square")
            weights.push_back(1.0L);
        else if (type == "Triangle")
            weights.push_back((n + 1) / 2 - std::abs(x));
        else
            weights.push_back(std::exp(-x * x / (2.0L * n / 6.0L * n / 6.0L)));
    }
    return UnitSum(weights);
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
    struct Case {
        const char* specification;
        const char* type;
        int n;
    };
    // 25 steps; 24 becomes 25; one step; as many as samples.
    for (const Case& c : {Case{"Square,2.5", "Square", 25}, Case{"Triangle,2.4", "Triangle", 25},
                          Case{"Gaussian,2.5", "Gaussian", 25}, Case{"Square,0.1", "Square", 1},
                          Case{"None,2.5", "Square", 1}, Case{"Triangle,0.3", "Triangle", 3},
                          Case{"Gaussian,40", "Gaussian", 401}}) {
        const std::vector<double> output = Filter(c.specification, input);
        const std::vector<long double> weights = Weights(c.type, c.n);
        for (std::size_t i = 0; i < input.size(); ++i)
            ASSERT_TRUE(IsNext(output[i], Direct(input, weights, i))) << c.specification << " at " << i;
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
    EXPECT_EQ(lag(Prepared("None,2.5")), 0);
    EXPECT_EQ(lag(Prepared("Square,2.5")), 120);       // (25 - 1) / 2 * 10
    EXPECT_EQ(lag(Prepared("Gaussian,2.5", 7)), 126);  // 35.7 -> 36 -> 37 samples
    EXPECT_EQ(lag(Prepared("Triangle,0")), 0);
    EXPECT_EQ(lag(create("", "Square,2.5", 0, 0)), 0) << "not prepared";
    EXPECT_EQ(lag(12345678), 0);
}

TEST_F(Smooth32, InitForgetsWhatTheFilterHasSeen) {
    const std::int32_t handle = Prepared("Square,1");
    double value = 1000.0;
    apply(handle, &value);
    ASSERT_NE(init(handle, 100, 10), 0);
    value = 2.0;
    apply(handle, &value);
    EXPECT_EQ(value, 2.0);
}

TEST_F(Smooth32, SpecificationsThatMakeNoSenseGiveHandleZero) {
    for (const char* text : {"", "Square", "Square,", "Square,x", "Square,-1", "Square,inf", "Square,nan",
                             "square,1", "Median,1", ",1", "Square,1,2", "Square 1"})
        EXPECT_EQ(create("", text, 0, 0), 0) << text;
    EXPECT_EQ(create(nullptr, nullptr, 0, 0), 0);
}

TEST_F(Smooth32, InitRefusesBadValuesAndFiltersBeyondTenMillionSamples) {
    const std::int32_t handle = create("", "Square,99999.99", 0, 0);
    EXPECT_NE(init(handle, 100, 1), 0) << "9,999,999 samples";
    const std::int32_t tooLong = create("", "Square,100000", 0, 0);
    EXPECT_EQ(init(tooLong, 100, 1), 0) << "10,000,001 samples";
    EXPECT_NE(init(tooLong, 100, 2), 0);
    EXPECT_EQ(init(handle, 100, 0), 0);
    EXPECT_EQ(init(handle, 0, 10), 0);
    EXPECT_EQ(init(handle, 100, -10), 0);
    EXPECT_EQ(init(0, 100, 10), 0);
    destroy(handle);
    destroy(tooLong);
    destroy(tooLong);
    EXPECT_EQ(init(handle, 100, 10), 0) << "destroyed";
}

TEST_F(Smooth32, AValueThatIsNotFiniteIsRefusedAndLeavesTheFilterAsItWas) {
    for (const char* specification : {"None,1", "Square,1", "Triangle,1", "Gaussian,1"}) {
        const std::int32_t disturbed = Prepared(specification);
        const std::int32_t plain = Prepared(specification);
        for (const double input : {1.0, 4.0, -2.0}) {
            for (double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
                const double before = bad;
                EXPECT_EQ(apply(disturbed, &bad), 0);
                EXPECT_TRUE(std::isnan(before) ? std::isnan(bad) : bad == before);
            }
            double a = input;
            double b = input;
            ASSERT_NE(apply(disturbed, &a), 0);
            ASSERT_NE(apply(plain, &b), 0);
            EXPECT_EQ(a, b) << specification;
        }
    }
    double value = 1.0;
    EXPECT_EQ(apply(create("", "Square,1", 0, 0), &value), 0) << "not prepared";
    EXPECT_EQ(apply(Prepared("Square,1"), nullptr), 0);
}

TEST_F(Smooth32, ShowsItsFiveFunctionsOnly) {
    EXPECT_EQ(dlsym(module_, "_ZN6vorela17MakeRunningFilterENS_11FilterShapeEm"), nullptr);
    EXPECT_NE(HeadersCompileAsC(), 0);
}

}  // namespace
