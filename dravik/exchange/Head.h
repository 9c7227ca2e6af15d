// The head of a delimited file cut into cells, and what its shape tells: separator, decimal sign, where the
// table begins.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/Choices.h"
#include "dravik/exchange/Numbers.h"
#include "dravik/exchange/Records.h"

namespace dravik {

struct HeadLine {
    Place place;
    std::vector<std::string> cells;  ///< of a comment: behind its mark
    std::vector<bool> quoted;        ///< empty: none of them
    std::vector<CellKind> kinds;
    std::string text;
    bool isComment = false;

    bool IsBlank() const { return cells.empty(); }
    bool IsQuoted(std::size_t column) const { return column < quoted.size() && quoted[column]; }
    CellKind KindAt(std::size_t column) const {
        return column < kinds.size() ? kinds[column] : CellKind::null;
    }
};

/// The line's text without a mark of comments in front; nothing when it begins with none.
std::optional<std::string_view> BehindCommentMark(std::string_view text);

/// One empty last cell more or less is no difference (between blanks there are no empty cells).
bool FitsWidth(std::size_t cells, bool lastIsEmpty, std::size_t width, char separator);
bool FitsWidth(const HeadLine& line, std::size_t width, char separator);

/// The head under the separator that explains it best.
struct SeparatedHead {
    char separator = ',';
    std::size_t width = 0;           ///< 0: no separator makes a table
    bool blanksExplainMore = false;  ///< commas were preferred to blanks that leave less text
    std::vector<HeadLine> lines;
};
/// The separator is the user's choice; otherwise a line "sep=;" or the best score of tab ; , | and blanks.
/// Throws ExchangeError for lines of more cells than a table may have.
SeparatedHead SeparateHead(const TextFile& file, const Choices& choices, char quote);

/// What the cells prove about the decimal sign.
struct DecimalFinding {
    NumberFormat format;
    bool guessed = false;   ///< only cells like 1,234: taken for decimals between semicolons
    std::string undecided;  ///< such a cell where nothing decides
    std::size_t line = 0;   ///< of that cell
};
DecimalFinding FindDecimalSign(const SeparatedHead& head, std::optional<char> decimal);

/// Kinds of the columns and the first row of the table.
struct TableShape {
    std::size_t width = 0;
    std::vector<CellKind> kinds;  ///< text: of no kind
    std::size_t firstRow = 0;     ///< place among the head's lines; their number when there is no table
};
TableShape FindTable(const SeparatedHead& head);

/// Whether cells of these kinds can be a row: something in the columns that have a kind, no text there (of
/// ten or more such columns, text in one of ten).
bool CouldBeRow(const std::vector<CellKind>& cells, const std::vector<CellKind>& columns);

}  // namespace dravik
