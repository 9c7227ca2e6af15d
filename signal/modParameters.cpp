#include "signal/modParameters.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <string_view>
#include <variant>

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

constexpr double largest32Bit = 2147483647.0;
constexpr double smallest32Bit = -2147483648.0;

/// More levels than any test has; a settings file that asks for more is damaged.
constexpr std::int32_t mostIntervals = 9999;

/// A single-valued setting: key, default text, field, and the range that a dialog or command line accepts.
struct ScalarSetting {
    const char* key;
    const char* defaultText;
    std::variant<double ParameterSet::*, std::int16_t ParameterSet::*, std::int32_t ParameterSet::*> field;
    double lower;
    double upper;
    const char* message;
};

/// In the order of the section. NumInts, which stands behind the interval keys, and DFilt and DLen follow
/// apart.
const std::array<ScalarSetting, 11>& ScalarSettings() {
    using P = ParameterSet;
    static const std::array<ScalarSetting, 11> settings{{
        {"Period", "240", &P::period, 20, largest32Bit, "Period of test: Out of range"},
        {"UsePeriodInMatch", "0", &P::usePeriodInMatch, -1, 1, "Use period in match: Out of range"},
        {"BandPass", "0", &P::bandPass, -1, 1, "Band pass: Out of range"},
        {"FilterN", "1", &P::filterN, 1, 32767, "No. of times to apply filter: Out of range"},
        {"CasingID", "6", &P::casingID, 1, 10000, "Casing ID: Out of range"},
        {"TD", "10000", &P::td, 1, largest32Bit, "Total depth: Out of range"},
        {"Compressibility", "0.01", &P::compressibility, smallest32Bit, largest32Bit,
         "Compressibility: Out of range"},
        {"Spinner", "0", &P::spinner, 0, 3, "Spinner type: Out of range"},
        {"Slope", "0.05", &P::slope, 0.0001, 100, "Spinner slope: Out of range"},
        {"B0", "1", &P::b0, smallest32Bit, largest32Bit, "Formation volume factor: Out of range"},
        {"DW", "7.5", &P::dw, 1, 10000, "Borehole diameter: Out of range"},
    }};
    return settings;
}

constexpr const char* numIntsKey = "NumInts";
const ScalarSetting& FilterTypeSetting() {
    static const ScalarSetting setting{"DFilt", "0", &ParameterSet::dFilt,
                                       0,       3,   "Dravik filter type: Out of range"};
    return setting;
}
const ScalarSetting& FilterLengthSetting() {
    static const ScalarSetting setting{"DLen", "0.0", &ParameterSet::dLen,
                                       0,      1000,  "Dravik filter length: Out of range"};
    return setting;
}

/// A setting with one value for each interval; the key is the 0-based index followed by `name`.
struct IntervalSetting {
    const char* name;
    const char* defaultText;
    std::variant<std::vector<double> ParameterSet::*, std::vector<std::int32_t> ParameterSet::*> field;
    double lower;
    const char* message;
};

const std::array<IntervalSetting, 5>& IntervalSettings() {
    using P = ParameterSet;
    static const std::array<IntervalSetting, 5> settings{{
        {"CycleNo", "1", &P::cycleNo, 1, "Cycle number: Out of range"},
        {"Porosity", "1", &P::porosity, smallest32Bit, "Porosity: Out of range"},
        {"Viscosity", "1", &P::viscosity, smallest32Bit, "Viscosity: Out of range"},
        {"CT", "1", &P::ct, smallest32Bit, "Compressibility: Out of range"},
        {"Height", "10", &P::height, smallest32Bit, "Height: Out of range"},
    }};
    return settings;
}

const IntervalSetting& SettingOf(IntervalField field) {
    return CheckedAt(IntervalSettings(), static_cast<std::int64_t>(field), "SettingOf");
}

std::string IntervalKey(std::size_t interval, const IntervalSetting& setting) {
    return std::to_string(interval) + setting.name;
}

double ReadNumber(const std::string& key, const char* defaultText) {
    return LeadingNumber(ReadIniString(section, key, defaultText, SettingsFilePath()));
}

/// The rounded value of an integer setting; a value beyond the field's type is an error that names file and
/// key.
template <typename Integer>
Integer ToInteger(double value, const std::string& key) {
    try {
        return RoundTo<Integer>(value, "ReadParameters");
    } catch (const RunTimeError&) {
        throw RunTimeError{error_number::overflow, "ReadParameters",
                           SettingsFilePath() + ", [" + section + "] " + key + ": Overflow"};
    }
}

void ReadInto(double& field, const std::string& key, const char* defaultText) {
    field = ReadNumber(key, defaultText);
}
template <typename Integer>
void ReadInto(Integer& field, const std::string& key, const char* defaultText) {
    field = ToInteger<Integer>(ReadNumber(key, defaultText), key);
}

std::string TextOf(double value) {
    return ShortestText(value);
}
std::string TextOf(std::int32_t value) {
    return std::to_string(value);
}

void Write(const std::string& key, const std::string& text) {
    WriteIniString(section, key, text, SettingsFilePath());
}

void WriteScalar(const ParameterSet& set, const ScalarSetting& setting) {
    std::visit([&](auto member) { Write(setting.key, TextOf(set.*member)); }, setting.field);
}

void ReadScalar(ParameterSet& set, const ScalarSetting& setting) {
    std::visit([&](auto member) { ReadInto(set.*member, setting.key, setting.defaultText); }, setting.field);
}

std::int32_t SelectedDatasets() {
    return static_cast<std::int32_t>(CurrentSelection().datasets.size());
}

/// Brings the interval arrays to `count` entries and reads every entry.
void ReadIntervals(ParameterSet& set, std::int32_t count) {
    for (const IntervalSetting& setting : IntervalSettings()) {
        std::visit([&](auto member) { (set.*member).resize(static_cast<std::size_t>(count)); },
                   setting.field);
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        for (const IntervalSetting& setting : IntervalSettings()) {
            std::visit(
                [&](auto member) {
                    ReadInto((set.*member)[i], IntervalKey(i, setting), setting.defaultText);
                },
                setting.field);
        }
    }
}

/// Grows the interval arrays, with default values, until they hold `interval`.
void MakeRoomFor(ParameterSet& set, std::size_t interval) {
    for (const IntervalSetting& setting : IntervalSettings()) {
        std::visit(
            [&](auto member) {
                auto& values = set.*member;
                using Value = typename std::decay_t<decltype(values)>::value_type;
                if (values.size() <= interval)
                    values.resize(interval + 1, static_cast<Value>(LeadingNumber(setting.defaultText)));
            },
            setting.field);
    }
    set.numInts = std::max(set.numInts, static_cast<std::int32_t>(interval + 1));
}

std::optional<Refusal> CheckBox(const char* control, const BoxText& box, const ScalarSetting& setting) {
    double& field = CurrentParameters().*std::get<double ParameterSet::*>(setting.field);
    if (CheckRange(box, setting.lower, setting.upper, field))
        return std::nullopt;
    return Refusal{control, setting.message};
}

const ScalarSetting& SettingOf(const char* key) {
    const auto& settings = ScalarSettings();
    return *std::find_if(settings.begin(), settings.end(),
                         [&](const auto& setting) { return std::string_view(setting.key) == key; });
}

std::optional<SettingRange> IntervalSettingRange(const std::string& key) {
    const std::size_t digits = std::min(key.find_first_not_of("0123456789"), key.size());
    if (digits == 0 || digits > 4 || (digits > 1 && key.front() == '0'))
        return std::nullopt;
    if (LeadingInteger(key) >= mostIntervals)
        return std::nullopt;
    for (const IntervalSetting& setting : IntervalSettings()) {
        if (EqualIgnoringCase(key.substr(digits), setting.name)) {
            const bool integer =
                std::holds_alternative<std::vector<std::int32_t> ParameterSet::*>(setting.field);
            return SettingRange{setting.lower, largest32Bit, setting.message, integer};
        }
    }
    return std::nullopt;
}

SettingRange RangeOf(const ScalarSetting& setting) {
    return {setting.lower, setting.upper, setting.message,
            !std::holds_alternative<double ParameterSet::*>(setting.field)};
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
        ParameterSet set = CurrentParameters();
        for (const ScalarSetting& setting : ScalarSettings())
            ReadScalar(set, setting);
        ReadInto(set.numInts, numIntsKey, "1");
        if (set.numInts > mostIntervals)
            throw RunTimeError{error_number::overflow, "ReadParameters",
                               SettingsFilePath() + ", [" + section + "] " + numIntsKey + ": Overflow"};
        set.numInts = std::max(set.numInts, SelectedDatasets());
        // Without intervals the reading ends here: the filter of the acquisition system keeps its values too.
        if (set.numInts >= 1) {
            ReadIntervals(set, set.numInts);
            set.dFilt =
                ToInteger<std::int16_t>(ReadIniInteger(section, "DFilt", 0, SettingsFilePath()), "DFilt");
            ReadScalar(set, FilterLengthSetting());
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
        const ParameterSet& set = CurrentParameters();
        for (const ScalarSetting& setting : ScalarSettings())
            WriteScalar(set, setting);
        for (std::size_t i = 0; i < static_cast<std::size_t>(std::max(set.numInts, 0)); ++i) {
            for (const IntervalSetting& setting : IntervalSettings()) {
                std::visit(
                    [&](auto member) {
                        if (i < (set.*member).size())
                            Write(IntervalKey(i, setting), TextOf((set.*member)[i]));
                    },
                    setting.field);
            }
        }
        Write(numIntsKey, TextOf(set.numInts));
        WriteScalar(set, FilterTypeSetting());
        WriteScalar(set, FilterLengthSetting());
    });
}

std::int32_t CycleNumberOf(std::size_t interval) {
    const std::vector<std::int32_t>& numbers = CurrentParameters().cycleNo;
    return interval < numbers.size() ? numbers[interval] : 1;
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
    form.period = box(set.period, "0");
    form.casingID = box(set.casingID, "0.000");
    form.td = box(set.td, "0.0");
    form.compressibility = box(set.compressibility, "0.0000000");
    form.b0 = box(set.b0, "0.0000");
    form.dw = box(set.dw, "0.000");
    form.slope = box(set.slope, "0.000");
    form.dLen = box(set.dLen, "0.00");
    form.periodInMatch = set.usePeriodInMatch != 0;
    form.bandPass = set.bandPass != 0;
    form.spinner = entry(set.spinner, SpinnerTypes().size());
    form.filter = entry(set.dFilt, SpinnerFilterTypes().size());
    return form;
}

std::optional<Refusal> ValidateParameters(const ParametersForm& form) {
    ParameterSet& set = CurrentParameters();
    if (auto refusal = CheckBox("txtPeriod", form.period, SettingOf("Period")))
        return refusal;
    set.usePeriodInMatch = form.periodInMatch ? 1 : 0;
    set.bandPass = form.bandPass ? 1 : 0;
    if (auto refusal = CheckBox("txtCasingID", form.casingID, SettingOf("CasingID")))
        return refusal;
    if (auto refusal = CheckBox("txtTD", form.td, SettingOf("TD")))
        return refusal;
    if (auto refusal = CheckBox("txtCompressibility", form.compressibility, SettingOf("Compressibility")))
        return refusal;
    set.spinner = form.spinner.value_or(1);
    if (set.spinner == userDefinedSpinner) {
        if (auto refusal = CheckBox("txtSlope", form.slope, SettingOf("Slope")))
            return refusal;
    }
    if (auto refusal = CheckBox("txtB0", form.b0, SettingOf("B0")))
        return refusal;
    if (auto refusal = CheckBox("txtDW", form.dw, SettingOf("DW")))
        return refusal;
    if (form.filter) {
        set.dFilt = CheckedNarrow<std::int16_t>(*form.filter, "ValidateParameters");
        return CheckBox("txtDLen", form.dLen, FilterLengthSetting());
    }
    set.dFilt = 0;
    set.dLen = 0;
    return std::nullopt;
}

std::string IntervalValueText(IntervalField field, std::size_t interval) {
    const auto member = std::get<std::vector<double> ParameterSet::*>(SettingOf(field).field);
    const std::vector<double>& values = CurrentParameters().*member;
    return interval < values.size() ? ShortestText(values[interval]) : std::string();
}

std::optional<Refusal> SetIntervalValue(IntervalField field, std::size_t interval, const std::string& text) {
    const IntervalSetting& setting = SettingOf(field);
    const std::optional<double> value = NumberInRange(text, setting.lower, largest32Bit);
    if (!value)
        return Refusal{"txtEdit", setting.message};
    ParameterSet& set = CurrentParameters();
    MakeRoomFor(set, interval);
    (set.*std::get<std::vector<double> ParameterSet::*>(setting.field))[interval] = *value;
    WriteParameters();
    return std::nullopt;
}

void SetCycleNumber(std::size_t interval, std::int32_t cycleNumber) {
    MakeRoomFor(CurrentParameters(), interval);
    CurrentParameters().cycleNo[interval] = cycleNumber;
    WriteParameters();
}

std::optional<SettingRange> ParameterSettingRange(const std::string& key) {
    for (const ScalarSetting& setting : ScalarSettings())
        if (EqualIgnoringCase(key, setting.key))
            return RangeOf(setting);
    for (const ScalarSetting* setting : {&FilterTypeSetting(), &FilterLengthSetting()})
        if (EqualIgnoringCase(key, setting->key))
            return RangeOf(*setting);
    if (EqualIgnoringCase(key, numIntsKey))
        return SettingRange{0, mostIntervals, "Number of intervals: Out of range", true};
    return IntervalSettingRange(key);
}

}  // namespace vorela
