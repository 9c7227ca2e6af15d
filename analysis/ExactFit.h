// Permeability and skin from one index or from several harmonics together, with their errors.
#pragma once

#include <complex>
#include <optional>
#include <vector>

#include "analysis/ExactLayer.h"
#include "analysis/ExactStatistics.h"
#include "analysis/ExactTypes.h"

namespace vorela {

/// A harmonic of an interval with its variances.
struct FitHarmonic {
    int number = 1;
    std::complex<double> index;            ///< bbl/day/psi
    double variance = 0;                   ///< of the complex error
    std::vector<EstimatedVariance> parts;  ///< of the two levels; their sum is `variance`
};

/// k and S from the fundamental alone. Errors where it has a variance; without a solution the least
/// permeability that the scatter allows, where there is one.
ExactEstimate FitSingle(const ExactLayer& layer, const FitHarmonic& fundamental, double confidence);
/// The same with negative skin as a well of larger radius; nothing for a skin that is not negative and a lag
/// of 45 degrees or more.
std::optional<ExactEstimate> FitEnlargedWell(const ExactLayer& layer, const FitHarmonic& fundamental,
                                             double confidence);

/// What is known of the storage between the levels, beyond what was taken off with the assumed
/// compressibility.
struct StorageKnowledge {
    enum Kind { exact, limited, free } kind = exact;
    double sigma = 0;  ///< standard error, bbl/psi, where it is limited
};
struct JointResult {
    ExactEstimate estimate;
    double storage = 0;  ///< bbl/psi beyond the assumed
    double sigmaStorage = 0;
};
/// Least squares over the harmonics. Nothing where it is not resolved. Where the harmonics disagree (p below
/// one percent) the errors are scaled up accordingly.
std::optional<JointResult> FitJoint(const ExactLayer& layer, const std::vector<FitHarmonic>& harmonics,
                                    const StorageKnowledge& knowledge, double confidence);
/// Covariance of (ln k, S, storage) of such a fit at assumed values; nothing where it is not resolved.
/// `storage` free or limited; sigmaStorage² is the third diagonal term.
struct PredictedErrors {
    PairCovariance covariance;
    double sigmaStorage = 0;
    double degreesOfFreedom = 0;
};
std::optional<PredictedErrors> PredictJoint(const ExactLayer& layer, const PermeabilityAndSkin& at,
                                            const std::vector<FitHarmonic>& harmonics,
                                            const StorageKnowledge& knowledge);

inline constexpr double disagreement = 0.01;  ///< p value below which harmonics disagree

}  // namespace vorela
