#include "general/SettingsFile.h"

#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/RunTimeError.h"

namespace vorela {
namespace {

std::string& PathState() {
    static std::string path;
    return path;
}

using Overlay = std::map<std::string, std::string>;
std::optional<Overlay>& OverlayState() {
    static std::optional<Overlay> overlay;
    return overlay;
}

std::string OverlayKey(std::string_view section, std::string_view key) {
    std::string text = Trimmed(section) + "\n" + Trimmed(key);
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// The file as lines without their ends; the ends are the file's own kind, kept on writing.
struct ProfileLines {
    std::vector<std::string> lines;
    std::string lineEnd = "\r\n";
    std::string mark;  ///< a UTF-8 byte-order mark, if the file begins with one
};

ProfileLines Load(const std::string& filePath) {
    ProfileLines result;
    std::ifstream file(filePath, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        result.mark = bytes.substr(0, 3);
        bytes.erase(0, 3);
    }
    if (!bytes.empty() && bytes.find("\r\n") == std::string::npos)
        result.lineEnd = "\n";
    std::size_t from = 0;
    while (from < bytes.size()) {
        std::size_t to = bytes.find('\n', from);
        if (to == std::string::npos)
            to = bytes.size();
        const bool hasReturn = to > from && bytes[to - 1] == '\r' && result.lineEnd == "\r\n";
        result.lines.push_back(bytes.substr(from, to - from - (hasReturn ? 1 : 0)));
        from = to + 1;
    }
    return result;
}

std::optional<std::string> SectionName(const std::string& line) {
    const std::string text = Trimmed(line);
    if (text.empty() || text.front() != '[')
        return std::nullopt;
    return Trimmed(std::string_view(text).substr(
        1, text.find(']') == std::string::npos ? std::string::npos : text.find(']') - 1));
}

/// Nothing for a line that holds no key: a comment, a blank one, anything without "=".
std::optional<std::string> KeyName(const std::string& line) {
    const std::size_t equals = line.find('=');
    std::string name = Trimmed(std::string_view(line).substr(0, equals));
    if (equals == std::string::npos || name.empty() || name.front() == ';')
        return std::nullopt;
    return name;
}

/// Where a key stands, or where it would go.
struct Place {
    std::optional<std::size_t> keyLine;
    std::optional<std::size_t> sectionEnd;  ///< index behind the section's last line that is not blank
};

Place Find(const ProfileLines& profile, std::string_view section, std::string_view key) {
    Place place;
    bool inside = false;
    for (std::size_t i = 0; i < profile.lines.size(); ++i) {
        if (const auto name = SectionName(profile.lines[i])) {
            if (inside)
                break;
            inside = EqualIgnoringCase(*name, section);
            if (inside)
                place.sectionEnd = i + 1;
        } else if (inside) {
            if (EqualIgnoringCase(KeyName(profile.lines[i]).value_or(""), key)) {
                place.keyLine = i;
                break;
            }
            if (!Trimmed(profile.lines[i]).empty())
                place.sectionEnd = i + 1;
        }
    }
    return place;
}

std::string ValueOf(const std::string& line) {
    std::string value = Trimmed(std::string_view(line).substr(line.find('=') + 1));
    const bool quoted =
        value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.front() == value.back();
    if (quoted)
        value = value.substr(1, value.size() - 2);
    if (value.size() > longestIniValue)
        value.resize(longestIniValue);
    return value;
}

std::optional<std::string> ReadValue(std::string_view section, std::string_view key,
                                     const std::string& filePath) {
    if (const auto& overlay = OverlayState()) {
        if (const auto found = overlay->find(OverlayKey(section, key)); found != overlay->end())
            return found->second.substr(0, longestIniValue);
    }
    const ProfileLines profile = Load(filePath);
    const Place place = Find(profile, section, key);
    if (!place.keyLine)
        return std::nullopt;
    return ValueOf(profile.lines[*place.keyLine]);
}

std::string WithoutLineBreaks(std::string_view text) {
    std::string result;
    for (const char c : text)
        if (c != '\r' && c != '\n')
            result += c;
    return result;
}

}  // namespace

const std::string& SettingsFilePath() {
    return PathState();
}
void SetSettingsFilePath(std::string path) {
    PathState() = std::move(path);
}

std::string ReadIniString(std::string_view section, std::string_view key, std::string_view defaultValue,
                          const std::string& filePath) {
    const std::optional<std::string> value = ReadValue(section, key, filePath);
    return value && !value->empty() ? *value : std::string(defaultValue);
}

std::int32_t ReadIniInteger(std::string_view section, std::string_view key, std::int32_t defaultValue,
                            const std::string& filePath) {
    const std::optional<std::string> value = ReadValue(section, key, filePath);
    return value && !value->empty() ? LeadingInteger(*value) : defaultValue;
}

bool WriteIniString(std::string_view section, std::string_view key, std::string_view value,
                    const std::string& filePath) {
    const std::string text = WithoutLineBreaks(value);
    if (auto& overlay = OverlayState()) {
        (*overlay)[OverlayKey(section, key)] = text;
        return true;
    }
    ProfileLines profile = Load(filePath);
    const Place place = Find(profile, section, key);
    const std::string line = std::string(key) + "=" + text;
    if (place.keyLine) {
        if (profile.lines[*place.keyLine] == line)
            return true;
        profile.lines[*place.keyLine] = line;
    } else if (place.sectionEnd) {
        profile.lines.insert(profile.lines.begin() + static_cast<std::ptrdiff_t>(*place.sectionEnd), line);
    } else {
        profile.lines.push_back("[" + std::string(section) + "]");
        profile.lines.push_back(line);
    }
    std::string bytes = profile.mark;
    for (const std::string& kept : profile.lines)
        bytes += kept + profile.lineEnd;
    try {
        WriteFileAtomically(filePath, bytes);
    } catch (const RunTimeError&) {
        return false;
    }
    return true;
}

std::vector<SettingsLine> SettingsLines(const std::string& filePath) {
    const ProfileLines profile = Load(filePath);
    std::vector<SettingsLine> result;
    std::set<std::string> seen;
    std::string section;
    for (std::size_t i = 0; i < profile.lines.size(); ++i) {
        SettingsLine line{i + 1, section, {}, {}};
        if (const auto name = SectionName(profile.lines[i])) {
            line.section = section = *name;
        } else if (const auto key = KeyName(profile.lines[i])) {
            line.key = *key;
            line.value = ValueOf(profile.lines[i]);
        } else {
            continue;
        }
        line.isRepeated = !seen.insert(OverlayKey(line.section, line.key)).second;
        result.push_back(std::move(line));
    }
    return result;
}

SettingsOverlay::SettingsOverlay() {
    OverlayState().emplace();
}
SettingsOverlay::~SettingsOverlay() {
    OverlayState().reset();
}

void SettingsOverlay::Set(std::string_view section, std::string_view key, std::string_view value) {
    (*OverlayState())[OverlayKey(section, key)] = WithoutLineBreaks(value);
}

}  // namespace vorela
