// Settings given on the command line: `--set Section.Key=Value`, under the range checks of the dialogs.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace vorela {

struct SettingValue {
    std::string section;
    std::string key;
    std::string value;
};

/// Splits "Section.Key=Value" and checks it. Nothing when it is refused; then `fault` says what is wrong with
/// it.
std::optional<SettingValue> ParseSetting(const std::string& text, std::string& fault);

/// The level (0-based, deepest first) that an indexed key belongs to ("1Porosity": 1); nothing for other
/// keys.
std::optional<std::size_t> LevelOfSetting(const SettingValue& setting);

}  // namespace vorela
