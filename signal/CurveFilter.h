// What the two filters of pressure and flow have in common: they take a curve's samples in order, in pieces
// of any size, and give the filtered curve as it stands for a recording that ends there.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace vorela {

/// A filter over one curve. Positions count the curve's grid from its first sample (0); input and output
/// share the grid.
///
/// Feed() any number of pieces, then Finish(): what has been handed out by then, later values replacing
/// earlier ones at the same position, is what one run over the same samples gives, bit for bit. Feeding may
/// go on afterwards.
class CurveFilter {
  public:
    /// Takes outputs: the position of the first and a run of values. The span lives during the call.
    using Sink = std::function<void(std::int64_t position, std::span<const float> values)>;
    /// First and last position; empty when last < first.
    struct Span {
        std::int64_t first = 0;
        std::int64_t last = -1;
    };

    CurveFilter() = default;
    CurveFilter(const CurveFilter&) = default;
    CurveFilter& operator=(const CurveFilter&) = delete;
    virtual ~CurveFilter() = default;
    virtual std::unique_ptr<CurveFilter> Clone() const = 0;

    /// The next samples; present[i] == 0 where there is none (a gap in the recording). Hands out what is
    /// final.
    virtual void Feed(std::span<const float> values, std::span<const std::uint8_t> present,
                      const Sink& sink) = 0;
    /// Hands out what a recording that ends here has beyond that.
    virtual void Finish(const Sink& sink) = 0;

    /// Samples fed.
    virtual std::int64_t Fed() const = 0;
    /// Outputs before this position never change again.
    virtual std::int64_t FinalEnd() const = 0;
    /// Where the output is a full response, for a recording that ends here.
    Span ValidSpan() const { return ValidSpanOf(Fed()); }
    /// The same for a recording of `count` samples, fed or not.
    virtual Span ValidSpanOf(std::int64_t count) const = 0;
    /// A position that was handed out turned out to have no value after all: the curve has to be made anew.
    virtual bool NeedsFreshStart() const { return false; }
};

}  // namespace vorela
