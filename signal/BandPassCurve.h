// The windowed-sinc band pass over a curve that has gaps and may still grow.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "signal/CurveFilter.h"
#include "signal/modWindowedSinc.h"

namespace vorela {

/// The band-pass kernel of a curve with a sampling step in hundredths of a second. The step enters as the
/// tool's sampling value does, in hundredths and not in seconds: kept, since the filter settings in use are
/// tuned to it.
struct KernelDesign {
    float fc1 = 0;
    float fc2 = 0;
    std::int16_t length = 0;
};
/// Throws division by zero (11) and overflow (6) where there is none; the period in seconds.
KernelDesign DesignFor(double period, std::int16_t filterN, std::int16_t step);
/// Kernels in use, shared by the curves of one design.
std::shared_ptr<const OverlapAddKernel> SharedKernel(const KernelDesign& design);

/// The delay is taken out; the first D positions and the last D + 1 are zero (D = half the kernel). An output
/// whose kernel span touches a gap has no value. What is handed out for the transform in progress and the
/// zeros of the end are replaced as the recording grows: each Finish() costs one transform, however long the
/// curve is.
class BandPassCurve final : public CurveFilter {
  public:
    explicit BandPassCurve(std::shared_ptr<const OverlapAddKernel> kernel);

    std::unique_ptr<CurveFilter> Clone() const override { return std::make_unique<BandPassCurve>(*this); }
    /// Throws overflow (6) where an output is not finite.
    void Feed(std::span<const float> values, std::span<const std::uint8_t> present,
              const Sink& sink) override;
    void Finish(const Sink& sink) override;
    std::int64_t Fed() const override { return filter_.SamplesFed(); }
    std::int64_t FinalEnd() const override;
    Span ValidSpanOf(std::int64_t count) const override;
    /// A zero of the blanked end was handed out where a gap that came later leaves no value.
    bool NeedsFreshStart() const override { return needsFreshStart_; }

  private:
    void NoteGaps(std::span<const std::uint8_t> present);
    void HandOut(std::int64_t firstOutput, std::span<const float> outputs, const Sink& sink);
    void HandOutUnblocked(std::int64_t firstOutput, std::span<const float> outputs, const Sink& sink);
    void HandOutZeros(std::int64_t begin, std::int64_t end, const Sink& sink) const;
    std::int64_t Delay() const { return static_cast<std::int64_t>(filter_.Kernel().Delay()); }

    /// Outputs begin … end − 1 of the plain convolution that touch a gap.
    struct Blocked {
        std::int64_t begin;
        std::int64_t end;
    };

    OverlapAddFilter filter_;
    float held_ = 0.0F;            ///< the last sample that was there: stands in for missing ones
    std::vector<float> filled_;    ///< work space: samples without gaps
    std::deque<Blocked> blocked_;  ///< ascending; those before the pair in progress are forgotten
    float lastOfPair_ = 0.0F;  ///< the output before the pair in progress: the blanked end may begin with it
    Span zeroEnd_;             ///< the zeros handed out at the end last time
    bool needsFreshStart_ = false;
};

}  // namespace vorela
