#include "dravik/exchange/TimeBase.h"

#include <algorithm>
#include <cmath>

namespace dravik {
namespace {

constexpr std::size_t headSteps = 100000;
constexpr double gapSteps = 1.5;
/// Whole steps left out: up to so many, so near.
constexpr double mostStepsMissing = 10.0;
constexpr double wholeStepTolerance = 0.02;
constexpr double roundOff = 1e-4;

double Phase(double index, double step) {
    return index - std::floor(index / step) * step;
}

/// std::round without its call: indices are far below 2^63.
double Rounded(double value) {
    return static_cast<double>(static_cast<std::int64_t>(value + (value < 0.0 ? -0.5 : 0.5)));
}

bool IsWholeGap(double steps) {
    const double whole = std::round(steps);
    return whole >= 2.0 && whole <= mostStepsMissing && std::abs(steps - whole) <= wholeStepTolerance * whole;
}

}  // namespace

double TimeBase::Tolerance(double step) {
    constexpr double ofStep = 0.005;
    constexpr double least = 0.5;
    return std::max(ofStep * step, least) + roundOff;
}

void TimeBase::Add(double index, std::size_t line) {
    if (!begun_) {
        head_.push_back({index, line});
        if (head_.size() > headSteps)
            Begin();
        return;
    }
    Track({index, line});
}

const TimeBaseSummary& TimeBase::Finish() {
    if (!begun_)
        Begin();
    return summary_;
}

void TimeBase::Begin() {
    begun_ = true;
    if (head_.empty())
        return;
    summary_.first = head_.front().index;
    summary_.earliest = summary_.first;
    summary_.latest = summary_.first;
    FindMedian();
    const double nearest = std::max(1.0, std::round(summary_.medianStep));
    summary_.gridStep = options_.step ? static_cast<double>(*options_.step) : nearest;
    perStep_ = 1.0 / summary_.gridStep;
    tolerance_ = Tolerance(summary_.gridStep);
    perMedian_ = 1.0 / summary_.medianStep;
    summary_.onGrid = true;
    FindOrigin(summary_.gridStep);
    for (const Sample& sample : head_)
        Track(sample);
    head_ = {};
}

void TimeBase::FindMedian() {
    std::vector<double> steps;
    std::size_t falls = 0;
    for (std::size_t i = 1; i < head_.size(); ++i) {
        const double step = head_[i].index - head_[i - 1].index;
        falls += step < 0.0 ? 1 : 0;
        if (step != 0.0)
            steps.push_back(step);
    }
    summary_.descending = falls * 2 > steps.size();
    for (double& step : steps)
        step = summary_.descending ? -step : step;
    steps.erase(std::remove_if(steps.begin(), steps.end(), [](double step) { return step <= 0.0; }),
                steps.end());
    if (steps.empty())
        return;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    summary_.medianStep = *middle;
    summary_.shortestStep = *middle;
    summary_.longestStep = *middle;
}

bool TimeBase::HoldsMost(double step, double origin) const {
    const double tolerance = std::min(Tolerance(step), 0.05 * step + roundOff);
    std::size_t on = 0;
    for (const Sample& sample : head_) {
        const double phase = Phase(sample.index - origin, step);
        on += phase <= tolerance || step - phase <= tolerance ? 1 : 0;
    }
    return on * 2 > head_.size();
}

/// The grid stands at the hundredth nearest to the first row, unless that row misses the grid on which most
/// rows lie.
void TimeBase::FindOrigin(double step) {
    summary_.origin = options_.phase.value_or(std::round(summary_.first));
    summary_.mostOnGrid = HoldsMost(step, summary_.origin);
    if (summary_.mostOnGrid || options_.phase)
        return;
    std::vector<double> phases;
    phases.reserve(head_.size());
    for (const Sample& sample : head_)
        phases.push_back(Phase(sample.index - summary_.first, step));
    const auto middle = phases.begin() + static_cast<std::ptrdiff_t>(phases.size() / 2);
    std::nth_element(phases.begin(), middle, phases.end());
    const double origin = std::round(summary_.first + *middle);
    if (HoldsMost(step, origin)) {
        summary_.origin = origin;
        summary_.mostOnGrid = true;
    }
}

void TimeBase::Track(const Sample& sample) {
    ++summary_.rows;
    summary_.earliest = std::min(summary_.earliest, sample.index);
    summary_.latest = std::max(summary_.latest, sample.index);
    TrackGrid(sample, summary_.gridStep);
    if (!havePrevious_) {
        havePrevious_ = true;
        previous_ = sample;
        return;
    }
    TrackStep(sample);
}

void TimeBase::TrackStep(const Sample& sample) {
    const double step = summary_.descending ? previous_.index - sample.index : sample.index - previous_.index;
    if (step <= 0.0) {
        if (++summary_.disorder == 1) {
            summary_.disorderLine = sample.line;
            summary_.disorderAfter = previous_.line;
        }
        summary_.longestBack = std::max(summary_.longestBack, -step);
        return;
    }
    previous_ = sample;
    summary_.shortestStep = std::min(summary_.shortestStep, step);
    summary_.longestStep = std::max(summary_.longestStep, step);
    const double steps = step * perMedian_;
    if (std::abs(steps - 1.0) > 0.5 && !IsWholeGap(steps))
        ++summary_.stepsOff;
    if (steps <= gapSteps)
        return;
    ++summary_.gaps;
    summary_.gapsToFill += step <= options_.fill ? 1 : 0;
}

/// On the grid: near a place, on one that no other row has, and no place passed over without a gap.
void TimeBase::TrackGrid(const Sample& sample, double step) {
    const double place = Rounded((sample.index - summary_.origin) * perStep_);
    const double distance = std::abs(sample.index - summary_.origin - place * step);
    summary_.largestDistance = std::max(summary_.largestDistance, distance);
    if (distance > tolerance_)
        summary_.onGrid = false;
    if (havePrevious_) {
        const double jump = std::abs(place - previousPlace_);
        const double gone = std::abs(sample.index - previous_.index);
        const bool isStep = gone > 0.0 && gone < gapSteps * summary_.medianStep;
        if (jump < 1.0 || (!options_.step && isStep && jump > 1.0))
            summary_.onGrid = false;
    }
    previousPlace_ = place;
}

}  // namespace dravik
