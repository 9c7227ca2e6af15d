// The interval between two levels by the exact analysis: methods side by side, the one that is recommended,
// what is doubtful, and what errors of the inputs would do.
#pragma once

#include <string>
#include <vector>

#include "analysis/ExactTypes.h"

namespace vorela {

/// What is assumed of an interval.
struct IntervalInputs {
    std::string label;
    double depth1 = 0, depth2 = 0;   ///< ft, of the shallower and of the deeper level
    ExactLayer layer;                ///< the period is that of the levels, not the one given here
    double casingID = 6;             ///< in
    double wellCompressibility = 0;  ///< of the fluid in the well, 1/psi
};

/// Content of the well over a length, bbl; inches and feet.
double BarrelsOfWell(double casingID, double length);

/// Never throws for what levels and inputs may hold: `messages` say what could not be computed and why.
/// `level1` is the shallower one.
ExactInterval AnalyseInterval(const ExactLevel& level1, const ExactLevel& level2,
                              const IntervalInputs& inputs, const ExactSettings& settings);

/// What half a step of each input up and down would do to the single-harmonic result. `difference` is that of
/// the levels' fundamental indices, `storage` (bbl/psi) the assumed one between them. Lines without values
/// where there is no solution.
std::vector<ExactBudgetLine> BudgetOf(const ExactLayer& layer, std::complex<double> difference,
                                      double storage);

/// The pairs of the joint fit's model over any period, for pictures: index of the interval (assumed storage
/// taken off) at `periods` in s. Empty where the estimate has no solution.
std::vector<std::complex<double>> ModelCurve(const ExactInterval& interval, const ExactEstimate& estimate,
                                             const std::vector<double>& periods);

}  // namespace vorela
