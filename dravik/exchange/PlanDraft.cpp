#include "dravik/exchange/PlanDraft.h"

#include "dravik/exchange/OtherTimes.h"

namespace dravik {
namespace {

/// Whether the clocks of the head go backwards.
bool ClocksFall(const std::vector<std::string>& cells) {
    std::size_t falls = 0;
    std::size_t rises = 0;
    double previous = -1.0;
    for (const std::string& cell : cells) {
        Stamp stamp;
        if (!ParseStamp(cell, stamp) || !stamp.hasClock)
            continue;
        falls += previous >= 0.0 && stamp.clockSeconds < previous ? 1 : 0;
        rises += previous >= 0.0 && stamp.clockSeconds > previous ? 1 : 0;
        previous = stamp.clockSeconds;
    }
    return falls > rises;
}

/// "09:50", which might be minutes and seconds too.
bool IsClockOfTwoParts(std::string_view cell) {
    return cell.find(':') == cell.rfind(':') &&
           cell.find_first_not_of("0123456789:") == std::string_view::npos;
}

}  // namespace

std::string LinesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

CellRules PlanDraft::RulesOfCells(const NumberFormat& format) const {
    CellRules rules;
    rules.format = format;
    rules.nulls = choices.nulls;
    return rules;
}

void PlanDraft::TakeTime(const HeadColumns& columns) {
    TimeFinding finding = FindTimeColumns(columns, choices);
    TellOtherTimes(columns, choices, finding);
    TakeTime(std::move(finding));
    TimeRule& rule = plan.reading.time;
    if (rule.isNumber || rule.columns.empty() || !rule.parts.empty())
        return;
    const std::vector<std::string>& cells = columns.Cells(rule.columns.back());
    rule.descending = ClocksFall(cells);
    if (rule.columns.size() == 1 && rule.format.empty() && !cells.empty() && IsClockOfTwoParts(cells.front()))
        Note("clocks like " + cells.front() + " are read as hours and minutes (--time-format %M:%S)");
}

void PlanDraft::TakeTime(TimeFinding finding) {
    plan.notes.insert(plan.notes.end(), finding.notes.begin(), finding.notes.end());
    plan.problems.insert(plan.problems.end(), finding.problems.begin(), finding.problems.end());
    plan.reading.time = std::move(finding.rule);
    if (choices.dateOrder)
        plan.reading.time.orders = SetOf(*choices.dateOrder);
}

std::vector<std::size_t> PlanDraft::TimeColumns() const {
    const TimeRule& rule = plan.reading.time;
    std::vector<std::size_t> all = rule.columns;
    all.insert(all.end(), rule.startColumns.begin(), rule.startColumns.end());
    if (rule.milliseconds)
        all.push_back(*rule.milliseconds);
    return all;
}

}  // namespace dravik
