#include "dravik/exchange/TimeReader.h"

#include <cmath>

namespace dravik {
namespace {

constexpr double daySeconds = 86400.0;
constexpr double hourSeconds = 3600.0;

}  // namespace

bool ReadStamp(const Row& row, const TimeRule& rule, const std::vector<std::size_t>& columns,
               std::array<StampCache, 2>& stamps, Stamp& stamp) {
    if (!rule.parts.empty())
        return ReadStampParts(row, columns, rule.parts, rule.numbers, stamps, stamp);
    if (!rule.format.empty()) {
        std::string text(row.Cell(columns.front()));
        for (std::size_t i = 1; i < columns.size(); ++i)
            text += " " + std::string(row.Cell(columns[i]));
        return ParseStampByFormat(text, rule.format, stamp);
    }
    if (!stamps[0].Parse(row.Cell(columns.front()), stamp))
        return false;
    if (columns.size() < 2)
        return true;
    Stamp second;
    return stamps[1].Parse(row.Cell(columns[1]), second) && JoinStamps(stamp, second);
}

bool TimeReader::ReadNumberTime(const Row& row, double& time) {
    double value = 0.0;
    const std::size_t column = rule_.columns.front();
    if (row.isExact && row.states[column] == CellState::number)
        value = row.values[column];
    else if (!ReadNumber(row.Cell(column), rule_.numbers, value) || !std::isfinite(value))
        return false;
    if (!state_.haveFirst) {
        state_.haveFirst = true;
        state_.epochStart = rule_.isEpoch ? std::floor(value * rule_.unit / daySeconds) * daySeconds : 0.0;
    }
    // Subtracting before scaling keeps the milliseconds of a 13-digit number.
    time = rule_.isEpoch ? (value - state_.epochStart / rule_.unit) * rule_.unit : value * rule_.unit;
    constexpr double beyondAnyIndex = 1e15;
    return std::abs(time) < beyondAnyIndex;
}

double TimeReader::ClockOf(const Row& row, const Stamp& stamp) {
    double clock = stamp.clockSeconds;
    double milliseconds = 0.0;
    if (rule_.milliseconds && !stamp.hasFraction &&
        ReadNumber(row.Cell(*rule_.milliseconds), rule_.numbers, milliseconds))
        clock += milliseconds * 0.001;
    return clock;
}

/// Clocks without a date go on counting behind midnight (mm:ss.f: behind the hour); read from the end, they
/// come back over it.
double TimeReader::PassMidnights(double clock, const Stamp& stamp) {
    const double turn = stamp.minutesOnly ? hourSeconds : daySeconds;
    if (state_.haveFirst && rule_.descending && clock - state_.lastClock > turn / 2)
        --state_.turns;
    if (state_.haveFirst && !rule_.descending && state_.lastClock - clock > turn / 2)
        ++state_.turns;
    state_.lastClock = clock;
    return clock + static_cast<double>(state_.turns) * turn;
}

/// Successive rows lie on the same day.
void TimeReader::FindDays(const Stamp& stamp) {
    if (stamp.parts == parts_ && stamp.shortYear == shortYear_)
        return;
    parts_ = stamp.parts;
    shortYear_ = stamp.shortYear;
    for (std::size_t i = 0; i < dateOrders; ++i)
        days_[i] = DayOf(stamp, static_cast<DateOrder>(i));
}

bool TimeReader::ReadStampTime(const Row& row, RowTime& time) {
    time = {};
    Stamp stamp;
    if (!ReadStamp(row, rule_, rule_.columns, stamps_, stamp))
        return false;
    if (state_.haveFirst && stamp.hasDate != state_.hasDate)
        return false;
    state_.hasDate = stamp.hasDate;
    hasZone_ = hasZone_ || stamp.hasZone;
    minutesOnly_ = minutesOnly_ || stamp.minutesOnly;
    if (!state_.haveFirst)
        state_.firstZone = stamp.zoneSeconds;
    double clock = ClockOf(row, stamp);
    if (!stamp.hasDate) {
        time.orders = SetOf(DateOrder::ymd);
        time.at[0] = PassMidnights(clock, stamp) - (stamp.zoneSeconds - state_.firstZone);
        state_.haveFirst = true;
        return true;
    }
    clock -= stamp.zoneSeconds - state_.firstZone;
    FindDays(stamp);
    time.orders = stamp.orderIsPlain ? stamp.orders : static_cast<DateOrderSet>(stamp.orders & rule_.orders);
    for (std::size_t i = 0; i < dateOrders; ++i) {
        const auto order = static_cast<DateOrder>(i);
        if ((time.orders & SetOf(order)) == 0)
            continue;
        const std::optional<std::int64_t>& day = days_[i];
        if (!day)
            continue;
        if (!state_.haveFirst)
            state_.firstDay[i] = *day;
        time.at[i] = static_cast<double>(*day - state_.firstDay[i]) * daySeconds + clock;
    }
    state_.haveFirst = true;
    return time.orders != 0;
}

}  // namespace dravik
