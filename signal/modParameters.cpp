#include "signal/modParameters.h"

#include <algorithm>

#include "db/DatasetRecord.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* section = "Parameters";
constexpr const char* readingParameters = "Reading parameters";
constexpr const char* writingParameters = "Writing parameters";

/// In the order of the section; the intervals stand between these and NumInts.
SettingFields ScalarFields(ParameterSet& set) {
    return {{"Period", &set.period, {20, highestSetting, "Period of test: Out of range"}},
            {"UsePeriodInMatch", &set.usePeriodInMatch, {-1, 1, "Use period in match: Out of range"}},
            {"BandPass", &set.bandPass, {-1, 1, "Band pass: Out of range"}},
            {"FilterN", &set.filterN, {1, 32767, "No. of times to apply filter: Out of range"}},
            {"CasingID", &set.casingID, {1, 10000, "Casing ID: Out of range"}},
            {"TD", &set.td, {1, highestSetting, "Total depth: Out of range"}},
            {"Compressibility", &set.compressibility, {.message = "Compressibility: Out of range"}},
            {"Spinner", &set.spinner, {0, userDefinedSpinner, "Spinner type: Out of range"}},
            {"Slope", &set.slope, {0.0001, 100, "Spinner slope: Out of range"}},
            {"B0", &set.b0, {.message = "Formation volume factor: Out of range"}},
            {"DW", &set.dw, {1, 10000, "Borehole diameter: Out of range"}}};
}

/// Each key stands behind the interval's 0-based index.
SettingFields IntervalFields(IntervalParameters& interval) {
    return {{"CycleNo", &interval.cycleNo, {.lower = 1, .message = "Cycle number: Out of range"}},
            {"Porosity", &interval.porosity, {.message = "Porosity: Out of range"}},
            {"Viscosity", &interval.viscosity, {.message = "Viscosity: Out of range"}},
            {"CT", &interval.ct, {.message = "Compressibility: Out of range"}},
            {"Height", &interval.height, {.message = "Height: Out of range"}}};
}

SettingFields CountFields(ParameterSet& set) {
    return {{"NumInts", &set.numInts, {0, mostIndexedSettings, "Number of intervals: Out of range"}}};
}

SettingFields FilterFields(ParameterSet& set) {
    return {{"DFilt", &set.dFilt, {0, 3, "Dravik filter type: Out of range"}, SettingReading::integer},
            {"DLen", &set.dLen, {0, 1000, "Dravik filter length: Out of range"}}};
}

/// All but those of the intervals.
SettingFields WholeFields(ParameterSet& set) {
    SettingFields fields = ScalarFields(set);
    for (const SettingFields& more : {CountFields(set), FilterFields(set)})
        fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}

[[noreturn]] void ThrowBeyond(const std::string& key) {
    throw RunTimeError{error_number::overflow, "ReadParameters",
                       SettingsFilePath() + ", [" + section + "] " + key + ": Overflow"};
}

/// Reads the fields; a number beyond its type is an error that names file and key.
void Read(const SettingFields& fields) {
    if (const auto key = ReadFields(section, fields))
        ThrowBeyond(*key);
}

/// Brings the intervals to `count` entries and reads every entry; what they held is forgotten.
void ReadIntervals(ParameterSet& set, std::int32_t count) {
    set.intervals.assign(static_cast<std::size_t>(count), {});
    for (std::size_t i = 0; i < set.intervals.size(); ++i)
        Read(AtIndex(i, IntervalFields(set.intervals[i])));
}

std::int32_t SelectedDatasets() {
    return static_cast<std::int32_t>(CurrentSelection().datasets.size());
}

/// The entry of an interval; those up to it are made, with default values, where there are none.
IntervalParameters& RoomFor(std::size_t interval) {
    ParameterSet& set = CurrentParameters();
    set.intervals.resize(std::max(set.intervals.size(), interval + 1));
    set.numInts = std::max(set.numInts, static_cast<std::int32_t>(interval + 1));
    return set.intervals[interval];
}

}  // namespace

ParameterSet& CurrentParameters() {
    static ParameterSet parameters;
    return parameters;
}

const std::array<SpinnerType, 4>& SpinnerTypes() {
    static const std::array<SpinnerType, 4> types{{
        {"HVX", ""},
        {"RTA-RTB-RTC", "0.05 rps/ft/min"},
        {"NPS", "0.03 rps/ft/min"},
        {"User defined", ""},
    }};
    return types;
}

const std::array<const char*, 4>& SpinnerFilterTypes() {
    static const std::array<const char*, 4> types{"None", "Square", "Gaussian", "Triangle"};
    return types;
}

void ReadParameters() {
    Attempt(readingParameters, [] {
        const ParameterSet& before = CurrentParameters();
        ParameterSet set;
        Read(ScalarFields(set));
        Read(CountFields(set));
        if (set.numInts > mostIndexedSettings)
            ThrowBeyond("NumInts");
        set.numInts = std::max(set.numInts, SelectedDatasets());
        if (set.numInts >= 1) {
            ReadIntervals(set, set.numInts);
            Read(FilterFields(set));
        } else {
            // Without intervals the reading ends here: the filter of the acquisition system keeps its values
            // too.
            set.intervals = before.intervals;
            set.dFilt = before.dFilt;
            set.dLen = before.dLen;
        }
        CurrentParameters() = std::move(set);
    });
}

void ResizeIntervalArrays() {
    Attempt(readingParameters, [] {
        ParameterSet set = CurrentParameters();
        set.numInts = SelectedDatasets();
        if (set.numInts >= 1)
            ReadIntervals(set, set.numInts);
        CurrentParameters() = std::move(set);
    });
}

void WriteParameters() {
    Attempt(writingParameters, [] {
        ParameterSet& set = CurrentParameters();
        WriteFields(section, ScalarFields(set));
        const auto count = static_cast<std::size_t>(std::max(set.numInts, 0));
        for (std::size_t i = 0; i < std::min(count, set.intervals.size()); ++i)
            WriteFields(section, AtIndex(i, IntervalFields(set.intervals[i])));
        WriteFields(section, CountFields(set));
        WriteFields(section, FilterFields(set));
    });
}

std::int32_t CycleNumberOf(std::size_t interval) {
    const std::vector<IntervalParameters>& intervals = CurrentParameters().intervals;
    return interval < intervals.size() ? intervals[interval].cycleNo : IntervalParameters{}.cycleNo;
}

ParametersForm ShowParameters() {
    const ParameterSet& set = CurrentParameters();
    const auto box = [](double value, const char* pattern) {
        return BoxText{FormatByPattern(value, pattern), false};
    };
    const auto entry = [](std::int32_t index, std::size_t count) -> std::optional<std::int32_t> {
        if (index < 0 || static_cast<std::size_t>(index) >= count)
            return std::nullopt;
        return index;
    };
    ParametersForm form;
    form.boxes = {
        {"Period", box(set.period, "0")},   {"CasingID", box(set.casingID, "0.000")},
        {"TD", box(set.td, "0.0")},         {"Compressibility", box(set.compressibility, "0.0000000")},
        {"B0", box(set.b0, "0.0000")},      {"DW", box(set.dw, "0.000")},
        {"Slope", box(set.slope, "0.000")}, {"DLen", box(set.dLen, "0.00")}};
    form.periodInMatch = set.usePeriodInMatch != 0;
    form.bandPass = set.bandPass != 0;
    form.spinner = entry(set.spinner, SpinnerTypes().size());
    form.filter = entry(set.dFilt, SpinnerFilterTypes().size());
    return form;
}

std::optional<Refusal> ValidateParameters(const ParametersForm& form) {
    ParameterSet& set = CurrentParameters();
    std::optional<Refusal> refusal;
    const auto refuses = [&, fields = WholeFields(set)](const std::string& key) {
        refusal = CheckBox(form.boxes.at(key), fields, key);
        return refusal.has_value();
    };
    if (refuses("Period"))
        return refusal;
    set.usePeriodInMatch = form.periodInMatch ? 1 : 0;
    set.bandPass = form.bandPass ? 1 : 0;
    if (refuses("CasingID") || refuses("TD") || refuses("Compressibility"))
        return refusal;
    set.spinner = form.spinner.value_or(1);
    if ((set.spinner == userDefinedSpinner && refuses("Slope")) || refuses("B0") || refuses("DW"))
        return refusal;
    set.dFilt = CheckedNarrow<std::int16_t>(form.filter.value_or(0), "ValidateParameters");
    if (!form.filter)
        set.dLen = 0;
    else
        refuses("DLen");
    return refusal;
}

std::string IntervalValueText(IntervalField field, std::size_t interval) {
    const std::vector<IntervalParameters>& intervals = CurrentParameters().intervals;
    return interval < intervals.size() ? ShortestText(intervals[interval].*field) : std::string();
}

std::optional<Refusal> SetIntervalValue(IntervalField field, std::size_t interval, const std::string& text) {
    IntervalParameters edited;
    for (const SettingField& known : IntervalFields(edited)) {
        if (known.place != SettingPlace(&(edited.*field)))
            continue;
        if (!CheckRange({text}, known.range.lower, known.range.upper, edited.*field))
            return Refusal{"txtEdit", known.range.message};
    }
    RoomFor(interval).*field = edited.*field;
    WriteParameters();
    return std::nullopt;
}

void SetCycleNumber(std::size_t interval, std::int32_t cycleNumber) {
    RoomFor(interval).cycleNo = cycleNumber;
    WriteParameters();
}

SettingsSection ParameterSettings() {
    static IntervalParameters any;
    return {section, WholeFields(CurrentParameters()), IntervalFields(any)};
}

}  // namespace vorela
