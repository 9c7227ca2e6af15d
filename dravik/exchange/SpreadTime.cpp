#include "dravik/exchange/SpreadTime.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "dravik/exchange/Units.h"

namespace dravik {
namespace {

std::vector<std::string> NamesOf(const HeadColumns& head) {
    std::vector<std::string> names;
    for (const NameAndUnit& name : head.Names())
        names.push_back(name.name);
    return names;
}

/// Reads the time of each of the head's rows.
class HeadTimes {
  public:
    HeadTimes(const HeadColumns& head, const SpreadTime& spread) {
        TimeRule rule;
        rule.columns = spread.columns;
        rule.parts = spread.parts;
        rule.numbers = head.Format();
        TimeReader reader(rule);
        const std::size_t rows = head.Count() > 0 ? head.Cells(0).size() : 0;
        std::vector<std::string_view> cells(head.Count());
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t column = 0; column < cells.size(); ++column)
                cells[column] = head.Cells(column)[row];
            Row own;
            own.cells = &cells;
            RowTime time;
            if (reader.Read(own, time))
                Add(time.at[FirstOf(time.orders)]);
            else
                ++unread_;
        }
    }
    /// Nine of ten rows have a time, nine of ten changes go the same way.
    bool GoOneWay() const {
        return read_ > 0 && unread_ * 9 <= read_ && std::max(rises_, falls_) * 10 >= (rises_ + falls_) * 9;
    }
    bool Change() const { return rises_ + falls_ > 0; }
    bool Fall() const { return falls_ > rises_; }

  private:
    /// While the order of day and month is open, each tells rises and falls well enough.
    static std::size_t FirstOf(DateOrderSet orders) {
        std::size_t order = 0;
        while (order + 1 < dateOrders && (orders & SetOf(static_cast<DateOrder>(order))) == 0)
            ++order;
        return order;
    }

    void Add(double time) {
        rises_ += read_ > 0 && time > last_ ? 1 : 0;
        falls_ += read_ > 0 && time < last_ ? 1 : 0;
        last_ = time;
        ++read_;
    }

    double last_ = 0.0;
    std::size_t read_ = 0;
    std::size_t unread_ = 0;
    std::size_t rises_ = 0;
    std::size_t falls_ = 0;
};

class SpreadTimeFinder {
  public:
    explicit SpreadTimeFinder(const HeadColumns& head) : head_(head) {
        const std::vector<std::optional<StampPart>> parts = PartsNamed(NamesOf(head));
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (parts[i] && head.Kind(i) == CellKind::number && !Of(*parts[i]))
                first_[static_cast<std::size_t>(*parts[i])] = i;
        }
        // Beside a maximum, min is a minimum.
        const auto& minute = Of(StampPart::minute);
        if (minute && LowerCase(head.Name(*minute).name) == "min" && HasMaximum())
            first_[static_cast<std::size_t>(StampPart::minute)].reset();
    }

    SpreadTime Find() const {
        const std::optional<std::size_t> date = Written(CellKind::date);
        const std::optional<std::size_t> clock = Written(CellKind::clock);
        if (Written(CellKind::dateTime) || (date && clock))
            return {};
        const bool calendar = Of(StampPart::month) && Of(StampPart::day);
        const bool ownDate = Of(StampPart::year) && (calendar || Of(StampPart::dayOfYear));
        const bool ownClock = HasClock(date || ownDate);
        SpreadTime found;
        if (ownDate && !date)
            AddDate(calendar, found);
        else if (date)
            Add(*date, StampPart::cell, found);
        if (clock && !found.columns.empty())
            Add(*clock, StampPart::cell, found);
        else if (ownClock && !clock)
            AddClock(found);
        const bool spreads = (ownDate && !date) || (ownClock && !clock);
        if (spreads && Take(found) && (date || ownDate || !Of(StampPart::year)))
            return found;
        return WithoutTime();
    }

  private:
    const std::optional<std::size_t>& Of(StampPart part) const {
        return first_[static_cast<std::size_t>(part)];
    }

    std::optional<std::size_t> Written(CellKind kind) const {
        for (std::size_t i = 0; i < head_.Count(); ++i) {
            if (head_.Kind(i) == kind)
                return i;
        }
        return std::nullopt;
    }

    bool HasMaximum() const {
        return std::any_of(head_.Names().begin(), head_.Names().end(), [](const NameAndUnit& name) {
            const std::string lower = LowerCase(name.name);
            return lower == "max" || lower == "maximum" || lower == "avg" || lower == "mean";
        });
    }

    /// Hours alone count beside a date; else hours and minutes, or changing minutes and seconds.
    bool HasClock(bool hasDate) const {
        const std::optional<std::size_t>& minute = Of(StampPart::minute);
        return Of(StampPart::hour) ? hasDate || minute
                                   : minute && Of(StampPart::second) && head_.Changes(*minute);
    }

    static void Add(std::size_t column, StampPart part, SpreadTime& spread) {
        spread.columns.push_back(column);
        spread.parts.push_back(part);
    }

    void AddDate(bool calendar, SpreadTime& spread) const {
        Add(*Of(StampPart::year), StampPart::year, spread);
        if (calendar) {
            Add(*Of(StampPart::month), StampPart::month, spread);
            Add(*Of(StampPart::day), StampPart::day, spread);
        } else {
            Add(*Of(StampPart::dayOfYear), StampPart::dayOfYear, spread);
        }
    }

    void AddClock(SpreadTime& spread) const {
        for (const StampPart part : {StampPart::hour, StampPart::minute, StampPart::second}) {
            const bool skips = part == StampPart::second && !Of(StampPart::minute);
            if (Of(part) && !skips)
                Add(*Of(part), part, spread);
        }
    }

    bool Take(SpreadTime& spread) const {
        const HeadTimes times(head_, spread);
        spread.descending = times.Fall();
        spread.changes = times.Change();
        return times.GoOneWay();
    }

    SpreadTime WithoutTime() const {
        SpreadTime spread;
        spread.yearAlone = Of(StampPart::year).has_value();
        bool besideCoarser = false;
        for (std::size_t part = 0; part < stampParts; ++part) {
            if (!first_[part] || !IsInRange(static_cast<StampPart>(part)))
                continue;
            if (besideCoarser)
                spread.doubtful.push_back(*first_[part]);
            besideCoarser = besideCoarser || static_cast<StampPart>(part) <= StampPart::hour;
        }
        return spread;
    }

    /// Whole numbers (of seconds not) that a part may have.
    bool IsInRange(StampPart part) const {
        static constexpr std::array<double, stampParts> beyond{10000.0, 13.0, 32.0, 367.0, 25.0, 60.0, 61.0};
        const std::vector<double> values = head_.Numbers(*Of(part));
        return std::all_of(values.begin(), values.end(), [&](double v) {
            return v >= 0.0 && v < beyond[static_cast<std::size_t>(part)] &&
                   (part == StampPart::second || v == std::floor(v));
        });
    }

    const HeadColumns& head_;
    std::array<std::optional<std::size_t>, stampParts> first_{};
};

/// A year with month and day or the day of the year, or nothing of them.
bool TellWholeDate(const std::vector<StampPart>& parts) {
    const auto has = [&](StampPart part) {
        return std::find(parts.begin(), parts.end(), part) != parts.end();
    };
    const bool calendar = has(StampPart::month) && has(StampPart::day);
    const bool any = has(StampPart::month) || has(StampPart::day) || has(StampPart::dayOfYear);
    return has(StampPart::year) ? calendar || has(StampPart::dayOfYear) : !any;
}

}  // namespace

SpreadTime FindSpreadTime(const HeadColumns& head) {
    return SpreadTimeFinder(head).Find();
}

std::optional<SpreadTime> AsSpreadTime(const HeadColumns& head, const std::vector<std::size_t>& columns) {
    const std::vector<std::optional<StampPart>> named = PartsNamed(NamesOf(head));
    SpreadTime spread;
    bool any = false;
    for (const std::size_t column : columns) {
        const bool isNumber = head.Kind(column) == CellKind::number;
        if (isNumber && !named[column])
            return std::nullopt;
        any = any || isNumber;
        spread.columns.push_back(column);
        spread.parts.push_back(isNumber ? *named[column] : StampPart::cell);
    }
    if (!any || columns.size() < 2 || !TellWholeDate(spread.parts))
        return std::nullopt;
    const HeadTimes times(head, spread);
    spread.descending = times.Fall();
    spread.changes = times.Change();
    return spread;
}

}  // namespace dravik
