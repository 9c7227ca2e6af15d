// Pictures of the exact results: impedance of the harmonics with the model's curve, amplitude and lag over
// the period, and the profile over depth. They take plain values and a surface.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "general/Colour.h"
#include "plot/DrawingSurface.h"

namespace vorela {

/// A value with the ends of its range; an end that is missing is at infinity.
struct ValueWithRange {
    double value = 0;
    std::optional<double> lower, upper;
};

/// One measured harmonic of an interval. Impedances are psi/(bbl/day); points are (real, minus imaginary).
struct PictureHarmonic {
    int number = 1;
    bool used = true;                 ///< takes part in the fits
    double period = 0;                ///< s
    DevicePoint point;                ///< impedance
    std::vector<DevicePoint> circle;  ///< of the confidence, closed; empty without a measure of the error
    ValueWithRange amplitude;         ///< psi/(bbl/day)
    ValueWithRange lag;               ///< degrees
};

struct ImpedancePicture {
    std::string title;
    std::string note;  ///< beneath the title
    std::vector<PictureHarmonic> harmonics;
    // The model's curve, by rising period.
    std::vector<double> periods;  ///< s
    std::vector<DevicePoint> model;
    std::vector<double> modelAmplitude, modelLag;
};

struct ProfileBar {
    double top = 0, bottom = 0;  ///< ft
    std::string label;
    bool solved = false;  ///< false: only the ranges hold, as far as they are known
    ValueWithRange permeability, skin;
};
struct ProfilePicture {
    std::string title;
    std::vector<ProfileBar> bars;
};

/// Equal axes: an angle looks as large as it is.
void DrawImpedance(DrawingSurface& surface, const ImpedancePicture& picture);
/// Above one another over a logarithmic period.
void DrawAmplitudeAndLag(DrawingSurface& surface, const ImpedancePicture& picture);
/// Permeability (logarithmic) and skin side by side; an arrow where a range has no end.
void DrawProfile(DrawingSurface& surface, const ProfilePicture& picture);

}  // namespace vorela
