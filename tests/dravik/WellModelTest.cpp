// The physics against values computed elsewhere and against its own limits.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "dravik/tool/WellModel.h"

namespace dravik {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;

void ExpectNear(Complex got, Complex expected, double relative) {
    EXPECT_LE(std::abs(got - expected), relative * std::abs(expected)) << got << " for " << expected;
}

TEST(WellModel, SingleLayerHasTheKnownIndexAndPhase) {
    const Layer layer{100.0, 5.0, 10.0, 0.2, 1.0, 1e-5, 8.5};
    const double omega = 2.0 * pi * 3600.0 / 240.0;
    const Complex index = LayerIndex(layer, omega);
    EXPECT_NEAR(std::abs(index), 0.817586640, 5e-10);
    const double theta = std::arg(index);
    EXPECT_NEAR(theta * 180.0 / pi, 5.152479, 5e-7);
    // What the quicklook formulae make of it.
    const double k = 111.0 * std::abs(index) / (std::sin(theta) * 10.0);
    EXPECT_NEAR(k, 101.053, 5e-4);
    const double x = 0.16 * k * 240.0 / (0.2 * 1e-5 * 8.5 * 8.5);
    EXPECT_NEAR(4.92 - 1.15 * std::log10(x) + pi * std::tan(theta) / 4.0, -3.5525, 5e-5);
}

TEST(WellModel, FlowPastALevelIsThatOfTheLayersBelowItAndOfTheWellsStorage) {
    const double omega = 94.0;
    const Wellbore well{6.0, 10000.0, 2e-5};
    const std::vector<Level> levels{{9000.0, {}}, {9500.0, {50.0}}, {9200.0, {20.0}}};
    const auto storage = [&](double depth) {
        return Complex{0.0, omega * 24.0 * 0.178 * pi * 2e-5 * (10000.0 - depth) * 0.0625};
    };
    ExpectNear(LevelIndex(levels, 1, well, omega), LayerIndex(levels[1].layer, omega) + storage(9500.0),
               1e-14);
    ExpectNear(LevelIndex(levels, 2, well, omega),
               LayerIndex(levels[1].layer, omega) + LayerIndex(levels[2].layer, omega) + storage(9200.0),
               1e-14);
    EXPECT_NEAR(1.0 / SpinnerResponse(0.05, 6.0), 0.445 * pi / 0.05 * (36.0 - 1.6875 * 1.6875), 1e-9);
}

}  // namespace
}  // namespace dravik
