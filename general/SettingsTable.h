// A section of the settings file as a table of typed fields. One piece reads, writes and checks the fields of
// every section, offers them to the command line, and knows none of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "general/RangeCheck.h"

namespace vorela {

/// Where a value lives. The type tells its text form: numbers as their shortest decimal text, flags as -1 or
/// 0 (any other number reads as true), texts as they stand.
using SettingPlace = std::variant<bool*, std::int16_t*, std::int32_t*, float*, double*, std::string*>;

/// The range of a number that nothing else bounds.
inline constexpr double lowestSetting = std::numeric_limits<std::int32_t>::min();
inline constexpr double highestSetting = std::numeric_limits<std::int32_t>::max();

/// What dialogs and the command line accept, both ends included, and what is said of anything else. The file
/// itself is read without it: a crew's hand-made value is theirs.
struct SettingRange {
    double lower = lowestSetting;
    double upper = highestSetting;
    std::string message{};  ///< empty: the key and ": Out of range"
    bool oddOnly = false;   ///< of a whole number
};

/// How the text of a number is read: as its leading number (rounded for an integer), or as its leading
/// integer alone ("1e3" is 1). Flags are always read as integers.
enum class SettingReading { number, integer };

/// One key. Before reading, its place holds the default.
struct SettingField {
    std::string key;
    SettingPlace place;
    SettingRange range{};
    SettingReading reading = SettingReading::number;
};
using SettingFields = std::vector<SettingField>;

/// What the command line can set. The keys of `indexed` stand behind a 0-based index, as in "1Porosity".
struct SettingsSection {
    std::string name;
    SettingFields fields;
    SettingFields indexed{};
};

/// More entries than any indexed setting has; a settings file that asks for more is damaged.
inline constexpr std::int32_t mostIndexedSettings = 9999;

/// The fields under the keys of entry `index`.
SettingFields AtIndex(std::size_t index, SettingFields fields);
/// The index that a key begins with; nothing for other keys.
std::optional<std::size_t> IndexOfKey(const std::string& key);

/// Fills the fields from the program's settings file. A key that is missing, or holds a number beyond its
/// place, leaves the default; all the others are read. Gives the first key whose number did not fit.
std::optional<std::string> ReadFields(const std::string& section, const SettingFields& fields);
/// The first field whose number is outside its range, as a message; "" when all are inside.
std::string FaultOfFields(const SettingFields& fields);
/// Writes the fields in the table's order.
void WriteFields(const std::string& section, const SettingFields& fields);

/// Checks the text box "txt" + key, which edits the field of that key (a double), and stores what is
/// accepted. Throws internal error for a key that is not among the fields.
std::optional<Refusal> CheckBox(const BoxText& box, const SettingFields& fields, const std::string& key);

/// What of a settings file is passed over, or outside of what dialogs and the command line accept, a sentence
/// each with its line. `others` are sections that belong to somebody else.
std::vector<std::string> SettingsRemarks(const std::string& filePath,
                                         const std::vector<SettingsSection>& sections,
                                         const std::vector<std::string>& others);

/// A setting as it is given on the command line.
struct SettingValue {
    std::string section;
    std::string key;
    std::string value;
};
/// Splits "Section.Key=Value" and checks it against the sections. Nothing when it is refused; then `fault`
/// says what is wrong with it.
std::optional<SettingValue> ParseSetting(const std::vector<SettingsSection>& sections,
                                         const std::string& text, std::string& fault);

}  // namespace vorela
