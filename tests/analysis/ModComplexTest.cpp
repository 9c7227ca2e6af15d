#include <gtest/gtest.h>

#include <limits>

#include "analysis/modComplex.h"
#include "general/RunTimeError.h"

namespace vorela {
namespace {

constexpr double degreesTolerance = 1e-12;

TEST(ModComplex, ArgumentIsRightOnEveryAxisAndOctantAndTheNegativeRealAxisIsMinus180) {
    const auto expectArgument = [](double re, double im, double argument) {
        const double phase = argument < 0 ? argument + 360 : argument;
        EXPECT_NEAR(ArgumentDegrees({re, im}), argument, degreesTolerance) << re << ", " << im;
        EXPECT_NEAR(ToPolar({re, im}).phase, phase, degreesTolerance) << re << ", " << im;
    };
    expectArgument(0, 0, 0);
    expectArgument(1, 0, 0);
    expectArgument(0, 1, 90);
    expectArgument(-1, 0, -180);
    expectArgument(0, -1, -90);
    const std::tuple<double, double, double> firstQuadrant[] = {
        {1, 1, 45}, {2, 1, 26.56505117707799}, {1, 2, 63.43494882292201}};
    for (const auto& [re, im, argument] : firstQuadrant)
        for (const int sign : {1, -1}) {
            expectArgument(re, sign * im, sign * argument);
            expectArgument(-re, sign * im, sign * (180 - argument));
        }
    EXPECT_DOUBLE_EQ(ToPolar({-3, 4}).magnitude, 5);
}

// The truncation goes toward zero: bringing low values into the range would change every lag below −180°.
TEST(ModComplex, WrapLeavesValuesBelowTheRangeWhereTheyAre) {
    for (const auto& [value, wrapped] : std::initializer_list<std::pair<double, double>>{
             {190, -170}, {180, -180}, {530, 170}, {-180, -180}, {-190, -190}, {-539, -539}})
        EXPECT_DOUBLE_EQ(Wrap(value, -180, 180), wrapped);
}

TEST(ModComplex, ProductsAndDifferencesFollowTheAlgebraAndOverflowIsAnError) {
    const auto parts = [](const Complex& z) { return std::pair(z.re, z.im); };
    EXPECT_EQ(parts(Multiply({2, 3}, {-1, 4})), std::pair(-14.0, 5.0));
    EXPECT_EQ(parts(Subtract({2, 3}, {-1, 4})), std::pair(3.0, -1.0));
    constexpr double huge = std::numeric_limits<double>::max();
    EXPECT_THROW(Multiply({huge, 0}, {2, 0}), RunTimeError);
    EXPECT_THROW(Magnitude({huge, huge}), RunTimeError);
    EXPECT_THROW(FourQuadrantArgument(std::numeric_limits<double>::quiet_NaN(), 1), RunTimeError);
}

}  // namespace
}  // namespace vorela
