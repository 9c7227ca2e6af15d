#include "dravik/exchange/ValveSchedule.h"

#include <algorithm>
#include <cmath>

#include "dravik/exchange/Datasets.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr double ticksPerHundredth = 4000000.0 / 1024.0 / indexPerUnit;
constexpr double timerRange = 65536.0;
constexpr float boundaryCode = 3.0F;
constexpr float halfWayCode = 1.0F;

float TimerAt(double time) {
    const double ticks = std::floor(time * ticksPerHundredth);
    return static_cast<float>(ticks - std::floor(ticks / timerRange) * timerRange);
}

/// Whether the wrapping timer tells how long before `sample` the moment `change` was.
bool TimerReaches(double change, double sample) {
    return (sample - change) * ticksPerHundredth < timerRange - 1.0;
}

void CheckTimer(std::int16_t step) {
    if (!TimerReaches(0.0, step))
        throw DatasetError("the valve's timer wraps every 16.78 s; samples every " +
                           vorela::ShortestText(step / indexPerUnit) + " s cannot carry its times");
}

}  // namespace

const std::vector<CurveDescription>& ValveCurves() {
    static const std::vector<CurveDescription> curves{
        {"PVLPOS", ""}, {"PVLID", ""}, {"PVLIDT", ""}, {"PVLT", ""}};
    return curves;
}

float ValveValue(const ValveSample& sample, std::size_t curve) {
    switch (curve) {
        case 0:
            return sample.position;
        case 1:
            return sample.code;
        case 2:
            return sample.changeTimer;
        default:
            return sample.timer;
    }
}

ValveSchedule::ValveSchedule(double firstBoundary, double period, const CurveGrid& grid)
    : first_(firstBoundary), halfPeriod_(period / 2.0), firstIndex_(grid.firstIndex), step_(grid.step) {
    if (!(period >= 4.0 * step_))
        throw DatasetError("a period of " + vorela::ShortestText(period / indexPerUnit) +
                           " s needs samples at least every " + vorela::ShortestText(period / 400.0) +
                           " s; the step is " + vorela::ShortestText(step_ / indexPerUnit) + " s");
    CheckTimer(step_);
    postponed_ = PostponedChange();
}

std::optional<ValveSchedule::Change> ValveSchedule::LastChange(double time) const {
    if (time < first_)
        return std::nullopt;
    const double number = std::floor((time - first_) / halfPeriod_);
    return Change{first_ + number * halfPeriod_, static_cast<std::int64_t>(number)};
}

std::optional<ValveSchedule::Change> ValveSchedule::PostponedChange() const {
    const std::optional<Change> change = LastChange(firstIndex_);
    if (!change || !TimerReaches(change->time, firstIndex_ + static_cast<double>(step_)))
        return std::nullopt;
    // The change after it may fall due at the second sample too; it then shows at the third.
    const bool crowded = LastChange(firstIndex_ + static_cast<double>(step_))->number != change->number;
    if (crowded && !TimerReaches(firstIndex_, firstIndex_ + 2.0 * step_))
        return std::nullopt;
    return change;
}

ValveSample ValveSchedule::At(std::int32_t index) const {
    ValveSample sample;
    sample.timer = TimerAt(index);
    std::optional<Change> change = LastChange(index);
    if (!change)
        return sample;
    sample.position = change->number % 2 == 0 ? -1.0F : 1.0F;
    if (postponed_ && index == firstIndex_) {
        if (change->number == 0)
            return sample;
        change = Change{change->time - halfPeriod_, change->number - 1};
    } else if (postponed_ && index == firstIndex_ + step_) {
        change = postponed_;
    }
    sample.code = change->number % 2 == 0 ? boundaryCode : halfWayCode;
    sample.changeTimer = TimerAt(change->time);
    return sample;
}

ValveRecord::ValveRecord(std::vector<ValveChange> changes, const CurveGrid& grid)
    : changes_(std::move(changes)), firstIndex_(grid.firstIndex), step_(grid.step) {
    CheckTimer(step_);
    if (changes_.empty())
        throw DatasetError("no change of the valve was found");
    const std::size_t count = CountTo(firstIndex_);
    if (count > 0 && TimerReaches(changes_[count - 1].time, firstIndex_ + static_cast<double>(step_)))
        postponed_ = count;
}

std::size_t ValveRecord::CountTo(double time) const {
    const auto behind = std::upper_bound(changes_.begin(), changes_.end(), time,
                                         [](double t, const ValveChange& change) { return t < change.time; });
    return static_cast<std::size_t>(behind - changes_.begin());
}

ValveSample ValveRecord::At(std::int32_t index) const {
    ValveSample sample;
    sample.timer = TimerAt(index);
    std::size_t count = CountTo(index);
    if (count == 0)
        return sample;
    sample.position = changes_[count - 1].code == 3 ? -1.0F : 1.0F;
    if (postponed_ > 0 && index == firstIndex_)
        --count;
    else if (postponed_ > 0 && index == firstIndex_ + step_)
        count = postponed_;
    if (count == 0)
        return sample;
    sample.code = static_cast<float>(changes_[count - 1].code);
    sample.changeTimer = TimerAt(changes_[count - 1].time);
    return sample;
}

}  // namespace dravik
