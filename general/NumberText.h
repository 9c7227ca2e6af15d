// Numbers to text and back. Nothing here follows the locale: the decimal sign is always a point.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorela {

/// Blanks (space, tab, CR, LF) cut from both ends.
std::string Trimmed(std::string_view text);

/// ASCII case-insensitive equality.
bool EqualIgnoringCase(std::string_view a, std::string_view b);

/// The shortest decimal text that reads back to the same double, without exponent where the classic text
/// would have none, with a leading 0 ("0.5", "240", "1e-05" becomes "0.00001"); -0 is "0". Throws overflow
/// (6) for NaN and infinity.
std::string ShortestText(double value);
/// The same for a single: the shortest text that reads back to the same float.
std::string ShortestText(float value);

/// The leading numeric part of a text (sign, digits, point, digits, exponent, as far as they go, after
/// leading blanks); 0 when there is none. "12abc" is 12, "abc" is 0, "1e400" is 0 beyond the double range.
double LeadingNumber(std::string_view text);

/// The whole trimmed text as a finite number; nothing when anything is left over or it is out of range.
std::optional<double> StrictNumber(std::string_view text);
std::optional<float> StrictFloat(std::string_view text);

/// The leading integer of a text with its sign, cut to the 32-bit range; 0 when it does not begin with
/// digits.
std::int32_t LeadingInteger(std::string_view text);

/// The number format rule: the number of decimals that a displayed value gets, by its magnitude (0 … 9).
int DecimalsFor(double value);

/// The rule's pattern: "0", "0.#", "0.##", …
std::string NumberPattern(double value);

/// `value` under a pattern of "0"s, one point, and "0" (always shown) or "#" (shown when significant)
/// decimals. Halves are rounded away from zero on the shortest decimal text of the value; "-0" and a trailing
/// point never appear. Throws overflow (6) for NaN and infinity.
std::string FormatByPattern(double value, std::string_view pattern);

/// FormatByPattern(value, NumberPattern(value)): how grids and axes show a number.
std::string FormatNumber(double value);

}  // namespace vorela
