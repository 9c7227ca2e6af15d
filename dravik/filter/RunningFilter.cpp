#include "dravik/filter/RunningFilter.h"

#include <array>
#include <cmath>

#include "general/NumberText.h"

namespace dravik {
namespace {

/// a + b without loss beyond the last of about 106 bits.
DoubleDouble Add(DoubleDouble a, DoubleDouble b) {
    const double sum = a.high + b.high;
    const double part = sum - a.high;
    const double error = (a.high - (sum - part)) + (b.high - part) + a.low + b.low;
    const double high = sum + error;
    return {high, error - (high - sum)};
}

class PassThrough final : public RunningFilter {
  public:
    double Push(double value) override { return value; }
};

class SquareFilter final : public RunningFilter {
  public:
    explicit SquareFilter(std::size_t n) : sum_(n), count_(static_cast<double>(n)) {}
    double Push(double value) override { return sum_.Push({value, 0.0}).high / count_; }

  private:
    SlidingSum sum_;
    double count_;
};

/// Two square windows of m samples one after the other have the weights 1, 2 ... m ... 2, 1.
class TriangleFilter final : public RunningFilter {
  public:
    explicit TriangleFilter(std::size_t m)
        : first_(m), second_(m), weightSum_(static_cast<double>(m) * static_cast<double>(m)) {}
    double Push(double value) override { return second_.Push(first_.Push({value, 0.0})).high / weightSum_; }

  private:
    SlidingSum first_;
    SlidingSum second_;
    double weightSum_;
};

class GaussianFilter final : public RunningFilter {
  public:
    explicit GaussianFilter(std::size_t n) : weights_(n), history_(2 * n) {
        const double deviation = static_cast<double>(n) / 6.0;
        const double centre = static_cast<double>(n - 1) / 2.0;
        double sum = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            const double x = (static_cast<double>(i) - centre) / deviation;
            weights_[i] = std::exp(-0.5 * x * x);
            sum += weights_[i];
        }
        for (double& weight : weights_)
            weight /= sum;
    }

    double Push(double value) override {
        const std::size_t n = weights_.size();
        if (!started_)
            history_.assign(2 * n, value);
        started_ = true;
        // Every value is kept twice, n apart: the last n of them always lie in one piece.
        history_[position_] = value;
        history_[position_ + n] = value;
        position_ = (position_ + 1) % n;
        return WeightedSum(history_.data() + position_);
    }

  private:
    double WeightedSum(const double* values) const {
        constexpr std::size_t lanes = 8;
        std::array<double, lanes> sums{};
        const std::size_t n = weights_.size();
        std::size_t i = 0;
        for (; i + lanes <= n; i += lanes) {
            for (std::size_t lane = 0; lane < lanes; ++lane)
                sums[lane] += weights_[i + lane] * values[i + lane];
        }
        double total = 0.0;
        for (; i < n; ++i)
            total += weights_[i] * values[i];
        for (const double sum : sums)
            total += sum;
        return total;
    }

    std::vector<double> weights_;
    std::vector<double> history_;
    std::size_t position_ = 0;
    bool started_ = false;
};

}  // namespace

std::optional<FilterDefinition> ParseFilterDefinition(std::string_view text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos)
        return std::nullopt;
    const std::string_view type = text.substr(0, comma);
    FilterDefinition definition;
    if (type == "None")
        definition.shape = FilterShape::none;
    else if (type == "Square")
        definition.shape = FilterShape::square;
    else if (type == "Triangle")
        definition.shape = FilterShape::triangle;
    else if (type == "Gaussian")
        definition.shape = FilterShape::gaussian;
    else
        return std::nullopt;
    const std::optional<double> length = vorela::StrictNumber(text.substr(comma + 1));
    if (!length || *length < 0.0)
        return std::nullopt;
    definition.lengthSeconds = *length;
    return definition;
}

std::optional<std::int64_t> FilterSampleCount(const FilterDefinition& definition, std::int32_t unitsPerSecond,
                                              std::int16_t step) {
    if (definition.shape == FilterShape::none)
        return 1;
    const double steps = std::round(definition.lengthSeconds * unitsPerSecond / step);
    if (!(steps < static_cast<double>(longestFilter)))
        return std::nullopt;
    return static_cast<std::int64_t>(steps) | 1;
}

DoubleDouble SlidingSum::Push(DoubleDouble value) {
    if (!started_) {
        slots_.assign(slots_.size(), value);
        SumSuffixes();
        started_ = true;
    }
    slots_[position_] = value;
    newer_ = Add(newer_, value);
    ++position_;
    if (position_ < slots_.size())
        return Add(slots_[position_], newer_);
    const DoubleDouble sum = newer_;
    SumSuffixes();
    return sum;
}

void SlidingSum::SumSuffixes() {
    for (std::size_t i = slots_.size() - 1; i-- > 0;)
        slots_[i] = Add(slots_[i], slots_[i + 1]);
    position_ = 0;
    newer_ = {};
}

std::unique_ptr<RunningFilter> MakeRunningFilter(FilterShape shape, std::size_t n) {
    if (n == 1)
        return std::make_unique<PassThrough>();
    switch (shape) {
        case FilterShape::square:
            return std::make_unique<SquareFilter>(n);
        case FilterShape::triangle:
            return std::make_unique<TriangleFilter>((n + 1) / 2);
        case FilterShape::gaussian:
            return std::make_unique<GaussianFilter>(n);
        case FilterShape::none:
            break;
    }
    return std::make_unique<PassThrough>();
}

}  // namespace dravik
