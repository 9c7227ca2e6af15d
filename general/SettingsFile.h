// The settings file: sections of keys in the classic private-profile format, read and written one key at a
// time. Section and key names are case-insensitive. Comments, unknown keys, the order and the line ends of
// the file are kept as they stand; the file is created on the first write and replaced atomically.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorela {

/// Longest value that a read gives; the rest is cut (the readers' buffer holds 256 characters with its end
/// mark).
inline constexpr std::size_t longestIniValue = 255;

/// The file every reader and writer of the program uses; set at start-up.
const std::string& SettingsFilePath();
void SetSettingsFilePath(std::string path);

/// The key's value, blanks around it and one pair of surrounding quotes removed; `defaultValue` when file,
/// section or key is missing and also when the value is empty.
std::string ReadIniString(std::string_view section, std::string_view key, std::string_view defaultValue,
                          const std::string& filePath);
/// The value's leading integer with its sign; 0 when it does not begin with one, `defaultValue` when it is
/// missing.
std::int32_t ReadIniInteger(std::string_view section, std::string_view key, std::int32_t defaultValue,
                            const std::string& filePath);
/// Sets one key, adding section and key when they are missing. False when the file could not be written; then
/// it stands as it was. A value is written as it stands, without its line breaks.
bool WriteIniString(std::string_view section, std::string_view key, std::string_view value,
                    const std::string& filePath);

/// A key of the file, or with an empty key the head of a section.
struct SettingsLine {
    std::size_t number = 0;  ///< 1-based
    std::string section;
    std::string key;
    std::string value;        ///< as ReadIniString gives it
    bool isRepeated = false;  ///< never read: the first of its name counts
};
/// Sections and keys in the order of the file; a file that is not there has none.
std::vector<SettingsLine> SettingsLines(const std::string& filePath);

/// While it lives, settings are never written to a file: writes, and values given with Set(), go to this
/// overlay, which reads consult first. For work that must leave the settings as they are (vorela-batch).
class SettingsOverlay {
  public:
    SettingsOverlay();
    ~SettingsOverlay();
    SettingsOverlay(const SettingsOverlay&) = delete;
    SettingsOverlay& operator=(const SettingsOverlay&) = delete;
    void Set(std::string_view section, std::string_view key, std::string_view value);
};

}  // namespace vorela
