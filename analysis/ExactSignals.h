// Signals of the exact analysis: gaps of a curve filled from the same phase of neighbouring periods, the mean
// over a period taken off, and the harmonics that are left by least squares. Times are hundredths of a
// second.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vorela {

/// A curve on its grid. Values are in double and relative to some level of their own: only changes count.
struct SampledCurve {
    double first = 0;  ///< time of values[0]
    double step = 1;
    enum State : std::uint8_t { missing = 0, present = 1, filled = 2 };
    std::vector<double> values;
    std::vector<std::uint8_t> states;  ///< of the same size

    double TimeOf(std::size_t i) const { return first + step * static_cast<double>(i); }
    /// Positions from <= t < to; `inside` is false where the record does not hold all of them.
    struct Span {
        std::size_t begin = 0, end = 0;
        bool inside = false;
        std::size_t Size() const { return end - begin; }
    };
    Span SpanOf(double from, double to) const;
    std::size_t Count(const Span& span, State state) const;
};

/// Fills missing samples by interpolation through the values at the same phase of up to six periods before
/// and behind: two on each side, else the nearest three. Any periodic signal comes back exactly, and with it
/// a trend of third (of second) degree. What has fewer than three neighbours stays missing.
void FillGaps(SampledCurve& curve, double period);

/// The mean of a curve's linear interpolant over one period round a time, over samples begin … end − 1 that
/// are all there. Where the period sticks out of them the mean goes on as the parabola through the nearest
/// full mean and those one and two periods further in (the line through two, or the one, where there are no
/// more): a trend of second degree is taken off without margins too.
class PeriodMean {
  public:
    /// `period` in samples. The samples are not copied.
    PeriodMean(std::span<const double> samples, double period);
    double Period() const { return period_; }
    /// Mean round a position in samples, any.
    double At(double position) const;
    /// The samples less the mean round each.
    std::vector<double> Rest() const;

  private:
    struct Anchors {
        double position = 0;
        double means[3] = {};
        int count = 0;
    };
    double IntegralTo(double position) const;
    double Full(double position) const;
    Anchors AnchorsFrom(double position, double inwards) const;
    static double Continued(const Anchors& anchors, double outside);

    std::span<const double> samples_;
    std::vector<double> integral_;
    double period_;
    Anchors begin_, end_;
};

/// Samples begin … end − 1 less their period mean, which is of just these. Filled samples are replaced by the
/// mean of the present ones of the same phase: their own would carry the trend's error of the filling.
std::vector<double> WithoutPeriodMean(const SampledCurve& curve, const SampledCurve::Span& stretch,
                                      const PeriodMean& mean);

/// The grid of a window of samples in units of the period.
struct PhaseGrid {
    double first = 0;  ///< phase of the first sample, periods
    double step = 0;   ///< periods
    std::size_t count = 0;
};

/// Σ x e^{−2πi f τ} over the window for each frequency f (in 1/period).
std::vector<std::complex<double>> Correlate(std::span<const double> samples, const PhaseGrid& grid,
                                            std::span<const double> frequencies);

/// Least squares of 1, cos nφ, sin nφ, n = 1 … highest: the complex amplitudes c_n = a_n − i b_n, [0] real.
/// The even ones take up what a valve that is open for more or less than half of the time does.
class HarmonicFit {
  public:
    static constexpr int most = 6;
    HarmonicFit(std::span<const double> samples, const PhaseGrid& grid);
    /// 0 … highest; zero beyond.
    std::complex<double> Amplitude(int harmonic) const;
    int Highest() const { return static_cast<int>(amplitudes_.size()) - 1; }
    /// What is left of the samples, correlated as Correlate does.
    std::vector<std::complex<double>> ResidualAt(std::span<const double> samples,
                                                 std::span<const double> frequencies) const;

  private:
    PhaseGrid grid_;
    std::vector<std::complex<double>> amplitudes_;
};

}  // namespace vorela
