#include "dravik/exchange/TimeColumns.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>

#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/SpreadTime.h"
#include "general/NumberText.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

double MedianOf(std::vector<double> values) {
    if (values.empty())
        return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::vector<double> StepsOf(const std::vector<double>& values) {
    std::vector<double> steps;
    for (std::size_t i = 1; i < values.size(); ++i)
        steps.push_back(values[i] - values[i - 1]);
    return steps;
}

/// Nine of ten changes go the same way.
bool RisesOrFalls(const std::vector<double>& values) {
    std::size_t rises = 0;
    std::size_t falls = 0;
    for (const double step : StepsOf(values)) {
        rises += step > 0.0 ? 1 : 0;
        falls += step < 0.0 ? 1 : 0;
    }
    return std::max(rises, falls) * 10 >= (rises + falls) * 9 && rises + falls > 0;
}

bool RisesEvenly(const std::vector<double>& values) {
    const std::vector<double> steps = StepsOf(values);
    const double median = MedianOf(steps);
    if (median <= 0.0)
        return false;
    const auto even = std::count_if(steps.begin(), steps.end(),
                                    [&](double step) { return std::abs(step - median) <= 0.5 * median; });
    return static_cast<std::size_t>(even) * 10 >= steps.size() * 9;
}

/// Units that some loggers count in and a time here has not: numbers in them must not pass for seconds.
bool IsForeignUnit(const std::string& word) {
    static constexpr std::array<std::string_view, 18> units{
        "us",         "usec",        "usecs", "micros", "microsecond", "microseconds",
        "\xC2\xB5s",  "\xCE\xBCs",   "ns",    "nsec",   "nsecs",       "nanos",
        "nanosecond", "nanoseconds", "ticks", "week",   "weeks",       "months"};
    return std::find(units.begin(), units.end(), word) != units.end();
}

/// The unit that a name's words state: "Hours", "millis", "elapsed minutes", "time_us".
std::string UnitInName(const std::string& name) {
    for (const std::string& word : WordsOf(name)) {
        const bool isKnown = (word.size() >= 3 || word == "ms") && word != "min" && word != "day";
        if ((isKnown && SecondsPer(word)) || IsForeignUnit(word))
            return word;
    }
    return {};
}

/// "Time (UTC)" states where its midnight is, not its unit.
bool IsZone(const std::string& unit) {
    const std::string lower = LowerCase(unit);
    return lower.starts_with("utc") || lower.starts_with("gmt") || lower == "local" || lower == "z";
}

/// Six digits or more, four in front or a colon between two.
bool LooksLikeTime(std::string_view cell) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (std::count_if(cell.begin(), cell.end(), isDigit) < 6)
        return false;
    const std::size_t colon = cell.find(':');
    const bool clock = colon != std::string_view::npos && colon > 0 && colon + 1 < cell.size() &&
                       isDigit(cell[colon - 1]) && isDigit(cell[colon + 1]);
    return clock || std::all_of(cell.begin(), cell.begin() + 4, isDigit);
}

/// Numbers hhmmss: every pair of digits below 60 (24).
bool CouldBePackedClocks(const std::vector<double>& values) {
    return !values.empty() && std::all_of(values.begin(), values.end(), [](double v) {
        const auto whole = static_cast<std::int64_t>(std::clamp(v, -1.0, 1e9));
        return static_cast<double>(whole) == std::floor(v) && whole >= 0 && whole < 240000 &&
               whole % 100 < 60 && whole / 100 % 100 < 60;
    });
}

/// Numbers hhmmss that are even as clocks and, at a full minute, not as numbers.
bool RisesEvenlyAsClocks(const std::vector<double>& values) {
    const auto allNear = [](const std::vector<double>& steps) {
        const double median = MedianOf(steps);
        return median > 0.0 && std::all_of(steps.begin(), steps.end(), [&](double step) {
                   return std::abs(step - median) <= 0.5 * median;
               });
    };
    std::vector<double> clocks;
    for (const double value : values) {
        const auto whole = static_cast<std::int64_t>(value);
        const std::int64_t seconds = whole / 10000 * 3600 + whole / 100 % 100 * 60 + whole % 100;
        clocks.push_back(static_cast<double>(seconds));
    }
    return allNear(StepsOf(clocks)) && !allNear(StepsOf(values));
}

bool Contains(const std::vector<std::size_t>& columns, std::size_t column) {
    return std::find(columns.begin(), columns.end(), column) != columns.end();
}

/// Searches the columns in the order of trust.
class TimeColumnFinder {
  public:
    TimeColumnFinder(const HeadColumns& head, const Choices& choices) : head_(head), choices_(choices) {}

    TimeFinding Find() {
        finding_.rule.numbers = head_.Format();
        finding_.rule.format = choices_.timeFormat;
        if (!choices_.time.empty())
            TakeChosen();
        else if (!(choices_.indexKind == DK_INDEX_DEPTH
                       ? FindDepth()
                       : FindSpread() || FindStamp() || FindNumber() || FindDepth() || FindEven()))
            finding_.problems.push_back("no column tells the time (--time COL)");
        return std::move(finding_);
    }

  private:
    using Test = std::function<bool(std::size_t)>;

    std::optional<std::size_t> First(const Test& test) const {
        for (std::size_t i = 0; i < head_.Count(); ++i) {
            if (test(i))
                return i;
        }
        return std::nullopt;
    }
    std::optional<std::size_t> FirstOfKind(CellKind kind, bool changing) const {
        return First([&](std::size_t i) { return head_.Kind(i) == kind && (!changing || head_.Changes(i)); });
    }

    void TakeChosen() {
        for (const std::string& column : choices_.time)
            finding_.rule.columns.push_back(FindColumn(column, head_.Names(), head_.Captions()));
        if (const auto spread = AsSpreadTime(head_, finding_.rule.columns);
            spread && choices_.timeFormat.empty())
            return TakeSpread(*spread);
        const std::size_t first = finding_.rule.columns.front();
        if (head_.Kind(first) == CellKind::number && choices_.timeFormat.empty()) {
            if (choices_.time.size() > 1)
                finding_.problems.push_back("the columns of --time make no whole time (--time-format FMT)");
            return TakeNumber(first);
        }
        finding_.rule.indexKind = DK_INDEX_TIME;
        AddMilliseconds();
    }

    bool FindStamp() {
        std::vector<std::size_t>& columns = finding_.rule.columns;
        const auto both = FirstOfKind(CellKind::dateTime, true);
        const auto date = FirstOfKind(CellKind::date, false);
        const auto clock = FirstOfKind(CellKind::clock, true);
        const auto changingDate = FirstOfKind(CellKind::date, true);
        if (both)
            columns = {*both};
        else if (date && clock)
            columns = {*date, *clock};
        else if (clock)
            columns = {*clock};
        else if (changingDate)
            columns = {*changingDate};
        else
            return false;
        AddMilliseconds();
        TakeStepsOfNumbers();
        return true;
    }

    bool FindSpread() {
        SpreadTime spread = FindSpreadTime(head_);
        doubtful_ = spread.doubtful;
        const bool clock = FirstOfKind(CellKind::clock, true).has_value() &&
                           !FirstOfKind(CellKind::date, false) && !FirstOfKind(CellKind::dateTime, true);
        if (clock && spread.yearAlone)
            finding_.problems.push_back(
                "a year but no whole date beside the clocks (--time COL,COL --time-format FMT)");
        const bool tellsStart =
            First([&](std::size_t i) { return IsTimeNumber(i) && !Contains(spread.columns, i); }).has_value();
        if (spread.columns.empty() || (!spread.changes && !tellsStart))
            return false;
        TakeSpread(spread);
        TakeStepsOfNumbers();
        return true;
    }

    void TakeSpread(const SpreadTime& spread) {
        finding_.rule.columns = spread.columns;
        finding_.rule.parts = spread.parts;
        finding_.rule.descending = spread.descending;
        finding_.rule.indexKind = DK_INDEX_TIME;
        std::string names;
        for (const std::size_t column : spread.columns)
            names += (names.empty() ? "" : ", ") + head_.Name(column).name;
        finding_.notes.push_back("columns " + names + " are joined to the time (--time)");
        AddMilliseconds();
    }

    /// Some loggers write the milliseconds of a clock into a column of their own.
    void AddMilliseconds() {
        finding_.rule.milliseconds = First([&](std::size_t i) {
            const std::string name = LowerCase(head_.Name(i).name);
            if (name != "ms" && name != "msec" && name != "millis" && name != "milliseconds" &&
                name != "millisecond")
                return false;
            const std::vector<double>& values = head_.Numbers(i);
            return head_.Kind(i) == CellKind::number &&
                   std::all_of(values.begin(), values.end(), [](double v) { return v >= 0.0 && v <= 999.0; });
        });
        if (finding_.rule.milliseconds)
            finding_.notes.push_back("column " + head_.Name(*finding_.rule.milliseconds).name +
                                     " holds the clock's milliseconds");
    }

    std::string StampText(std::size_t row) const {
        std::string text;
        for (const std::size_t column : finding_.rule.columns)
            text += head_.Cells(column)[row] + " ";
        if (finding_.rule.milliseconds)
            text += head_.Cells(*finding_.rule.milliseconds)[row];
        return text;
    }

    /// A clock that shows the same second on several rows tells only the start where a column of numbers
    /// tells the steps.
    void TakeStepsOfNumbers() {
        const std::size_t rows = head_.Cells(0).size();
        std::size_t repeats = 0;
        for (std::size_t row = 1; row < rows; ++row)
            repeats += StampText(row) == StampText(row - 1) ? 1 : 0;
        if (repeats * 50 <= rows)
            return;
        const auto steps =
            First([&](std::size_t i) { return IsTimeNumber(i) && !Contains(finding_.rule.columns, i); });
        if (!steps)
            return;
        finding_.rule.startColumns = finding_.rule.columns;
        finding_.rule.milliseconds.reset();
        finding_.notes.push_back("the clock repeats: column " + head_.Name(*steps).name +
                                 " tells the steps, the clock the start");
        TakeNumber(*steps);
    }

    bool IsTimeNumber(std::size_t i) const {
        const NameAndUnit& name = head_.Name(i);
        return head_.Kind(i) == CellKind::number && (SecondsPer(name.unit) || NamesTime(name.name)) &&
               RisesOrFalls(head_.Numbers(i));
    }

    bool FindNumber() {
        const auto found = First([&](std::size_t i) { return IsTimeNumber(i); });
        if (found)
            TakeNumber(*found);
        return found.has_value();
    }

    bool FindDepth() {
        const auto named = First([&](std::size_t i) {
            return head_.Kind(i) == CellKind::number && NamesDepth(head_.Name(i).name) &&
                   RisesOrFalls(head_.Numbers(i));
        });
        const auto asked = choices_.indexKind == DK_INDEX_DEPTH
                               ? First([&](std::size_t i) { return RisesOrFalls(head_.Numbers(i)); })
                               : std::nullopt;
        const auto found = named ? named : asked;
        if (!found || (choices_.indexKind && *choices_.indexKind != DK_INDEX_DEPTH))
            return false;
        TakeNumber(*found);
        return true;
    }

    /// A text column that may well be dates in a form not known: no number is taken for the time beside it.
    std::optional<std::size_t> UnreadTime() const {
        return First([&](std::size_t i) {
            return head_.Kind(i) == CellKind::text && head_.Changes(i) && !head_.Cells(i).front().empty() &&
                   (NamesTime(head_.Name(i).name) || LooksLikeTime(head_.Cells(i).front()));
        });
    }

    bool FindEven() {
        if (const auto unread = UnreadTime()) {
            finding_.problems.push_back("column " + head_.Name(*unread).name + ": " +
                                        QuotedCell(head_.Cells(*unread).front()) +
                                        " is no date or clock that is known (--time COL --time-format FMT)");
            return true;
        }
        const auto found = First([&](std::size_t i) {
            const NameAndUnit& name = head_.Name(i);
            return head_.Kind(i) == CellKind::number && name.unit.empty() && !NamesCounter(name.name) &&
                   head_.Numbers(i).size() >= 2 && RisesEvenly(head_.Numbers(i));
        });
        if (!found)
            return false;
        TakeNumber(*found);
        finding_.notes.push_back("column " + head_.Name(*found).name +
                                 " rises evenly: taken for the time in " + finding_.rule.unitName +
                                 " (--time, --time-unit)");
        return true;
    }

    void TakeNumber(std::size_t column) {
        if (choices_.time.empty() && Contains(doubtful_, column))
            finding_.problems.push_back("column " + head_.Name(column).name +
                                        " may be a part of a time only (--time COL,COL --time-format FMT, or "
                                        "--time " +
                                        head_.Name(column).name + ")");
        SettleNumberUnit(head_, column, head_.Name(column).unit, choices_, finding_);
    }

    const HeadColumns& head_;
    const Choices& choices_;
    std::vector<std::size_t> doubtful_;  ///< columns that may be parts of a time only
    TimeFinding finding_;
};

/// 10 or 13 digits: seconds or milliseconds since 1970. The factor to seconds, 0 when it is neither.
double EpochUnit(const std::vector<double>& values, const std::string& unit) {
    if (values.empty())
        return 0.0;
    const double seconds = SecondsPer(unit).value_or(unit.empty() ? 0.0 : -1.0);
    const auto between = [&](double least, double most) {
        return std::all_of(values.begin(), values.end(), [&](double v) { return v >= least && v < most; });
    };
    if (between(1e9, 1e10) && (seconds == 0.0 || seconds == 1.0))
        return 1.0;
    return between(1e12, 1e13) && (seconds == 0.0 || seconds == 0.001) ? 0.001 : 0.0;
}

/// Dates and clocks written as one number must not pass for seconds.
void FindPackedTimes(const HeadColumns& head, std::size_t column, const std::string& unit,
                     const std::vector<double>& values, TimeFinding& finding) {
    const std::vector<std::string>& cells = head.Cells(column);
    if (values.empty() || !unit.empty())
        return;
    const std::string where = "column " + head.Name(column).name + ": ";
    if (values.front() >= 1e13)
        finding.problems.push_back(where + QuotedCell(cells.front()) +
                                   " is no number of seconds: a date? (--time COL --time-format FMT)");
    bool besideDates = false;
    for (std::size_t i = 0; i < head.Count(); ++i)
        besideDates = besideDates || head.Kind(i) == CellKind::date;
    const bool padded = cells.front().size() == 6 && cells.front().front() == '0';
    const bool mayBe = values.back() >= 100.0 && CouldBePackedClocks(values);
    if (mayBe && (((besideDates || padded) && values.back() >= 10000.0) || RisesEvenlyAsClocks(values)))
        finding.problems.push_back(
            where + QuotedCell(cells.front()) +
            ": seconds or hhmmss? (--time-unit s, or --time COL,COL --time-format FMT)");
}

}  // namespace

std::size_t FindColumn(const std::string& column, const std::vector<NameAndUnit>& names,
                       const std::vector<std::string>& captions) {
    if (column.size() > 1 && column.front() == '#') {
        const auto number = static_cast<std::size_t>(std::max(0, vorela::LeadingInteger(column.substr(1))));
        if (number >= 1 && number <= names.size())
            return number - 1;
        throw ChoiceError("there is no column " + column + ", the table has " + std::to_string(names.size()));
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (vorela::EqualIgnoringCase(column, names[i].name) ||
            vorela::EqualIgnoringCase(column, captions[i]) ||
            vorela::EqualIgnoringCase(SplitUnit(column).name, names[i].name))
            return i;
    }
    std::string known;
    for (std::size_t i = 0; i < std::min<std::size_t>(names.size(), 12); ++i)
        known += (i > 0 ? ", " : "") + names[i].name;
    throw ChoiceError("there is no column " + QuotedCell(column) + " among " + known);
}

void HeadColumns::AddRow(const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells_.size(); ++i)
        cells_[i].push_back(i < cells.size() ? cells[i] : std::string());
}

CellKind HeadColumns::Kind(std::size_t column) const {
    if (kinds_[column])
        return *kinds_[column];
    std::array<std::size_t, 6> counts{};
    for (const std::string& cell : cells_[column]) {
        double value = 0.0;
        const bool isNumber = !cell.empty() && ReadNumber(cell, format_, value);
        ++counts[static_cast<std::size_t>(isNumber ? CellKind::number : KindOfCell(cell))];
    }
    counts[0] = 0;
    std::size_t filled = 0;
    for (const std::size_t count : counts)
        filled += count;
    const auto best = std::max_element(counts.begin(), counts.end());
    const bool isOfOne = filled > 0 && *best * 10 >= filled * 9;
    kinds_[column] = isOfOne ? static_cast<CellKind>(best - counts.begin()) : CellKind::text;
    return *kinds_[column];
}

bool HeadColumns::Changes(std::size_t column) const {
    const std::vector<std::string>& cells = cells_[column];
    return std::any_of(cells.begin(), cells.end(),
                       [&](const std::string& cell) { return cell != cells.front(); });
}

const std::vector<double>& HeadColumns::Numbers(std::size_t column) const {
    if (numbers_[column])
        return *numbers_[column];
    std::vector<double>& values = numbers_[column].emplace();
    for (const std::string& cell : cells_[column]) {
        double value = 0.0;
        if (ReadNumber(cell, format_, value) && std::isfinite(value))
            values.push_back(value);
    }
    return values;
}

void SettleNumberUnit(const HeadColumns& head, std::size_t column, std::string unit, const Choices& choices,
                      TimeFinding& finding) {
    TimeRule& rule = finding.rule;
    const std::string& name = head.Name(column).name;
    const std::string where = "column " + name;
    rule.columns = {column};
    rule.isNumber = true;
    if (IsZone(unit))
        unit.clear();
    if (unit.empty())
        unit = UnitInName(name);
    if (!choices.timeUnit.empty())
        unit = choices.timeUnit;
    const bool asksDepth =
        choices.indexKind == DK_INDEX_DEPTH || (!choices.timeUnit.empty() && !SecondsPer(choices.timeUnit));
    const bool isDepth = asksDepth || (!choices.indexKind && NamesDepth(name) && !SecondsPer(unit));
    if (isDepth) {
        rule.indexKind = DK_INDEX_DEPTH;
        if (unit.empty())
            finding.notes.push_back(where + " has no unit: taken for feet (--time-unit)");
        rule.unitName = unit.empty() ? "ft" : unit;
        rule.unit = FeetPer(rule.unitName).value_or(0.0);
        if (rule.unit == 0.0)
            finding.problems.push_back(where + ": " + QuotedCell(unit) +
                                       " is no unit of depth (--time-unit ft|m)");
        rule.unit = rule.unit == 0.0 ? 1.0 : rule.unit;
        return;
    }
    rule.indexKind = DK_INDEX_TIME;
    const std::vector<double>& values = head.Numbers(column);
    rule.unit = EpochUnit(values, unit);
    rule.isEpoch = rule.unit != 0.0;
    rule.unitName = rule.unit == 0.001 ? "ms" : "s";
    if (rule.isEpoch)
        return;
    FindPackedTimes(head, column, unit, values, finding);
    const double least = values.empty() ? 0.0 : *std::min_element(values.begin(), values.end());
    const double most = values.empty() ? 0.0 : *std::max_element(values.begin(), values.end());
    if (unit.empty() && least >= 20000.0 && most <= 80000.0 && std::abs(MedianOf(StepsOf(values))) < 1.0)
        finding.problems.push_back(where + " rises by less than 1 from " +
                                   vorela::ShortestText(values.front()) +
                                   ": days or seconds? (--time-unit d or s)");
    rule.unitName = unit.empty() ? "s" : unit;
    rule.unit = SecondsPer(rule.unitName).value_or(0.0);
    if (rule.unit == 0.0)
        finding.problems.push_back(where + ": " + QuotedCell(unit) +
                                   " is no unit of time (--time-unit s|ms|min|h|d)");
    if (rule.unit == 0.0)
        rule.unit = 1.0;  // as far as it goes
    constexpr double serialDayOf1970 = 25569.0;
    if (rule.unit == 86400.0 && least >= 20000.0 && most <= 80000.0) {
        rule.isEpoch = true;
        rule.epochShift = -serialDayOf1970 * 86400.0;
        finding.notes.push_back(where + ": days are counted from 30 December 1899");
    }
}

TimeFinding FindTimeColumns(const HeadColumns& head, const Choices& choices) {
    return TimeColumnFinder(head, choices).Find();
}

}  // namespace dravik
