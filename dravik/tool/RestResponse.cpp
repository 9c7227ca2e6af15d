#include "dravik/tool/RestResponse.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace dravik {
namespace {

constexpr double secondsPerHour = 3600.0;
constexpr double hoursPerDay = 24.0;
constexpr double shortest = 1e-3;  // s
constexpr double pointsPerDecade = 40.0;
constexpr double logStep = std::numbers::ln10 / pointsPerDecade;

/// Dimensionless pressure K0(x) / (x K1(x)) of the real argument.
double RealWellFunction(double x) {
    constexpr double asymptotic = 500.0;  // K0 and K1 leave the range of doubles beyond 700
    if (x > asymptotic)
        return (1.0 - 1.0 / (2.0 * x)) / x;
    return std::cyl_bessel_k(0.0, x) / (x * std::cyl_bessel_k(1.0, x));
}

constexpr int terms = 12;  // more lose in rounding what they gain

double Factorial(int n) {
    return std::tgamma(n + 1.0);
}

/// Weights of Stehfest's inversion of the Laplace transform.
std::array<double, terms> StehfestWeights() {
    std::array<double, terms> weights{};
    constexpr int half = terms / 2;
    for (int i = 1; i <= terms; ++i) {
        double sum = 0.0;
        for (int k = (i + 1) / 2; k <= std::min(i, half); ++k)
            sum += std::pow(k, half) * Factorial(2 * k) /
                   (Factorial(half - k) * Factorial(k) * Factorial(k - 1) * Factorial(i - k) *
                    Factorial(2 * k - i));
        weights[static_cast<std::size_t>(i) - 1] = (i + half) % 2 == 0 ? sum : -sum;
    }
    return weights;
}

}  // namespace

double LevelIndexAtRate(const std::vector<Level>& levels, std::size_t level, const Wellbore& well,
                        double ratePerHour) {
    const double depth = levels[level].depth;
    double index = ratePerHour * hoursPerDay * StorageBelow(well, depth);
    for (const Level& other : levels) {
        if (other.depth < depth)
            continue;
        const Layer& layer = other.layer;
        const double x = DimensionlessFrequency(layer, ratePerHour);
        const double impedance = IsEnlarged(layer) ? RealWellFunction(x * std::exp(-layer.skin))
                                                   : RealWellFunction(x) + layer.skin;
        index += layer.permeability * layer.height / (141.2 * layer.viscosity) / impedance;
    }
    return index;
}

StepResponse::StepResponse(Kind kind, const std::vector<Level>& levels, std::size_t top, std::size_t level,
                           const Wellbore& well, double longestSeconds)
    : firstLog_(std::log(shortest)) {
    static const std::array<double, terms> weights = StehfestWeights();
    const double decades = std::log10(std::max(longestSeconds, 1.0) / shortest);
    const int count = static_cast<int>(std::ceil(decades * pointsPerDecade)) + 3;
    for (int point = 0; point < count; ++point) {
        const double hours = std::exp(firstLog_ + point * logStep) / secondsPerHour;
        double value = 0.0;
        for (int i = 1; i <= terms; ++i) {
            const double rate = i * std::numbers::ln2 / hours;
            const double whole = LevelIndexAtRate(levels, top, well, rate);
            const double transfer =
                (kind == Kind::pressure ? 1.0 : LevelIndexAtRate(levels, level, well, rate)) / whole;
            value += weights[static_cast<std::size_t>(i) - 1] * transfer / i;
        }
        values_.push_back(value);
    }
}

double StepResponse::At(double seconds) const {
    if (seconds < 0.0)
        return 0.0;
    const double position = seconds <= shortest ? 0.0 : (std::log(seconds) - firstLog_) / logStep;
    const auto i = std::clamp<std::size_t>(static_cast<std::size_t>(position), 1, values_.size() - 3);
    const double t = position - static_cast<double>(i);
    // The cubic through the four neighbours.
    const double a = values_[i - 1];
    const double b = values_[i];
    const double c = values_[i + 1];
    const double d = values_[i + 2];
    return b + t * ((c - a / 3.0 - b / 2.0 - d / 6.0) +
                    t * ((a + c) / 2.0 - b + t * ((d - a) / 6.0 + (b - c) / 2.0)));
}

double StepResponse::AtRamp(double seconds, double ramp) const {
    constexpr double longAgo = 10.0;  // ramps; then its middle stands for all of it
    constexpr int parts = 32;
    if (ramp == 0.0 || seconds > longAgo * ramp)
        return At(seconds);
    double sum = 0.0;
    for (int i = 0; i < parts; ++i)
        sum += At(seconds + ramp * ((i + 0.5) / parts - 0.5));
    return sum / parts;
}

}  // namespace dravik
