// The physics of a periodic test in a layered reservoir, in the frequency domain. Signals are Re[A exp(i w
// t)]. Units are the field's: psi, bbl/day (reservoir barrels), ft, inches, mD, cP, hours or days as the
// names say.
#pragma once

#include <complex>
#include <vector>

namespace dravik {

/// One layer of the reservoir with the well through it.
struct Layer {
    double permeability = 100.0;  ///< mD
    double skin = 0.0;
    double height = 10.0;           ///< ft
    double porosity = 0.2;          ///< v/v
    double viscosity = 1.0;         ///< cP
    double compressibility = 1e-5;  ///< total, 1/psi
    double boreholeDiameter = 8.5;  ///< inches
    /// A negative skin is a well of the larger radius r e^{-S}. Asked for, not by the sign alone: the
    /// analysis takes skin for a thin zone first, and a record of just that has to be there to try it with.
    bool enlargedWell = false;
};

/// Whether the layer's skin is a larger radius and not a term of its impedance.
bool IsEnlarged(const Layer& layer);

/// Dimensionless frequency x = r_w sqrt(w / eta), eta = 0.0002637 k / (phi mu c_t) ft2/h; `omega` in rad/h.
double DimensionlessFrequency(const Layer& layer, double omegaPerHour);

/// F(x) + S, of an enlarged well F(x e^{-S}): the layer's impedance in units of 141.2 mu / (k h). Only where
/// its real part is positive does a steady skin zone stand for anything physical.
std::complex<double> DimensionlessImpedance(const Layer& layer, double omegaPerHour);

/// Flow from the layer into the well for each psi that the well's pressure falls, bbl/day/psi: k h / (141.2
/// mu (F + S)). Its argument, positive, is the layer's phase lag.
std::complex<double> LayerIndex(const Layer& layer, double omegaPerHour);

/// The open hole or casing below a level.
struct Wellbore {
    double casingId = 6.0;          ///< inches
    double totalDepth = 10000.0;    ///< ft
    double compressibility = 1e-5;  ///< of the fluid in it, 1/psi
};

/// Expansion of the well's content between `depth` and the total depth, bbl/psi. Cubic feet are turned into
/// barrels by 0.178, as everywhere in the interpretation of these tests.
double StorageBelow(const Wellbore& well, double depth);

/// A level and the layer between it and the next deeper level.
struct Level {
    double depth = 0.0;  ///< ft
    Layer layer;
};

/// Upward flow past level `level` for each psi that the pressure falls, bbl/day/psi: all layers at or below
/// that depth and the storage of the well below it.
std::complex<double> LevelIndex(const std::vector<Level>& levels, std::size_t level, const Wellbore& well,
                                double omegaPerHour);

/// Spinner revolutions per second for one bbl/day: `slope` in rps/(ft/min), flow through the casing around a
/// tool of 1.6875 inches.
double SpinnerResponse(double slope, double casingId);

}  // namespace dravik
