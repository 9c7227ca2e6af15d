#include "analysis/ExactStatistics.h"

#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <cmath>

namespace vorela {
namespace {

void SetSigmas(ExactEstimate& estimate, const PairCovariance& covariance, double degreesOfFreedom) {
    estimate.sigmaLnPermeability = std::sqrt(covariance.lnK);
    estimate.sigmaSkin = std::sqrt(covariance.skin);
    estimate.correlation = covariance.both / std::sqrt(covariance.lnK * covariance.skin);
    estimate.degreesOfFreedom = degreesOfFreedom;
}

/// The ends lie S' − S = d away, where (1 − t²s²) d² − 2 t²ρsq d − t²q² = 0 (Fieller). As ts passes 1 the
/// upper root goes to infinity and comes back from below: beyond it lie skins of a negative permeability, so
/// the range has no upper end. The lower root, (t²ρsq − √)/(1 − t²s²), goes through 1 without a jump; written
/// as −t²q²/(t²ρsq + √) it has no difference of two like numbers, nor a division by zero at ts = 1. Errors
/// that are not correlated upwards (a skin near the least that there can be) leave neither end where ts >= 1:
/// there both roots lie above the estimate itself.
ExactRange FiellerRange(double skin, double t, const PairCovariance& covariance) {
    const double open = 1.0 - t * t * covariance.lnK;
    const double half = t * t * covariance.both;
    const double product = t * t * covariance.skin;
    const double discriminant = half * half + open * product;
    if (discriminant < 0.0)
        return {};
    const double root = std::sqrt(discriminant);
    ExactRange range;
    if (open > 0.0)
        range = {skin + (half - root) / open, skin + (half + root) / open};
    else if (half > 0.0)
        range.lower = skin - product / (half + root);
    return range;
}

}  // namespace

double SatterthwaiteDegrees(std::span<const EstimatedVariance> parts) {
    double sum = 0.0;
    double squares = 0.0;
    for (const EstimatedVariance& part : parts) {
        sum += part.value;
        squares += part.value * part.value / part.degreesOfFreedom;
    }
    return sum * sum / squares;
}

double StudentQuantile(double confidence, double degreesOfFreedom) {
    const boost::math::students_t student(degreesOfFreedom);
    return boost::math::quantile(boost::math::complement(student, (1.0 - confidence / 100.0) / 2.0));
}

double FisherTail(double ratio, double numeratorDegrees, double denominatorDegrees) {
    const boost::math::fisher_f fisher(numeratorDegrees, denominatorDegrees);
    return boost::math::cdf(boost::math::complement(fisher, ratio));
}

void SetErrors(ExactEstimate& estimate, const PairCovariance& covariance, double degreesOfFreedom,
               double confidence) {
    SetSigmas(estimate, covariance, degreesOfFreedom);
    const double t = StudentQuantile(confidence, degreesOfFreedom);
    const double k = *estimate.permeability;
    const double spread = t * *estimate.sigmaLnPermeability;
    estimate.permeabilityRange.lower = k / (1.0 + spread);
    if (spread < 1.0)
        estimate.permeabilityRange.upper = k / (1.0 - spread);
    estimate.skinRange = FiellerRange(*estimate.skin, t, covariance);
}

void SetRegularErrors(ExactEstimate& estimate, const PairCovariance& covariance, double degreesOfFreedom,
                      double confidence) {
    SetSigmas(estimate, covariance, degreesOfFreedom);
    const double t = StudentQuantile(confidence, degreesOfFreedom);
    const double factor = std::exp(t * *estimate.sigmaLnPermeability);
    estimate.permeabilityRange = {*estimate.permeability / factor, *estimate.permeability * factor};
    const double spread = t * *estimate.sigmaSkin;
    estimate.skinRange = {*estimate.skin - spread, *estimate.skin + spread};
}

char GradeOf(const ExactEstimate& estimate) {
    constexpr double best = 0.03;
    constexpr double good = 0.10;
    constexpr double fair = 0.30;
    if (!estimate.sigmaLnPermeability)
        return 'D';
    const double sigma = *estimate.sigmaLnPermeability;
    return sigma <= best ? 'A' : sigma <= good ? 'B' : sigma <= fair ? 'C' : 'D';
}

}  // namespace vorela
