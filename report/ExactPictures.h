// The exact results as pictures: what is drawn of an interval and of the whole well.
#pragma once

#include <cstddef>

#include "analysis/ExactTypes.h"
#include "plot/ExactPicture.h"

namespace vorela {

/// Harmonics of interval `interval` (0-based) with their circles and ranges, and the
/// curve of the recommended model. Storage that the recommended fit found beyond the assumed is taken off
/// the points, as the assumed is. No harmonics where the interval has none.
ImpedancePicture ImpedanceOf(const ExactResults& results, std::size_t interval);

/// The cycles of a level; without cycles where the level is at fault.
CyclesPicture CyclesOf(const ExactLevel& level, double confidence);

/// Bars over the intervals' depths with the ranges of the recommended results.
ProfilePicture ProfileOf(const ExactResults& results);

/// Radius of the circle round an estimated complex value that holds the truth with `confidence` percent;
/// `sigma` is the standard error of each part, estimated with these degrees of freedom. The squared distance
/// over 2 sigma² follows F with 2 and ν degrees, whose quantile is ν/2 (α^(−2/ν) − 1).
double ConfidenceRadius(double sigma, double degreesOfFreedom, double confidence);

}  // namespace vorela
