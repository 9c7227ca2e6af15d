#include <gtest/gtest.h>

#include <limits>

#include "analysis/modComplex.h"
#include "general/RunTimeError.h"

namespace vorela {
namespace {

constexpr double degreesTolerance = 1e-12;

TEST(ModComplex, ArgumentIsRightOnEveryAxisAndOctantAndTheNegativeRealAxisIsMinus180) {
    struct Case {
        double re, im, argument, phase;
    };
    for (const Case& c : {Case{0, 0, 0, 0},
                          {1, 0, 0, 0},
                          {0, 1, 90, 90},
                          {-1, 0, -180, 180},
                          {0, -1, -90, 270},
                          {1, 1, 45, 45},
                          {-1, 1, 135, 135},
                          {-1, -1, -135, 225},
                          {1, -1, -45, 315},
                          {2, 1, 26.56505117707799, 26.56505117707799},
                          {1, 2, 63.43494882292201, 63.43494882292201},
                          {-1, 2, 116.56505117707799, 116.56505117707799},
                          {-2, 1, 153.43494882292201, 153.43494882292201},
                          {-2, -1, -153.43494882292201, 206.56505117707799},
                          {-1, -2, -116.56505117707799, 243.43494882292201},
                          {1, -2, -63.43494882292201, 296.56505117707799},
                          {2, -1, -26.56505117707799, 333.43494882292201}}) {
        EXPECT_NEAR(ArgumentDegrees({c.re, c.im}), c.argument, degreesTolerance) << c.re << ", " << c.im;
        EXPECT_NEAR(ToPolar({c.re, c.im}).phase, c.phase, degreesTolerance) << c.re << ", " << c.im;
    }
    EXPECT_DOUBLE_EQ(ToPolar({-3, 4}).magnitude, 5);
}

// The truncation goes toward zero: bringing low values into the range would change every lag below −180
// degrees.
TEST(ModComplex, WrapLeavesValuesBelowTheRangeWhereTheyAre) {
    EXPECT_DOUBLE_EQ(Wrap(190, -180, 180), -170);
    EXPECT_DOUBLE_EQ(Wrap(180, -180, 180), -180);
    EXPECT_DOUBLE_EQ(Wrap(530, -180, 180), 170);
    EXPECT_DOUBLE_EQ(Wrap(-180, -180, 180), -180);
    EXPECT_DOUBLE_EQ(Wrap(-190, -180, 180), -190);
    EXPECT_DOUBLE_EQ(Wrap(-539, -180, 180), -539);
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
