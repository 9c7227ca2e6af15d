#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "signal/modWindowedSinc.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

using test::Noise;
using testing::Each;
using testing::FloatNear;
using testing::Pointwise;

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

/// The definition: delay D taken out, D zeros at the start, D + 1 at the end.
std::vector<float> SlowConvolution(const std::vector<float>& signal, const std::vector<float>& kernel) {
    const std::size_t delay = kernel.size() / 2;
    std::vector<float> result(signal.size());
    for (std::size_t k = delay; k + delay + 1 < signal.size(); ++k)
        result[k] = static_cast<float>(DirectSum(signal, kernel, k + delay));
    return result;
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

TEST(Fft, TurnsWithTheSignAndIsUnscaled) {
    constexpr std::size_t points = 8;
    std::vector<float> buffer(2 * points);
    buffer[2] = 1.0F;  // an impulse at point 1
    Fft(buffer, points, 1);
    for (std::size_t m = 0; m < points; ++m) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(m) / points;
        EXPECT_NEAR(buffer[2 * m], std::cos(angle), 1e-6);
        EXPECT_NEAR(buffer[2 * m + 1], std::sin(angle), 1e-6);
    }
    Fft(buffer, points, -1);
    EXPECT_NEAR(buffer[2], 8.0F, 1e-5F);
    EXPECT_NEAR(buffer[4], 0.0F, 1e-5F);
    EXPECT_EQ(ErrorOf([&] { Fft(buffer, 6, 1); }), error_number::invalidProcedureCall);
    EXPECT_EQ(ErrorOf([&] { Fft(buffer, 16, 1); }), error_number::invalidProcedureCall);
}

TEST(Convolve, EqualsTheDirectSumForEveryKindOfLength) {
    for (const std::size_t kernelLength : {1U, 2U, 3U, 8U, 9U, 32U, 33U, 100U, 129U, 700U}) {
        const std::vector<float> kernel = Noise(kernelLength, 0.0F, 1.0F, 3);
        const std::size_t delay = kernelLength / 2;
        for (const std::size_t length : {std::size_t{1}, delay, delay + 1, 2 * delay + 1, 2 * delay + 2,
                                         kernelLength + 1, 6 * kernelLength + 5, 20 * kernelLength}) {
            const std::vector<float> signal = Noise(length, 0.5F, 1.0F);
            EXPECT_THAT(Convolve(signal, kernel),
                        Pointwise(FloatNear(3e-5F), SlowConvolution(signal, kernel)))
                << "kernel " << kernelLength << ", signal " << length;
        }
    }
    EXPECT_THAT(Convolve(std::vector<float>(7, 1.0F), std::vector<float>(6, 1.0F)), Each(0.0F));
    EXPECT_TRUE(Convolve({}, std::vector<float>{1.0F}).empty());
    EXPECT_EQ(ErrorOf([] { Convolve(std::vector<float>{1.0F}, {}); }), error_number::subscriptOutOfRange);
}

TEST(Convolve, RefusesValuesThatAreNoNumbers) {
    std::vector<float> signal(100, 1.0F);
    signal[50] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(ErrorOf([&] { Convolve(signal, std::vector<float>(3, 1.0F)); }), error_number::overflow);
    signal[50] = signal[51] = 3e38F;
    EXPECT_EQ(ErrorOf([&] { Convolve(signal, std::vector<float>(3, 1.0F)); }), error_number::overflow);
}

TEST(BandPassFilter, KeepsARippleOnAHighLevelToTheLastDigitsOfTheLevel) {
    // 0.1 psi of the period of test on 5000 psi; the transform's rounding of 5000 alone would be 1e-3.
    constexpr double samplesPerPeriod = 100;
    std::vector<float> signal(30000);
    for (std::size_t k = 0; k < signal.size(); ++k)
        signal[k] = static_cast<float>(
            5000.0 + 0.1 * std::sin(2 * std::numbers::pi * static_cast<double>(k) / samplesPerPeriod));
    const std::vector<float> kernel = BandPassKernel(0.005F, 0.02F, 401);
    EXPECT_THAT(BandPassFilter(signal, 0.005F, 0.02F, 401),
                Pointwise(FloatNear(2e-6F), SlowConvolution(signal, kernel)));
}

/// Both compiled transforms, against the direct sum at the length that the field uses.
class OverlapAddVariant : public testing::TestWithParam<FftVariant> {};

TEST_P(OverlapAddVariant, FiltersLikeTheDirectSum) {
    if (!IsSupported(GetParam()))
        GTEST_SKIP() << "this processor does not run it";
    for (const std::int16_t length : {std::int16_t{4801}, std::int16_t{2000}}) {
        const std::vector<float> kernel = BandPassKernel(0.0002F, 0.0008F, length);
        const std::vector<float> signal = Noise(50000, 1.0F, 2.0F);
        std::vector<float> outputs(signal.size());
        const auto keep = [&](std::int64_t first, std::span<const float> values) {
            std::copy(values.begin(), values.end(), outputs.begin() + first);
        };
        OverlapAddFilter filter(std::make_shared<const OverlapAddKernel>(kernel, GetParam()));
        filter.Feed(signal, keep);
        filter.Provisional(keep);
        for (std::size_t r = 0; r < outputs.size(); r += 97)
            ASSERT_NEAR(outputs[r], DirectSum(signal, kernel, r), 2e-6) << "output " << r;
    }
}
INSTANTIATE_TEST_SUITE_P(Both, OverlapAddVariant, testing::Values(FftVariant::portable, FftVariant::avx2));

}  // namespace
}  // namespace vorela
