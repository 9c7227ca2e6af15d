#include "dravik/exchange/PlainRows.h"

#include <algorithm>

#include "dravik/exchange/Cells.h"

namespace dravik {
namespace {

constexpr std::ptrdiff_t exactDigits = 15;

inline bool IsDigit(char c) {
    return static_cast<unsigned char>(c - '0') <= 9;
}

/// Appends the digits from `at` on to `number` and tells where they end.
inline const char* TakeDigits(const char* at, std::uint64_t& number) {
    for (;; ++at) {
        const unsigned digit = static_cast<unsigned>(static_cast<unsigned char>(*at)) - '0';
        if (digit > 9)
            return at;
        number = number * 10 + digit;
    }
}

}  // namespace

PlainRows::PlainRows(const TextFile& file, PlainLayout layout, const CellRules& rules)
    : layout_(std::move(layout)),
      rules_(rules),
      decimal_(rules.format.decimal),
      hasNull_(rules.hasNullNumber),
      exact_(rules.exact),
      asciiOnly_(!file.TextEncoding().IsUtf8()),
      stamps_(layout_.columns.size()),
      cells_(layout_.columns.size()) {
    layout_.lineEnd = file.LineEnd();
    const std::string& name = file.TextEncoding().name;
    const bool bytesAreText = file.TextEncoding().IsUtf8() || name == "WINDOWS-1252";
    usable_ = bytesAreText && rules.nulls.empty() && layout_.separator != rules.format.decimal &&
              layout_.separator != layout_.lineEnd && layout_.separator != '-' && !IsDigit(layout_.separator);
}

bool PlainRows::Scan(std::string_view text, Row& row) {
    if (!usable_ || text.empty())
        return false;
    const std::size_t columns = layout_.columns.size();
    if (row.states.size() != columns || row.values.size() != columns) {
        row.states.resize(columns);
        row.values.resize(columns);
    }
    // The loops below stop at the line end, which is there.
    const char* at = text.data();
    for (std::size_t column = 0; column < columns; ++column) {
        at = ScanCell(SkipBlanks(at), column, row);
        if (at == nullptr)
            return false;
        at = column + 1 < columns ? EndCell(at) : EndRow(at);
        if (at == nullptr)
            return false;
    }
    rowBytes_ = static_cast<std::size_t>(at - text.data());
    lineBytes_ = rowBytes_ + (*at == '\r' && layout_.lineEnd != '\r' ? 2 : 1);
    row.cells = &cells_;
    row.isExact = true;
    return true;
}

[[gnu::always_inline]] inline const char* PlainRows::ScanCell(const char* at, std::size_t column, Row& row) {
    switch (layout_.columns[column]) {
        case PlainKind::number:
            return ScanNumber(at, column, row);
        case PlainKind::stamp:
            return ScanStamp(at, column, row);
        default:
            return ScanAny(at, column, row);
    }
}

/// Sign, digits, one decimal sign, up to 15 digits: over a power of ten that is exact too, one division gives
/// the very double that from_chars gives. An empty cell is a missing value.
[[gnu::always_inline]] inline const char* PlainRows::ScanNumber(const char* const begin, std::size_t column,
                                                                Row& row) {
    const bool negative = *begin == '-';
    const char* const first = begin + (negative ? 1 : 0);
    std::uint64_t digits = 0;
    const char* at = TakeDigits(first, digits);
    std::ptrdiff_t count = at - first;
    std::ptrdiff_t decimals = 0;
    if (*at == decimal_) {
        const char* const behind = at + 1;
        at = TakeDigits(behind, digits);
        decimals = at - behind;
        count += decimals;
    }
    cells_[column] = {begin, static_cast<std::size_t>(at - begin)};
    if (count == 0) {
        row.states[column] = CellState::null;
        row.values[column] = 0.0;
        return at == begin && layout_.separator != ' ' ? at : nullptr;
    }
    if (count > exactDigits)
        return nullptr;
    const double size = static_cast<double>(static_cast<std::int64_t>(digits)) /
                        powersOfTen[static_cast<std::size_t>(decimals)];
    const double value = negative ? -size : size;
    row.values[column] = value;
    row.states[column] = hasNull_ && rules_.IsNullNumber(value, column) ? CellState::null : CellState::number;
    return exact_ && IsMidwayBetweenSingles(value) ? nullptr : at;
}

/// The text up to a separator or the line's end is the column's cell.
const char* PlainRows::TakeCell(const char* at, std::size_t column) {
    const char* const begin = at;
    const bool blanks = layout_.separator == ' ';
    while (*at != layout_.separator && *at != layout_.lineEnd && !(blanks && *at == '\t'))
        ++at;
    std::string_view cell(begin, static_cast<std::size_t>(at - begin));
    if (!cell.empty() && cell.back() == '\r')
        cell.remove_suffix(1);
    cells_[column] = TrimmedCell(cell);
    return begin + cell.size();
}

const char* PlainRows::ScanStamp(const char* at, std::size_t column, Row& row) {
    at = TakeCell(at, column);
    const std::string_view cell = cells_[column];
    row.states[column] = CellState::other;
    row.values[column] = 0.0;
    Stamp stamp;
    const bool read = !cell.empty() && cell.front() != layout_.quote && stamps_[column].Parse(cell, stamp);
    return read ? at : nullptr;
}

const char* PlainRows::ScanAny(const char* at, std::size_t column, Row& row) {
    at = TakeCell(at, column);
    const std::string_view cell = cells_[column];
    const auto isForeign = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    if (!cell.empty() && (cell.front() == layout_.quote || cell.find('\r') != std::string_view::npos))
        return nullptr;
    if (asciiOnly_ && std::any_of(cell.begin(), cell.end(), isForeign))
        return nullptr;
    row.states[column] = rules_.Read(cell, column, row.values[column]);
    return row.states[column] != CellState::number || !rules_.exact ? at : nullptr;
}

[[gnu::always_inline]] inline const char* PlainRows::EndCell(const char* at) const {
    const char* const before = at;
    if (*at == layout_.separator && *at != ' ')
        return at + 1;
    at = SkipBlanks(at);
    if (layout_.separator == ' ')
        return at != before ? at : nullptr;
    return *at == layout_.separator ? at + 1 : nullptr;
}

/// At the end of the line, before a CR that belongs to it.
inline const char* PlainRows::EndRow(const char* at) {
    lastCellBytes_ = cells_.back().size();
    at = SkipBlanks(at);
    if (*at == layout_.separator && layout_.separator != ' ') {
        ++at;
        lastCellBytes_ = 0;
    }
    const bool carriageReturn = layout_.lineEnd != '\r' && *at == '\r';
    return at[carriageReturn ? 1 : 0] == layout_.lineEnd ? at : nullptr;
}

}  // namespace dravik
