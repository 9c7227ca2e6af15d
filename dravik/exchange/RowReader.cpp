#include "dravik/exchange/RowReader.h"

#include <algorithm>

#include "dravik/exchange/Cells.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr std::size_t mostProblems = 3;

}  // namespace

CellState CellRules::Read(std::string_view cell, std::size_t column, double& value) const {
    value = 0.0;
    if (cell.empty())
        return CellState::null;
    const bool isNumber = exact ? ReadSingle(cell, format, value) : ScanNumber(cell, format, value);
    if (isNumber && nulls.empty() && !hasNullNumber)
        return CellState::number;
    for (const std::string& null : nulls) {
        if (vorela::EqualIgnoringCase(null, cell))
            return CellState::null;
    }
    if (!isNumber)
        return IsNullText(cell) ? CellState::null : CellState::other;
    return IsNullNumber(value, column) ? CellState::null : CellState::number;
}

void ReadCells(const CellRules& rules, std::size_t columns, Row& row) {
    row.isExact = false;
    row.states.resize(columns);
    row.values.resize(columns);
    for (std::size_t i = 0; i < columns; ++i)
        row.states[i] = rules.Read(row.Cell(i), i, row.values[i]);
}

std::size_t RowReader::RowsLeftOut() const {
    std::size_t count = 0;
    for (const LeftOut& lines : leftOut_)
        count += lines.count;
    return count;
}

void RowReader::LeaveOut(const std::string& what, std::size_t line) {
    const auto found =
        std::find_if(leftOut_.begin(), leftOut_.end(), [&](const LeftOut& l) { return l.what == what; });
    if (found == leftOut_.end())
        leftOut_.push_back({what, 1, line});
    else
        ++found->count;
}

void RowReader::AddProblem(std::string problem) {
    if (problems_.size() < mostProblems)
        problems_.push_back(std::move(problem));
}

}  // namespace dravik
