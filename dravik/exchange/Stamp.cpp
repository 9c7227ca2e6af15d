#include "dravik/exchange/Stamp.h"

#include <date/date.h>

#include <chrono>
#include <cmath>
#include <sstream>
#include <utility>

namespace dravik {
std::string DateOrderName(DateOrder order) {
    return order == DateOrder::ymd ? "ymd" : order == DateOrder::dmy ? "dmy" : "mdy";
}

std::optional<std::int64_t> DayOf(const Stamp& stamp, DateOrder order) {
    const std::array<int, 3>& p = stamp.parts;
    int year = p[2];
    int month = p[1];
    int day = p[0];
    if (order == DateOrder::ymd) {
        year = p[0];
        day = p[2];
    } else if (order == DateOrder::mdy) {
        std::swap(month, day);
    }
    if (stamp.shortYear)
        year += year >= 69 ? 1900 : 2000;
    if (month < 1 || day < 1)
        return std::nullopt;
    const date::year_month_day ymd{date::year{year}, date::month{static_cast<unsigned>(month)},
                                   date::day{static_cast<unsigned>(day)}};
    if (!ymd.ok())
        return std::nullopt;
    return date::sys_days(ymd).time_since_epoch().count();
}

// date::from_stream reads into variables that it sets on every successful road; GCC 12 does not see that.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
bool ParseStampByFormat(const std::string& cell, const std::string& format, Stamp& stamp) {
    stamp = {};
    date::fields<std::chrono::nanoseconds> fields;
    std::chrono::minutes offset{0};
    std::istringstream text(cell);
    text.imbue(std::locale::classic());
    date::from_stream(text, format.c_str(), fields, static_cast<std::string*>(nullptr), &offset);
    if (text.fail() || (text >> std::ws, text.peek() != std::istringstream::traits_type::eof()))
        return false;
    if (fields.ymd.ok()) {
        stamp.hasDate = true;
        stamp.parts = {static_cast<int>(fields.ymd.year()),
                       static_cast<int>(static_cast<unsigned>(fields.ymd.month())),
                       static_cast<int>(static_cast<unsigned>(fields.ymd.day()))};
        stamp.orders = SetOf(DateOrder::ymd);
        stamp.orderIsPlain = true;
    }
    stamp.hasClock = fields.has_tod;
    if (fields.has_tod)
        stamp.clockSeconds = std::chrono::duration<double>(fields.tod.to_duration()).count();
    stamp.hasFraction = true;
    stamp.hasZone = format.find("%z") != std::string::npos;
    stamp.zoneSeconds = static_cast<double>(offset.count()) * 60.0;
    return stamp.hasDate || stamp.hasClock;
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

std::string DateText(double unixSeconds) {
    const auto milliseconds = std::chrono::milliseconds(std::llround(unixSeconds * 1000.0));
    const date::sys_time<std::chrono::milliseconds> time{milliseconds};
    if (milliseconds.count() % 1000 == 0)
        return date::format("%FT%T", date::floor<std::chrono::seconds>(time));
    return date::format("%FT%T", time);
}

}  // namespace dravik
