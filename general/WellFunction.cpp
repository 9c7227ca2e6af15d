#include "general/WellFunction.h"

#include <algorithm>
#include <boost/math/tools/toms748_solve.hpp>
#include <cmath>
#include <numbers>

namespace vorela {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;

Complex OnDiagonal(double x) {
    return std::polar(x, pi / 4.0);
}

/// Zero of a rising function that is at or below 0 at `low` and above it at `high`.
template <typename Function>
double ZeroBetween(const Function& rising, double low, double high) {
    const auto narrow = [](double a, double b) {
        return std::abs(b - a) <= 1e-14 * std::max(1.0, std::abs(a));
    };
    std::uintmax_t steps = 200;
    const auto [a, b] = boost::math::tools::toms748_solve(rising, low, high, narrow, steps);
    return a + (b - a) / 2.0;
}

}  // namespace

ScaledBesselK BesselKOnDiagonal(double x) {
    const Complex z = OnDiagonal(x);
    // 0.1 keeps the strip's error near exp(-2 pi (pi/4) / 0.1) = 1e-21; for large x the integrand is a narrow
    // Gaussian of width 1/sqrt(x) and the spacing follows it.
    const double spacing = std::min(0.1, 0.5 / std::sqrt(x));
    Complex k0 = 0.5;
    Complex k1 = 0.5;
    for (int n = 1;; ++n) {
        const double t = n * spacing;
        const double half = std::sinh(t / 2.0);
        const double coshLessOne = 2.0 * half * half;
        const Complex exponent = -z * coshLessOne;
        if (exponent.real() < -45.0)
            break;
        const Complex term = std::exp(exponent);
        k0 += term;
        k1 += term * (coshLessOne + 1.0);
    }
    return {k0 * spacing, k1 * spacing};
}

Complex WellFunction(double x) {
    constexpr double asymptotic = 1e5;  // the next term of the series is 1e-10 of the first from here on
    const Complex z = OnDiagonal(x);
    if (x >= asymptotic)
        return (1.0 - 1.0 / (2.0 * z)) / z;
    const ScaledBesselK k = BesselKOnDiagonal(x);
    return k.k0 / (z * k.k1);
}

Complex WellFunctionSlope(double x, Complex f) {
    const Complex z = OnDiagonal(x);
    return -1.0 + z * z * f * f;
}

double LagFunction(double x) {
    return -x * x * WellFunction(x).imag();
}

double InverseLagFunction(double g) {
    // −Im F stays below pi/4: the lower bound is what the line source would give.
    const double low = std::sqrt(4.0 * g / pi);
    double high = std::max(low, 2.0 * g + 1.0) * std::numbers::e;
    while (!(LagFunction(high) > g))
        high *= std::numbers::e;
    const double wanted = std::log(g);
    const auto excess = [&](double logX) { return std::log(LagFunction(std::exp(logX))) - wanted; };
    return std::exp(ZeroBetween(excess, std::log(low), std::log(high)));
}

std::optional<double> InverseArgument(double angle) {
    constexpr double smallest = -345.0;  // ln x
    constexpr double largest = 20.7;
    const auto excess = [&](double logX) { return -std::arg(WellFunction(std::exp(logX))) - angle; };
    if (!(excess(smallest) < 0.0 && excess(largest) > 0.0))
        return std::nullopt;
    return std::exp(ZeroBetween(excess, smallest, largest));
}

}  // namespace vorela
