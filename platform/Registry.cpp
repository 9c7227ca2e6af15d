#include "platform/Registry.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <vector>

#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "platform/RegistryText.h"

namespace vorela {
namespace {

constexpr std::uint32_t typeString = 1;
constexpr std::uint32_t typeBinary = 3;
constexpr std::uint32_t typeDword = 4;

const char* RootName(RegistryRoot root) {
    switch (root) {
        case RegistryRoot::classesRoot:
            return "HKEY_CLASSES_ROOT";
        case RegistryRoot::currentUser:
            return "HKEY_CURRENT_USER";
        case RegistryRoot::localMachine:
            return "HKEY_LOCAL_MACHINE";
        case RegistryRoot::users:
            return "HKEY_USERS";
    }
    return "";
}

/// The text between two quotes from `at` on, \\ and \" resolved; `at` is left behind the closing quote.
std::optional<std::string> QuotedText(const std::string& line, std::size_t& at) {
    if (at >= line.size() || line[at] != '"')
        return std::nullopt;
    std::string text;
    for (++at; at < line.size(); ++at) {
        if (line[at] == '"') {
            ++at;
            return text;
        }
        if (line[at] == '\\' && at + 1 < line.size())
            ++at;
        text += line[at];
    }
    return std::nullopt;
}

/// "43,00,5c" to bytes.
std::optional<std::string> HexBytes(std::string_view text) {
    std::string bytes;
    std::string digits;
    const auto take = [&] {
        if (digits.empty())
            return true;
        if (digits.size() > 2 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            return false;
        bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
        digits.clear();
        return true;
    };
    for (const char c : text) {
        if (c == ',') {
            if (!take())
                return std::nullopt;
        } else if (c != ' ' && c != '\t') {
            digits += c;
        }
    }
    return take() ? std::optional(bytes) : std::nullopt;
}

/// The data part of a value line: "text", dword:…, hex:…, hex(2):…
std::optional<RegistryValue> ParseData(const std::string& data) {
    std::size_t at = 0;
    if (const auto text = QuotedText(data, at))
        return RegistryValue{typeString, *text + '\0'};
    if (data.starts_with("dword:"))
        return RegistryValue{typeDword, data.substr(6)};
    if (!data.starts_with("hex"))
        return std::nullopt;
    const std::size_t colon = data.find(':');
    if (colon == std::string::npos)
        return std::nullopt;
    std::uint32_t type = typeBinary;
    if (data[3] == '(') {
        const std::string digits =
            data.substr(4, data.find(')') == std::string::npos ? 0 : data.find(')') - 4);
        if (digits.empty() || digits.size() > 8 ||
            digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            return std::nullopt;
        type = static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
    }
    const auto bytes = HexBytes(std::string_view(data).substr(colon + 1));
    return bytes ? std::optional(RegistryValue{type, *bytes}) : std::nullopt;
}

/// Lines with their continuations (a backslash at the end of a hex line) joined.
std::vector<std::string> LogicalLines(std::string_view bytes) {
    std::vector<std::string> lines;
    std::istringstream stream{std::string(bytes)};
    std::string line;
    bool continued = false;
    while (std::getline(stream, line)) {
        std::string text = Trimmed(line);
        const bool more = !text.empty() && text.back() == '\\' && text.find("hex") != std::string::npos;
        const bool goesOn = more || (continued && !text.empty() && text.back() == '\\');
        if (goesOn)
            text.pop_back();
        if (continued)
            lines.back() += text;
        else
            lines.push_back(text);
        continued = goesOn;
    }
    return lines;
}

/// Registry exports are UTF-16LE with a mark when the system writes them itself; ASCII is all that paths here
/// need.
std::string AsBytes(std::string bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF"))
        return bytes.substr(3);
    if (!bytes.starts_with("\xFF\xFE"))
        return bytes;
    std::string narrow;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
        narrow += bytes[i + 1] == 0 ? bytes[i] : '?';
    return narrow;
}

/// The folder the program was started in. Starting up changes the current folder; what the user named on the
/// way is meant from here.
const std::filesystem::path startFolder = [] {
    std::error_code gone;  // a folder that was removed: then a relative name leads nowhere
    return std::filesystem::current_path(gone);
}();

}  // namespace

std::optional<RegistryValue> FindRegistryValue(std::string_view fileBytes, RegistryRoot root,
                                               std::string_view subkey, std::string_view valueName) {
    const std::string wanted = "[" + std::string(RootName(root)) + "\\" + std::string(subkey) + "]";
    bool inside = false;
    std::optional<RegistryValue> found;
    for (const std::string& line : LogicalLines(AsBytes(std::string(fileBytes)))) {
        if (line.empty() || line.front() == ';')
            continue;
        if (line.front() == '[') {
            inside = EqualIgnoringCase(line, wanted);
            continue;
        }
        std::size_t at = 0;
        const auto name = QuotedText(line, at);
        if (!inside || !name || !EqualIgnoringCase(*name, valueName) || at >= line.size() || line[at] != '=')
            continue;
        found = ParseData(Trimmed(std::string_view(line).substr(at + 1)));
    }
    return found;
}

std::string RegistryFilePath() {
    std::vector<std::string> places;
    if (const char* named = std::getenv("VORELA_REGISTRY"))
        places.push_back((startFolder / named).string());
    places.push_back(ApplicationFolder() + "/vorela.reg");
    if (IsInstalled())
        places.push_back(std::filesystem::path(ApplicationFolder()).parent_path() / "etc/vorela/vorela.reg");
    places.emplace_back("/etc/vorela/vorela.reg");
    for (const std::string& place : places) {
        std::error_code ignored;
        if (std::filesystem::is_regular_file(place, ignored))
            return place;
    }
    return "";
}

std::string ReadRegistryString(RegistryRoot root, std::string_view subkey, std::string_view valueName) {
    return Attempt("Cannot read registry", std::string(), [&]() -> std::string {
        std::ifstream file(RegistryFilePath(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        const auto value = FindRegistryValue(bytes, root, subkey, valueName);
        if (!value || value->type != typeString)
            return "";
        return value->data.substr(0, value->data.find('\0'));
    });
}

}  // namespace vorela
