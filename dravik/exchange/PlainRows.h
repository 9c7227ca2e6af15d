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

    /// Whether the text, whole lines with their ends, begins with a plain row of this layout: then its cells,
    /// states and values are filled, all values exact.
    bool Scan(std::string_view text, Row& row);

    /// Bytes of the last row's last cell, 0 where a separator ends the row.
    std::size_t LastCellBytes() const { return lastCellBytes_; }
    /// Bytes of the last row without its line end, and with it.
    std::size_t RowBytes() const { return rowBytes_; }
    std::size_t LineBytes() const { return lineBytes_; }

  private:
    // Each reads from `at` on and returns where it stopped, nullptr where the text is not plain.
    const char* ScanCell(const char* at, std::size_t column, Row& row);
    const char* ScanNumber(const char* at, std::size_t column, Row& row);
    const char* ScanStamp(const char* at, std::size_t column, Row& row);
    const char* ScanAny(const char* at, std::size_t column, Row& row);
    const char* TakeCell(const char* at, std::size_t column);
    const char* EndCell(const char* at) const;
    const char* EndRow(const char* at);
    const char* SkipBlanks(const char* at) const {
        while (static_cast<unsigned char>(*at) <= ' ' &&
               (*at == ' ' || (*at == '\t' && layout_.separator != '\t')))
            ++at;
        return at;
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
    std::size_t lastCellBytes_ = 0;
    std::size_t rowBytes_ = 0;
    std::size_t lineBytes_ = 0;
};

}  // namespace dravik
