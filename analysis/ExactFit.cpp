#include "analysis/ExactFit.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

namespace vorela {
namespace {

using Complex = std::complex<double>;
using Matrix = Eigen::MatrixXd;
using Vector = Eigen::VectorXd;

constexpr double largestLnPermeability = 25.0;

/// (JᵀJ)⁻¹ var/2 of one index.
std::optional<PairCovariance> CovarianceOfOne(const ModelIndex& model, double variance) {
    Eigen::Matrix2d jacobian;
    jacobian << model.byLnPermeability.real(), model.bySkin.real(), model.byLnPermeability.imag(),
        model.bySkin.imag();
    const Eigen::Matrix2d normal = jacobian.transpose() * jacobian;
    const Eigen::Matrix2d covariance = normal.inverse() * (variance / 2.0);
    if (!covariance.allFinite() || covariance(0, 0) < 0.0 || covariance(1, 1) < 0.0)
        return std::nullopt;
    return PairCovariance{covariance(0, 0), covariance(0, 1), covariance(1, 1)};
}

double DimensionlessFrequencyOf(const ExactLayer& layer, double permeability) {
    return RadiusFactor(layer, 1) / std::sqrt(permeability);
}

double DegreesOf(const FitHarmonic& harmonic) {
    return SatterthwaiteDegrees(harmonic.parts);
}

bool HasVariance(const FitHarmonic& harmonic) {
    return harmonic.variance > 0.0 && !harmonic.parts.empty();
}

// --- Several harmonics ---

struct Parameters {
    double lnK = 0;
    double skin = 0;
    double storage = 0;
};

/// Weighted residuals and Jacobian: two rows a harmonic, and one for what is known of the storage.
struct Linearised {
    Matrix jacobian;
    Vector residual;
    double Cost() const { return residual.squaredNorm(); }
};

class JointModel {
  public:
    JointModel(const ExactLayer& layer, const std::vector<FitHarmonic>& harmonics,
               const StorageKnowledge& knowledge)
        : layer_(layer), harmonics_(harmonics), knowledge_(knowledge) {}

    bool HasStorage() const { return knowledge_.kind != StorageKnowledge::exact; }
    Eigen::Index Unknowns() const { return HasStorage() ? 3 : 2; }
    int DegreesLeft() const {
        const int rows =
            2 * static_cast<int>(harmonics_.size()) + (knowledge_.kind == StorageKnowledge::limited ? 1 : 0);
        return rows - static_cast<int>(Unknowns());
    }

    Linearised At(const Parameters& at) const {
        const auto count = static_cast<Eigen::Index>(harmonics_.size());
        const bool limited = knowledge_.kind == StorageKnowledge::limited;
        Linearised result{Matrix::Zero(2 * count + (limited ? 1 : 0), Unknowns()),
                          Vector::Zero(2 * count + (limited ? 1 : 0))};
        for (Eigen::Index i = 0; i < count; ++i) {
            const FitHarmonic& harmonic = harmonics_[static_cast<std::size_t>(i)];
            const double weight = std::sqrt(2.0 / harmonic.variance);
            const ModelIndex model = ThinSkinIndex(layer_, harmonic.number, {std::exp(at.lnK), at.skin});
            const double omega = OmegaPerDay(layer_, harmonic.number);
            const Complex rest = harmonic.index - model.index - Complex{0.0, omega * at.storage};
            result.residual[2 * i] = weight * rest.real();
            result.residual[2 * i + 1] = weight * rest.imag();
            result.jacobian(2 * i, 0) = weight * model.byLnPermeability.real();
            result.jacobian(2 * i + 1, 0) = weight * model.byLnPermeability.imag();
            result.jacobian(2 * i, 1) = weight * model.bySkin.real();
            result.jacobian(2 * i + 1, 1) = weight * model.bySkin.imag();
            if (HasStorage())
                result.jacobian(2 * i + 1, 2) = weight * omega;
        }
        if (limited) {
            result.residual[2 * count] = -at.storage / knowledge_.sigma;
            result.jacobian(2 * count, 2) = 1.0 / knowledge_.sigma;
        }
        return result;
    }

    /// The storage that fits best beside a given layer: the model is linear in it.
    double BestStorage(const Parameters& at) const {
        if (!HasStorage())
            return 0.0;
        const Linearised here = At({at.lnK, at.skin, 0.0});
        const auto column = here.jacobian.col(2);
        return column.dot(here.residual) / column.squaredNorm();
    }

  private:
    const ExactLayer& layer_;
    const std::vector<FitHarmonic>& harmonics_;
    const StorageKnowledge& knowledge_;
};

struct Minimum {
    Parameters at;
    double cost = 0;
};

/// Levenberg and Marquardt's descent; nothing where it leaves the range of permeabilities or the model.
std::optional<Minimum> Descend(const JointModel& model, Parameters at) {
    constexpr int mostSteps = 300;
    constexpr double mostDamping = 1e14;
    constexpr double smallestStep = 1e-13;
    double damping = 1e-3;
    Linearised here = model.At(at);
    if (!here.residual.allFinite())
        return std::nullopt;
    for (int steps = 0; steps < mostSteps; ++steps) {
        const Matrix normal = here.jacobian.transpose() * here.jacobian;
        const Vector gradient = here.jacobian.transpose() * here.residual;
        Matrix damped = normal;
        damped.diagonal() += damping * normal.diagonal();
        const Vector step = damped.ldlt().solve(gradient);
        const Parameters next{at.lnK + step[0], at.skin + step[1],
                              model.HasStorage() ? at.storage + step[2] : 0.0};
        if (!step.allFinite() || !(std::abs(next.lnK) <= largestLnPermeability)) {
            damping *= 10.0;
        } else {
            Linearised there = model.At(next);
            // Of the size of the rounding, a step ends the search whether it went down or up.
            const bool small = (step.array().square() * normal.diagonal().array()).sum() <=
                               smallestStep * (1.0 + here.Cost());
            if (there.residual.allFinite() && there.Cost() <= here.Cost()) {
                at = next;
                here = std::move(there);
                damping = std::max(damping / 10.0, 1e-12);
            } else {
                damping *= 10.0;
            }
            if (small && damping < 1.0)
                return Minimum{at, here.Cost()};
        }
        if (damping > mostDamping)
            return Minimum{at, here.Cost()};
    }
    return std::nullopt;
}

std::vector<Parameters> Starts(const ExactLayer& layer, const std::vector<FitHarmonic>& harmonics,
                               bool storage) {
    std::vector<Parameters> starts;
    const Complex index = harmonics.front().index;
    if (const auto single = InvertThinSkin(layer, index))
        starts.push_back({std::log(single->permeability), single->skin, 0.0});
    // Of a wrong storage the real part knows nothing.
    const double sizes[] = {std::abs(index), storage ? index.real() : 0.0};
    for (const double size : sizes)
        for (const double g : {5.0, 10.0})
            if (size > 0.0)
                starts.push_back({std::log(size * g / Mobility(layer)), g - 5.0, 0.0});
    return starts;
}

std::optional<Minimum> BestMinimum(const JointModel& model, const std::vector<Parameters>& starts) {
    constexpr double edge = 0.5;  // a descent that ends here ran against the limit
    std::optional<Minimum> best;
    for (Parameters start : starts) {
        start.storage = model.BestStorage(start);
        const auto found = Descend(model, start);
        const bool inside = found && std::abs(found->at.lnK) < largestLnPermeability - edge;
        if (inside && (!best || found->cost < best->cost))
            best = found;
    }
    return best;
}

/// Degrees of freedom of ln k: each harmonic of each level by its share in the error of ln k.
double DegreesOfLnK(const std::vector<FitHarmonic>& harmonics, const StorageKnowledge& knowledge,
                    const Linearised& at, const Matrix& covariance) {
    const Vector row = (covariance * at.jacobian.transpose()).row(0).transpose();
    double sum = 0.0;
    double squares = 0.0;
    for (std::size_t i = 0; i < harmonics.size(); ++i) {
        const auto first = static_cast<Eigen::Index>(2 * i);
        const double share = row[first] * row[first] + row[first + 1] * row[first + 1];
        for (const EstimatedVariance& part : harmonics[i].parts) {
            const double value = share * part.value / harmonics[i].variance;
            sum += value;
            squares += value * value / part.degreesOfFreedom;
        }
    }
    // What is known of the storage counts as known exactly.
    if (knowledge.kind == StorageKnowledge::limited)
        sum += row[row.size() - 1] * row[row.size() - 1];
    return sum * sum / squares;
}

double DegreesOfScatter(const std::vector<FitHarmonic>& harmonics) {
    double squares = 0.0;
    for (const FitHarmonic& harmonic : harmonics)
        for (const EstimatedVariance& part : harmonic.parts) {
            const double share = part.value / harmonic.variance;
            squares += share * share / part.degreesOfFreedom;
        }
    const auto count = static_cast<double>(harmonics.size());
    return count * count / squares;
}

std::optional<Matrix> CovarianceAt(const Linearised& at) {
    const Matrix normal = at.jacobian.transpose() * at.jacobian;
    // The storage's column is of another size than the others: scale before the inversion.
    const Vector scale = normal.diagonal().cwiseSqrt().cwiseInverse();
    const Matrix scaled = scale.asDiagonal() * normal * scale.asDiagonal();
    const Eigen::LLT<Matrix> factors(scaled);
    if (!scaled.allFinite() || factors.info() != Eigen::Success)
        return std::nullopt;
    const Matrix inverse = factors.solve(Matrix::Identity(scaled.rows(), scaled.cols()));
    if (!inverse.allFinite())
        return std::nullopt;
    return scale.asDiagonal() * inverse * scale.asDiagonal();
}

PairCovariance PairOf(const Matrix& covariance) {
    return {covariance(0, 0), covariance(0, 1), covariance(1, 1)};
}

}  // namespace

ExactEstimate FitSingle(const ExactLayer& layer, const FitHarmonic& fundamental, double confidence) {
    ExactEstimate estimate;
    const bool known = HasVariance(fundamental);
    const auto solution = InvertThinSkin(layer, fundamental.index);
    if (!solution) {
        if (!known)
            return estimate;
        estimate.degreesOfFreedom = DegreesOf(fundamental);
        const double t = StudentQuantile(confidence, *estimate.degreesOfFreedom);
        estimate.permeabilityRange.lower =
            LeastPermeability(layer, fundamental.index, t * std::sqrt(fundamental.variance / 2.0));
        return estimate;
    }
    estimate.permeability = solution->permeability;
    estimate.skin = solution->skin;
    estimate.x = DimensionlessFrequencyOf(layer, solution->permeability);
    if (!known)
        return estimate;
    if (const auto covariance = CovarianceOfOne(ThinSkinIndex(layer, 1, *solution), fundamental.variance))
        SetErrors(estimate, *covariance, DegreesOf(fundamental), confidence);
    return estimate;
}

std::optional<ExactEstimate> FitEnlargedWell(const ExactLayer& layer, const FitHarmonic& fundamental,
                                             double confidence) {
    const auto solution = InvertEnlargedWell(layer, fundamental.index);
    if (!solution || solution->skin >= 0.0)
        return std::nullopt;
    ExactEstimate estimate;
    estimate.permeability = solution->permeability;
    estimate.skin = solution->skin;
    estimate.x = DimensionlessFrequencyOf(layer, solution->permeability);
    if (!HasVariance(fundamental))
        return estimate;
    if (const auto covariance = CovarianceOfOne(EnlargedWellIndex(layer, 1, *solution), fundamental.variance))
        SetRegularErrors(estimate, *covariance, DegreesOf(fundamental), confidence);
    return estimate;
}

std::optional<JointResult> FitJoint(const ExactLayer& layer, const std::vector<FitHarmonic>& harmonics,
                                    const StorageKnowledge& knowledge, double confidence) {
    if (harmonics.empty() || !std::all_of(harmonics.begin(), harmonics.end(), HasVariance))
        return std::nullopt;
    const JointModel model(layer, harmonics, knowledge);
    if (model.DegreesLeft() < 0)
        return std::nullopt;
    const auto best = BestMinimum(model, Starts(layer, harmonics, model.HasStorage()));
    if (!best)
        return std::nullopt;
    const Linearised at = model.At(best->at);
    const auto covariance = CovarianceAt(at);
    if (!covariance)
        return std::nullopt;
    JointResult result{{}, best->at.storage, 0.0};
    ExactEstimate& estimate = result.estimate;
    estimate.permeability = std::exp(best->at.lnK);
    estimate.skin = best->at.skin;
    estimate.x = DimensionlessFrequencyOf(layer, *estimate.permeability);
    double scale = 1.0;
    if (model.DegreesLeft() > 0) {
        const double ratio = best->cost / model.DegreesLeft();
        estimate.pValue = FisherTail(ratio, model.DegreesLeft(), DegreesOfScatter(harmonics));
        if (*estimate.pValue < disagreement)
            scale = ratio;
    }
    SetErrors(estimate, PairOf(*covariance * scale), DegreesOfLnK(harmonics, knowledge, at, *covariance),
              confidence);
    if (model.HasStorage())
        result.sigmaStorage = std::sqrt((*covariance)(2, 2) * scale);
    return result;
}

std::optional<PredictedErrors> PredictJoint(const ExactLayer& layer, const PermeabilityAndSkin& at,
                                            const std::vector<FitHarmonic>& harmonics,
                                            const StorageKnowledge& knowledge) {
    if (harmonics.empty() || !std::all_of(harmonics.begin(), harmonics.end(), HasVariance))
        return std::nullopt;
    const JointModel model(layer, harmonics, knowledge);
    if (model.DegreesLeft() < 0)
        return std::nullopt;
    const Linearised here = model.At({std::log(at.permeability), at.skin, 0.0});
    const auto covariance = CovarianceAt(here);
    if (!covariance)
        return std::nullopt;
    return PredictedErrors{PairOf(*covariance), model.HasStorage() ? std::sqrt((*covariance)(2, 2)) : 0.0,
                           DegreesOfLnK(harmonics, knowledge, here, *covariance)};
}

}  // namespace vorela
