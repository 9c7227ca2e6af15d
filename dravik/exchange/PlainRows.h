// Rows as nearly all are, numbers and times in the expected columns and nothing else, at a fraction of the
// cost of taking a record apart. Whatever is not so is left to the reader of the format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "dravik/exchange/RowReader.h"
#include "dravik/exchange/StampCache.h"

namespace dravik {

enum class PlainKind : std::uint8_t { number, stamp, any };

struct PlainLayout {
    char separator = ',';  ///< a blank: runs of blanks and tabs
    char quote = '"';
    char lineEnd = '\n';
    std::vector<PlainKind> columns;
};

class PlainRows {
  public:
    /// `rules` outlive the object.
    PlainRows(const TextFile& file, PlainLayout layout, const CellRules& rules);

    /// Whether the text begins with a plain row of this layout and goes on behind its end: then cells, states
    /// and values are filled (all values exact) and `length` counts its bytes with the line end.
    bool Scan(std::string_view text, Row& row, std::size_t& length);

    /// Bytes of the last row's last cell, 0 where a separator ends the row.
    std::size_t LastCellBytes() const { return lastCellBytes_; }
    /// Bytes of the last row without its line end.
    std::size_t RowBytes() const { return rowBytes_; }

  private:
    bool ScanNumber(std::size_t column, Row& row);
    bool ScanStamp(std::size_t column, Row& row);
    bool ScanAny(std::size_t column, Row& row);
    std::string_view TakeCell();
    bool EndCell();
    bool EndRow(std::size_t column);
    void SkipBlanks() {
        while (*at_ == ' ' || (*at_ == '\t' && layout_.separator != '\t'))
            ++at_;
    }

    PlainLayout layout_;
    const CellRules& rules_;
    char decimal_;
    bool hasNull_;
    bool exact_;
    bool usable_ = false;  ///< the encoding lets bytes be read as they are
    bool asciiOnly_ = false;
    std::vector<StampCache> stamps_;
    std::vector<std::string_view> cells_;
    const char* at_ = nullptr;
    std::size_t lastCellBytes_ = 0;
    std::size_t rowBytes_ = 0;
};

}  // namespace dravik
