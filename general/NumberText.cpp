#include "general/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "general/RunTimeError.h"
#include "general/SmallNumber.h"

namespace vorela {
namespace {

constexpr std::string_view blanks = " \t\r\n";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

template <typename Real>
std::string ShortestFixed(Real value) {
    if (!std::isfinite(value))
        throw RunTimeError{error_number::overflow, "ShortestText", "Overflow"};
    if (value == 0)
        return "0";
    // The widest fixed text of a double: 309 digits before the point or about 340 behind it.
    std::array<char, 800> buffer{};
    const auto result =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    return {buffer.data(), result.ptr};
}

/// Length of the leading numeric part of `text`, 0 when there is none.
std::size_t NumericPrefixLength(std::string_view text) {
    std::size_t at = 0;
    const auto digits = [&] {
        const std::size_t from = at;
        while (at < text.size() && IsDigit(text[at]))
            ++at;
        return at - from;
    };
    if (at < text.size() && (text[at] == '+' || text[at] == '-'))
        ++at;
    std::size_t count = digits();
    if (at < text.size() && text[at] == '.') {
        ++at;
        count += digits();
    }
    if (count == 0)
        return 0;
    const std::size_t mantissaEnd = at;
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        if (digits() == 0)
            at = mantissaEnd;
    }
    return at;
}

template <typename Real>
std::optional<Real> Parse(std::string_view number) {
    if (!number.empty() && number.front() == '+')
        number.remove_prefix(1);
    Real value = 0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Underflow is a very small number, not an error; only overflow is out of range.
        const std::optional<double> small = TooSmallNumber(std::string(number));
        return small ? std::optional(static_cast<Real>(*small)) : std::nullopt;
    }
    if (result.ec != std::errc{} || result.ptr != number.data() + number.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

template <typename Real>
std::optional<Real> ParseWhole(std::string_view text) {
    const std::string trimmed = Trimmed(text);
    if (trimmed.empty() || NumericPrefixLength(trimmed) != trimmed.size())
        return std::nullopt;
    return Parse<Real>(trimmed);
}

/// Rounds the decimal digits "123.456" to `decimals` places, halves away from zero.
std::string RoundDecimalText(std::string digits, std::size_t decimals) {
    std::size_t point = digits.find('.');
    if (point == std::string::npos) {
        point = digits.size();
        digits += '.';
    }
    if (digits.size() - point - 1 <= decimals)
        return digits + std::string(decimals - (digits.size() - point - 1), '0');
    const bool up = digits[point + 1 + decimals] >= '5';
    digits.resize(point + 1 + decimals);
    if (!up)
        return digits;
    for (std::size_t i = digits.size(); i-- > 0;) {
        if (digits[i] == '.')
            continue;
        if (digits[i] != '9') {
            ++digits[i];
            return digits;
        }
        digits[i] = '0';
    }
    return "1" + digits;
}

}  // namespace

std::string Trimmed(std::string_view text) {
    const std::size_t from = text.find_first_not_of(blanks);
    if (from == std::string_view::npos)
        return {};
    return std::string(text.substr(from, text.find_last_not_of(blanks) - from + 1));
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}

std::string ShortestText(double value) {
    return ShortestFixed(value);
}
std::string ShortestText(float value) {
    return ShortestFixed(value);
}

double LeadingNumber(std::string_view text) {
    const std::size_t from = text.find_first_not_of(blanks);
    if (from == std::string_view::npos)
        return 0.0;
    text.remove_prefix(from);
    return Parse<double>(text.substr(0, NumericPrefixLength(text))).value_or(0.0);
}

std::optional<double> StrictNumber(std::string_view text) {
    return ParseWhole<double>(text);
}
std::optional<float> StrictFloat(std::string_view text) {
    return ParseWhole<float>(text);
}

std::int32_t LeadingInteger(std::string_view text) {
    const std::size_t from = text.find_first_not_of(blanks);
    if (from == std::string_view::npos)
        return 0;
    text.remove_prefix(from);
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+')
        text.remove_prefix(1);
    constexpr std::int64_t limit = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (const char c : text) {
        if (!IsDigit(c))
            break;
        value = std::min(value * 10 + (c - '0'), limit + 1);
    }
    return static_cast<std::int32_t>(negative ? -value : std::min(value, limit));
}

int DecimalsFor(double value) {
    double a = std::abs(value);
    if (a < 0.0000001)
        return 0;
    if (a < 1) {
        int n = 0;
        do {
            a *= 10;
            ++n;
        } while (a <= 100);
        return n;
    }
    const double fraction = a - std::floor(a);
    if (a < 10)
        return fraction >= 0.001 ? 2 : 0;
    if (a < 1000)
        return fraction >= 0.0001 ? 1 : 0;
    return 0;
}

std::string NumberPattern(double value) {
    const int decimals = DecimalsFor(value);
    return decimals == 0 ? "0" : "0." + std::string(static_cast<std::size_t>(decimals), '#');
}

std::string FormatByPattern(double value, std::string_view pattern) {
    const std::size_t point = pattern.find('.');
    const std::string_view decimals = point == std::string_view::npos ? "" : pattern.substr(point + 1);
    const std::size_t required = static_cast<std::size_t>(std::count(decimals.begin(), decimals.end(), '0'));
    std::string text = RoundDecimalText(ShortestText(std::abs(value)), decimals.size());
    std::size_t end = text.size();
    const std::size_t keep = text.find('.') + 1 + required;
    while (end > keep && text[end - 1] == '0')
        --end;
    if (text[end - 1] == '.')
        --end;
    text.resize(end);
    const bool isZero = text.find_first_not_of("0.") == std::string::npos;
    return value < 0 && !isZero ? "-" + text : text;
}

std::string FormatNumber(double value) {
    return FormatByPattern(value, NumberPattern(value));
}

}  // namespace vorela
