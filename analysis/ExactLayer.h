// The periodic flow of a layer into a well of finite radius, and its exact inversion. Signals are
// Re(c e^{iωt}); indices are bbl/day/psi.
#pragma once

#include <complex>
#include <optional>
#include <string>

#include "analysis/ExactTypes.h"

namespace vorela {

/// "height must be positive" for the first input that is not; "" when all are.
std::string LayerFault(const ExactLayer& layer);

/// Angular frequency of harmonic n, rad/day.
double OmegaPerDay(const ExactLayer& layer, int harmonic);
/// h / (141.2 μ): the index of a unit of permeability at a unit of dimensionless pressure.
double Mobility(const ExactLayer& layer);
/// X √k of harmonic n.
double RadiusFactor(const ExactLayer& layer, int harmonic);
/// Distance, ft, within which a plane wave of the test's period falls to 1/e, for a permeability in mD.
double PenetrationDepth(const ExactLayer& layer, double permeability);

struct PermeabilityAndSkin {
    double permeability = 0;  ///< mD
    double skin = 0;
};

/// Index of a harmonic and its derivatives.
struct ModelIndex {
    std::complex<double> index;
    std::complex<double> byLnPermeability;
    std::complex<double> bySkin;
};
/// Skin as a thin zone round the well: k u / (F + S).
ModelIndex ThinSkinIndex(const ExactLayer& layer, int harmonic, const PermeabilityAndSkin& at);
/// Skin as a change of the well's radius to r e^{−S}: k u / F(X e^{−S}).
ModelIndex EnlargedWellIndex(const ExactLayer& layer, int harmonic, const PermeabilityAndSkin& at);

/// The one pair that has this index of the fundamental. The imaginary part of the impedance does not contain
/// the skin, and it falls strictly with the permeability: every index with a positive imaginary part has
/// exactly one. Nothing for the others.
std::optional<PermeabilityAndSkin> InvertThinSkin(const ExactLayer& layer, std::complex<double> index);
/// The same for the enlarged well; one for every lag between 0 and 45 degrees.
std::optional<PermeabilityAndSkin> InvertEnlargedWell(const ExactLayer& layer, std::complex<double> index);

/// The least permeability among the indices within `radius` of one that has no solution; nothing where they
/// have none either, or no least one.
std::optional<double> LeastPermeability(const ExactLayer& layer, std::complex<double> index, double radius);

}  // namespace vorela
