// The input parameters: one set for the whole program, kept in the `[Parameters]` section.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "general/SettingsTable.h"

namespace vorela {

/// The values of one interval.
struct IntervalParameters {
    std::int32_t cycleNo = 1;
    double porosity = 1;   ///< v/v
    double viscosity = 1;  ///< cP
    double ct = 1;         ///< total compressibility, 1/psi
    double height = 10;    ///< ft
};

struct ParameterSet {
    double period = 240;  ///< period of test (valve cycle), s
    std::int16_t usePeriodInMatch = 0;
    std::int16_t bandPass = 0;
    std::int16_t filterN = 1;       ///< number of times to apply the filter
    double casingID = 6;            ///< in
    double td = 10000;              ///< total open depth, ft
    double compressibility = 0.01;  ///< of the fluid in the well, 1/psi
    std::int32_t spinner = 0;       ///< index into SpinnerTypes()
    double slope = 0.05;            ///< rps/ft/min
    double b0 = 1;                  ///< formation volume factor, rb/stb
    double dw = 7.5;                ///< borehole diameter, in
    std::vector<IntervalParameters> intervals;
    std::int32_t numInts = 1;
    std::int16_t dFilt = 0;  ///< index into SpinnerFilterTypes()
    double dLen = 0;         ///< s
};
ParameterSet& CurrentParameters();

struct SpinnerType {
    const char* name;
    const char* slopeText;
};
const std::array<SpinnerType, 4>& SpinnerTypes();
/// The entry of SpinnerTypes() whose slope the user states.
inline constexpr std::int32_t userDefinedSpinner = 3;
const std::array<const char*, 4>& SpinnerFilterTypes();

/// Fills the set from `[Parameters]`.
void ReadParameters();
/// Writes every field back, in the section's order.
void WriteParameters();
/// Brings the intervals to the number of selected datasets and reads their entries again.
void ResizeIntervalArrays();
/// CycleNo of an interval, 1 where there is no entry yet.
std::int32_t CycleNumberOf(std::size_t interval);

/// The dialog's controls as values.
struct ParametersForm {
    std::map<std::string, BoxText> boxes;  ///< by the key of the setting that the box edits
    bool periodInMatch = false;
    bool bandPass = false;
    std::optional<std::int32_t> spinner;  ///< selected entry, nothing when none is
    std::optional<std::int32_t> filter;
};
/// The controls' contents for the current set.
ParametersForm ShowParameters();
/// Checks in the dialog's order and stores as it goes; the refusal names the control's objectName. Nothing
/// when all is well.
std::optional<Refusal> ValidateParameters(const ParametersForm& form);

/// A value of an interval that is edited in a grid, as in &IntervalParameters::porosity.
using IntervalField = double IntervalParameters::*;
/// The stored value as the shortest text that reads back to it; empty where there is no entry yet.
std::string IntervalValueText(IntervalField field, std::size_t interval);
/// Stores the value and writes the section.
std::optional<Refusal> SetIntervalValue(IntervalField field, std::size_t interval, const std::string& text);
void SetCycleNumber(std::size_t interval, std::int32_t cycleNumber);

/// What the command line can set of `[Parameters]`.
SettingsSection ParameterSettings();

}  // namespace vorela
