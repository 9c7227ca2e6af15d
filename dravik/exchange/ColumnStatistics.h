// What one column of a file holds, row by row.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "dravik/exchange/RowReader.h"

namespace dravik {

class ColumnStatistics {
  public:
    void Add(CellState state, double value, std::string_view cell, std::size_t line) {
        // Nines are 999 at the least: nearly every number is neither these nor beyond single precision.
        if (state == CellState::number && (std::abs(value) < 998.0 || IsCommon(value, cell)))
            AddNumber(value);
        else
            AddOdd(state, value, cell, line);
    }

    std::size_t Numbers() const { return numbers_; }
    std::size_t Nulls() const { return nulls_; }
    std::size_t Texts() const { return texts_; }
    double Least() const { return numbers_ > nines_ ? least_ : 0.0; }
    double Greatest() const { return numbers_ > nines_ ? greatest_ : 0.0; }
    /// Nine of ten cells that are not null are numbers.
    bool IsNumber() const { return numbers_ > 0 && numbers_ * 10 >= (numbers_ + texts_) * 9; }
    bool IsEmpty() const { return numbers_ + texts_ == 0; }
    /// At most four different whole numbers: a code, between whose values none lies.
    bool IsCode() const { return couldBeCode_ && numbers_ > 0; }
    /// The one text of the column, where all its cells are the same; empty otherwise.
    const std::string& OnlyText() const { return onlyText_; }

    struct Odd {
        std::size_t line = 0;
        std::string cell;
    };
    const std::optional<Odd>& FirstText() const { return firstText_; }
    const std::optional<Odd>& BeyondSingle() const { return beyond_; }
    /// A number of nines far off the others that may stand for "no value"; how often.
    const std::optional<Odd>& SuspectedNull() const;
    std::size_t SuspectedNulls() const { return nines_; }

  private:
    /// What rounds to no single.
    static constexpr double tooLarge = 0x1.ffffffp127;

    static bool IsCommon(double value, std::string_view cell) {
        const bool isSigned = cell.front() == '-' || cell.front() == '+';
        return std::abs(value) < tooLarge && cell[isSigned && cell.size() > 1 ? 1 : 0] != '9';
    }
    void AddNumber(double value) {
        least_ = std::min(least_, value);
        greatest_ = std::max(greatest_, value);
        ++numbers_;
        if (couldBeCode_)
            TrackCode(value);
    }
    void AddOdd(CellState state, double value, std::string_view cell, std::size_t line);
    void AddNines(double value, std::string_view cell, std::size_t line);
    void TrackCode(double value);

    std::size_t numbers_ = 0;
    std::size_t nulls_ = 0;
    std::size_t texts_ = 0;
    double least_ = std::numeric_limits<double>::infinity();  ///< of the numbers but nines
    double greatest_ = -std::numeric_limits<double>::infinity();
    bool couldBeCode_ = true;
    std::array<double, 4> codes_{};
    std::size_t codeCount_ = 0;
    std::optional<Odd> firstText_;
    std::optional<Odd> beyond_;
    std::string onlyText_;
    // numbers of nines, kept apart from the others' range
    std::size_t nines_ = 0;
    std::optional<Odd> firstNines_;
    double ninesLeast_ = 0.0;
    double ninesGreatest_ = 0.0;
};

}  // namespace dravik
