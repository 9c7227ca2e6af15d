// Curves of a dataset as CSV or LAS text, written in blocks.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/tool/CurveSource.h"
#include "dravik/tool/Database.h"

namespace vorela {

/// The curves of a dataset that share a grid, from the first sample of any to the last of any.
class DatasetSource final : public CurveSource {
  public:
    /// `names`: the curves wanted, in this order; empty: all. Throws ToolError for an unknown curve and for
    /// curves whose grids do not fit together (naming both).
    DatasetSource(const Database& database, const std::string& dataset,
                  const std::vector<std::string>& names);
    void Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
              std::uint8_t* present) override;

  private:
    void FitGrid(const Database& database, const std::string& dataset, const std::vector<NamedItem>& curves);

    std::vector<Item> items_;
};

/// Takes the text piece by piece.
using TextSink = std::function<void(std::string_view)>;

/// The shortest decimals that read back to the same single, sign of a zero included; "NaN" for what is not a
/// number.
void AppendSample(std::string& text, float value);
/// Hundredths with two decimals: 1234 is "12.34".
void AppendHundredths(std::string& text, std::int64_t hundredths);

/// What an import reads back to the same samples.
/// With `start` (Unix seconds) times are dates.
void WriteCsv(CurveSource& source, const TextSink& sink, std::optional<std::int32_t> start = {});
/// What an import reads back to the same samples. Reads the source twice: the NULL value is one that no
/// sample has.
void WriteLas(CurveSource& source, const std::string& dataset, bool wrapped, const TextSink& sink);

/// Writes to standard output at once; a failure is a ToolError.
void WriteStandardOutput(std::string_view text);

}  // namespace vorela
