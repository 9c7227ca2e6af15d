// The result grids in use: filled from the results of the level and the interval that are shown.
#pragma once

#include <cstddef>

#include "analysis/ResultGrids.h"

namespace vorela {

/// The grids in use; captions are there from set-up on.
ResultGrid& Grid(GridKind kind);
bool SetUpGrid(GridKind kind);

/// What the single-value grids show: current dataset and current interval (1-based among the intervals).
struct CurrentChoice {
    std::size_t dataset = 0;
    std::size_t interval = 1;
};
CurrentChoice& ShownChoice();

/// Fill the value cells. Interval and quicklook outputs are computed first. False after a report.
bool FillLevelGrid();
bool FillIntervalGrid();
bool FillQuicklookGrid();
bool FillSummaryGrid();
/// All four, in that order; the results are computed once. False when a report was shown.
bool RefreshGrids();

/// Stores the entry of the cycle chooser (0-based) as the dataset's cycle and refills the level grid.
bool ChooseCycle(std::size_t dataset, std::size_t entry);

}  // namespace vorela
