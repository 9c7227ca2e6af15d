// Numbers under the file's decimal sign.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace dravik {

/// How a file writes numbers.
struct NumberFormat {
    char decimal = '.';
    char group = '\0';  ///< sign between thousands; NUL: they are not grouped
};

/// A (trimmed) cell as a number. Beyond the range of a double it is infinite. False for anything that is no
/// number in this format.
bool ReadNumber(std::string_view cell, const NumberFormat& format, double& value);

/// The same, rounded once from the decimals to single precision, so that what was written from singles comes
/// back the same; infinite beyond their range.
bool ReadSingle(std::string_view cell, const NumberFormat& format, double& value);

/// Whether a double lies midway between two singles, where rounding twice may go the other way.
inline bool IsMidwayBetweenSingles(double value) {
    constexpr std::uint64_t belowSingle = (std::uint64_t{1} << 29) - 1;
    return (std::bit_cast<std::uint64_t>(value) & belowSingle) == std::uint64_t{1} << 28;
}

inline constexpr std::array<double, 20> powersOfTen{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                                    1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                                    1e14, 1e15, 1e16, 1e17, 1e18, 1e19};

/// Sign, digits, one decimal sign, as nearly all cells are. Up to 15 digits over a power of ten that is exact
/// too, one division gives the very double that from_chars gives.
inline bool ReadPlain(std::string_view cell, char decimal, std::ptrdiff_t mostDigits, double& value) {
    const char* at = cell.data();
    const char* const end = at + cell.size();
    const bool negative = at != end && *at == '-';
    at += negative ? 1 : 0;
    std::uint64_t digits = 0;
    const char* const begin = at;
    const char* point = nullptr;
    for (; at != end; ++at) {
        const auto digit = static_cast<unsigned char>(*at - '0');
        if (digit <= 9)
            digits = digits * 10 + digit;
        else if (*at == decimal && point == nullptr)
            point = at;
        else
            return false;
    }
    const std::ptrdiff_t count = end - begin - (point != nullptr ? 1 : 0);
    if (count < 1 || count > mostDigits)
        return false;
    const auto whole = static_cast<double>(digits);
    value = point == nullptr ? whole : whole / powersOfTen[static_cast<std::size_t>(end - point - 1)];
    value = negative ? -value : value;
    return true;
}

/// Whether the cell is a number, and roughly which (to the last digits of a double): for ranges, at a
/// fraction of the cost.
bool ScanNumber(std::string_view cell, const NumberFormat& format, double& value);

}  // namespace dravik
