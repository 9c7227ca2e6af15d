#include "analysis/ExactSignals.h"

#include <Eigen/Dense>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace vorela {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;

// --- Filling ---

constexpr int periodsSearched = 6;

struct Neighbour {
    double distance = 0;  ///< periods
    double value = 0;
};

/// The recorded value at a position between samples, linear; false where a sample that it needs is not there.
bool RecordedAt(const SampledCurve& curve, double position, double& value) {
    const double below = std::floor(position);
    if (below < 0.0 || below >= static_cast<double>(curve.values.size()))
        return false;
    const auto i = static_cast<std::size_t>(below);
    const double fraction = position - below;
    if (curve.states[i] != SampledCurve::present)
        return false;
    value = curve.values[i];
    if (fraction == 0.0)
        return true;
    if (i + 1 >= curve.values.size() || curve.states[i + 1] != SampledCurve::present)
        return false;
    value += (curve.values[i + 1] - value) * fraction;
    return true;
}

/// The two nearest on each side, else the nearest three; empty where there are fewer.
std::vector<Neighbour> Neighbours(const SampledCurve& curve, std::size_t at, double period) {
    std::vector<Neighbour> nearest;
    std::vector<Neighbour> sides[2];
    for (int j = 1; j <= periodsSearched; ++j)
        for (const int side : {0, 1}) {
            const double distance = side == 0 ? -j : j;
            Neighbour found{distance, 0.0};
            if (!RecordedAt(curve, static_cast<double>(at) + distance * period, found.value))
                continue;
            nearest.push_back(found);
            if (sides[side].size() < 2)
                sides[side].push_back(found);
        }
    if (sides[0].size() == 2 && sides[1].size() == 2)
        return {sides[0][0], sides[0][1], sides[1][0], sides[1][1]};
    constexpr std::size_t fewest = 3;
    if (nearest.size() < fewest)
        return {};
    nearest.resize(fewest);
    return nearest;
}

/// Lagrange's polynomial at distance 0.
double InterpolatedAtZero(const std::vector<Neighbour>& points) {
    double sum = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        double weight = 1.0;
        for (std::size_t j = 0; j < points.size(); ++j)
            if (j != i)
                weight *= points[j].distance / (points[j].distance - points[i].distance);
        sum += weight * points[i].value;
    }
    return sum;
}

/// Mean of the values that were recorded at the phase of sample `at`; `own` when there are none.
double MeanOfPhase(const SampledCurve& curve, std::size_t at, double period, double own) {
    double sum = 0.0;
    int count = 0;
    const auto last = static_cast<double>(curve.values.size() - 1);
    const auto here = static_cast<double>(at);
    for (double j = -std::floor(here / period); here + j * period <= last; ++j) {
        double value = 0.0;
        if (RecordedAt(curve, here + j * period, value)) {
            sum += value;
            ++count;
        }
    }
    return count == 0 ? own : sum / count;
}

// --- Sums over a grid of phases ---

/// Σ e^{2πi f τ} over the grid.
Complex SumOfPhasors(const PhaseGrid& grid, double frequency) {
    const auto count = static_cast<double>(grid.count);
    const double half = pi * frequency * grid.step;
    const double divisor = std::sin(half);
    const double length = std::abs(divisor) < 1e-14 ? count : std::sin(count * half) / divisor;
    return std::polar(1.0, 2.0 * pi * frequency * grid.first + (count - 1.0) * half) * length;
}

/// Frequencies that are worked on in one pass over the samples.
constexpr std::size_t lanes = 12;
using Lanes = std::array<double, lanes>;

/// Samples are summed in blocks that lie symmetrically round their middle: what two samples at the same
/// distance have in common goes with the cosine, what they differ by with the sine.
constexpr std::size_t halfBlock = 32;
constexpr std::size_t blockSamples = 2 * halfBlock;
struct Block {
    std::array<double, halfBlock> even,
        odd;  ///< sum and difference, k + 1/2 samples behind and before the middle

    /// Missing ones at the end are 0.
    void Take(std::span<const double> samples);
};

void Block::Take(std::span<const double> samples) {
    std::array<double, blockSamples> padded{};
    const double* from = samples.data();
    if (samples.size() < blockSamples) {
        std::copy(samples.begin(), samples.end(), padded.begin());
        from = padded.data();
    }
    for (std::size_t k = 0; k < halfBlock; ++k) {
        const double behind = from[halfBlock + k];
        const double before = from[halfBlock - 1 - k];
        even[k] = behind + before;
        odd[k] = behind - before;
    }
}

/// How far the frequencies turn within a block, and by a whole one.
struct Turns {
    std::array<Lanes, halfBlock> cosine{}, sine{};
    Lanes blockRe{}, blockIm{};

    Turns(std::span<const double> frequencies, double step) {
        for (std::size_t lane = 0; lane < frequencies.size(); ++lane) {
            const double angle = 2.0 * pi * frequencies[lane] * step;
            for (std::size_t k = 0; k < halfBlock; ++k) {
                cosine[k][lane] = std::cos((static_cast<double>(k) + 0.5) * angle);
                sine[k][lane] = std::sin((static_cast<double>(k) + 0.5) * angle);
            }
            blockRe[lane] = std::cos(blockSamples * angle);
            blockIm[lane] = -std::sin(blockSamples * angle);
        }
    }
};

namespace portable {
#define CORRELATE_TARGET
#define CORRELATE_BYTES 16
#include "analysis/CorrelateBlocks.inl"
#undef CORRELATE_TARGET
#undef CORRELATE_BYTES
}  // namespace portable

#if defined(__x86_64__)
namespace avx2 {
#define CORRELATE_TARGET __attribute__((target("avx2")))
#define CORRELATE_BYTES 32
#include "analysis/CorrelateBlocks.inl"
#undef CORRELATE_TARGET
#undef CORRELATE_BYTES
}  // namespace avx2
#endif

void CorrelateBlocks(std::span<const Block> blocks, const Turns& turns, Lanes& re, Lanes& im) {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") != 0;
    if (wide)
        return avx2::Blocks(blocks, turns, re, im);
#endif
    portable::Blocks(blocks, turns, re, im);
}

/// Consecutive blocks; so few that the error of turning from block to block stays that of rounding, and that
/// they lie in the cache while they are summed for all frequencies.
struct Stretch {
    static constexpr std::size_t most = 32 * blockSamples;
    explicit Stretch(std::span<const double> samples) {
        for (std::size_t from = 0; from < samples.size(); from += blockSamples)
            blocks[count++].Take(samples.subspan(from, std::min(blockSamples, samples.size() - from)));
    }
    std::array<Block, most / blockSamples> blocks;
    std::size_t count = 0;
};

/// Adds what a stretch holds to the sums of at most `lanes` frequencies; `phase` is that of the middle of its
/// first block.
void AddStretch(const Stretch& stretch, const Turns& turns, double phase, std::span<const double> frequencies,
                std::span<Complex> sums) {
    Lanes re;
    Lanes im;
    CorrelateBlocks(std::span(stretch.blocks).first(stretch.count), turns, re, im);
    for (std::size_t lane = 0; lane < frequencies.size(); ++lane)
        sums[lane] += Complex{re[lane], im[lane]} * std::polar(1.0, -2.0 * pi * frequencies[lane] * phase);
}

}  // namespace

// --- SampledCurve ---

SampledCurve::Span SampledCurve::SpanOf(double from, double to) const {
    const double begin = std::ceil((from - first) / step);
    const double end = std::ceil((to - first) / step);
    const auto size = static_cast<double>(values.size());
    Span span;
    span.inside = begin >= 0.0 && end <= size && begin < end;
    span.begin = static_cast<std::size_t>(std::clamp(begin, 0.0, size));
    span.end = std::max(span.begin, static_cast<std::size_t>(std::clamp(end, 0.0, size)));
    return span;
}

std::size_t SampledCurve::Count(const Span& span, State state) const {
    const auto begin = states.begin();
    return static_cast<std::size_t>(std::count(begin + static_cast<std::ptrdiff_t>(span.begin),
                                               begin + static_cast<std::ptrdiff_t>(span.end),
                                               static_cast<std::uint8_t>(state)));
}

void FillGaps(SampledCurve& curve, double period) {
    const double samples = period / curve.step;
    for (std::size_t i = 0; i < curve.values.size(); ++i) {
        if (curve.states[i] != SampledCurve::missing)
            continue;
        const std::vector<Neighbour> neighbours = Neighbours(curve, i, samples);
        if (neighbours.empty())
            continue;
        curve.values[i] = InterpolatedAtZero(neighbours);
        curve.states[i] = SampledCurve::filled;
    }
}

// --- PeriodMean ---

PeriodMean::PeriodMean(std::span<const double> samples, double period) : samples_(samples), period_(period) {
    integral_.resize(samples.size());
    for (std::size_t i = 1; i < samples.size(); ++i)
        integral_[i] = integral_[i - 1] + (samples[i - 1] + samples[i]) / 2.0;
    begin_ = AnchorsFrom(period / 2.0, period);
    end_ = AnchorsFrom(static_cast<double>(samples.size()) - 1.0 - period / 2.0, -period);
}

double PeriodMean::IntegralTo(double position) const {
    const auto last = static_cast<double>(samples_.size() - 1);
    position = std::clamp(position, 0.0, last);
    const auto i = std::min(static_cast<std::size_t>(position), samples_.size() - 1);
    const double beyond = position - static_cast<double>(i);
    if (beyond == 0.0)
        return integral_[i];
    return integral_[i] + beyond * (samples_[i] + (samples_[i + 1] - samples_[i]) * beyond / 2.0);
}

double PeriodMean::Full(double position) const {
    return (IntegralTo(position + period_ / 2.0) - IntegralTo(position - period_ / 2.0)) / period_;
}

PeriodMean::Anchors PeriodMean::AnchorsFrom(double position, double inwards) const {
    const double last = static_cast<double>(samples_.size()) - 1.0;
    constexpr double rounding = 1e-9;
    Anchors anchors{position};
    if (last <= 0.0)
        return anchors;
    for (double at = position; anchors.count < 3; at += inwards) {
        if (at - period_ / 2.0 < -rounding || at + period_ / 2.0 > last + rounding)
            break;
        anchors.means[anchors.count++] = Full(at);
    }
    if (anchors.count == 0) {
        // Not one whole period: all that there is.
        anchors.means[0] = integral_.back() / last;
        anchors.count = 1;
    }
    return anchors;
}

double PeriodMean::Continued(const Anchors& anchors, double v) {
    const auto& m = anchors.means;
    switch (anchors.count) {
        case 3:
            return m[0] * (1.0 + v) * (2.0 + v) / 2.0 - m[1] * v * (2.0 + v) + m[2] * v * (1.0 + v) / 2.0;
        case 2:
            return m[0] * (1.0 + v) - m[1] * v;
        default:
            return m[0];
    }
}

double PeriodMean::At(double position) const {
    if (position < begin_.position)
        return Continued(begin_, (begin_.position - position) / period_);
    if (position > end_.position)
        return Continued(end_, (position - end_.position) / period_);
    return Full(position);
}

std::vector<double> PeriodMean::Rest() const {
    std::vector<double> rest(samples_.size());
    // Half a period before and behind a sample always lies at the same place between two others.
    const double half = period_ / 2.0;
    const auto whole = static_cast<std::size_t>(half);
    const double above = half - std::floor(half);
    const double below = 1.0 - above;
    const auto integral = [this](std::size_t i, double beyond) {
        return integral_[i] + beyond * (samples_[i] + (samples_[i + 1] - samples_[i]) * beyond / 2.0);
    };
    const std::size_t begin = std::min(whole + 1, samples_.size());
    const std::size_t end = std::max(begin, samples_.size() - begin);
    for (std::size_t i = begin; i < end; ++i)
        rest[i] = samples_[i] - (integral(i + whole, above) - integral(i - whole - 1, below)) / period_;
    for (std::size_t i = 0; i < begin; ++i)
        rest[i] = samples_[i] - At(static_cast<double>(i));
    for (std::size_t i = end; i < samples_.size(); ++i)
        rest[i] = samples_[i] - At(static_cast<double>(i));
    return rest;
}

std::vector<double> WithoutPeriodMean(const SampledCurve& curve, const SampledCurve::Span& stretch,
                                      const PeriodMean& mean) {
    SampledCurve rest;
    rest.values = mean.Rest();
    const auto states = std::span(curve.states).subspan(stretch.begin, stretch.Size());
    if (std::find(states.begin(), states.end(), SampledCurve::filled) == states.end())
        return std::move(rest.values);
    rest.states.assign(states.begin(), states.end());
    // Filled samples are no source of the mean of a phase: they can be replaced on the way.
    for (std::size_t i = 0; i < states.size(); ++i)
        if (states[i] == SampledCurve::filled)
            rest.values[i] = MeanOfPhase(rest, i, mean.Period(), rest.values[i]);
    return std::move(rest.values);
}

// --- Correlation and least squares ---

std::vector<Complex> Correlate(std::span<const double> samples, const PhaseGrid& grid,
                               std::span<const double> frequencies) {
    std::vector<Complex> sums(frequencies.size());
    std::vector<Turns> turns;
    for (std::size_t group = 0; group < frequencies.size(); group += lanes)
        turns.emplace_back(frequencies.subspan(group, std::min(lanes, frequencies.size() - group)),
                           grid.step);
    for (std::size_t from = 0; from < samples.size(); from += Stretch::most) {
        const Stretch stretch(samples.subspan(from, std::min(Stretch::most, samples.size() - from)));
        const double middle = static_cast<double>(from) + (blockSamples - 1) / 2.0;
        for (std::size_t group = 0; group < frequencies.size(); group += lanes) {
            const std::size_t used = std::min(lanes, frequencies.size() - group);
            AddStretch(stretch, turns[group / lanes], grid.first + grid.step * middle,
                       frequencies.subspan(group, used), std::span(sums).subspan(group, used));
        }
    }
    return sums;
}

HarmonicFit::HarmonicFit(std::span<const double> samples, const PhaseGrid& grid) : grid_(grid) {
    const int highest = std::clamp(static_cast<int>(0.25 / grid.step + 1e-9), 1, most);
    std::vector<double> orders;
    for (int n = 0; n <= highest; ++n)
        orders.push_back(n);
    const std::vector<Complex> sums = Correlate(samples, grid, orders);
    std::vector<Complex> phasors;
    for (int n = 0; n <= 2 * highest; ++n)
        phasors.push_back(SumOfPhasors(grid, n));
    const auto sum = [&](int order) {
        const Complex value = phasors[static_cast<std::size_t>(std::abs(order))];
        return order < 0 ? std::conj(value) : value;
    };
    // Unknowns: the cosines' from 0 on, then the sines' from 1 on.
    const int unknowns = 2 * highest + 1;
    Eigen::MatrixXd matrix(unknowns, unknowns);
    Eigen::VectorXd right(unknowns);
    for (int n = 0; n <= highest; ++n) {
        right[n] = sums[static_cast<std::size_t>(n)].real();
        for (int m = 0; m <= highest; ++m) {
            matrix(n, m) = (sum(n - m) + sum(n + m)).real() / 2.0;
            if (m > 0)
                matrix(n, highest + m) = matrix(highest + m, n) = (sum(n + m) + sum(m - n)).imag() / 2.0;
            if (n > 0 && m > 0)
                matrix(highest + n, highest + m) = (sum(n - m) - sum(n + m)).real() / 2.0;
        }
        if (n > 0)
            right[highest + n] = -sums[static_cast<std::size_t>(n)].imag();
    }
    const Eigen::VectorXd solution = matrix.llt().solve(right);
    amplitudes_.resize(static_cast<std::size_t>(highest) + 1);
    amplitudes_[0] = solution[0];
    for (int n = 1; n <= highest; ++n)
        amplitudes_[static_cast<std::size_t>(n)] = {solution[n], -solution[highest + n]};
}

Complex HarmonicFit::Amplitude(int harmonic) const {
    return harmonic <= Highest() ? amplitudes_[static_cast<std::size_t>(harmonic)] : Complex{};
}

std::vector<Complex> HarmonicFit::ResidualAt(std::span<const double> samples,
                                             std::span<const double> frequencies) const {
    std::vector<Complex> sums = Correlate(samples, grid_, frequencies);
    for (std::size_t j = 0; j < frequencies.size(); ++j) {
        sums[j] -= amplitudes_[0] * std::conj(SumOfPhasors(grid_, frequencies[j]));
        for (int n = 1; n <= Highest(); ++n)
            sums[j] -= (Amplitude(n) * std::conj(SumOfPhasors(grid_, frequencies[j] - n)) +
                        std::conj(Amplitude(n)) * std::conj(SumOfPhasors(grid_, frequencies[j] + n))) /
                       2.0;
    }
    return sums;
}

}  // namespace vorela
