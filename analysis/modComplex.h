// Complex values and angles of the harmonic analysis. Double precision; angles in degrees between routines.
#pragma once

namespace vorela {

/// The analysis uses this literal throughout, so that its results do not depend on a library's constant.
inline constexpr double pi = 3.14159265358979;

struct Complex {
    double re = 0.0;
    double im = 0.0;
};

struct Polar {
    double phase = 0.0;  ///< degrees, 0 … 360
    double magnitude = 0.0;
};

Complex Subtract(const Complex& a, const Complex& b);
Complex Multiply(const Complex& a, const Complex& b);
double Magnitude(const Complex& z);
double ArgumentDegrees(const Complex& z);         ///< −180 … 180
double FourQuadrantArgument(double y, double x);  ///< radians, −π … π
double DegreesToRadians(double degrees);
double RadiansToDegrees(double radians);
/// Into [lo, hi) for x ≥ lo; a value below lo stays below it: the truncation goes toward zero, kept on
/// purpose.
double Wrap(double x, double lo, double hi);
Polar ToPolar(const Complex& z);

}  // namespace vorela
