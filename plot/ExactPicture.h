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
    double top = 0, bottom = 0;      ///< ft
    std::vector<std::string> lines;  ///< of text
    bool solved = false;             ///< false: only the ranges hold, as far as they are known
    ValueWithRange permeability, skin;
};
struct ProfilePicture {
    std::string title;
    std::vector<ProfileBar> bars;
};

/// One cycle of a level; points are (real, imaginary) of its index, bbl/day/psi.
struct PictureCycle {
    int number = 1;
    DevicePoint point;
    bool strays = false;  ///< outside of the circle
};
struct CyclesPicture {
    std::string title;
    std::string note;  ///< beneath the title
    std::vector<PictureCycle> cycles;
    DevicePoint mean;  ///< of the level: all cycles together
    std::vector<DevicePoint>
        circle;  ///< of single cycles about it, closed; empty without a measure of scatter
};

/// Equal axes: an angle looks as large as it is.
void DrawImpedance(DrawingSurface& surface, const ImpedancePicture& picture);
/// Above one another over a logarithmic period.
void DrawAmplitudeAndLag(DrawingSurface& surface, const ImpedancePicture& picture);
/// The index of each cycle about that of the level, on equal axes; those that stray bear their numbers.
void DrawCyclePoints(DrawingSurface& surface, const CyclesPicture& picture);
/// Permeability (logarithmic) and skin side by side; an arrow where a range has no end.
void DrawProfile(DrawingSurface& surface, const ProfilePicture& picture);

}  // namespace vorela
