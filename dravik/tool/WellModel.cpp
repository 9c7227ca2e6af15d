#include "dravik/tool/WellModel.h"

#include <cmath>
#include <numbers>

#include "general/WellFunction.h"

namespace dravik {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;
constexpr double toolDiameter = 1.6875;        // inches
constexpr double barrelsPerCubicFoot = 0.178;  // the rounded factor of the interpretation formulae
constexpr double hoursPerDay = 24.0;

}  // namespace

bool IsEnlarged(const Layer& layer) {
    return layer.enlargedWell && layer.skin < 0.0;
}

double DimensionlessFrequency(const Layer& layer, double omegaPerHour) {
    const double diffusivity =
        0.0002637 * layer.permeability / (layer.porosity * layer.viscosity * layer.compressibility);
    const double radius = layer.boreholeDiameter / 24.0;
    return radius * std::sqrt(omegaPerHour / diffusivity);
}

Complex DimensionlessImpedance(const Layer& layer, double omegaPerHour) {
    const double x = DimensionlessFrequency(layer, omegaPerHour);
    return IsEnlarged(layer) ? vorela::WellFunction(x * std::exp(-layer.skin))
                             : vorela::WellFunction(x) + layer.skin;
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
