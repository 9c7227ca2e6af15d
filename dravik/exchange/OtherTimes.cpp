#include "dravik/exchange/OtherTimes.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr double daySeconds = 86400.0;

/// Seconds of a cell, from whatever moment: only differences count.
std::optional<double> SecondsOf(const std::string& cell, CellKind kind, const NumberFormat& format,
                                double unit) {
    if (kind == CellKind::number) {
        double value = 0.0;
        return ReadNumber(cell, format, value) && std::isfinite(value) ? std::optional(value * unit)
                                                                       : std::nullopt;
    }
    Stamp stamp;
    if (!ParseStamp(cell, stamp))
        return std::nullopt;
    double seconds = stamp.clockSeconds - stamp.zoneSeconds;
    for (const DateOrder order : {DateOrder::ymd, DateOrder::mdy, DateOrder::dmy}) {
        if ((stamp.orders & SetOf(order)) != 0)
            return seconds + static_cast<double>(DayOf(stamp, order).value_or(0)) * daySeconds;
    }
    return seconds;
}

class OtherTimesFinder {
  public:
    OtherTimesFinder(const HeadColumns& head, const TimeRule& rule) : head_(head), rule_(rule) {}

    /// Columns of the kind of `time` that go another way than it does.
    std::vector<std::size_t> Beside(std::size_t time) const {
        std::vector<std::size_t> others;
        for (std::size_t i = 0; i < head_.Count(); ++i) {
            if (!IsPartOfTime(i) && head_.Kind(i) == head_.Kind(time) && CouldBeTime(i, time) &&
                head_.Changes(i) && DistanceChanges(time, i))
                others.push_back(i);
        }
        return others;
    }
    bool HaveOneName(std::size_t a, std::size_t b) const {
        return vorela::EqualIgnoringCase(head_.Name(a).name, head_.Name(b).name);
    }

  private:
    bool IsPartOfTime(std::size_t column) const {
        return std::find(rule_.columns.begin(), rule_.columns.end(), column) != rule_.columns.end() ||
               rule_.milliseconds == column;
    }
    /// Numbers by their names; a date alone, or a clock alone, is a part that any column may have.
    bool CouldBeTime(std::size_t column, std::size_t time) const {
        const CellKind kind = head_.Kind(column);
        return kind == CellKind::dateTime || (HaveOneName(column, time) && UnitOf(column) > 0.0);
    }
    /// Seconds of one in a column of numbers, 0 where its unit is none of time.
    double UnitOf(std::size_t column) const {
        const std::string& unit = head_.Name(column).unit;
        return unit.empty() ? 1.0 : SecondsPer(unit).value_or(FeetPer(unit).value_or(0.0));
    }

    bool DistanceChanges(std::size_t time, std::size_t other) const {
        const CellKind kind = head_.Kind(time);
        std::optional<double> first;
        std::optional<double> distance;
        double span = 0.0;
        double change = 0.0;
        std::size_t rows = 0;
        for (std::size_t row = 0; row < head_.Cells(time).size(); ++row) {
            const auto a = SecondsOf(head_.Cells(time)[row], kind, head_.Format(), UnitOf(time));
            const auto b = SecondsOf(head_.Cells(other)[row], kind, head_.Format(), UnitOf(other));
            if (!a || !b)
                continue;
            first = first.value_or(*a);
            distance = distance.value_or(*b - *a);
            span = std::max(span, std::abs(*a - *first));
            change = std::max(change, std::abs(*b - *a - *distance));
            ++rows;
        }
        return rows > 1 && change > span / static_cast<double>(rows - 1) / 2.0;  // half of a mean step
    }

    const HeadColumns& head_;
    const TimeRule& rule_;
};

/// Whether the user takes curves, and none from this column on.
bool LeavesOutFrom(std::size_t column, const HeadColumns& head, const Choices& choices) {
    return !choices.curves.empty() &&
           std::all_of(choices.curves.begin(), choices.curves.end(), [&](const CurveChoice& curve) {
               return FindColumn(curve.column, head.Names(), head.Captions()) < column;
           });
}

}  // namespace

void TellOtherTimes(const HeadColumns& head, const Choices& choices, TimeFinding& finding) {
    if (finding.rule.columns.empty() || !finding.rule.parts.empty() || !finding.rule.startColumns.empty())
        return;
    const OtherTimesFinder finder(head, finding.rule);
    for (const std::size_t time : finding.rule.columns) {
        for (const std::size_t other : finder.Beside(time)) {
            const std::string number = "#" + std::to_string(other + 1);
            const bool several = finder.HaveOneName(time, other);
            const std::string text = "column " + number + ", " + head.Name(other).name +
                                     ", tells other times than column #" + std::to_string(time + 1) +
                                     (several ? ": tables side by side? One at a time (--time, --curves)"
                                              : ", " + head.Name(time).name + " (--time)");
            const bool isSettled = !choices.time.empty() || LeavesOutFrom(other, head, choices);
            (several && !isSettled ? finding.problems : finding.notes).push_back(text);
            if (several)
                return;
        }
    }
}

}  // namespace dravik
