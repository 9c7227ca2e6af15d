// A log file in memory, and the parsers of the two file formats: pure functions from bytes to a table or an
// error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "dravik/tool/CurveSource.h"

namespace vorela {

inline constexpr std::size_t longestCurveName = 10;
/// Far above what loggers write; a file beyond is no log, and would take minutes to refuse cell by cell.
inline constexpr std::size_t mostCurves = 4096;
inline constexpr std::size_t longestLine = 1 << 20;

/// Where a file stops making sense. `line` counts from 1; 0 when no single line is to blame.
struct ParseError {
    std::size_t line = 0;
    std::string message;
};

struct ParseOptions {
    std::optional<std::int16_t> step;  ///< index units: put samples on this grid, each at its nearest point
    std::optional<std::int16_t> indexKind;  ///< DK_INDEX_..., where the file does not tell
};

/// All samples of a file.
class LogTable final : public CurveSource {
  public:
    /// The columns' descriptions and values; every column as long as `indices`. A gap is NaN.
    struct Columns {
        std::vector<CurveDescription> curves;
        std::vector<std::vector<float>> values;
        std::vector<double> indices;     ///< in index units, not yet rounded
        std::vector<std::size_t> lines;  ///< line of each row
        std::string indexName = "time";  ///< for messages
    };
    /// Lays the rows on an even grid. Throws ParseError.
    LogTable(Columns columns, std::int16_t indexKind, const ParseOptions& options);

    void Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
              std::uint8_t* present) override;
    std::int64_t NextRow(std::int64_t row) const override;

    /// Adds a curve with the single value `value` at the first row.
    void AddSingleValue(const CurveDescription& description, float value);

  private:
    static std::int16_t StepOfRows(const Columns& columns, const ParseOptions& options);
    void PlaceRow(const Columns& columns, std::size_t row, bool nearest);

    std::vector<std::vector<float>> values_;
    std::vector<std::int64_t> rows_;  ///< grid row of each stored row, ascending, the first is 0
    std::size_t keptRow_ = 0;         ///< row of the file that the last stored row comes from
};

using ParseResult = std::variant<LogTable, ParseError>;

/// CSV: names, optional units line (its first cell is a unit of the index: s, sec; ft, m), then numbers.
/// First column TIME in seconds (DEPTH or DEPT in feet or metres for depth). Empty cells and NaN are gaps.
ParseResult ParseCsv(std::string_view bytes, const ParseOptions& options);

/// LAS 2.0, wrapped or not. The first curve is the index; the NULL value is a gap.
ParseResult ParseLas(std::string_view bytes, const ParseOptions& options);

// --- shared by the two parsers ---

/// Throws ParseError unless `name` can be a curve of a dataset and is not among `curves` yet.
void CheckCurveName(const std::string& name, const std::vector<CurveDescription>& curves, std::size_t line);

/// A cell as a single: NaN for an empty cell or NaN. Throws ParseError naming the curve for text that is not
/// a number, infinity, and numbers beyond single precision.
float ParseSample(std::string_view cell, std::size_t line, const std::string& curve);

/// An index cell in index units. Throws ParseError (empty, not a number, beyond 32 bits).
double ParseIndex(std::string_view cell, double unitsPerOne, std::size_t line, const std::string& column);

/// A curve's description by its name and unit: a depth curve in metres is displayed in feet.
CurveDescription DescribeCurve(std::string name, std::string unit);

/// Index units in one of the file's units (hundredths of a second or of a foot), nothing for an unknown unit.
std::optional<double> IndexUnitsPer(std::string_view unit, std::int16_t indexKind);

/// Cuts a byte-order mark, then gives line after line without its end (LF or CRLF). Throws ParseError for one
/// that is too long.
class LineReader {
  public:
    explicit LineReader(std::string_view bytes);
    bool Next(std::string_view& line);
    std::size_t Number() const { return number_; }
    /// True when nothing but blank lines is left.
    bool OnlyBlanksLeft() const;

  private:
    std::string_view rest_;
    std::size_t number_ = 0;
};

}  // namespace vorela
