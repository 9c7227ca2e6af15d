#include "dravik/exchange/PlainRows.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "dravik/exchange/Cells.h"

namespace dravik {
namespace {

constexpr std::ptrdiff_t exactDigits = 15;

inline bool IsDigit(char c) {
    return static_cast<unsigned char>(c - '0') <= 9;
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

bool PlainRows::Scan(std::string_view text, Row& row, std::size_t& length) {
    if (!usable_ || text.empty())
        return false;
    // The loops below stop at a line end: there must be one, and something behind it.
    const void* end = std::memchr(text.data(), layout_.lineEnd, text.size());
    if (end == nullptr || end == text.data() + text.size() - 1)
        return false;
    const std::size_t columns = layout_.columns.size();
    row.states.resize(columns);
    row.values.resize(columns);
    at_ = text.data();
    for (std::size_t column = 0; column < columns; ++column) {
        SkipBlanks();
        const PlainKind kind = layout_.columns[column];
        const bool read = kind == PlainKind::number  ? ScanNumber(column, row)
                          : kind == PlainKind::stamp ? ScanStamp(column, row)
                                                     : ScanAny(column, row);
        if (!read || !(column + 1 < columns ? EndCell() : EndRow(column)))
            return false;
    }
    rowBytes_ = static_cast<std::size_t>(static_cast<const char*>(end) - text.data());
    if (at_ != end)
        return false;
    length = rowBytes_ + 1;
    row.cells = &cells_;
    row.isExact = true;
    return true;
}

/// Sign, digits, one decimal sign, up to 15 digits: over a power of ten that is exact too, one division gives
/// the very double that from_chars gives. An empty cell is a missing value.
bool PlainRows::ScanNumber(std::size_t column, Row& row) {
    const char* const begin = at_;
    const char* at = at_;
    const bool negative = *at == '-';
    at += negative ? 1 : 0;
    const char* const first = at;
    std::uint64_t digits = 0;
    for (; IsDigit(*at); ++at)
        digits = digits * 10 + static_cast<unsigned char>(*at - '0');
    std::ptrdiff_t count = at - first;
    std::ptrdiff_t decimals = 0;
    if (*at == decimal_) {
        const char* const behind = ++at;
        for (; IsDigit(*at); ++at)
            digits = digits * 10 + static_cast<unsigned char>(*at - '0');
        decimals = at - behind;
        count += decimals;
    }
    at_ = at;
    cells_[column] = {begin, static_cast<std::size_t>(at - begin)};
    if (count == 0) {
        row.states[column] = CellState::null;
        row.values[column] = 0.0;
        return at == begin && layout_.separator != ' ';
    }
    if (count > exactDigits)
        return false;
    double value = static_cast<double>(static_cast<std::int64_t>(digits));
    if (decimals > 0)
        value /= powersOfTen[static_cast<std::size_t>(decimals)];
    value = negative ? -value : value;
    row.values[column] = value;
    row.states[column] = hasNull_ && rules_.IsNullNumber(value, column) ? CellState::null : CellState::number;
    return !exact_ || !IsMidwayBetweenSingles(value);
}

/// The text up to a separator or the line's end.
std::string_view PlainRows::TakeCell() {
    const char* const begin = at_;
    const bool blanks = layout_.separator == ' ';
    while (*at_ != layout_.separator && *at_ != layout_.lineEnd && !(blanks && *at_ == '\t'))
        ++at_;
    std::string_view cell(begin, static_cast<std::size_t>(at_ - begin));
    if (!cell.empty() && cell.back() == '\r')
        cell.remove_suffix(1);
    at_ = begin + cell.size();
    return TrimmedCell(cell);
}

bool PlainRows::ScanStamp(std::size_t column, Row& row) {
    const std::string_view cell = TakeCell();
    cells_[column] = cell;
    row.states[column] = CellState::other;
    row.values[column] = 0.0;
    Stamp stamp;
    return !cell.empty() && cell.front() != layout_.quote && stamps_[column].Parse(cell, stamp);
}

bool PlainRows::ScanAny(std::size_t column, Row& row) {
    const std::string_view cell = TakeCell();
    cells_[column] = cell;
    const auto isForeign = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    if (!cell.empty() && (cell.front() == layout_.quote || cell.find('\r') != std::string_view::npos))
        return false;
    if (asciiOnly_ && std::any_of(cell.begin(), cell.end(), isForeign))
        return false;
    row.states[column] = rules_.Read(cell, column, row.values[column]);
    return row.states[column] != CellState::number || !rules_.exact;
}

bool PlainRows::EndCell() {
    if (layout_.separator == ' ') {
        const char* const before = at_;
        SkipBlanks();
        return at_ != before;
    }
    SkipBlanks();
    return *at_++ == layout_.separator;
}

bool PlainRows::EndRow(std::size_t column) {
    lastCellBytes_ = cells_[column].size();
    SkipBlanks();
    if (*at_ == layout_.separator && layout_.separator != ' ') {
        ++at_;
        lastCellBytes_ = 0;
    }
    at_ += *at_ == '\r' ? 1 : 0;
    return *at_ == layout_.lineEnd;
}

}  // namespace dravik
