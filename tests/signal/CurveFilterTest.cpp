// The two filters by themselves: against plain slow references, and fed in pieces against one run.

#include "signal/BandPassCurve.h"
#include "signal/DifferenceFilter.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

using Samples = std::vector<std::optional<float>>;
using MakeFilter = std::function<std::unique_ptr<CurveFilter>()>;

constexpr std::int16_t step = 10;

/// Without those of `gaps` (from, count) that begin within it.
Samples Noise(std::size_t count, const std::vector<std::pair<std::size_t, std::size_t>>& gaps) {
    const std::vector<float> noise = test::Noise(count, 100.0F, 1.0F);
    Samples samples(noise.begin(), noise.end());
    for (const auto& [from, length] : gaps)
        if (from < count)
            std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(from), length, std::nullopt);
    return samples;
}

/// A curve as the filters fill it, made anew when they ask for it.
class Curve {
  public:
    explicit Curve(MakeFilter make) : make_(std::move(make)), filter_(make_()) {}
    /// One extension to the first `end` samples.
    void Extend(const Samples& samples, std::size_t end) {
        Run(samples, end);
        if (!filter_->NeedsFreshStart())
            return;
        ++freshStarts;
        filter_ = make_();
        values.clear();
        Run(samples, end);
    }
    const CurveFilter& Filter() const { return *filter_; }

    Samples values;
    int freshStarts = 0;

  private:
    void Run(const Samples& samples, std::size_t end) {
        std::vector<float> piece;
        std::vector<std::uint8_t> present;
        for (auto k = static_cast<std::size_t>(filter_->Fed()); k < end; ++k) {
            piece.push_back(samples[k].value_or(-1.0F));
            present.push_back(samples[k] ? 1 : 0);
        }
        const auto put = [&](std::int64_t position, std::span<const float> run) {
            const auto at = static_cast<std::size_t>(position);
            values.resize(std::max(values.size(), at + run.size()));
            std::copy(run.begin(), run.end(), values.begin() + position);
        };
        filter_->Feed(piece, present, put);
        filter_->Finish(put);
    }

    MakeFilter make_;
    std::unique_ptr<CurveFilter> filter_;
};

Samples OneRun(const MakeFilter& make, const Samples& samples, std::size_t end) {
    Curve curve(make);
    curve.Extend(samples, end);
    return curve.values;
}

/// The passes as they are defined: each over the whole curve and in place, sample by sample in ascending
/// order.
Samples SlowDifference(const Samples& input, double periodSamples, int passes) {
    const auto at = [](const Samples& curve, double position) -> std::optional<double> {
        const auto below = static_cast<std::size_t>(std::floor(position));
        const double fraction = position - std::floor(position);
        if (below >= curve.size() || !curve[below])
            return std::nullopt;
        if (fraction == 0.0)
            return *curve[below];
        if (below + 1 >= curve.size() || !curve[below + 1])
            return std::nullopt;
        return *curve[below] + (double{*curve[below + 1]} - *curve[below]) * fraction;
    };
    const auto count = static_cast<double>(input.size());
    // E is rounded to whole index units, not to samples.
    const double last = std::nearbyint((count - 1 - passes * periodSamples) * step) / step;
    const auto end = static_cast<std::size_t>(std::floor(std::max(last, 0.0)));
    Samples output(end + 1);
    for (int pass = 0; pass < passes; ++pass) {
        const Samples& from = pass == 0 ? input : output;
        for (std::size_t k = 0; k <= end; ++k) {
            const auto here = static_cast<double>(k);
            const auto a = at(from, here);
            const auto b = at(from, here + periodSamples / 2);
            const auto c = at(from, here + periodSamples);
            if (a && b && c)
                output[k] = static_cast<float>((*a - 2 * *b + *c) / 4);
        }
    }
    while (!output.empty() && !output.back())
        output.pop_back();
    return output;
}

MakeFilter Difference(double periodSamples, int passes, std::int32_t first = 0) {
    const double seconds = periodSamples * step / 100;
    return [=] { return std::make_unique<DifferenceFilter>(first, step, seconds, passes); };
}

MakeFilter BandPass(std::int16_t kernelLength) {
    const auto kernel = std::make_shared<const OverlapAddKernel>(BandPassKernel(0.01F, 0.04F, kernelLength));
    return [kernel] { return std::make_unique<BandPassCurve>(kernel); };
}

TEST(DifferenceFilter, EqualsThePassesInPlaceWithGapsAndEnds) {
    for (const std::size_t count : {1U, 2U, 41U, 90U, 10000U}) {
        const Samples samples = Noise(count, {{4090, 10}, {9000, 1}, {9920, 30}});
        for (const int passes : {1, 2, 3, 5})
            for (const double period : {40.0, 41.0, 40.5, 0.5})
                EXPECT_EQ(OneRun(Difference(period, passes), samples, count),
                          SlowDifference(samples, period, passes))
                    << passes << " passes, period " << period << ", " << count << " samples";
    }
}

TEST(DifferenceFilter, PassesThePeriodOfTestAndRemovesConstantAndStraightLine) {
    const auto ripple = [](std::size_t k) {
        return 2 * std::sin(2 * std::numbers::pi * static_cast<double>(k) / 60);
    };
    Samples samples(400);
    for (std::size_t k = 0; k < samples.size(); ++k)
        samples[k] = static_cast<float>(ripple(k) + 7.0 + 0.01 * static_cast<double>(k));
    Curve curve(Difference(60, 2, -5000));
    curve.Extend(samples, samples.size());
    EXPECT_EQ(curve.values.size(), 400 - 2 * 60) << "to the end less two periods";
    EXPECT_EQ(curve.Filter().ValidSpan().last, 400 - 3 * 60 - 1) << "the last period has had one pass only";
    for (std::size_t k = 0; k < 220; ++k)
        EXPECT_NEAR(*curve.values[k], ripple(k), 2e-6);
}

TEST(DifferenceFilter, RefusesAPeriodThatIsNone) {
    for (const double period : {0.0, -240.0, std::nan("")})
        EXPECT_THROW(DifferenceFilter(0, step, period, 1), RunTimeError);
    DifferenceFilter endless(0, step, 3e7, 1);
    EXPECT_THROW(endless.Finish([](std::int64_t, std::span<const float>) {}), RunTimeError)
        << "E beyond 32 bits";
}

TEST(BandPassCurve, EqualsTheDirectSumBlanksTheEndsAndLeavesGapsOutHoweverShortTheRecording) {
    constexpr std::size_t delay = 32;
    for (const std::int16_t length : {std::int16_t{64}, std::int16_t{65}})
        for (const std::size_t count : {1U, 31U, 33U, 65U, 1500U}) {
            const Samples samples = Noise(count, {{300, 1}, {700, 3}, {1480, 5}});
            const std::vector<float> kernel = BandPassKernel(0.01F, 0.04F, length);
            Curve curve(BandPass(length));
            curve.Extend(samples, count);
            ASSERT_EQ(curve.values.size(), count);
            for (std::size_t k = 0; k < count; ++k) {
                const bool blanked = k < delay || k + delay + 1 >= count;
                std::optional<double> sum = 0.0;
                for (std::size_t m = 0; m < kernel.size() && !blanked; ++m) {
                    const std::optional<float> sample = samples[k + delay - m];
                    sum = sum && sample ? std::optional(*sum + double{kernel[m]} * *sample) : std::nullopt;
                }
                ASSERT_EQ(curve.values[k].has_value(), sum.has_value()) << k;
                EXPECT_NEAR(curve.values[k].value_or(0.0F), sum.value_or(0.0), blanked ? 0 : 2e-6) << k;
            }
            EXPECT_EQ(curve.Filter().ValidSpan().last < curve.Filter().ValidSpan().first, count < 66);
        }
}

class CurveFilterExtension : public testing::TestWithParam<MakeFilter> {};

TEST_P(CurveFilterExtension, InPiecesOfAnySizeGivesTheBitsOfOneRun) {
    const Samples samples = Noise(1400, {{420, 3}, {1301, 1}});
    std::mt19937 random(5);
    for (const std::size_t piece : {1U, 2U, 7U, 59U, 0U}) {
        Curve curve(GetParam());
        std::size_t settled = 0;
        for (std::size_t end = 0; end < samples.size();) {
            end = std::min(samples.size(), end + (piece != 0 ? piece : 1 + random() % 200));
            const Samples before = curve.values;
            curve.Extend(samples, end);
            ASSERT_EQ(curve.values, OneRun(GetParam(), samples, end))
                << "pieces of " << piece << " to " << end;
            for (std::size_t k = 0; k < settled && curve.freshStarts == 0; ++k)
                ASSERT_EQ(curve.values[k], before[k]) << "said to be final";
            settled = std::min(curve.values.size(), static_cast<std::size_t>(curve.Filter().FinalEnd()));
        }
    }
}
INSTANTIATE_TEST_SUITE_P(DifferencesAndBandPasses, CurveFilterExtension,
                         testing::Values(Difference(60, 1), Difference(60, 3), Difference(60.3, 3),
                                         BandPass(60), BandPass(61)));

}  // namespace
}  // namespace vorela
