// Dates and clock times as loggers write them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dravik {

enum class DateOrder : std::uint8_t { ymd, dmy, mdy };
inline constexpr std::size_t dateOrders = 3;
std::string DateOrderName(DateOrder order);

/// A set of orders, a bit for each.
using DateOrderSet = std::uint8_t;
inline constexpr DateOrderSet allDateOrders = 7;
constexpr DateOrderSet SetOf(DateOrder order) {
    return static_cast<DateOrderSet>(1U << static_cast<unsigned>(order));
}

/// A cell taken apart; which part of its date is the day may still be open.
struct Stamp {
    bool hasDate = false;
    bool hasClock = false;
    std::array<int, 3> parts{};  ///< of the date, in the order written
    DateOrderSet orders = 0;     ///< those that give a day that exists
    bool shortYear = false;
    bool orderIsPlain = false;  ///< a year of four digits in front, or a month by name
    double clockSeconds = 0.0;  ///< since midnight (mm:ss.f: since the hour); may pass 24 h
    bool minutesOnly = false;   ///< mm:ss.f
    bool hasFraction = false;
    bool hasZone = false;
    double zoneSeconds = 0.0;  ///< east of Greenwich
};

/// The whole (trimmed) cell as a date, a clock or both, in either order. False for anything else, dates that
/// exist under no order among them.
bool ParseStamp(std::string_view cell, Stamp& stamp);

/// Days since 1970 of the stamp's date; nothing when the order gives no day that exists.
std::optional<std::int64_t> DayOf(const Stamp& stamp, DateOrder order);

/// A cell by a format of date::parse ("%d.%m.%Y %H:%M:%S"); its date, if any, is then of order ymd.
bool ParseStampByFormat(const std::string& cell, const std::string& format, Stamp& stamp);

/// Seconds since 1970 as "2024-03-01T10:00:00", with a fraction where there is one.
std::string DateText(double unixSeconds);

}  // namespace dravik
