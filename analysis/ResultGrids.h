// The four result grids as data: what they say before there are results.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "general/Colour.h"

namespace vorela {

enum class RowShade { none = 1, buttonShadow, paleOrange };
inline constexpr Colour paleOrange{255, 224, 192};

/// A grid: texts by row and column, one shade for each row, column widths in twips (1/1440 inch; 0: as wide
/// as is left).
struct ResultGrid {
    std::vector<std::vector<std::string>> cells;
    std::vector<RowShade> shades;
    std::vector<int> widths;
    std::size_t Rows() const { return cells.size(); }
    std::size_t Columns() const { return widths.size(); }
};

enum class GridKind { level = 1, interval, quicklook, summary };
inline constexpr std::array gridKinds{GridKind::level, GridKind::interval, GridKind::quicklook,
                                      GridKind::summary};
const std::array<const char*, 4>& TabNames();

/// Rows with a meaning for the cell editors.
inline constexpr std::size_t levelCycleNumberRow = 7;
inline constexpr std::size_t quicklookPorosityRow = 5;
inline constexpr std::size_t quicklookViscosityRow = 6;
inline constexpr std::size_t quicklookCompressibilityRow = 7;
inline constexpr std::size_t quicklookHeightRow = 9;

/// Header codes of the summary grid and their long meanings, in the same order ("Depth Interval" has none).
const std::array<const char*, 8>& SummaryCodes();
const std::array<const char*, 8>& SummaryMeanings();

/// The captions, without values.
ResultGrid EmptyGrid(GridKind kind);
/// The step in which a grid is set up and filled.
const char* SetUpStep(GridKind kind);

}  // namespace vorela
