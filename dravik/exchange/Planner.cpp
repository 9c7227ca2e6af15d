#include <algorithm>
#include <cmath>
#include <utility>

#include "dravik/exchange/CurvePlan.h"
#include "dravik/exchange/DelimitedRows.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/LasHeader.h"
#include "dravik/exchange/LasRows.h"
#include "dravik/exchange/Plan.h"
#include "dravik/exchange/RowPass.h"
#include "dravik/exchange/TimeColumns.h"
#include "general/NumberText.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

constexpr double shortestOrderLead = 20.0 * 86400.0 * 100.0;  // index units

std::string LinesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

/// Plans one file.
class Planner {
  public:
    Planner(const TextFile& file, const Choices& choices, const Progress& progress, ImportPlan& plan)
        : file_(file), choices_(choices), progress_(progress), plan_(plan) {}

    void Run() {
        plan_.encoding = file_.TextEncoding().name;
        plan_.encodingChoice = choices_.encoding;
        plan_.isLas = LooksLikeLas(file_);
        if (plan_.isLas ? ReadLas() : ReadTable())
            PassAndDecide();
    }

  private:
    void Note(std::string text) { plan_.notes.push_back(std::move(text)); }
    void Problem(std::string text) { plan_.problems.push_back(std::move(text)); }

    // --- delimited text ---

    bool ReadTable() {
        SeparatedHead head = SeparateHead(file_, choices_.separator, plan_.quote);
        plan_.separator = head.separator == ' ' ? "blanks" : std::string(1, head.separator);
        if (head.width < 2) {
            Problem("no table: no separator makes lines of two cells or more (--separator C)");
            return false;
        }
        const NumberFormat format = SettleDecimalSign(head);
        const TableShape table = FindTable(head);
        if (table.firstRow >= head.lines.size()) {
            Problem("no table: no rows of numbers among the first " + LinesText(head.lines.size()) +
                    " (--separator, --leave-out)");
            return false;
        }
        const Header header = FindHeader(head, table, choices_.headerLine);
        TakeNames(header);
        TellLayout(head, table, header);
        HeadColumns columns(names_, captions_, format);
        for (std::size_t i = table.firstRow; i < head.lines.size(); ++i) {
            const HeadLine& line = head.lines[i];
            if (!line.isComment && FitsWidth(line, table.width, head.separator) &&
                CouldBeRow(line.kinds, table.kinds) && !choices_.LeavesOut(line.place.line))
                columns.AddRow(line.cells);
        }
        TakeTime(columns);
        OpenTable(head, table, header, format);
        return !plan_.reading.time.columns.empty();
    }

    NumberFormat SettleDecimalSign(const SeparatedHead& head) {
        const DecimalFinding finding = FindDecimalSign(head, choices_.decimal);
        plan_.decimal = finding.format.decimal;
        if (finding.guessed)
            Note("numbers like 1,234 are read with a decimal comma (--decimal)");
        if (!finding.undecided.empty())
            Problem("line " + std::to_string(finding.line) + ": " + QuotedCell(finding.undecided) +
                    ": thousands or decimals? (--decimal , or .)");
        return finding.format;
    }

    void TakeNames(const Header& header) {
        names_ = header.names;
        captions_ = header.captions;
        if (header.namesLine == 0 && choices_.names.empty())
            Note("no names of columns: " + names_.front().name + ", " + names_[1].name + " ...");
        for (std::size_t i = 0; i < choices_.names.size(); ++i) {
            if (i >= names_.size())
                throw ChoiceError("--names gives " + std::to_string(choices_.names.size()) + " names to " +
                                  std::to_string(names_.size()) + " columns");
            captions_[i] = choices_.names[i];
            const NameAndUnit own = SplitUnit(choices_.names[i]);
            names_[i] = {own.name, own.unit.empty() ? names_[i].unit : own.unit};
        }
    }

    void TellLayout(const SeparatedHead& head, const TableShape& table, const Header& header) {
        const std::size_t firstRow = head.lines[table.firstRow].place.line;
        plan_.preambleLines = (header.namesLine > 0 ? header.namesLine : firstRow) - 1;
        plan_.headerLines = header.namesLine > 0 ? firstRow - header.namesLine : 0;
        if (plan_.preambleLines > 0)
            Note(LinesText(plan_.preambleLines) + " of preamble left out");
        std::size_t successive = 0;
        for (std::size_t i = 0; i < table.firstRow; ++i) {
            const HeadLine& line = head.lines[i];
            const bool isNumbers = line.cells.size() > 1 && !line.isComment &&
                                   std::none_of(line.kinds.begin(), line.kinds.end(),
                                                [](CellKind kind) { return kind == CellKind::text; }) &&
                                   std::any_of(line.kinds.begin(), line.kinds.end(),
                                               [](CellKind kind) { return kind != CellKind::null; });
            successive = isNumbers ? successive + 1 : 0;
            if (successive == 3)
                Note("line " + std::to_string(line.place.line - 2) +
                     ": another table above this one, left out");
        }
    }

    void TakeTime(const HeadColumns& columns) {
        TimeFinding finding = FindTimeColumns(columns, choices_);
        plan_.notes.insert(plan_.notes.end(), finding.notes.begin(), finding.notes.end());
        plan_.problems.insert(plan_.problems.end(), finding.problems.begin(), finding.problems.end());
        plan_.reading.time = std::move(finding.rule);
        TimeRule& rule = plan_.reading.time;
        if (choices_.dateOrder)
            rule.orders = SetOf(*choices_.dateOrder);
        if (!rule.isNumber && !rule.columns.empty())
            rule.descending = ClocksFall(columns);
    }

    bool ClocksFall(const HeadColumns& columns) const {
        std::size_t falls = 0;
        std::size_t rises = 0;
        double previous = -1.0;
        for (const std::string& cell : columns.Cells(plan_.reading.time.columns.back())) {
            Stamp stamp;
            if (!ParseStamp(cell, stamp) || !stamp.hasClock)
                continue;
            falls += previous >= 0.0 && stamp.clockSeconds < previous ? 1 : 0;
            rises += previous >= 0.0 && stamp.clockSeconds > previous ? 1 : 0;
            previous = stamp.clockSeconds;
        }
        return falls > rises;
    }

    CellRules RulesOfCells(const NumberFormat& format) const {
        CellRules rules;
        rules.format = format;
        rules.nulls = choices_.nulls;
        return rules;
    }

    void OpenTable(const SeparatedHead& head, const TableShape& table, const Header& header,
                   const NumberFormat& format) {
        DelimitedLayout layout;
        layout.separator = head.separator;
        layout.quote = plan_.quote;
        layout.width = table.width;
        layout.kinds = table.kinds;
        layout.header = header.lines;
        layout.timeColumns = plan_.reading.time.columns;
        layout.firstRow = head.lines[table.firstRow].place;
        for (const std::size_t column : layout.timeColumns)
            layout.kinds[column] = plan_.reading.time.isNumber ? CellKind::number : layout.kinds[column];
        plan_.reading.open = [layout, rules = RulesOfCells(format), leaveOut = choices_.leaveOut](
                                 const TextFile& file, bool exact) {
            CellRules own = rules;
            own.exact = exact;
            return std::make_unique<DelimitedRows>(file, layout, std::move(own), leaveOut);
        };
    }

    // --- LAS ---

    bool ReadLas() {
        LasHeader header = ReadLasHeader(file_);
        plan_.separator = header.delimiter == ' ' ? "blanks" : std::string(1, header.delimiter);
        plan_.preambleLines = header.curvesLine > 0 ? header.curvesLine - 1 : header.data.line - 1;
        plan_.headerLines = header.data.line - 1 - plan_.preambleLines;
        LasLayout layout = LayoutOf(header);
        if (layout.columns < 2) {
            Problem("it has no curve beside its index (LAS)");
            return false;
        }
        NumberFormat format;
        CellRules rules = RulesOfCells(format);
        rules.format.decimal = plan_.decimal = LasDecimal(layout, rules);
        rules.hasNullNumber = header.null.has_value();
        rules.nullNumber = header.null.value_or(0.0);
        rules.indexColumn = 0;
        for (const LasCurve& curve : header.curves) {
            names_.push_back(
                {curve.mnemonic.empty() ? "COL" + std::to_string(names_.size() + 1) : curve.mnemonic,
                 curve.unit});
            captions_.push_back(names_.back().name);
        }
        for (std::size_t i = 0; i < choices_.names.size() && i < names_.size(); ++i)
            captions_[i] = names_[i].name = choices_.names[i];
        plan_.reading.open = [layout, rules, leaveOut = choices_.leaveOut](const TextFile& file, bool exact) {
            CellRules own = rules;
            own.exact = exact;
            return std::make_unique<LasRows>(file, layout, std::move(own), leaveOut);
        };
        TakeLasIndex(header, rules.format);
        las_ = std::move(header);
        return !plan_.reading.time.columns.empty();
    }

    /// Cells of the first line of data under a delimiter.
    std::size_t FirstLineCells(const LasHeader& header, char delimiter) const {
        LineReader reader(file_);
        reader.Seek(header.data);
        std::string_view line;
        while (reader.Next(line)) {
            if (TrimmedCell(line).empty() || TrimmedCell(line).starts_with('#'))
                continue;
            CellSplitter split(delimiter, '"');
            return split.Split(line, true) ? split.Cells().size() : 0;
        }
        return 0;
    }

    LasLayout LayoutOf(LasHeader& header) {
        LasLayout layout;
        const std::size_t cells = FirstLineCells(header, header.delimiter);
        if (header.curves.empty()) {
            const bool named = header.dataNames.size() == cells;
            for (std::size_t i = 0; i < cells; ++i)
                header.curves.push_back({named ? header.dataNames[i] : "COL" + std::to_string(i + 1), ""});
            Note("it describes no curves: names " + std::string(named ? "of its ~A line" : "COL1, COL2 ..."));
        }
        const std::size_t curves = header.curves.size();
        if (header.delimiter == ' ' && cells != curves && FirstLineCells(header, ',') == curves) {
            header.delimiter = ',';
            plan_.separator = ",";
        }
        layout.wrapped = header.wrapped.value_or(cells == 1 && curves > 1);
        if (!layout.wrapped && cells < curves && header.dataNames.size() == cells && cells >= 2) {
            Note(std::to_string(curves - cells) + " curves of the header have no data: left out");
            header.curves.resize(cells);
        }
        layout.columns = header.curves.size();
        layout.delimiter = header.delimiter;
        layout.data = header.data;
        return layout;
    }

    char LasDecimal(const LasLayout& layout, const CellRules& rules) const {
        if (choices_.decimal || layout.delimiter == ',')
            return choices_.decimal.value_or('.');
        LasRows rows(file_, layout, rules, choices_.leaveOut);
        Row row;
        for (int i = 0; i < 100 && rows.Next(row); ++i) {
            for (const std::string_view cell : *row.cells) {
                NumberShape shape;
                if (ShapeOfNumber(cell, shape) && shape.commas == 1 && shape.points == 0)
                    return ',';
            }
        }
        return '.';
    }

    void TakeLasIndex(const LasHeader& header, const NumberFormat& format) {
        HeadColumns columns(names_, captions_, format);
        const std::unique_ptr<RowReader> rows = plan_.reading.open(file_, false);
        Row row;
        for (int i = 0; i < 1000 && rows->Next(row); ++i)
            columns.AddRow({row.cells->begin(), row.cells->end()});
        if (!choices_.time.empty() || IsTime(columns.Kind(0))) {
            TakeTime(columns);
            return;
        }
        const std::string unit = !choices_.timeUnit.empty()           ? choices_.timeUnit
                                 : header.curves.front().unit.empty() ? header.indexUnit
                                                                      : header.curves.front().unit;
        TimeRule& rule = plan_.reading.time;
        rule.columns = {0};
        rule.isNumber = true;
        rule.numbers = format;
        rule.unitName = unit;
        rule.indexKind = SecondsPer(unit) ? DK_INDEX_TIME : DK_INDEX_DEPTH;
        rule.unit = SecondsPer(unit) ? *SecondsPer(unit) : FeetPer(unit).value_or(1.0);
        if (!SecondsPer(unit) && !FeetPer(unit))
            Problem("index " + names_.front().name +
                    (unit.empty() ? " has no unit" : ": unit " + QuotedCell(unit) + " is unknown") +
                    " (--time-unit s|ms|min|h|d|ft|m)");
    }

    /// The header's claims about the index beside what the data say.
    void CompareLasHeader(const TimeBaseSummary& times) {
        const TimeRule& rule = plan_.reading.time;
        if (!plan_.isLas || !rule.isNumber || rule.isEpoch || times.medianStep <= 0.0)
            return;
        const double perUnit = rule.unit * 100.0;
        const double last = times.descending ? times.earliest : times.latest;
        const double shift = choices_.shift * 100.0;
        if (las_.stop && std::abs(*las_.stop * perUnit + shift - last) > times.medianStep)
            Note("STOP is " + vorela::ShortestText(*las_.stop) + ", the data end at " +
                 vorela::ShortestText((last - shift) / perUnit));
        if (las_.step && *las_.step != 0.0 &&
            std::abs(std::abs(*las_.step) * perUnit - times.medianStep) >
                std::max(0.5, 0.01 * times.medianStep))
            Note("STEP is " + vorela::ShortestText(*las_.step) + ", the rows stand " +
                 vorela::ShortestText(times.medianStep / perUnit) + " apart");
    }

    // --- both ---

    void PassAndDecide() {
        RowPassResult pass = PassOverRows(file_, plan_.reading, names_.size(), choices_, progress_);
        plan_.rows = pass.rows;
        plan_.droppedRows = pass.droppedRows;
        for (const LeftOut& lines : pass.leftOut)
            Note("left out: " + lines.what + " (" +
                 (lines.count > 1 ? LinesText(lines.count) + " from line " : "line ") +
                 std::to_string(lines.firstLine) + ")");
        plan_.notes.insert(plan_.notes.end(), pass.notes.begin(), pass.notes.end());
        plan_.problems.insert(plan_.problems.end(), pass.problems.begin(), pass.problems.end());
        plan_.reading.checkpoints = std::move(pass.checkpoints);
        plan_.reading.shift = choices_.shift * 100.0;
        PlanCurves(names_, captions_, TimeColumnsAll(), pass.columns, choices_, plan_);
        DescribeTime(pass);
        if (pass.rows > 0 && !plan_.reading.time.columns.empty())
            DecideTime(pass);
        else if (pass.rows == 0)
            Problem("no rows");
    }

    std::vector<std::size_t> TimeColumnsAll() const {
        const TimeRule& rule = plan_.reading.time;
        std::vector<std::size_t> all = rule.columns;
        all.insert(all.end(), rule.startColumns.begin(), rule.startColumns.end());
        if (rule.milliseconds)
            all.push_back(*rule.milliseconds);
        return all;
    }

    void DescribeTime(const RowPassResult& pass) {
        const TimeRule& rule = plan_.reading.time;
        for (const std::size_t column : TimeColumnsAll())
            plan_.timeColumns.push_back(names_[column].name);
        plan_.timeUnit = rule.isNumber ? rule.unitName : "";
        plan_.hasZone = pass.hasZone;
        plan_.clockOnly = !rule.isNumber && !pass.hasDate;
        plan_.timeFormat = rule.isEpoch    ? "epoch"
                           : rule.isNumber ? "number"
                           : pass.hasDate  ? "date"
                                           : "clock";
        if (plan_.clockOnly && pass.last.turns != 0)
            Note("clocks without a date: " + std::to_string(std::abs(pass.last.turns)) + " times past " +
                 (rule.isNumber ? "the end" : "midnight or the full hour"));
    }

    void DecideTime(const RowPassResult& pass) {
        const std::optional<DateOrder> order = SettleOrder(pass);
        if (!order)
            return;
        const auto index = static_cast<std::size_t>(*order);
        TimeRule& rule = plan_.reading.time;
        plan_.reading.order = *order;
        rule.orders = SetOf(*order);
        plan_.dateOrder = pass.hasDate ? DateOrderName(*order) : "";
        plan_.timeBase = pass.times[index];
        plan_.start = pass.start[index];
        CompareLasHeader(plan_.timeBase);
        GridDecision decision =
            DecideGrid(plan_.timeBase, choices_, rule.indexKind, pass.zero[index] * 100.0);
        plan_.grid = decision.grid;
        plan_.notes.insert(plan_.notes.end(), decision.notes.begin(), decision.notes.end());
        plan_.problems.insert(plan_.problems.end(), decision.problems.begin(), decision.problems.end());
    }

    /// The order of day and month: what all rows leave possible, then the differences, then the span.
    std::optional<DateOrder> SettleOrder(const RowPassResult& pass) {
        std::vector<DateOrder> possible;
        for (const DateOrder order : {DateOrder::dmy, DateOrder::mdy, DateOrder::ymd}) {
            if ((pass.orders & SetOf(order)) != 0)
                possible.push_back(order);
        }
        if (possible.size() == 1 || !pass.hasDate || plan_.reading.time.isNumber)
            return pass.hasDate && !possible.empty() ? possible.front() : DateOrder::ymd;
        std::optional<DateOrder> found;
        if (pass.ordersAgree)
            found = possible.front();
        for (const DateOrder order : possible) {
            if (!found && IsShortest(order, possible, pass))
                found = order;
        }
        if (found)
            Note("dates are read as " + DateOrderName(*found) + " (--date-order)");
        else
            Problem("dates may be of several orders (--date-order ymd|dmy|mdy)");
        return found;
    }

    static bool IsShortest(DateOrder order, const std::vector<DateOrder>& possible,
                           const RowPassResult& pass) {
        const auto span = [&](DateOrder o) {
            const TimeBaseSummary& times = pass.times[static_cast<std::size_t>(o)];
            return times.latest - times.earliest;
        };
        const TimeBaseSummary& own = pass.times[static_cast<std::size_t>(order)];
        return own.disorder == 0 && std::all_of(possible.begin(), possible.end(), [&](DateOrder other) {
                   return other == order || span(order) + shortestOrderLead <= span(other);
               });
    }

    const TextFile& file_;
    const Choices& choices_;
    const Progress& progress_;
    ImportPlan& plan_;
    std::vector<NameAndUnit> names_;
    std::vector<std::string> captions_;
    LasHeader las_;
};

}  // namespace

ImportPlan PlanImport(const std::string& file, const Choices& choices, const Progress& progress) {
    ImportPlan plan;
    plan.file = file;
    try {
        const TextFile text(file, choices.encoding);
        Planner(text, choices, progress, plan).Run();
    } catch (const ExchangeError& error) {
        plan.problems.push_back(error.what());
    }
    return plan;
}

}  // namespace dravik
