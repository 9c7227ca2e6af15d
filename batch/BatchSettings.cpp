#include "batch/BatchSettings.h"

#include <array>
#include <cmath>
#include <functional>
#include <limits>

#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr double leftEndOfGuide = 0;     // %
constexpr double rightEndOfGuide = 100;  // %

std::optional<SettingRange> CursorSettingRange(const std::string& key) {
    if (!EqualIgnoringCase(key, "Cursor1") && !EqualIgnoringCase(key, "Cursor2"))
        return std::nullopt;
    return SettingRange{leftEndOfGuide, rightEndOfGuide, "Cursor position: Out of range"};
}

bool IsCurveNameKey(const std::string& key) {
    // The flow curve's name stands under the key of its number.
    return EqualIgnoringCase(key, "PresCurve") || EqualIgnoringCase(key, "FlowCurveNum");
}

std::optional<SettingRange> DatasetSettingRange(const std::string& key) {
    if (!EqualIgnoringCase(key, "PresCurveNum"))
        return std::nullopt;
    return SettingRange{0, std::numeric_limits<std::int16_t>::max(), "Curve number: Out of range", true};
}

struct Section {
    const char* name;
    std::function<std::optional<SettingRange>(const std::string&)> rangeOf;
};

const std::array<Section, 5>& Sections() {
    static const std::array<Section, 5> sections{{{"Parameters", ParameterSettingRange},
                                                  {"Dataset", DatasetSettingRange},
                                                  {"Cursors", CursorSettingRange},
                                                  {"Presentation", PresentationSettingRange},
                                                  {"Plot", PlotFormatSettingRange}}};
    return sections;
}

const Section* FindSection(const std::string& name) {
    for (const Section& section : Sections())
        if (EqualIgnoringCase(section.name, name))
            return &section;
    return nullptr;
}

/// What is wrong with a value; "" when nothing is.
std::string FaultOfValue(const std::string& value, const SettingRange& range) {
    const std::optional<double> number = NumberInRange(value, range.lower, range.upper);
    if (!number)
        return range.message + " (" + ShortestText(range.lower) + " to " + ShortestText(range.upper) + ")";
    if (range.integer && std::trunc(*number) != *number)
        return range.message + " (a whole number is needed)";
    return {};
}

std::string FaultOf(const SettingValue& setting) {
    const Section* section = FindSection(setting.section);
    if (section == nullptr)
        return "there is no settings section \"" + setting.section + "\"";
    if (EqualIgnoringCase(section->name, "Dataset") && IsCurveNameKey(setting.key)) {
        const bool fits = !setting.value.empty() && setting.value.size() <= longestIniValue;
        return fits ? "" : "a curve name is needed";
    }
    const std::optional<SettingRange> range = section->rangeOf(setting.key);
    if (!range)
        return "section " + std::string(section->name) + " has no key \"" + setting.key + "\"";
    return FaultOfValue(setting.value, *range);
}

}  // namespace

std::optional<SettingValue> ParseSetting(const std::string& text, std::string& fault) {
    const std::size_t equals = text.find('=');
    const std::size_t dot = text.find('.');
    if (equals == std::string::npos || dot == std::string::npos || dot > equals) {
        fault = "--set " + text + ": Section.Key=Value is needed";
        return std::nullopt;
    }
    SettingValue setting{Trimmed(text.substr(0, dot)), Trimmed(text.substr(dot + 1, equals - dot - 1)),
                         Trimmed(text.substr(equals + 1))};
    if (const std::string found = FaultOf(setting); !found.empty()) {
        fault = "--set " + text + ": " + found;
        return std::nullopt;
    }
    return setting;
}

std::optional<std::size_t> LevelOfSetting(const SettingValue& setting) {
    const bool indexed = EqualIgnoringCase(setting.section, "Parameters") && !setting.key.empty() &&
                         setting.key.front() >= '0' && setting.key.front() <= '9';
    if (!indexed)
        return std::nullopt;
    return static_cast<std::size_t>(LeadingInteger(setting.key));
}

}  // namespace vorela
