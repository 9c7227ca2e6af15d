// Curves on one grid, given block by block: a parsed file, a simulated level, whatever is written into a
// dataset.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace dravik {

inline constexpr const char* depthCurveName = "ADPTH";
/// Indices are hundredths of a second, or of a foot.
inline constexpr double indexPerUnit = 100.0;
/// Seconds (or feet): what an index can say, and what a clock may be shifted by.
inline constexpr double longestTime = 21474836.0;
inline constexpr double longestShift = 2147483600.0;

struct CurveDescription {
    std::string name;
    std::string unit;
    float scale = 1.0F;  ///< displayed value = sample * scale + offset
    float offset = 0.0F;
};

/// The grid that all curves of a source share. Row r stands at firstIndex + r * step.
struct CurveGrid {
    /// DK_INDEX_TIME (hundredths of a second) or DK_INDEX_DEPTH (hundredths of a foot).
    std::int16_t indexKind = 1;
    std::int16_t step = 0;  ///< index units, positive
    std::int32_t firstIndex = 0;
    std::int64_t rowCount = 0;

    /// Fits 32 bits for every row of a source.
    std::int32_t IndexOf(std::int64_t row) const {
        return static_cast<std::int32_t>(firstIndex + row * step);
    }
};

class CurveSource {
  public:
    virtual ~CurveSource() = default;
    const CurveGrid& Grid() const { return grid_; }
    const std::vector<CurveDescription>& Curves() const { return curves_; }

    /// Values of one curve at rows [firstRow, firstRow + count); present[i] is 0 where there is none
    /// (values[i] is then 0). Curves may be read in any order; a random part of a curve belongs to its row,
    /// not to the order of reading.
    virtual void Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
                      std::uint8_t* present) = 0;
    /// The first row at or after `row` that may hold a value; rowCount when there is none. Lets a writer leap
    /// gaps.
    virtual std::int64_t NextRow(std::int64_t row) const { return row; }
    /// Rows to read at once at most: what the source can hold of all its curves.
    virtual std::int64_t BlockRows() const { return 65536; }

  protected:
    CurveGrid grid_;
    std::vector<CurveDescription> curves_;
};

}  // namespace dravik
