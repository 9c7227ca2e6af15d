#include "analysis/ExactLayer.h"

#include <cmath>
#include <numbers>
#include <utility>

#include "general/WellFunction.h"

namespace vorela {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;
constexpr double darcy = 141.2;
constexpr double diffusivity = 0.0002637;
constexpr double secondsPerHour = 3600.0;
constexpr double secondsPerDay = 86400.0;
constexpr double inchesDiameterToFeetRadius = 24.0;

/// The pair whose impedance has −Im Z = v and Re Z = `real`; nothing where v has no permeability.
std::optional<PermeabilityAndSkin> FromImpedance(const ExactLayer& layer, double v, double real) {
    const double factor = RadiusFactor(layer, 1);
    const double u = Mobility(layer);
    const double g = factor * factor * v * u;
    if (!(g > 0.0) || !std::isfinite(g))
        return std::nullopt;
    const double x = InverseLagFunction(g);
    const double root = factor / x;
    const double k = root * root;
    return PermeabilityAndSkin{k, real * k * u - WellFunction(x).real()};
}

}  // namespace

std::string LayerFault(const ExactLayer& layer) {
    const std::pair<const char*, double> inputs[] = {{"height", layer.height},
                                                     {"viscosity", layer.viscosity},
                                                     {"porosity", layer.porosity},
                                                     {"total compressibility", layer.compressibility},
                                                     {"borehole diameter", layer.boreholeDiameter},
                                                     {"period", layer.period}};
    for (const auto& [name, value] : inputs)
        if (!(value > 0.0) || !std::isfinite(value))
            return std::string(name) + " must be positive";
    return {};
}

double OmegaPerDay(const ExactLayer& layer, int harmonic) {
    return 2.0 * pi * harmonic / layer.period * secondsPerDay;
}

double Mobility(const ExactLayer& layer) {
    return layer.height / (darcy * layer.viscosity);
}

double RadiusFactor(const ExactLayer& layer, int harmonic) {
    const double omegaPerHour = 2.0 * pi * harmonic / layer.period * secondsPerHour;
    return layer.boreholeDiameter / inchesDiameterToFeetRadius *
           std::sqrt(omegaPerHour * layer.porosity * layer.viscosity * layer.compressibility / diffusivity);
}

double PenetrationDepth(const ExactLayer& layer, double permeability) {
    const double eta =
        diffusivity * permeability / (layer.porosity * layer.viscosity * layer.compressibility);
    return std::sqrt(eta * layer.period / (secondsPerHour * pi));
}

ModelIndex ThinSkinIndex(const ExactLayer& layer, int harmonic, const PermeabilityAndSkin& at) {
    const double x = RadiusFactor(layer, harmonic) / std::sqrt(at.permeability);
    const Complex f = WellFunction(x);
    const Complex impedance = f + at.skin;
    const Complex index = at.permeability * Mobility(layer) / impedance;
    const Complex fByLnK = -WellFunctionSlope(x, f) / 2.0;
    return {index, index * (1.0 - fByLnK / impedance), -index / impedance};
}

ModelIndex EnlargedWellIndex(const ExactLayer& layer, int harmonic, const PermeabilityAndSkin& at) {
    const double x = RadiusFactor(layer, harmonic) / std::sqrt(at.permeability) * std::exp(-at.skin);
    const Complex f = WellFunction(x);
    const Complex index = at.permeability * Mobility(layer) / f;
    const Complex slope = WellFunctionSlope(x, f) / f;
    return {index, index * (1.0 + slope / 2.0), index * slope};
}

std::optional<PermeabilityAndSkin> InvertThinSkin(const ExactLayer& layer, Complex index) {
    if (!(index.imag() > 0.0))
        return std::nullopt;
    const Complex impedance = 1.0 / index;
    return FromImpedance(layer, -impedance.imag(), impedance.real());
}

std::optional<PermeabilityAndSkin> InvertEnlargedWell(const ExactLayer& layer, Complex index) {
    const std::optional<double> x = InverseArgument(std::arg(index));
    if (!x)
        return std::nullopt;
    const double k = std::abs(index) * std::abs(WellFunction(*x)) / Mobility(layer);
    return PermeabilityAndSkin{k, std::log(RadiusFactor(layer, 1) / std::sqrt(k) / *x)};
}

std::optional<double> LeastPermeability(const ExactLayer& layer, Complex index, double radius) {
    const double imaginary = index.imag() + radius;
    const double distance = std::norm(index) - radius * radius;
    if (!(imaginary > 0.0 && distance > 0.0))
        return std::nullopt;
    const auto least = FromImpedance(layer, imaginary / distance, 0.0);
    return least ? std::optional(least->permeability) : std::nullopt;
}

}  // namespace vorela
