// The well function against values computed elsewhere and against its own limits.
#include "general/WellFunction.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;

void ExpectNear(Complex got, Complex expected, double relative) {
    EXPECT_LE(std::abs(got - expected), relative * std::abs(expected)) << got << " for " << expected;
}

Complex K0(double x) {
    return BesselKOnDiagonal(x).k0 * std::exp(-std::polar(x, pi / 4.0));
}

TEST(BesselK, EqualsTabulatedValues) {
    constexpr double tabulated = 3e-13;  // thirteen digits are given
    ExpectNear(K0(0.01), {4.721121335629, -0.7852551357322}, tabulated);
    ExpectNear(K0(0.1), {2.420473981038, -0.7768506465367}, tabulated);
    ExpectNear(K0(1.0), {0.2867062087283, -0.4949946365187}, tabulated);
    ExpectNear(K0(5.0), {-0.01151172719949, 0.01118758650987}, tabulated);
    ExpectNear(WellFunction(0.1), {2.440865622761, -0.744125266731}, tabulated);
    ExpectNear(WellFunction(0.01), {4.721511412825, -0.7840533456279}, tabulated);
    ExpectNear(WellFunction(1.0), {0.6158001556541, -0.4002355768522}, tabulated);
    const std::tuple<double, Complex, Complex> scaled[] = {
        {1e-5, {11.6289447627275, -0.785321487667668}, {70711.6780765315, -70710.678155225}},
        {30, {0.21103355176731, -0.0867021128428533}, {0.212509928425846, -0.0901820757772736}},
        {1e5, {0.00366163507501618, -0.00151669511681366}, {0.00366164265854309, -0.00151671342492986}}};
    for (const auto& [x, k0, k1] : scaled) {
        ExpectNear(BesselKOnDiagonal(x).k0, k0, tabulated);
        ExpectNear(BesselKOnDiagonal(x).k1, k1, tabulated);
    }
}

TEST(WellFunction, GoesOnSmoothlyIntoItsAsymptoteAndHasItsSlope) {
    ExpectNear(WellFunction(99999.99) / WellFunction(100000.01), 1.0000002, 1e-9);
    for (const double x : {1e-4, 0.03, 0.7, 2.0, 40.0}) {
        const double h = 1e-4;
        const Complex numerical =
            (WellFunction(x * std::exp(h)) - WellFunction(x * std::exp(-h))) / (2.0 * h);
        ExpectNear(WellFunctionSlope(x, WellFunction(x)), numerical, 1e-7);
    }
}

TEST(WellFunction, LagFunctionRisesBetweenItsTwoLimitsAndIsInvertedEverywhere) {
    double before = LagFunction(1e-6);
    constexpr double ratio = 1.05;
    for (double x = 1e-6 * ratio; x < 3e5; x *= ratio) {
        const double now = LagFunction(x);
        const double slope = std::log(now / before) / std::log(ratio);
        EXPECT_GT(slope, 1.0 - 1e-9) << x;
        EXPECT_LT(slope, 2.0 + 1e-9) << x;
        EXPECT_NEAR(InverseLagFunction(now) / x, 1.0, 1e-12);
        before = now;
    }
}

TEST(WellFunction, ArgumentIsInvertedAndRefusedOutsideOfItsRange) {
    for (double x = 1e-20; x < 1e4; x *= 7.3)
        EXPECT_NEAR(*InverseArgument(-std::arg(WellFunction(x))) / x, 1.0, 1e-9) << x;
    EXPECT_FALSE(InverseArgument(pi / 4.0));
    EXPECT_FALSE(InverseArgument(1e-5));
    EXPECT_FALSE(InverseArgument(-0.1));
}

}  // namespace
}  // namespace vorela::test
