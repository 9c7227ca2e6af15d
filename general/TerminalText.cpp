#include "general/TerminalText.h"

#include <cstddef>

namespace vorela {
namespace {

constexpr unsigned firstPrintable = 0x20;
constexpr unsigned deleteCode = 0x7F;
constexpr unsigned lastC1 = 0x9F;

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Bytes of the UTF-8 character that `text` begins with, when that is no control character; otherwise 0. A
/// form that is longer than it need be counts as none.
std::size_t PrintableLength(std::string_view text) {
    const unsigned lead = static_cast<unsigned char>(text.front());
    if (lead < deleteCode)
        return lead >= firstPrintable ? 1 : 0;
    const std::size_t length = lead >= 0xF5 ? 0 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if (!IsContinuation(text[i]))
            return 0;
    const unsigned second = static_cast<unsigned char>(text[1]);
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool c1 = lead == 0xC2 && second <= lastC1;
    return overlong || c1 ? 0 : length;
}

std::string Escaped(std::string_view text, bool keepLines) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string shown;
    while (!text.empty()) {
        const auto code = static_cast<unsigned char>(text.front());
        const std::size_t length = keepLines && code == '\n' ? 1 : PrintableLength(text);
        if (length > 0)
            shown += text.substr(0, length);
        else
            (shown += "\\x").append({digits[code / 16], digits[code % 16]});
        text.remove_prefix(length > 0 ? length : 1);
    }
    return shown;
}

}  // namespace

std::string TerminalText(std::string_view text) {
    return Escaped(text, false);
}

std::string TerminalLines(std::string_view text) {
    return Escaped(text, true);
}

}  // namespace vorela
