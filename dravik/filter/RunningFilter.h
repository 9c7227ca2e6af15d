// The filters behind Smooth32: causal FIR filters with unit sum, fed one value at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace dravik {

enum class FilterShape { none, square, triangle, gaussian };

/// What a definition text such as "Gaussian,2.5" says.
struct FilterDefinition {
    FilterShape shape = FilterShape::none;
    double lengthSeconds = 0.0;  ///< finite, 0 or more
};

/// Nothing for an unknown type, a missing, negative or not finite length, or anything left over. Type names
/// are written as the list of spinner filters writes them.
std::optional<FilterDefinition> ParseFilterDefinition(std::string_view text);

inline constexpr std::int64_t longestFilter = 10'000'000;

/// Samples of a filter: length in steps, rounded, then the next odd number; at least 1; 1 for
/// FilterShape::none. Nothing when it exceeds longestFilter. `unitsPerSecond` and `step` (index units) are
/// positive.
std::optional<std::int64_t> FilterSampleCount(const FilterDefinition& definition, std::int32_t unitsPerSecond,
                                              std::int16_t step);

/// An unevaluated sum of two doubles: about 32 decimal digits.
struct DoubleDouble {
    double high = 0.0;
    double low = 0.0;
};

/// Sum of the last n values in O(1) a value (amortised), without ever subtracting one: rounding cannot pile
/// up, however long it runs. The window is kept as suffix sums of the older part and a running sum of the
/// newer part; every n values the parts change places.
class SlidingSum {
  public:
    explicit SlidingSum(std::size_t n) : slots_(n) {}
    /// The sum after `value` has come in. The first value counts as the whole history.
    DoubleDouble Push(DoubleDouble value);

  private:
    void SumSuffixes();

    /// [0, position_): the newer values themselves; [position_, n): sums from there to the end of the older
    /// values.
    std::vector<DoubleDouble> slots_;
    std::size_t position_ = 0;
    DoubleDouble newer_;
    bool started_ = false;
};

/// One filter. Values are finite and at most largestFilterValue in magnitude, so that no sum overflows.
inline constexpr double largestFilterValue = 1e290;

class RunningFilter {
  public:
    virtual ~RunningFilter() = default;
    /// The filtered value, delayed by (n - 1) / 2 samples.
    virtual double Push(double value) = 0;
};

/// `n` is odd and positive. Square and triangle cost O(1) a value, gaussian O(n).
std::unique_ptr<RunningFilter> MakeRunningFilter(FilterShape shape, std::size_t n);

}  // namespace dravik
