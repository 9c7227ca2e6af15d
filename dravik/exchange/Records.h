// A delimited file record by record: lines, or several where a quoted cell holds line ends.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/TextFile.h"

namespace dravik {

inline constexpr std::size_t mostCells = 4096;

/// Trimmed cells of one record; they stay valid until the next Split.
class CellSplitter {
  public:
    /// Separator: the character, or a blank for any run of blanks and tabs. `quote`: NUL for none.
    CellSplitter(char separator, char quote) : separator_(separator), quote_(quote) {}

    /// False when a quoted cell is not closed; the cells then mean nothing. With `quotesCount` false quotes
    /// are characters like others. Beyond mostCells the rest is one more cell.
    bool Split(std::string_view text, bool quotesCount);

    const std::vector<std::string_view>& Cells() const { return cells_; }
    bool AnyQuoted() const { return anyQuoted_; }
    bool IsQuoted(std::size_t cell) const { return anyQuoted_ && quoted_[cell] != 0; }

  private:
    void SplitPlain(std::string_view text);
    void SplitBlanks(std::string_view text);
    bool SplitQuoted(std::string_view text);
    bool TakeQuoted(std::string_view text, std::size_t& at);
    std::size_t CellEnd(std::string_view text, std::size_t from) const;
    bool IsBlank(char c) const { return c == ' ' || (c == '\t' && separator_ != '\t'); }
    void Add(std::string_view cell, bool quoted);

    char separator_;
    char quote_;
    bool anyQuoted_ = false;
    std::vector<std::string_view> cells_;
    std::vector<std::uint8_t> quoted_;
    std::deque<std::string> unescaped_;
};

struct Record {
    Place place;            ///< of its first line
    std::size_t lines = 1;  ///< that it takes
    std::string_view text;  ///< without the last line end
    bool ended = true;      ///< by a line end
    bool IsBlank() const { return text.find_first_not_of(" \t") == std::string_view::npos; }
};

/// Reads records; cells are the splitter's.
class RecordReader {
  public:
    RecordReader(const TextFile& file, char separator, char quote)
        : reader_(file), splitter_(separator, quote) {}
    bool Next(Record& record);
    const CellSplitter& Split() const { return splitter_; }
    const std::vector<std::string_view>& Cells() const { return splitter_.Cells(); }
    Place Here() const { return reader_.Here(); }
    void Seek(const Place& place) { reader_.Seek(place); }
    /// Between two records they may be read otherwise.
    LineReader& Lines() { return reader_; }

  private:
    void JoinLines(Record& record);

    LineReader reader_;
    CellSplitter splitter_;
    std::string joined_;
};

}  // namespace dravik
