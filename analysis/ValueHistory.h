// What the user changed in the result grids, to be taken back and done again: the values of intervals and the
// choice of cycles. It belongs to the levels that are selected and is forgotten with them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "signal/modParameters.h"

namespace vorela {

/// Stores an interval's value as a cell editor gives it (SetIntervalValue) and remembers what it was.
std::optional<Refusal> EditIntervalValue(IntervalField field, std::size_t interval, const std::string& text);

/// Another cycle was chosen; numbers as SelectCycle takes them.
void NoteCycleChoice(std::size_t dataset, std::int32_t before, std::int32_t after);

/// What the next step would concern, "porosity of 6100 to 6050"; empty when there is nothing.
std::string UndoSubject();
std::string RedoSubject();

/// A step that was taken: where to look, and what stands there now.
struct ValueStep {
    bool cycle = false;        ///< a level's cycle, else an interval's value
    std::size_t position = 0;  ///< dataset, or interval
    std::string text;          ///< "porosity of 6100 to 6050 is 0.25"
};
/// Stores the former (later) value again, whatever a dialog would say of it today. The grids are filled by
/// the caller. Nothing when there is nothing to take back (to do again).
std::optional<ValueStep> UndoValue();
std::optional<ValueStep> RedoValue();

}  // namespace vorela
