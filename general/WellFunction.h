// The response of a well of finite radius to periodic flow, from the modified Bessel functions of complex
// argument. One place for the simulator, which makes records from it, and the analysis, which inverts it.
#pragma once

#include <complex>
#include <optional>

namespace vorela {

/// Modified Bessel functions of the second kind, each multiplied by exp(z).
struct ScaledBesselK {
    std::complex<double> k0;
    std::complex<double> k1;
};

/// K0 and K1 at z = x exp(i pi/4), x > 0, to about 1e-14 of their magnitude. The integral over t of
/// exp(-z cosh t) cosh(v t) is summed by the trapezoidal rule, which converges exponentially here because the
/// integrand is analytic in a strip of half-width pi/4 and falls off doubly exponentially.
ScaledBesselK BesselKOnDiagonal(double x);

/// Dimensionless pressure F of a well of finite radius: K0(z) / (z K1(z)), z = x exp(i pi/4), x > 0.
std::complex<double> WellFunction(double x);

/// z F'(z) for F = WellFunction(x): −1 + z² F², by the differential equation of K0 and K1.
std::complex<double> WellFunctionSlope(double x, std::complex<double> f);

/// G(x) = −x² Im F(x). F(√s) is a Stieltjes function, so G rises strictly from 0 to infinity; its logarithm
/// does so between once and twice as fast as that of x.
double LagFunction(double x);

/// The x at which LagFunction is `g`, g > 0, to 1e-13 of x.
double InverseLagFunction(double g);

/// The x at which −arg F(x) is `angle` (radians), which rises from 0 to pi/4; nothing for an angle whose x is
/// not between 1e-150 and 1e9.
std::optional<double> InverseArgument(double angle);

}  // namespace vorela
