// The settings file: section NUL key NUL value NUL file bytes.
#include "fuzz/FuzzTarget.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"

namespace {

using namespace vorela;
using fuzz::Require;

/// A name that can stand in a file: what is written under it is found again.
bool CanStand(std::string_view name) {
    return !name.empty() && Trimmed(name) == name && name.find_first_of("\r\n=[];") == std::string_view::npos;
}

/// What a reader gives for a written value.
std::string AsRead(std::string_view value) {
    std::string line;
    for (const char c : value)
        if (c != '\r' && c != '\n')
            line += c;
    std::string text = Trimmed(line);
    if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.front() == text.back())
        text = text.substr(1, text.size() - 2);
    text.resize(std::min(text.size(), longestIniValue));
    return text.empty() ? "default" : text;
}

std::string Bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Scratch scratch;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string_view section = fuzz::TakeText(rest);
    const std::string_view key = fuzz::TakeText(rest);
    const std::string_view value = fuzz::TakeText(rest);
    const std::string path = scratch.Put("Vorela.ini", rest);

    Require(ReadIniString(section, key, "default", path).size() <= longestIniValue,
            "a value is cut at its length");
    ReadIniInteger(section, key, 0, path);
    const std::string other = ReadIniString("Parameters", "Period", "240", path);
    if (!CanStand(section) || !CanStand(key))
        return 0;
    Require(WriteIniString(section, key, value, path), "a write to a writable folder succeeds");
    Require(ReadIniString(section, key, "default", path) == AsRead(value), "what was written is read");
    if (!EqualIgnoringCase(section, "Parameters") || !EqualIgnoringCase(key, "Period"))
        Require(ReadIniString("Parameters", "Period", "240", path) == other, "another key keeps its value");
    const std::string once = Bytes(path);
    Require(WriteIniString(section, key, value, path) && Bytes(path) == once,
            "writing again changes nothing");
    return 0;
}
