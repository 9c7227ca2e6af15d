// The fast convolution engine: circular convolution of two real signals at once with a fixed real kernel.
#pragma once

#include <boost/align/aligned_allocator.hpp>
#include <cstddef>
#include <span>
#include <vector>

namespace vorela {

/// Singles aligned for the widest vector instructions used here.
using AlignedFloats = std::vector<float, boost::alignment::aligned_allocator<float, 64>>;

/// The instruction sets that the transform is compiled for. Both give the same result within single-precision
/// rounding, not to the bit.
enum class FftVariant { portable, avx2 };
bool IsSupported(FftVariant variant);
/// The fastest that this processor runs.
FftVariant FastestVariant();

/// A real kernel's spectrum, ready to be applied. Immutable: one convolver serves any number of signals.
///
/// A kernel h is real, so that the complex signal a + ib convolved with h is (a*h) + i(b*h): two real signals
/// cost one complex transform forth and one back, and nothing has to be taken apart. The spectrum is kept in
/// whatever order the passes leave it in (no bit reversal), and it holds the factor 1/points.
class CircularConvolver {
  public:
    static constexpr std::size_t fewestPoints = 64;

    /// `points`: a power of two, at least the kernel's length; raised to fewestPoints (which adds room for
    /// the wrap-around, so that a linear convolution comes out the same). Throws invalid procedure call (5)
    /// otherwise.
    CircularConvolver(std::span<const float> kernel, std::size_t points,
                      FftVariant variant = FastestVariant());

    std::size_t Points() const { return points_; }

    /// a := a * h and b := b * h (circular, Points() values each, 32-byte aligned, not the same array).
    void Apply(float* a, float* b) const;

  private:
    std::size_t points_;
    FftVariant variant_;
    /// Rotations of every pass, largest block first; see FftPasses.inl for the order inside one.
    std::vector<AlignedFloats> rotations_;
    AlignedFloats spectrum_;
};

}  // namespace vorela
