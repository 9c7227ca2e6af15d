// What the modulator valve's tool logs when the valve keeps to a nominal schedule.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "dravik/exchange/CurveSource.h"

namespace dravik {

/// One sample of the four valve curves.
struct ValveSample {
    float position = 1.0F;     ///< PVLPOS: +1 or -1, where the valve stands
    float code = 1.0F;         ///< PVLID: the last position code reached
    float changeTimer = 0.0F;  ///< PVLIDT: the tool's timer when that code was reached
    float timer = 0.0F;        ///< PVLT: the timer at the sample
};

/// The valve curves in the order of the fields above, without a unit, and access to a field by that order.
const std::vector<CurveDescription>& ValveCurves();
float ValveValue(const ValveSample& sample, std::size_t curve);

/// Code 3 (position -1) at each cycle boundary first, first + period ..., code 1 (position +1) half a period
/// later and before the first boundary. The timer is 16 bits wide, counts 4,000,000/1024 ticks per second
/// from time 0 and wraps.
class ValveSchedule {
  public:
    /// Times in hundredths of a second, `grid` that of the record. Throws DatasetError when the grid is too
    /// coarse: four samples to a period are needed, and two samples must lie closer than the timer takes to
    /// wrap.
    ValveSchedule(double firstBoundary, double period, const CurveGrid& grid);

    /// A change at or before the record's first sample shows from the second sample on, its time kept by the
    /// timers, so that a reader who looks for changes finds that boundary too. One that lies further back
    /// than the timer reaches shows from the first sample on: no reader could tell its time.
    ValveSample At(std::int32_t index) const;

  private:
    struct Change {
        double time = 0.0;
        std::int64_t number = 0;  ///< even: boundary
    };
    std::optional<Change> LastChange(double time) const;
    /// The change at or before the first sample that shows from the second on.
    std::optional<Change> PostponedChange() const;

    double first_;
    double halfPeriod_;
    std::int32_t firstIndex_;
    std::int16_t step_;
    std::optional<Change> postponed_;
};

/// A change of the valve to a position code, in hundredths of a second.
struct ValveChange {
    double time = 0.0;
    int code = 3;  ///< 3 or 1
};

/// The samples of a valve that changes at listed times; they show as those of a schedule do.
class ValveRecord {
  public:
    /// Changes in rising order of time. Throws DatasetError for none, and for a grid too coarse for the
    /// timer.
    ValveRecord(std::vector<ValveChange> changes, const CurveGrid& grid);
    ValveSample At(std::int32_t index) const;

  private:
    /// How many changes lie at or before a time.
    std::size_t CountTo(double time) const;

    std::vector<ValveChange> changes_;
    std::int32_t firstIndex_;
    std::int16_t step_;
    std::size_t postponed_ = 0;  ///< changes up to this one show from the second sample on; 0: none
};

}  // namespace dravik
