#include "signal/modWindowedSinc.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

int ErrorOf(const std::function<void()>& body) {
    return test::ThrownBy(body).number;
}

/// Output r of the convolution without any blanking.
double DirectSum(const std::vector<float>& signal, const std::vector<float>& kernel, std::size_t r) {
    double sum = 0;
    for (std::size_t m = 0; m <= std::min(r, kernel.size() - 1); ++m)
        sum += double{kernel[m]} * signal[r - m];
    return sum;
}

TEST(WindowedSincKernel, HasTheValuesWorkedOutByHand) {
    // x = −2 −1 0 1, sinc part 0 1 π/2 1, window 0 0.34 1 0.34, divided by the sum 2.25079633.
    EXPECT_THAT(LowPassKernel(0.25F, 4),
                Pointwise(FloatNear(1e-7F), {0.0F, 0.15105764F, 0.69788471F, 0.15105764F}));
    EXPECT_THAT(HighPassKernel(0.25F, 4),
                Pointwise(FloatNear(1e-7F), {0.0F, -0.15105764F, 0.30211529F, -0.15105764F}));
    // Low pass at 0.5: sinc part 0 0 π 0, so that the kernel is the unit impulse and the reject kernel at
    // (0.25, 0.5) is the low pass alone.
    EXPECT_THAT(BandPassKernel(0.25F, 0.5F, 4),
                Pointwise(FloatNear(1e-6F), {0.0F, -0.15105764F, 0.30211529F, -0.15105764F}));
    EXPECT_THAT(LowPassKernel(0.25F, 1), Each(1.0F)) << "one value, normalised";
}

TEST(WindowedSincKernel, OfOddLengthIsCentredBetweenTwoSamplesButInvertedAtTheLowerOne) {
    const std::vector<float> low = LowPassKernel(0.1F, 5);
    EXPECT_NEAR(low[0], 0.0F, 1e-9F) << "the window begins at zero and does not reach its end";
    EXPECT_NEAR(low[2], low[3], 1e-7F);
    EXPECT_NEAR(low[1], low[4], 1e-7F);
    EXPECT_GT(low[4], 0.01F);
    EXPECT_NEAR(HighPassKernel(0.1F, 5)[2], 1.0F - low[2], 1e-7F);
    EXPECT_NEAR(HighPassKernel(0.1F, 5)[3], -low[3], 1e-7F);
}

TEST(WindowedSincKernel, WithoutLengthOrSumIsNotDividedByZero) {
    EXPECT_EQ(ErrorOf([] { LowPassKernel(0.1F, 0); }), error_number::subscriptOutOfRange);
    EXPECT_EQ(ErrorOf([] { BandPassKernel(0.1F, 0.2F, -5); }), error_number::subscriptOutOfRange);
    std::vector<float> zeroSum{1.0F, -1.0F, 2.0F, -2.0F};
    Normalise(zeroSum);
    EXPECT_EQ(zeroSum, (std::vector<float>{1.0F, -1.0F, 2.0F, -2.0F}));
}

TEST(WindowedSincRounding, OfPowersKeepsPowersAndGoesUpBetweenThem) {
    EXPECT_EQ(RoundUp(3.0F), 3.0F);
    EXPECT_EQ(RoundUp(3.01F), 4.0F);
    EXPECT_EQ(RoundUp(-3.5F), -3.0F);
    for (std::int32_t power = 1; power <= 30; ++power)
        EXPECT_EQ(NextPowerOfTwo(1 << power), 1 << power);
    EXPECT_EQ(NextPowerOfTwo(1), 1);
    EXPECT_EQ(NextPowerOfTwo(4801), 8192);
    EXPECT_EQ(NextPowerOfTwo((1 << 24) + 1), 1 << 24) << "the exponent is a single";
    EXPECT_EQ(ErrorOf([] { NextPowerOfTwo(0); }), error_number::invalidProcedureCall);
    EXPECT_EQ(ErrorOf([] { NextPowerOfTwo((1 << 30) + (1 << 10)); }), error_number::overflow);
}

/// Both compiled transforms, against the direct sum at the length that the field uses.
class OverlapAddVariant : public testing::TestWithParam<FftVariant> {};

TEST_P(OverlapAddVariant, FiltersLikeTheDirectSum) {
    if (!IsSupported(GetParam()))
        GTEST_SKIP() << "this processor does not run it";
    // Kernels as the field uses them; a ripple on the high level of a pressure gauge, to the last digits of
    // the level once the kernel lies within the signal; kernels of every size beside a power of two.
    std::vector<std::tuple<std::vector<float>, float, float, std::size_t>> cases{
        {BandPassKernel(0.0002F, 0.0008F, 4801), 1.0F, 2.0F, 0},
        {BandPassKernel(0.0002F, 0.0008F, 2000), 1.0F, 2.0F, 0},
        {BandPassKernel(0.005F, 0.02F, 401), 5000.0F, 0.1F, 400}};
    for (const std::size_t length : {1U, 2U, 3U, 8U, 9U, 33U, 129U})
        cases.emplace_back(test::Noise(length, 0.0F, 0.1F, 3), 0.5F, 1.0F, 0);
    for (const auto& [kernel, level, spread, from] : cases) {
        const std::vector<float> signal = test::Noise(50000, level, spread);
        std::vector<float> outputs(signal.size());
        const auto keep = [&](std::int64_t first, std::span<const float> values) {
            std::copy(values.begin(), values.end(), outputs.begin() + first);
        };
        OverlapAddFilter filter(std::make_shared<const OverlapAddKernel>(kernel, GetParam()));
        filter.Feed(signal, keep);
        filter.Provisional(keep);
        for (std::size_t r = from; r < outputs.size(); r += 97)
            ASSERT_NEAR(outputs[r], DirectSum(signal, kernel, r), 3e-6) << kernel.size() << ", output " << r;
    }
    for (const float bad : {std::nanf(""), 3e38F}) {
        OverlapAddFilter filter(std::make_shared<const OverlapAddKernel>(std::vector(3, 1.0F), GetParam()));
        const std::vector<float> signal(100, bad);
        EXPECT_EQ(ErrorOf([&] { filter.Feed(signal, {}), filter.Provisional({}); }), error_number::overflow);
    }
    EXPECT_EQ(ErrorOf([] { OverlapAddKernel({}, GetParam()); }), error_number::subscriptOutOfRange);
}
INSTANTIATE_TEST_SUITE_P(Both, OverlapAddVariant, testing::Values(FftVariant::portable, FftVariant::avx2));

}  // namespace
}  // namespace vorela
