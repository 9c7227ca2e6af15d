#include <gtest/gtest.h>

#include <limits>

#include "analysis/modComplex.h"
#include "general/RunTimeError.h"

namespace vorela {
namespace {

constexpr double degreesTolerance = 1e-12;

TEST(ModComplex, ArgumentIsRightOnEveryAxisAndOctantAndTheNegativeRealAxisIsMinus180) {
    constexpr double flat = 26.56505117707799;
    constexpr double steep = 63.43494882292201;
    const struct {
        double re, im, argument;
    } cases[] = {
        {0, 0, 0},
        {1, 0, 0},
        {0, 1, 90},
        {-1, 0, -180},
        {0, -1, -90},
        {1, 1, 45},
        {-1, 1, 135},
        {-1, -1, -135},
        {1, -1, -45},
        {2, 1, flat},
        {1, 2, steep},
        {-1, 2, 180 - steep},
        {-2, 1, 180 - flat},
        {-2, -1, flat - 180},
        {-1, -2, steep - 180},
        {1, -2, -steep},
        {2, -1, -flat},
    };
    for (const auto& c : cases) {
        const double phase = c.argument < 0 ? c.argument + 360 : c.argument;
        EXPECT_NEAR(ArgumentDegrees({c.re, c.im}), c.argument, degreesTolerance) << c.re << ", " << c.im;
        EXPECT_NEAR(ToPolar({c.re, c.im}).phase, phase, degreesTolerance) << c.re << ", " << c.im;
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
    const Complex product = Multiply({2, 3}, {-1, 4});
    EXPECT_DOUBLE_EQ(product.re, -14);
    EXPECT_DOUBLE_EQ(product.im, 5);
    const Complex difference = Subtract({2, 3}, {-1, 4});
    EXPECT_DOUBLE_EQ(difference.re, 3);
    EXPECT_DOUBLE_EQ(difference.im, -1);
    constexpr double huge = std::numeric_limits<double>::max();
    EXPECT_THROW(Multiply({huge, 0}, {2, 0}), RunTimeError);
    EXPECT_THROW(Magnitude({huge, huge}), RunTimeError);
    EXPECT_THROW(FourQuadrantArgument(std::numeric_limits<double>::quiet_NaN(), 1), RunTimeError);
}

}  // namespace
}  // namespace vorela
