// The half-period difference: y(t) = (x(t) − 2 x(t + P/2) + x(t + P)) / 4, applied one or more times in
// place.
#pragma once

#include <cstdint>
#include <vector>

#include "signal/CurveFilter.h"

namespace vorela {

/// A sinusoid of period P passes with gain 1; constants and straight lines vanish. The output stands at the
/// start of its span. Values between two samples are interpolated linearly; arithmetic is in double, every
/// pass is stored in single.
///
/// All passes run from the first sample to the same end E = last index − passes·P. A sample of the first pass
/// that lacks an input stays a gap; one of a later pass keeps the value of the pass before. Near E the later
/// passes lack inputs, so that the last (passes − 1)·P before E are no full response (ValidSpan ends there).
///
/// Memory: the samples of one period for each pass.
class DifferenceFilter final : public CurveFilter {
  public:
    /// `firstIndex` of the curve and its `step` in hundredths of a second. Throws invalid procedure call (5)
    /// unless period and step are positive.
    DifferenceFilter(std::int32_t firstIndex, std::int16_t step, double periodSeconds, int passes);

    std::unique_ptr<CurveFilter> Clone() const override { return std::make_unique<DifferenceFilter>(*this); }
    /// Throws overflow (6) when a result is not finite.
    void Feed(std::span<const float> values, std::span<const std::uint8_t> present,
              const Sink& sink) override;
    /// Throws overflow (6) when E does not fit into 32 bits.
    void Finish(const Sink& sink) override;
    std::int64_t Fed() const override { return layers_.front().End(); }
    std::int64_t FinalEnd() const override { return finalEnd_.back(); }
    Span ValidSpanOf(std::int64_t count) const override;

  private:
    /// A stretch of a curve in memory.
    struct Stretch {
        std::int64_t begin = 0;
        std::vector<float> values;
        std::vector<std::uint8_t> present;
        std::int64_t End() const { return begin + static_cast<std::int64_t>(values.size()); }
        void Append(std::span<const float> moreValues, std::span<const std::uint8_t> morePresent);
        void DropBefore(std::int64_t position);
    };
    /// An offset in samples, whole and the fraction towards the next.
    struct Offset {
        std::int64_t whole = 0;
        double fraction = 0.0;
        /// Samples from `whole` to the other neighbour; 0 where there is no need of one.
        std::int64_t Next() const { return fraction > 0.0 ? 1 : 0; }
    };

    static Offset OffsetOf(double indexUnits, std::int16_t step);
    static void PutPresent(const Stretch& stretch, const Sink& sink);
    double LastIndex() const;
    /// Position of E for a recording of `count` samples; -1 before the first. At least 0 otherwise, and
    /// within the recording.
    std::int64_t LastPosition(std::int64_t count) const;
    /// Pass over `from`, positions begin … end − 1.
    Stretch Pass(const Stretch& from, std::int64_t begin, std::int64_t end, bool keepWithoutInputs) const;
    bool AllThere(const Stretch& from, std::int64_t begin, std::int64_t end) const;
    void PassBlock(const Stretch& from, std::int64_t begin, std::span<float> result) const;

    std::int32_t firstIndex_;
    std::int16_t step_;
    double length_;  ///< passes·P in index units
    Offset half_;
    Offset full_;
    std::int64_t reach_;  ///< samples that a pass looks ahead
    /// layers_[j]: the result of j passes (0: the input) from the first position that pass j + 1 has not
    /// settled yet.
    std::vector<Stretch> layers_;
    std::vector<std::int64_t> finalEnd_;  ///< [j]: results of pass j + 1 before it are final
    Stretch tail_;                        ///< what Finish() handed out last time
};

}  // namespace vorela
