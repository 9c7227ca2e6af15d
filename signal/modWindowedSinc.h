// The windowed-sinc band-pass filter: kernel design and fast convolution by overlap-add.
//
// Samples and kernels are arrays of singles, 0-based; arithmetic between them is in double and every stored
// element is rounded to single. Frequencies are fractions of the sampling rate (cycles per sample).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "signal/Fft.h"

namespace vorela {

/// Int(x) when x is whole, else Int(x) + 1.
float RoundUp(float x);
/// 2 to the power of log(n)/log(2) rounded to single and then up. Throws invalid procedure call (5) for n < 1
/// and overflow (6) when the power does not fit into 32 bits.
std::int32_t NextPowerOfTwo(std::int32_t n);

/// Low-pass kernel of n values with unit sum: sin(2π fc x)/x about x = i − n/2 under a Blackman window. Here
/// and below n < 1 throws subscript out of range (9).
std::vector<float> LowPassKernel(float fc, std::int16_t n);
/// The low-pass kernel after spectral inversion.
std::vector<float> HighPassKernel(float fc, std::int16_t n);
/// Low-pass below fc1 plus high-pass above fc2.
std::vector<float> BandRejectKernel(float fc1, float fc2, std::int16_t n);
/// The band-reject kernel after spectral inversion: passes fc1 … fc2.
std::vector<float> BandPassKernel(float fc1, float fc2, std::int16_t n);

/// Every element negated, then 1 added to the element at n div 2, in place. An empty kernel throws (9).
void InvertSpectrum(std::span<float> kernel);
/// Every element divided by the sum of all, in place; unchanged when the sum is exactly 0.
void Normalise(std::span<float> kernel);

/// A kernel made ready for overlap-add. Immutable and shared by the filters that run it.
class OverlapAddKernel {
  public:
    /// Transform size N = 2·NextPowerOfTwo(M). Throws subscript out of range (9) for an empty kernel.
    explicit OverlapAddKernel(std::vector<float> kernel, FftVariant variant = FastestVariant());

    std::size_t Length() const { return values_.size(); }     ///< M
    std::size_t Delay() const { return values_.size() / 2; }  ///< D, samples
    /// S = N − (M − 1), new samples for each transform.
    std::size_t SegmentLength() const { return segmentLength_; }
    std::size_t PairLength() const { return 2 * segmentLength_; }
    std::span<const float> Values() const { return values_; }
    /// sum of kernel[0 … k]; the last one is the gain at zero frequency.
    std::span<const double> PartialSums() const { return partialSums_; }
    const CircularConvolver& Convolver() const { return convolver_; }

  private:
    std::vector<float> values_;
    std::size_t segmentLength_;
    std::vector<double> partialSums_;
    CircularConvolver convolver_;
};

/// A running overlap-add filter over a signal that comes in pieces of any size.
///
/// Output r is the plain convolution sum of kernel[m]·signal[r − m] (the delay is not taken out; history
/// before the first sample counts as zero, so that it is a full response from r = M − 1 on). Two segments go
/// through one transform. Segments and their pairs stand at fixed places of the signal (pair p covers samples
/// p·2S … (p + 1)·2S − 1), so that what comes out does not depend, to the bit, on the pieces in which the
/// signal came in. The outputs of a pair that is not complete yet are provisional: they are those of a signal
/// that ends here, and their last bits change with the samples that complete the pair.
///
/// The level of a pair's first sample is taken out before the transform and put back exactly: a pressure
/// gauge reads thousands with ripples of tenths, and a transform's rounding goes with the largest value in
/// it.
class OverlapAddFilter {
  public:
    /// Takes outputs in order: the index of the first and the values. The span lives during the call.
    using Sink = std::function<void(std::int64_t first, std::span<const float> values)>;

    explicit OverlapAddFilter(std::shared_ptr<const OverlapAddKernel> kernel);

    /// Takes the next samples; every pair that they complete goes to `sink` (2S outputs each).
    /// Throws overflow (6) where an output is not finite.
    void Feed(std::span<const float> samples, const Sink& sink);
    /// The outputs of the pair in progress, as far as its samples have come in. Changes nothing.
    void Provisional(const Sink& sink) const;

    /// Index of the first output that is still provisional: the start of the pair in progress.
    std::int64_t FirstProvisional() const { return pairStart_; }
    std::int64_t SamplesFed() const { return pairStart_ + static_cast<std::int64_t>(pending_.size()); }
    const OverlapAddKernel& Kernel() const { return *kernel_; }

  private:
    struct Work;
    void Transform(std::span<const float> samples, Work& work) const;
    void CompletePair(std::span<const float> samples, Work& work, const Sink& sink);

    std::shared_ptr<const OverlapAddKernel> kernel_;
    std::int64_t pairStart_ = 0;
    float levelBefore_ = 0.0F;    ///< level of the pair before; zero before the first
    std::vector<float> pending_;  ///< samples of the pair in progress
    std::vector<float> overlap_;  ///< M − 1 values carried into it, without the level
};

}  // namespace vorela
