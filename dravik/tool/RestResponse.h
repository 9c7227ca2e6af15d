// A test that starts from rest: the valve is closed until the first boundary, so that pressure and flow are
// sums of the responses to single steps instead of a settled wave.
#pragma once

#include <vector>

#include "dravik/tool/WellModel.h"

namespace dravik {

/// Response to a unit step of the well's whole flow at time 0, tabulated over the logarithm of time.
class StepResponse {
  public:
    /// What is tabulated: pressure at the well (psi for each bbl/day), or flow past `level` (of that of
    /// `top`).
    enum class Kind { pressure, flow };
    StepResponse(Kind kind, const std::vector<Level>& levels, std::size_t top, std::size_t level,
                 const Wellbore& well, double longestSeconds);
    /// 0 before the step.
    double At(double seconds) const;
    /// The response to a ramp of this length, its middle at time 0.
    double AtRamp(double seconds, double ramp) const;

  private:
    double firstLog_ = 0;
    std::vector<double> values_;
};

/// Index of a level (bbl/day/psi) for signals e^{st}, s > 0 in 1/h: LevelIndex off the imaginary axis.
double LevelIndexAtRate(const std::vector<Level>& levels, std::size_t level, const Wellbore& well,
                        double ratePerHour);

}  // namespace dravik
