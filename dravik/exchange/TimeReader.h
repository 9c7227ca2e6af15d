// Which columns tell the time (or depth) of a row, and what they say.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/RowReader.h"
#include "dravik/exchange/StampCache.h"
#include "dravik/exchange/StampParts.h"

namespace dravik {

/// How the index of a row is read.
struct TimeRule {
    std::vector<std::size_t> columns;         ///< one; or two of date and clock, in either order
    std::optional<std::size_t> milliseconds;  ///< column added to a clock
    std::vector<std::size_t> startColumns;  ///< of a clock that tells the start where numbers tell the steps
    /// Of a stamp spread over columns: one each of `startColumns`, where there are none, of `columns`.
    std::vector<StampPart> parts;
    std::int16_t indexKind = 1;  ///< DK_INDEX_...
    bool isNumber = false;
    bool isEpoch = false;     ///< numbers are times since 1970
    double epochShift = 0.0;  ///< seconds from what they count from to 1970
    double unit = 1.0;        ///< seconds or feet of one; only numbers
    std::string unitName = "s";
    std::string format;  ///< of date::parse; empty: found in each cell
    DateOrderSet orders = allDateOrders;
    bool descending = false;
    NumberFormat numbers;
};

/// Times of a row in seconds (feet), one for each order of dates that is still possible, each counted from
/// the midnight before the first row (plain numbers: as they stand).
struct RowTime {
    std::array<double, dateOrders> at{};
    DateOrderSet orders = 0;
};

class TimeReader {
  public:
    explicit TimeReader(TimeRule rule) : rule_(std::move(rule)) {}

    /// False when the cells are no time.
    bool Read(const Row& row, RowTime& time) {
        if (!rule_.isNumber)
            return ReadStampTime(row, time);
        time.orders = SetOf(DateOrder::ymd);
        return ReadNumberTime(row, time.at.front());
    }

    /// What must be carried over when rows are not read from the first on.
    struct State {
        std::int64_t turns = 0;  ///< midnights (or full hours) passed by clocks without dates
        double lastClock = 0.0;
        bool haveFirst = false;
        bool hasDate = false;
        std::array<std::int64_t, dateOrders> firstDay{};
        double firstZone = 0.0;
        double epochStart = 0.0;
    };
    const State& Now() const { return state_; }
    void Resume(const State& state) { state_ = state; }

    bool HasDate() const { return state_.hasDate; }
    bool HasZone() const { return hasZone_; }
    bool MinutesOnly() const { return minutesOnly_; }

  private:
    bool ReadNumberTime(const Row& row, double& time);
    bool ReadStampTime(const Row& row, RowTime& time);
    void FindDays(const Stamp& stamp);
    double ClockOf(const Row& row, const Stamp& stamp);
    double PassMidnights(double clock, const Stamp& stamp);

    TimeRule rule_;
    State state_;
    bool hasZone_ = false;
    bool minutesOnly_ = false;
    std::array<StampCache, 2> stamps_;
    std::array<int, 3> parts_{};  ///< of the date that days_ belong to
    bool shortYear_ = false;
    std::array<std::optional<std::int64_t>, dateOrders> days_{};
};

/// The stamp of a row from these columns: by the rule's format or parts, else date and clock in either order.
bool ReadStamp(const Row& row, const TimeRule& rule, const std::vector<std::size_t>& columns,
               std::array<StampCache, 2>& stamps, Stamp& stamp);

}  // namespace dravik
