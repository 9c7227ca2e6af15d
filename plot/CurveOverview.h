// A pyramid of minima and maxima over a curve's grid: a wide view costs the pixels drawn, not the samples
// under them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace vorela {

/// Smallest and largest of some samples; empty (minimum above maximum) where there was none.
struct MinMax {
    float minimum = std::numeric_limits<float>::infinity();
    float maximum = -std::numeric_limits<float>::infinity();
    bool IsEmpty() const { return minimum > maximum; }
    /// A sample that is not a number is a gap and changes nothing.
    void Add(float sample) {
        minimum = sample < minimum ? sample : minimum;
        maximum = sample > maximum ? sample : maximum;
    }
    void Add(const MinMax& other) {
        minimum = other.minimum < minimum ? other.minimum : minimum;
        maximum = other.maximum > maximum ? other.maximum : maximum;
    }
    bool operator==(const MinMax&) const = default;
};
MinMax MinMaxOf(std::span<const float> samples);

/// Buckets of `bucketSamples` grid positions at the bottom, each level above holds one for `fanOut` below. 8
/// bytes for 128 samples: a fiftieth of what the samples themselves take.
class CurveOverview {
  public:
    static constexpr std::int64_t bucketSamples = 128;
    static constexpr std::int64_t fanOut = 16;

    /// Grid positions taken in so far.
    std::int64_t Size() const { return size_; }
    /// Takes in the next positions; NaN where there is no sample.
    void Append(std::span<const float> samples);
    /// Forgets everything from a position on, and what lies before it in the same bucket.
    void Truncate(std::int64_t size);
    /// Over whole buckets: positions firstBucket · bucketSamples up to endBucket · bucketSamples (excluded).
    MinMax OfBuckets(std::int64_t firstBucket, std::int64_t endBucket) const;
    std::size_t Bytes() const;

  private:
    std::int64_t size_ = 0;
    std::vector<std::vector<MinMax>> levels_{1};
};

}  // namespace vorela
