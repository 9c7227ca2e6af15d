// What a single cell of a text table holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace dravik {

/// Blanks and tabs cut from both ends.
inline std::string_view TrimmedCell(std::string_view cell) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!cell.empty() && isBlank(cell.front()))
        cell.remove_prefix(1);
    while (!cell.empty() && isBlank(cell.back()))
        cell.remove_suffix(1);
    return cell;
}

/// A cell as messages show it: in quotes, at most 40 bytes.
std::string QuotedCell(std::string_view cell);

std::string LowerCase(std::string_view text);

/// The words of a name in lower case: cut at everything but letters and digits, and before a capital behind
/// a small letter ("ElapsedTime_s" is elapsed, time, s).
std::vector<std::string> WordsOf(std::string_view name);

/// Whether loggers write the (trimmed) cell for "no value": nothing, NaN, N/A, ---, ***, #REF! ...
bool IsNullText(std::string_view cell);

/// How the digits of a number are written: the parts that points and commas make.
struct NumberShape {
    std::size_t points = 0;
    std::size_t commas = 0;
    std::size_t firstDigits = 0;  ///< before the first mark
    std::size_t lastDigits = 0;   ///< behind the last mark
    char lastMark = '\0';
    bool zeroFirst = false;     ///< nothing but one 0 before the first mark
    bool groupsOfThree = true;  ///< one to three digits, then threes, as thousands are grouped
};

/// Reads sign, digits with points and commas, exponent. False for anything that is no number under either
/// decimal sign.
bool ShapeOfNumber(std::string_view cell, NumberShape& shape);

enum class CellKind : std::uint8_t { null, number, date, clock, dateTime, text };

/// Of a trimmed cell, before the decimal sign is known.
CellKind KindOfCell(std::string_view cell);

inline bool IsTime(CellKind kind) {
    return kind == CellKind::date || kind == CellKind::clock || kind == CellKind::dateTime;
}

}  // namespace dravik
