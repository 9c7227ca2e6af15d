#include "signal/Fft.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "general/RunTimeError.h"

namespace vorela {
namespace {

constexpr float sqrtHalf = 0.70710678118654752F;

/// Vector of eight; on a processor without such registers the compiler splits it.
using Lanes = float __attribute__((vector_size(32)));

/// A block of n points is cut into four, or into two where only that leads down to 64 in steps of four.
std::size_t PartsOf(std::size_t n) {
    return (std::countr_zero(n) - std::countr_zero(CircularConvolver::fewestPoints)) % 2 == 0 ? 4 : 2;
}

namespace portable {
#define FFT_TARGET
#define FFT_INLINE inline __attribute__((always_inline))
#include "signal/FftPasses.inl"
#undef FFT_TARGET
#undef FFT_INLINE
}  // namespace portable

#if defined(__x86_64__)
namespace avx2 {
#define FFT_TARGET __attribute__((target("avx2,fma")))
#define FFT_INLINE FFT_TARGET inline __attribute__((always_inline))
#include "signal/FftPasses.inl"
#undef FFT_TARGET
#undef FFT_INLINE
}  // namespace avx2
#else
namespace avx2 = portable;
#endif

/// Carries a signal through all passes.
constexpr auto* BlockOf(FftVariant variant) {
    return variant == FftVariant::avx2 ? avx2::Block : portable::Block;
}

/// Eight rotations e^(−2πi (k + lane) factor/n) as a vector of real and one of imaginary parts.
void PutRotations(float* to, std::size_t k, std::size_t factor, std::size_t n) {
    for (std::size_t lane = 0; lane < 8; ++lane) {
        const std::size_t turns = (k + lane) * factor % n;
        const double angle = 2.0 * std::numbers::pi * static_cast<double>(turns) / static_cast<double>(n);
        to[lane] = static_cast<float>(std::cos(angle));
        to[lane + 8] = static_cast<float>(-std::sin(angle));
    }
}

/// The rotations of a pass over n points: for every eight points those of parts 1, 2, 3.
AlignedFloats PassRotations(std::size_t n) {
    const std::size_t parts = PartsOf(n);
    AlignedFloats rotations(2 * (parts - 1) * (n / parts));
    float* to = rotations.data();
    for (std::size_t k = 0; k < n / parts; k += 8) {
        for (std::size_t part = 1; part < parts; ++part, to += 16)
            PutRotations(to, k, part, n);
    }
    return rotations;
}

/// Those of the innermost 64 points, in the order in which an eight-point transform leaves its results.
AlignedFloats InnermostRotations() {
    constexpr std::size_t order[8] = {0, 2, 4, 6, 1, 3, 5, 7};
    AlignedFloats rotations(128);
    for (std::size_t r = 0; r < 8; ++r)
        PutRotations(rotations.data() + 16 * r, 0, order[r], 64);
    return rotations;
}

std::size_t CheckedPoints(std::size_t kernelLength, std::size_t points) {
    if (!std::has_single_bit(points) || kernelLength > points)
        throw RunTimeError{error_number::invalidProcedureCall, "CircularConvolver",
                           "Invalid procedure call or argument"};
    return std::max(points, CircularConvolver::fewestPoints);
}

}  // namespace

bool IsSupported(FftVariant variant) {
    if (variant == FftVariant::portable)
        return true;
#if defined(__x86_64__)
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
#else
    return false;
#endif
}

FftVariant FastestVariant() {
    return IsSupported(FftVariant::avx2) ? FftVariant::avx2 : FftVariant::portable;
}

CircularConvolver::CircularConvolver(std::span<const float> kernel, std::size_t points, FftVariant variant)
    : points_(CheckedPoints(kernel.size(), points)), variant_(variant), spectrum_(2 * points_) {
    for (std::size_t n = points_; n > fewestPoints; n /= PartsOf(n))
        rotations_.push_back(PassRotations(n));
    rotations_.push_back(InnermostRotations());

    AlignedFloats re(points_);
    AlignedFloats im(points_);
    const float scale = 1.0F / static_cast<float>(points_);
    std::transform(kernel.begin(), kernel.end(), re.data(), [scale](float value) { return value * scale; });
    BlockOf(variant_)(rotations_.data(), points_, re.data(), im.data(), spectrum_.data(), true);
}

void CircularConvolver::Apply(float* a, float* b) const {
    // Applying the spectrum only reads it; recording, which writes, is the constructor's.
    BlockOf(variant_)(rotations_.data(), points_, a, b, const_cast<float*>(spectrum_.data()), false);
}

}  // namespace vorela
