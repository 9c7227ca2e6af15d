#include "general/SettingsList.h"

#include <algorithm>

#include "general/NumberText.h"

namespace vorela {
namespace {

struct Writer {
    std::string operator()(const bool* value) const { return *value ? "-1" : "0"; }
    std::string operator()(const std::string* value) const { return *value; }
    std::string operator()(const float* value) const { return ShortestText(*value); }
    std::string operator()(const double* value) const { return ShortestText(*value); }
    template <typename Whole>
    std::string operator()(const Whole* value) const {
        return std::to_string(*value);
    }
};

std::string AcceptedBy(const SettingField& field) {
    const SettingRange& range = field.range;
    if (std::holds_alternative<std::string*>(field.place))
        return "text";
    if (std::holds_alternative<bool*>(field.place))
        return "0 or -1";
    const std::string odd = range.oddOnly ? ", odd" : "";
    if (range.upper < highestSetting)
        return ShortestText(range.lower) + " to " + ShortestText(range.upper) + odd;
    return range.lower > lowestSetting ? ShortestText(range.lower) + " or more" + odd : "a number" + odd;
}

/// Of fields of one key only the last is listed: what is written last is what the file holds.
void List(const std::string& prefix, const SettingFields& fields, std::string& text) {
    for (auto field = fields.begin(); field != fields.end(); ++field) {
        const auto again = [&](const SettingField& later) {
            return EqualIgnoringCase(later.key, field->key);
        };
        if (std::none_of(field + 1, fields.end(), again))
            text += prefix + field->key + "\t" + TextOfSetting(*field) + "\t" + AcceptedBy(*field) + "\n";
    }
}

}  // namespace

std::string TextOfSetting(const SettingField& field) {
    return std::visit(Writer{}, field.place);
}

std::string SettingsList(const std::vector<SettingsSection>& sections) {
    std::string text;
    for (const SettingsSection& section : sections) {
        List(section.name + ".", section.fields, text);
        List(section.name + ".N", section.indexed, text);
    }
    return text;
}

}  // namespace vorela
