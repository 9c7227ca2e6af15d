// Ranges and tests of the exact analysis.
#pragma once

#include <span>

#include "analysis/ExactTypes.h"

namespace vorela {

/// A variance and the degrees of freedom it was estimated with.
struct EstimatedVariance {
    double value = 0;
    double degreesOfFreedom = 0;
};
/// Degrees of freedom of a sum of independent variances (Welch and Satterthwaite).
double SatterthwaiteDegrees(std::span<const EstimatedVariance> parts);

/// Student's t that |t| stays below with `confidence` percent. Throws for degrees of freedom that are not
/// positive.
double StudentQuantile(double confidence, double degreesOfFreedom);

/// Chance of an F ratio of at least `ratio`.
double FisherTail(double ratio, double numeratorDegrees, double denominatorDegrees);

/// Errors of (ln k, S) as a covariance matrix.
struct PairCovariance {
    double lnK = 0, both = 0, skin = 0;
};

/// Puts errors and ranges into an estimate that has permeability and skin. The range of k is linear in 1/k
/// and that of S is Fieller's, which hold where errors are large too; an upper end is missing where t σ ≥ 1.
void SetErrors(ExactEstimate& estimate, const PairCovariance& covariance, double degreesOfFreedom,
               double confidence);
/// The same for a model whose errors are regular: k e^{±tσ} and S ± tσ.
void SetRegularErrors(ExactEstimate& estimate, const PairCovariance& covariance, double degreesOfFreedom,
                      double confidence);

/// 'A' … 'D' by the standard error of ln k; 'D' without one.
char GradeOf(const ExactEstimate& estimate);

}  // namespace vorela
