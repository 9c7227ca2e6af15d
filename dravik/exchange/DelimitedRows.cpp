#include "dravik/exchange/DelimitedRows.h"

#include <algorithm>
#include <iterator>

namespace dravik {
namespace {

std::string LineText(std::size_t line) {
    return "line " + std::to_string(line);
}

/// A kind that a row's column has and a cell contradicts.
bool Contradicts(CellKind column, CellState state, std::string_view cell) {
    if (state != CellState::other || column == CellKind::text)
        return false;
    return KindOfCell(cell) == CellKind::text || column == CellKind::number;
}

PlainLayout PlainLayoutOf(const DelimitedLayout& layout) {
    PlainLayout plain;
    plain.separator = layout.separator;
    plain.quote = layout.quote;
    for (const CellKind kind : layout.kinds)
        plain.columns.push_back(kind == CellKind::number ? PlainKind::number
                                : IsTime(kind)           ? PlainKind::stamp
                                                         : PlainKind::any);
    return plain;
}

}  // namespace

DelimitedRows::DelimitedRows(const TextFile& file, DelimitedLayout layout, CellRules rules,
                             std::vector<LineRange> leaveOut)
    : file_(file),
      layout_(std::move(layout)),
      rules_(std::move(rules)),
      leaveOut_(std::move(leaveOut)),
      records_(file, layout_.separator, layout_.quote),
      stepper_(file, records_.Lines(), PlainLayoutOf(layout_), rules_) {
    records_.Seek(layout_.firstRow);
    const auto isNumber = [&](std::size_t column) { return layout_.kinds[column] == CellKind::number; };
    for (std::size_t column = 0; column < layout_.width; ++column) {
        if (isNumber(column))
            numbers_.push_back(column);
    }
    std::copy_if(layout_.timeColumns.begin(), layout_.timeColumns.end(), std::back_inserter(numberTimes_),
                 isNumber);
}

void DelimitedRows::Seek(const Place& place) {
    records_.Seek(place);
    stepper_.Forget();
}

/// A row that needs no judging: every column of a kind holds that kind or nothing, all times are there.
bool DelimitedRows::NextPlain(Row& row) {
    if (!leaveOut_.empty() || !strange_.empty() || extraFrom_ != 0 ||
        !stepper_.Next(row, [&](const Row& read) { return HasNumbersAtTimes(read); }))
        return false;
    KeepLength(stepper_.LastCellBytes());
    return true;
}

/// Times among the numbers are there; else any number is.
bool DelimitedRows::HasNumbersAtTimes(const Row& row) const {
    const auto isNumber = [&](std::size_t column) { return row.states[column] == CellState::number; };
    return numberTimes_.empty() ? std::any_of(numbers_.begin(), numbers_.end(), isNumber)
                                : std::all_of(numberTimes_.begin(), numberTimes_.end(), isNumber);
}

void DelimitedRows::KeepLength(std::size_t bytes) {
    lastLengths_[nextLength_] = bytes;
    nextLength_ = nextLength_ + 1 == lastLengths_.size() ? 0 : nextLength_ + 1;
    ++lengthsSeen_;
}

bool DelimitedRows::Next(Row& row) {
    if (NextPlain(row))
        return true;
    stepper_.ReleaseLines();
    Record record;
    while (records_.Next(record)) {
        if (record.IsBlank())
            continue;
        if (IsLeftOutByUser(record.place.line)) {
            LeaveOut("as asked for", record.place.line);
            continue;
        }
        if (Judge(record, row) != Verdict::row || IsRepeated(record))
            continue;
        CloseStrange();
        return true;
    }
    CloseStrangeAtEnd();
    CloseExtraCells();
    return false;
}

bool DelimitedRows::IsLeftOutByUser(std::size_t line) const {
    return std::any_of(leaveOut_.begin(), leaveOut_.end(),
                       [&](const LineRange& range) { return line >= range.first && line <= range.last; });
}

DelimitedRows::Verdict DelimitedRows::Judge(const Record& record, Row& row) {
    row.place = record.place;
    row.cells = &records_.Cells();
    const bool fits = FitsOrExceeds(record);
    ReadCells(rules_, layout_.width, row);  // why a line is no row is told from its own cells
    if (fits) {
        if (HoldsRow(row) && HasTime(row)) {
            if (!IsCut(record)) {
                KeepLength(row.cells->back().size());
                return Verdict::row;
            }
            LeaveOut("cut row at the end", record.place.line);
            return Verdict::leftOut;
        }
    }
    return JudgeOther(record, row);
}

DelimitedRows::Verdict DelimitedRows::JudgeOther(const Record& record, const Row& row) {
    const std::vector<std::string_view>& cells = *row.cells;
    const auto filled = std::find_if(cells.begin(), cells.end(), [](auto cell) { return !cell.empty(); });
    if (filled != cells.end() && BehindCommentMark(*filled)) {
        LeaveOut("comment", record.place.line);
        return Verdict::leftOut;
    }
    if (IsHeaderAgain()) {
        LeaveOut("header again", record.place.line);
        return Verdict::leftOut;
    }
    const bool hasValue = std::any_of(cells.begin(), cells.end(), [&](std::string_view cell) {
        double value = 0.0;
        if (rules_.Read(cell, 0, value) == CellState::number)
            return true;
        const CellKind kind = KindOfCell(cell);
        return kind == CellKind::number || IsTime(kind);
    });
    if (!hasValue) {
        LeaveOut("line without number, date and clock", record.place.line);
        return Verdict::leftOut;
    }
    const bool fits = FitsWidth(cells.size(), cells.back().empty(), layout_.width, layout_.separator);
    Strange strange{record.place.line, {}, !HasTime(row), !fits && cells.size() < layout_.width};
    const std::optional<std::size_t> contradicting = fits ? ContradictingColumn(row) : std::nullopt;
    const bool mayBeNull = contradicting && layout_.kinds[*contradicting] == CellKind::number &&
                           row.Cell(*contradicting).find_first_of(" ,\"'") == std::string_view::npos;
    strange.problem = LineText(strange.line) + ": " + WhyStrange(row, contradicting) + " (" +
                      (mayBeNull ? "--null " + std::string(row.Cell(*contradicting)) + ", or " : "") +
                      "--leave-out " + std::to_string(strange.line) + ")";
    strange_.push_back(std::move(strange));
    return Verdict::strange;
}

/// Rows may have an empty last cell more or less, and, from some line to the end, cells beyond the table's.
bool DelimitedRows::FitsOrExceeds(const Record& record) {
    const std::vector<std::string_view>& cells = records_.Cells();
    const bool exceeds = cells.size() > layout_.width + (cells.back().empty() ? 1 : 0);
    if (exceeds && layout_.separator != ' ' && lengthsSeen_ > 0) {
        if (extraFrom_ == 0)
            extraFrom_ = record.place.line;
        ++extraRows_;
        return true;
    }
    if (!FitsWidth(cells.size(), cells.back().empty(), layout_.width, layout_.separator))
        return false;
    if (extraFrom_ != 0)
        CloseExtraCells();
    return true;
}

void DelimitedRows::CloseExtraCells() {
    if (extraFrom_ == 0)
        return;
    if (IsLast() && extraRows_ >= 3) {
        notes_.push_back("cells beyond the table's columns left out from line " + std::to_string(extraFrom_) +
                         " on");
        return;
    }
    AddProblem(LineText(extraFrom_) + ": more than " + std::to_string(layout_.width) +
               " cells (--leave-out " + std::to_string(extraFrom_) + ")");
    extraFrom_ = 0;
    extraRows_ = 0;
}

/// Something in the columns that have a kind, no text there (of ten or more such columns: in one of ten).
bool DelimitedRows::HoldsRow(const Row& row) const {
    std::size_t typed = 0;
    std::size_t texts = 0;
    bool filled = false;
    for (std::size_t i = 0; i < layout_.width; ++i) {
        if (layout_.kinds[i] == CellKind::text)
            continue;
        ++typed;
        texts += Contradicts(layout_.kinds[i], row.states[i], row.Cell(i)) ? 1 : 0;
        filled = filled || row.states[i] != CellState::null;
    }
    return filled && (texts == 0 || (typed >= 10 && texts * 10 <= typed));
}

bool DelimitedRows::HasTime(const Row& row) const {
    return std::all_of(layout_.timeColumns.begin(), layout_.timeColumns.end(), [&](std::size_t column) {
        if (layout_.kinds[column] == CellKind::number)
            return row.states[column] == CellState::number;
        const std::string_view cell = row.Cell(column);
        const CellKind kind = layout_.kinds[column] == CellKind::text ? CellKind::number : KindOfCell(cell);
        return kind != CellKind::null && (kind != CellKind::text || layout_.kinds[column] == CellKind::text);
    });
}

/// A row that the logger, or the copying, did not finish: too few cells, or no line end and a last cell
/// shorter than those before.
bool DelimitedRows::IsCut(const Record& record) const {
    if (!IsLast())
        return false;
    const std::size_t cells = records_.Cells().size();
    if (cells < layout_.width && shortRows_ == 0)
        return true;
    const std::size_t known = std::min(lengthsSeen_, lastLengths_.size());
    if (record.ended || known == 0)
        return false;
    return records_.Cells().back().size() <
           *std::min_element(lastLengths_.begin(), lastLengths_.begin() + static_cast<std::ptrdiff_t>(known));
}

/// A row equal to the one before counts once.
bool DelimitedRows::IsRepeated(const Record& record) {
    if (stepper_.IsRepeated(record.text)) {
        LeaveOut("row equal to the one before", record.place.line);
        return true;
    }
    shortRows_ += records_.Cells().size() < layout_.width ? 1 : 0;
    return false;
}

bool DelimitedRows::IsHeaderAgain() const {
    return std::any_of(
        layout_.header.begin(), layout_.header.end(), [&](const std::vector<std::string>& line) {
            return std::equal(line.begin(), line.end(), records_.Cells().begin(), records_.Cells().end());
        });
}

/// The first column whose kind the row's cell contradicts.
std::optional<std::size_t> DelimitedRows::ContradictingColumn(const Row& row) const {
    for (std::size_t i = 0; i < layout_.width; ++i) {
        if (Contradicts(layout_.kinds[i], row.states[i], row.Cell(i)))
            return i;
    }
    return std::nullopt;
}

std::string DelimitedRows::WhyStrange(const Row& row, std::optional<std::size_t> contradicting) const {
    const std::vector<std::string_view>& cells = *row.cells;
    if (!FitsWidth(cells.size(), cells.back().empty(), layout_.width, layout_.separator))
        return std::to_string(cells.size()) + (cells.size() == 1 ? " cell" : " cells") +
               " where there should be " + std::to_string(layout_.width);
    if (contradicting)
        return QuotedCell(row.Cell(*contradicting)) + " in column " + std::to_string(*contradicting + 1) +
               " is " + (layout_.kinds[*contradicting] == CellKind::number ? "no number" : "no time");
    if (!HasTime(row))
        return "the time cell is empty";
    return "no value in the columns of numbers";
}

/// A row follows: the lines held back stand in the middle of the table.
void DelimitedRows::CloseStrange() {
    for (Strange& strange : strange_)
        AddProblem(std::move(strange.problem));
    strange_.clear();
}

void DelimitedRows::CloseStrangeAtEnd() {
    for (std::size_t i = 0; i < strange_.size(); ++i) {
        Strange& strange = strange_[i];
        const bool last = i + 1 == strange_.size();
        if (strange.withoutTime)
            LeaveOut("line without time at the end", strange.line);
        else if (last && strange.tooShort)
            LeaveOut("cut row at the end", strange.line);
        else
            AddProblem(std::move(strange.problem));
    }
    strange_.clear();
}

}  // namespace dravik
