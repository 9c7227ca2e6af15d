#include "dravik/exchange/ColumnStatistics.h"

#include <algorithm>
#include <cmath>

namespace dravik {
namespace {

/// 999, -9999, 999.25, -999.99, 9999.0 ...
bool IsNines(std::string_view cell) {
    if (!cell.empty() && (cell.front() == '-' || cell.front() == '+'))
        cell.remove_prefix(1);
    const std::size_t nines = std::min(cell.find_first_not_of('9'), cell.size());
    if (nines < 3)
        return false;
    const std::string_view rest = cell.substr(nines);
    if (rest.empty())
        return true;
    if (rest.front() != '.' && rest.front() != ',')
        return false;
    const std::string_view decimals = rest.substr(1);
    return decimals == "25" || decimals.find_first_not_of('9') == std::string_view::npos ||
           decimals.find_first_not_of('0') == std::string_view::npos ||
           (decimals.starts_with("25") && decimals.find_first_not_of('0', 2) == std::string_view::npos);
}

}  // namespace

void ColumnStatistics::AddOdd(CellState state, double value, std::string_view cell, std::size_t line) {
    if (state == CellState::number && std::abs(value) >= tooLarge) {
        if (!beyond_)
            beyond_ = Odd{line, std::string(cell)};
    } else if (state == CellState::number && IsNines(cell)) {
        AddNines(value, cell, line);
    } else if (state == CellState::number) {
        AddNumber(value);
    } else if (state == CellState::null) {
        ++nulls_;
    } else if (texts_++ == 0) {
        firstText_ = Odd{line, std::string(cell)};
        onlyText_ = cell;
    } else if (onlyText_ != cell) {
        onlyText_.clear();
    }
}

void ColumnStatistics::AddNines(double value, std::string_view cell, std::size_t line) {
    if (nines_++ == 0) {
        firstNines_ = Odd{line, std::string(cell)};
        ninesLeast_ = value;
        ninesGreatest_ = value;
    }
    ninesLeast_ = std::min(ninesLeast_, value);
    ninesGreatest_ = std::max(ninesGreatest_, value);
    ++numbers_;
    if (couldBeCode_)
        TrackCode(value);
}

void ColumnStatistics::TrackCode(double value) {
    const auto end = codes_.begin() + static_cast<std::ptrdiff_t>(codeCount_);
    if (std::find(codes_.begin(), end, value) != end)
        return;
    if (codeCount_ == codes_.size() || value != std::floor(value))
        couldBeCode_ = false;
    else
        codes_[codeCount_++] = value;
}

const std::optional<ColumnStatistics::Odd>& ColumnStatistics::SuspectedNull() const {
    static const std::optional<Odd> none;
    if (nines_ == 0 || nines_ == numbers_)
        return none;
    const double width = greatest_ - least_;
    const bool off = ninesGreatest_ < least_ - 3.0 * width || ninesLeast_ > greatest_ + 3.0 * width;
    return off ? firstNines_ : none;
}

}  // namespace dravik
