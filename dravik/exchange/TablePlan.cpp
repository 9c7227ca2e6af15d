#include <algorithm>

#include "dravik/exchange/DelimitedRows.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/PlanDraft.h"

namespace dravik {
namespace {

bool IsLineOfNumbers(const HeadLine& line) {
    const auto isText = [](CellKind kind) { return kind == CellKind::text; };
    const auto isValue = [](CellKind kind) { return kind != CellKind::null; };
    return line.cells.size() > 1 && !line.isComment &&
           std::none_of(line.kinds.begin(), line.kinds.end(), isText) &&
           std::any_of(line.kinds.begin(), line.kinds.end(), isValue);
}

class TablePlanner {
  public:
    explicit TablePlanner(PlanDraft& draft)
        : draft_(draft),
          plan_(draft.plan),
          choices_(draft.choices),
          head_(SeparateHead(draft.file, draft.choices, draft.plan.quote)) {}

    bool Run() {
        plan_.separator = head_.separator == ' ' ? "blanks" : std::string(1, head_.separator);
        if (head_.width < 2) {
            Problem("no table: no separator makes lines of two cells or more (--separator C)");
            return false;
        }
        if (head_.blanksExplainMore)
            Problem("commas or blanks between the cells? (--separator , or --separator blanks)");
        const NumberFormat format = SettleDecimalSign();
        table_ = FindTable(head_);
        if (table_.firstRow >= head_.lines.size()) {
            Problem("no table: no rows of numbers among the first " + LinesText(head_.lines.size()) +
                    " (--separator, --leave-out)");
            return false;
        }
        const Header header = FindHeader(head_, table_, choices_.headerLine);
        TakeNames(header);
        TellLayout(header);
        draft_.TakeTime(HeadRows(format));
        CheckLinesAboveRows(header);
        OpenTable(header, format);
        return !plan_.reading.time.columns.empty();
    }

  private:
    void Note(std::string text) { draft_.Note(std::move(text)); }
    void Problem(std::string text) { draft_.Problem(std::move(text)); }

    NumberFormat SettleDecimalSign() {
        const DecimalFinding finding = FindDecimalSign(head_, choices_.decimal);
        plan_.decimal = finding.format.decimal;
        if (finding.guessed)
            Note("numbers like 1,234 are read with a decimal comma (--decimal)");
        if (!finding.undecided.empty())
            Problem("line " + std::to_string(finding.line) + ": " + QuotedCell(finding.undecided) +
                    ": thousands or decimals? (--decimal , or .)");
        return finding.format;
    }

    void TakeNames(const Header& header) {
        std::vector<NameAndUnit>& names = draft_.names;
        names = header.names;
        draft_.captions = header.captions;
        if (header.namesLine == 0 && choices_.names.empty())
            Note("no names of columns: " + names.front().name + ", " + names[1].name + " ...");
        if (choices_.names.size() > names.size())
            throw ChoiceError("--names gives " + std::to_string(choices_.names.size()) + " names to " +
                              std::to_string(names.size()) + " columns");
        for (std::size_t i = 0; i < choices_.names.size(); ++i) {
            draft_.captions[i] = choices_.names[i];
            const NameAndUnit own = SplitUnit(choices_.names[i]);
            names[i] = {own.name, own.unit.empty() ? names[i].unit : own.unit};
        }
        if (header.namesLine > 0)
            TellNameless(header.namesLine);
        TellNamesBeyond(header);
        for (const std::string& unit : header.looseUnits)
            Note(unit + " names no column (--curves COL:UNIT)");
    }

    /// Fewer names than columns may mean that a decimal comma parts cells.
    void TellNameless(std::size_t namesLine) {
        std::string nameless;
        for (std::size_t i = 0; i < draft_.names.size(); ++i) {
            if (draft_.captions[i].empty())
                nameless += (nameless.empty() ? "" : ", ") + draft_.names[i].name;
        }
        if (!nameless.empty())
            Note("line " + std::to_string(namesLine) + " has no name for " + nameless);
    }

    /// Names that no column answers to may mean that the names stand over the wrong ones.
    void TellNamesBeyond(const Header& header) {
        if (!header.beyond.empty())
            Note("line " + std::to_string(header.namesLine) +
                 " has a name beyond the last column: " + QuotedCell(header.beyond));
    }

    void TellLayout(const Header& header) {
        const std::size_t firstRow = head_.lines[table_.firstRow].place.line;
        plan_.preambleLines = (header.namesLine > 0 ? header.namesLine : firstRow) - 1;
        plan_.headerLines = header.namesLine > 0 ? firstRow - header.namesLine : 0;
        if (plan_.preambleLines > 0)
            Note(LinesText(plan_.preambleLines) + " of preamble left out");
        std::size_t successive = 0;
        for (std::size_t i = 0; i < table_.firstRow; ++i) {
            successive = IsLineOfNumbers(head_.lines[i]) ? successive + 1 : 0;
            if (successive == 3)
                Note("line " + std::to_string(head_.lines[i].place.line - 2) +
                     ": another table above this one, left out");
        }
    }

    bool IsTimeColumn(std::size_t column) const {
        const std::vector<std::size_t>& times = plan_.reading.time.columns;
        return std::find(times.begin(), times.end(), column) != times.end();
    }

    /// Whether every cell of the time, or every one beside it, is of its column's kind; numbers beside the
    /// time hold a decimal sign, as numbers that name channels do not.
    bool HasKindsOfRows(const HeadLine& line, bool ofTime) const {
        bool any = false;
        bool decimals = ofTime;
        for (std::size_t i = 0; i < table_.width; ++i) {
            if (table_.kinds[i] == CellKind::text || IsTimeColumn(i) != ofTime)
                continue;
            if (line.KindAt(i) != table_.kinds[i])
                return false;
            any = true;
            decimals = decimals || line.cells[i].find_first_of(".,") != std::string::npos;
        }
        return any && decimals;
    }

    /// The text among the numbers and times of a line that looks like a row nonetheless: its time, or all
    /// the rest, is as the table's rows have it.
    std::optional<std::size_t> TextInRow(const HeadLine& line) const {
        if (line.isComment || !FitsWidth(line, table_.width, head_.separator) ||
            (!HasKindsOfRows(line, true) && !HasKindsOfRows(line, false)))
            return std::nullopt;
        for (std::size_t i = 0; i < table_.width; ++i) {
            if (table_.kinds[i] != CellKind::text && line.KindAt(i) == CellKind::text)
                return i;
        }
        return std::nullopt;
    }

    /// A first row like "0,Bad,1.5" must not pass for names or units.
    void CheckLinesAboveRows(const Header& header) {
        for (std::size_t i = 0; i < table_.firstRow; ++i) {
            const HeadLine& line = head_.lines[i];
            const std::optional<std::size_t> text = TextInRow(line);
            if (!text || header.namesLine == 0 || line.place.line < header.namesLine ||
                line.place.line == choices_.headerLine)
                continue;
            return Problem(DoubtfulRowText(line, *text));
        }
    }

    std::string DoubtfulRowText(const HeadLine& line, std::size_t column) const {
        const std::string number = std::to_string(line.place.line);
        const std::string& cell = line.cells[column];
        const bool mayBeNull =
            table_.kinds[column] == CellKind::number && cell.find_first_of(" ,\"'") == std::string::npos;
        return "line " + number + ": " + QuotedCell(cell) + " in column " + std::to_string(column + 1) +
               " of what looks like a row (" + (mayBeNull ? "--null " + cell + ", " : "") + "--leave-out " +
               number + ", or --header-line " + number + ")";
    }

    HeadColumns HeadRows(const NumberFormat& format) const {
        HeadColumns columns(draft_.names, draft_.captions, format);
        for (std::size_t i = table_.firstRow; i < head_.lines.size(); ++i) {
            const HeadLine& line = head_.lines[i];
            if (!line.isComment && FitsWidth(line, table_.width, head_.separator) &&
                CouldBeRow(line.kinds, table_.kinds) && !choices_.LeavesOut(line.place.line))
                columns.AddRow(line.cells);
        }
        return columns;
    }

    void OpenTable(const Header& header, const NumberFormat& format) {
        DelimitedLayout layout;
        layout.separator = head_.separator;
        layout.quote = plan_.quote;
        layout.width = table_.width;
        layout.kinds = table_.kinds;
        layout.header = header.lines;
        layout.timeColumns = plan_.reading.time.columns;
        layout.firstRow = head_.lines[table_.firstRow].place;
        for (const std::size_t column : layout.timeColumns)
            layout.kinds[column] = plan_.reading.time.isNumber ? CellKind::number : layout.kinds[column];
        plan_.reading.open = [layout, rules = draft_.RulesOfCells(format), leaveOut = choices_.leaveOut](
                                 const TextFile& file, bool exact) {
            CellRules own = rules;
            own.exact = exact;
            return std::make_unique<DelimitedRows>(file, layout, std::move(own), leaveOut);
        };
    }

    PlanDraft& draft_;
    ImportPlan& plan_;
    const Choices& choices_;
    SeparatedHead head_;
    TableShape table_;
};

}  // namespace

bool PlanTable(PlanDraft& draft) {
    return TablePlanner(draft).Run();
}

}  // namespace dravik
