#include "dravik/tool/WellModel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace dravik {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;
constexpr double toolDiameter = 1.6875;        // inches
constexpr double barrelsPerCubicFoot = 0.178;  // the rounded factor of the interpretation formulae
constexpr double hoursPerDay = 24.0;

}  // namespace

ScaledBesselK BesselKOnDiagonal(double x) {
    const Complex z = std::polar(x, pi / 4.0);
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
    const ScaledBesselK k = BesselKOnDiagonal(x);
    return k.k0 / (std::polar(x, pi / 4.0) * k.k1);
}

double DimensionlessFrequency(const Layer& layer, double omegaPerHour) {
    const double diffusivity =
        0.0002637 * layer.permeability / (layer.porosity * layer.viscosity * layer.compressibility);
    const double radius = layer.boreholeDiameter / 24.0;
    return radius * std::sqrt(omegaPerHour / diffusivity);
}

Complex DimensionlessImpedance(const Layer& layer, double omegaPerHour) {
    return WellFunction(DimensionlessFrequency(layer, omegaPerHour)) + layer.skin;
}

Complex LayerIndex(const Layer& layer, double omegaPerHour) {
    return layer.permeability * layer.height / (141.2 * layer.viscosity) /
           DimensionlessImpedance(layer, omegaPerHour);
}

double StorageBelow(const Wellbore& well, double depth) {
    const double radius = well.casingId / 24.0;
    return barrelsPerCubicFoot * pi * well.compressibility * (well.totalDepth - depth) * radius * radius;
}

Complex LevelIndex(const std::vector<Level>& levels, std::size_t level, const Wellbore& well,
                   double omegaPerHour) {
    const double depth = levels[level].depth;
    Complex index{0.0, omegaPerHour * hoursPerDay * StorageBelow(well, depth)};
    for (const Level& other : levels) {
        if (other.depth >= depth)
            index += LayerIndex(other.layer, omegaPerHour);
    }
    return index;
}

double SpinnerResponse(double slope, double casingId) {
    return slope / (0.445 * pi * (casingId * casingId - toolDiameter * toolDiameter));
}

}  // namespace dravik
