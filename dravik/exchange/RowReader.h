// The rows of a table, whatever the file's format.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/Numbers.h"
#include "dravik/exchange/TextFile.h"

namespace dravik {

enum class CellState : std::uint8_t { null, number, other };

struct Row {
    Place place;
    /// May be fewer than columns; valid until the next row.
    const std::vector<std::string_view>* cells = nullptr;
    std::vector<CellState> states;  ///< one a column
    std::vector<double> values;  ///< one a column: infinite beyond single precision; 0 where it is no number
    bool isExact = false;        ///< the values are those of ReadNumber

    std::string_view Cell(std::size_t column) const {
        return column < cells->size() ? (*cells)[column] : std::string_view();
    }
    std::size_t Line() const { return place.line; }
};

/// How the cells of every row are read.
struct CellRules {
    NumberFormat format;
    std::vector<std::string> nulls;  ///< further texts that mean "no value"
    bool exact = false;              ///< values are to be stored, not only looked at
    bool hasNullNumber = false;
    double nullNumber = 0.0;                                 ///< of a LAS file
    std::size_t indexColumn = static_cast<std::size_t>(-1);  ///< to which the null number does not apply

    CellState Read(std::string_view cell, std::size_t column, double& value) const;
    bool IsNullNumber(double value, std::size_t column) const {
        return hasNullNumber && column != indexColumn &&
               std::abs(value - nullNumber) <= std::abs(nullNumber) * 1e-7;
    }
};

/// Lines that hold no sample.
struct LeftOut {
    std::string what;  ///< "comment", "header again" ...
    std::size_t count = 0;
    std::size_t firstLine = 0;
};

/// Fills states and values from cells.
void ReadCells(const CellRules& rules, std::size_t columns, Row& row);

class RowReader {
  public:
    virtual ~RowReader() = default;
    /// The next row of samples. What is left out and what forbids the import is kept.
    virtual bool Next(Row& row) = 0;
    /// To a place that a row has told.
    virtual void Seek(const Place& place) = 0;
    virtual Place Here() const = 0;

    const std::vector<LeftOut>& LinesLeftOut() const { return leftOut_; }
    const std::vector<std::string>& Problems() const { return problems_; }
    const std::vector<std::string>& Notes() const { return notes_; }
    std::size_t RowsLeftOut() const;

  protected:
    void LeaveOut(const std::string& what, std::size_t line);
    /// Only the first few are kept; the rest would say the same.
    void AddProblem(std::string problem);

    std::vector<LeftOut> leftOut_;
    std::vector<std::string> problems_;
    std::vector<std::string> notes_;
};

}  // namespace dravik
