#include "signal/modWindowedSinc.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <utility>

#include "general/CheckedMath.h"

namespace vorela {
namespace {

constexpr const char* source = "modWindowedSinc";

// The constants of the kernels that the field knows, to the digit.
constexpr double twoPi = 6.28318530717958;
constexpr double fourPi = 12.56637061435916;

std::size_t CheckedLength(std::int64_t n) {
    if (n < 1)
        throw RunTimeError{error_number::subscriptOutOfRange, source, "Subscript out of range"};
    return static_cast<std::size_t>(n);
}

float CheckedSingle(double value) {
    const auto single = static_cast<float>(value);
    CheckedFinite(single, source);
    return single;
}

/// All values finite? Looks at the exponents only, so that the compiler can do many at once.
bool AllFinite(std::span<const float> values) {
    constexpr std::uint32_t exponent = 0x7F800000U;
    std::uint32_t bad = 0;
    for (const float value : values)
        bad |= (std::bit_cast<std::uint32_t>(value) & exponent) == exponent ? 1U : 0U;
    return bad == 0;
}

/// Points of the transform for a kernel of `length` values.
std::size_t TransformPoints(std::size_t length) {
    return 2 * static_cast<std::size_t>(
                   NextPowerOfTwo(CheckedNarrow<std::int32_t>(static_cast<std::int64_t>(length), source)));
}

}  // namespace

float RoundUp(float x) {
    const float whole = std::floor(x);
    return x == whole ? whole : whole + 1.0F;
}

std::int32_t NextPowerOfTwo(std::int32_t n) {
    // The quotient of two logarithms can come out a hair above a whole number; rounding it to single first
    // keeps powers of two where they are.
    const auto exponent = static_cast<float>(CheckedLog(n, source) / std::log(2.0));
    return RoundTo<std::int32_t>(std::pow(2.0, RoundUp(exponent)), source);
}

std::vector<float> LowPassKernel(float fc, std::int16_t n) {
    std::vector<float> kernel(CheckedLength(n));
    const double rate = twoPi * fc;
    for (std::int32_t i = 0; i < n; ++i) {
        // For odd n the centre falls between two samples: the kernel is half a sample late. Kept, since
        // stored curves of earlier runs were made with it.
        const double x = i - n / 2.0;
        float& value = kernel[static_cast<std::size_t>(i)];
        value = CheckedSingle(x == 0.0 ? rate : std::sin(rate * x) / x);
        // The window's period is n, not n − 1, on purpose: the last sample does not reach the window's end.
        value =
            CheckedSingle(value * (0.42 - 0.5 * std::cos(twoPi * i / n) + 0.08 * std::cos(fourPi * i / n)));
    }
    Normalise(kernel);
    return kernel;
}

std::vector<float> HighPassKernel(float fc, std::int16_t n) {
    std::vector<float> kernel = LowPassKernel(fc, n);
    InvertSpectrum(kernel);
    return kernel;
}

std::vector<float> BandRejectKernel(float fc1, float fc2, std::int16_t n) {
    std::vector<float> kernel = LowPassKernel(fc1, n);
    const std::vector<float> highPass = HighPassKernel(fc2, n);
    std::transform(kernel.begin(), kernel.end(), highPass.begin(), kernel.begin(),
                   [](double low, double high) { return CheckedSingle(low + high); });
    return kernel;
}

std::vector<float> BandPassKernel(float fc1, float fc2, std::int16_t n) {
    std::vector<float> kernel = BandRejectKernel(fc1, fc2, n);
    InvertSpectrum(kernel);
    return kernel;
}

void InvertSpectrum(std::span<float> kernel) {
    for (float& value : kernel)
        value = -value;
    // n div 2 is the centre for odd n as well.
    float& centre = kernel[CheckedLength(static_cast<std::int64_t>(kernel.size())) / 2];
    centre = CheckedSingle(centre + 1.0);
}

void Normalise(std::span<float> kernel) {
    const double sum = std::accumulate(kernel.begin(), kernel.end(), 0.0);
    if (sum == 0.0)
        return;
    for (float& value : kernel)
        value = CheckedSingle(value / sum);
}

OverlapAddKernel::OverlapAddKernel(std::vector<float> kernel, FftVariant variant)
    : values_(std::move(kernel)),
      segmentLength_(TransformPoints(CheckedLength(static_cast<std::int64_t>(values_.size()))) -
                     (values_.size() - 1)),
      partialSums_(values_.begin(), values_.end()),
      convolver_(values_, TransformPoints(values_.size()), variant) {
    std::partial_sum(partialSums_.begin(), partialSums_.end(), partialSums_.begin());
}

/// What one transform works in: a segment in each of `a` and `b`, then the outputs of both one after the
/// other.
struct OverlapAddFilter::Work {
    explicit Work(const OverlapAddKernel& kernel)
        : a(kernel.Convolver().Points()), b(kernel.Convolver().Points()), output(kernel.PairLength()) {}
    AlignedFloats a;
    AlignedFloats b;
    std::vector<float> output;
};

OverlapAddFilter::OverlapAddFilter(std::shared_ptr<const OverlapAddKernel> kernel)
    : kernel_(std::move(kernel)), overlap_(kernel_->Length() - 1) {
    pending_.reserve(kernel_->PairLength());
}

void OverlapAddFilter::Transform(std::span<const float> samples, Work& work) const {
    const std::size_t segment = kernel_->SegmentLength();
    const std::size_t carried = overlap_.size();
    const float level = samples.front();
    const auto fill = [level](std::span<const float> from, AlignedFloats& to) {
        float* end =
            std::transform(from.begin(), from.end(), to.data(), [level](float x) { return x - level; });
        std::fill(end, to.data() + to.size(), 0.0F);
    };
    const std::size_t inFirst = std::min(segment, samples.size());
    fill(samples.first(inFirst), work.a);
    fill(samples.subspan(inFirst), work.b);
    kernel_->Convolver().Apply(work.a.data(), work.b.data());

    float* const output = work.output.data();
    std::copy_n(work.a.data(), segment, output);
    std::copy_n(work.b.data(), segment, output + segment);
    for (std::size_t k = 0; k < carried; ++k) {
        output[k] += overlap_[k];
        output[segment + k] += work.a.data()[segment + k];
    }

    // The level's own response: up to here the overlap belongs to the level of the pair before.
    const std::span<const double> sums = kernel_->PartialSums();
    const double before = levelBefore_;
    for (std::size_t k = 0; k < carried; ++k)
        output[k] = static_cast<float>(output[k] + (level * sums[k] + before * (sums.back() - sums[k])));
    const double steady = level * sums.back();
    for (std::size_t k = carried; k < 2 * segment; ++k)
        output[k] = static_cast<float>(output[k] + steady);
    if (!AllFinite(std::span(work.output).first(samples.size())))
        throw RunTimeError{error_number::overflow, source, "Overflow"};
}

void OverlapAddFilter::CompletePair(std::span<const float> samples, Work& work, const Sink& sink) {
    Transform(samples, work);
    const std::int64_t first = pairStart_;
    std::copy_n(work.b.data() + kernel_->SegmentLength(), overlap_.size(), overlap_.data());
    levelBefore_ = samples.front();
    pairStart_ += static_cast<std::int64_t>(kernel_->PairLength());
    sink(first, work.output);
}

void OverlapAddFilter::Feed(std::span<const float> samples, const Sink& sink) {
    const std::size_t pair = kernel_->PairLength();
    if (pending_.size() + samples.size() < pair) {
        pending_.insert(pending_.end(), samples.begin(), samples.end());
        return;
    }
    Work work(*kernel_);
    if (!pending_.empty()) {
        const std::size_t missing = pair - pending_.size();
        pending_.insert(pending_.end(), samples.begin(),
                        samples.begin() + static_cast<std::ptrdiff_t>(missing));
        samples = samples.subspan(missing);
        CompletePair(pending_, work, sink);
    }
    for (; samples.size() >= pair; samples = samples.subspan(pair))
        CompletePair(samples.first(pair), work, sink);
    pending_.assign(samples.begin(), samples.end());
}

void OverlapAddFilter::Provisional(const Sink& sink) const {
    if (pending_.empty())
        return;
    Work work(*kernel_);
    Transform(pending_, work);
    sink(pairStart_, std::span(work.output).first(pending_.size()));
}

}  // namespace vorela
