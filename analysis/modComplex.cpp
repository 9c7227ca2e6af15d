#include "analysis/modComplex.h"

#include <cmath>

#include "general/CheckedMath.h"

namespace vorela {
namespace {

Complex CheckedComplex(double re, double im, const char* source) {
    return {CheckedFinite(re, source), CheckedFinite(im, source)};
}

}  // namespace

Complex Subtract(const Complex& a, const Complex& b) {
    return CheckedComplex(a.re - b.re, a.im - b.im, "Subtract");
}

Complex Multiply(const Complex& a, const Complex& b) {
    return CheckedComplex(a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re, "Multiply");
}

double Magnitude(const Complex& z) {
    return CheckedFinite(std::sqrt(z.re * z.re + z.im * z.im), "Magnitude");
}

double ArgumentDegrees(const Complex& z) {
    return RadiansToDegrees(FourQuadrantArgument(z.im, z.re));
}

// Octant by octant, so that the arctangent only sees quotients of magnitude up to 1. The negative real axis
// belongs to the lower half plane here: its argument is −π.
double FourQuadrantArgument(double y, double x) {
    CheckedFinite(x, "FourQuadrantArgument");
    CheckedFinite(y, "FourQuadrantArgument");
    if (x == 0.0 && y == 0.0)
        return 0.0;
    if (y <= 0.0) {
        if (-y <= x)
            return std::atan(y / x);
        if (x <= y)
            return std::atan(y / x) - pi;
        return -std::atan(x / y) - pi / 2;
    }
    if (x >= y)
        return std::atan(y / x);
    if (x > -y)
        return pi / 2 - std::atan(x / y);
    return std::atan(y / x) + pi;
}

double DegreesToRadians(double degrees) {
    return degrees * (pi / 180.0);
}
double RadiansToDegrees(double radians) {
    return radians * (180.0 / pi);
}

double Wrap(double x, double lo, double hi) {
    const double width = hi - lo;
    return CheckedFinite(lo + (x - lo) - std::trunc(CheckedDivide(x - lo, width, "Wrap")) * width, "Wrap");
}

Polar ToPolar(const Complex& z) {
    double argument = FourQuadrantArgument(z.im, z.re);
    if (argument < 0.0)
        argument += 2 * pi;
    return {RadiansToDegrees(argument), Magnitude(z)};
}

}  // namespace vorela
