#include "general/SettingsTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/SettingsList.h"

namespace vorela {
namespace {

constexpr const char* source = "SettingsTable";

struct Reader {
    const std::string& section;
    const SettingField& field;

    std::string Text(const std::string& defaultText) const {
        return ReadIniString(section, field.key, defaultText, SettingsFilePath());
    }
    std::int32_t Integer(std::int32_t defaultValue) const {
        return ReadIniInteger(section, field.key, defaultValue, SettingsFilePath());
    }
    void operator()(bool* value) const { *value = Integer(*value ? -1 : 0) != 0; }
    template <typename Whole>
    void operator()(Whole* value) const {
        const bool integer = field.reading == SettingReading::integer;
        *value =
            RoundTo<Whole>(integer ? Integer(*value) : LeadingNumber(Text(std::to_string(*value))), source);
    }
    void operator()(double* value) const { *value = LeadingNumber(Text(ShortestText(*value))); }
    void operator()(float* value) const {
        const std::string text = Trimmed(Text(ShortestText(*value)));
        // A number beyond single precision is none, be it one of double precision or not even that.
        const char* const digits = text.data() + (text.starts_with('+') ? 1 : 0);
        float single = 0.0F;
        const bool beyond =
            std::from_chars(digits, text.data() + text.size(), single).ec == std::errc::result_out_of_range;
        if (!beyond)
            *value = static_cast<float>(LeadingNumber(text));
    }
    void operator()(std::string* value) const { *value = Text(*value); }
};

/// The last field of that key: what is written last is what the file holds.
const SettingField* Find(const SettingFields& fields, const std::string& key) {
    const auto found = std::find_if(fields.rbegin(), fields.rend(),
                                    [&](const auto& field) { return EqualIgnoringCase(field.key, key); });
    return found == fields.rend() ? nullptr : &*found;
}

std::size_t IndexDigits(const std::string& key) {
    const std::size_t digits = std::min(key.find_first_not_of("0123456789"), key.size());
    const bool plain = digits <= 1 || (digits <= 4 && key.front() != '0');
    return plain && LeadingInteger(key) < mostIndexedSettings ? digits : 0;
}

const SettingField* Find(const SettingsSection& section, const std::string& key) {
    const std::size_t digits = IndexDigits(key);
    return digits == 0 ? Find(section.fields, key) : Find(section.indexed, key.substr(digits));
}

std::string MessageOf(const SettingField& field) {
    return field.range.message.empty() ? field.key + ": Out of range" : field.range.message;
}

/// What is wrong with a value; "" when nothing is.
std::string FaultOfValue(const std::string& value, const SettingField& field) {
    if (std::holds_alternative<std::string*>(field.place))
        return value.empty() || value.size() > longestIniValue ? MessageOf(field) : "";
    const SettingRange& range = field.range;
    const std::optional<double> number = NumberInRange(value, range.lower, range.upper);
    if (!number)
        return MessageOf(field) + " (" + ShortestText(range.lower) + " to " + ShortestText(range.upper) + ")";
    const bool whole =
        !std::holds_alternative<double*>(field.place) && !std::holds_alternative<float*>(field.place);
    if (whole && std::trunc(*number) != *number)
        return MessageOf(field) + " (a whole number is needed)";
    return range.oddOnly && std::fmod(*number, 2.0) != 1.0 ? MessageOf(field) : "";
}

std::string FaultOf(const std::vector<SettingsSection>& sections, const SettingValue& setting) {
    const auto section = std::find_if(sections.begin(), sections.end(), [&](const auto& known) {
        return EqualIgnoringCase(known.name, setting.section);
    });
    if (section == sections.end())
        return "there is no settings section \"" + setting.section + "\"";
    const SettingField* const field = Find(*section, setting.key);
    if (field == nullptr)
        return "section " + section->name + " has no key \"" + setting.key + "\"";
    return FaultOfValue(setting.value, *field);
}

/// What is to be said of a key that is read.
std::string RemarkOnKey(const SettingsLine& line, const SettingsSection& section,
                        const std::string& filePath) {
    const SettingField* const field = Find(section, line.key);
    if (field == nullptr)
        return "section " + section.name + " has no key \"" + line.key + "\": passed over";
    const std::string fault = line.value.empty() ? "" : FaultOfValue(line.value, *field);
    // Asked last: it reads the file again. The command line may have given another value.
    if (fault.empty() || ReadIniString(line.section, line.key, "", filePath) != line.value)
        return {};
    const std::string taken =
        StrictNumber(line.value) ? "it stands" : ShortestText(LeadingNumber(line.value));
    return line.key + "=" + line.value + ": " + fault + "; taken as " + taken;
}

/// Why a line of the file is not used, or not to be used as it stands; "" when nothing is wrong with it.
std::string RemarkOn(const SettingsLine& line, const std::vector<SettingsSection>& sections,
                     const std::vector<std::string>& others, const std::string& filePath) {
    const auto named = [&](const std::string& name) { return EqualIgnoringCase(name, line.section); };
    const auto section = std::ranges::find_if(sections, named, &SettingsSection::name);
    const bool head = line.key.empty();
    if (section == sections.end())
        return head && std::ranges::none_of(others, named)
                   ? "there is no settings section \"" + line.section + "\": passed over"
                   : "";
    if (line.isRepeated)
        return (head ? "section " + section->name : line.key) + " stands in the file already: passed over";
    return head ? "" : RemarkOnKey(line, *section, filePath);
}

}  // namespace

SettingFields AtIndex(std::size_t index, SettingFields fields) {
    for (SettingField& field : fields)
        field.key.insert(0, std::to_string(index));
    return fields;
}

std::optional<std::size_t> IndexOfKey(const std::string& key) {
    if (IndexDigits(key) == 0)
        return std::nullopt;
    return static_cast<std::size_t>(LeadingInteger(key));
}

std::optional<std::string> ReadFields(const std::string& section, const SettingFields& fields) {
    std::optional<std::string> beyond;
    for (const SettingField& field : fields) {
        try {
            std::visit(Reader{section, field}, field.place);
        } catch (const RunTimeError&) {
            if (!beyond)
                beyond = field.key;
        }
    }
    return beyond;
}

std::string FaultOfFields(const SettingFields& fields) {
    for (const SettingField& field : fields) {
        const std::string text = TextOfSetting(field);
        if (std::string fault = FaultOfValue(text, field); !fault.empty())
            return fault;
    }
    return {};
}

void WriteFields(const std::string& section, const SettingFields& fields) {
    for (const SettingField& field : fields)
        WriteIniString(section, field.key, TextOfSetting(field), SettingsFilePath());
}

std::optional<Refusal> CheckBox(const BoxText& box, const SettingFields& fields, const std::string& key) {
    const SettingField* const field = Find(fields, key);
    if (field == nullptr)
        throw RunTimeError{error_number::internalError, source, "Unknown setting " + key};
    if (CheckRange(box, field->range.lower, field->range.upper, *std::get<double*>(field->place)))
        return std::nullopt;
    return Refusal{"txt" + key, MessageOf(*field)};
}

std::vector<std::string> SettingsRemarks(const std::string& filePath,
                                         const std::vector<SettingsSection>& sections,
                                         const std::vector<std::string>& others) {
    std::vector<std::string> remarks;
    for (const SettingsLine& line : SettingsLines(filePath))
        if (const std::string remark = RemarkOn(line, sections, others, filePath); !remark.empty())
            remarks.push_back(filePath + ", line " + std::to_string(line.number) + ": " + remark);
    return remarks;
}

std::optional<SettingValue> ParseSetting(const std::vector<SettingsSection>& sections,
                                         const std::string& text, std::string& fault) {
    const std::size_t equals = text.find('=');
    const std::size_t dot = text.find('.');
    if (equals == std::string::npos || dot == std::string::npos || dot > equals) {
        fault = "--set " + text + ": Section.Key=Value is needed";
        return std::nullopt;
    }
    SettingValue setting{Trimmed(text.substr(0, dot)), Trimmed(text.substr(dot + 1, equals - dot - 1)),
                         Trimmed(text.substr(equals + 1))};
    if (const std::string found = FaultOf(sections, setting); !found.empty()) {
        fault = "--set " + text + ": " + found;
        return std::nullopt;
    }
    return setting;
}

}  // namespace vorela
