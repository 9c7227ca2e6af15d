// The four result grids as data, and the export of the interpretation.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
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
const std::array<const char*, 4>& TabNames();

/// The grids in use; captions are there from set-up on.
ResultGrid& Grid(GridKind kind);
bool SetUpGrid(GridKind kind);

/// Rows with a meaning for the cell editors.
inline constexpr std::size_t levelCycleNumberRow = 7;
inline constexpr std::size_t quicklookPorosityRow = 5;
inline constexpr std::size_t quicklookViscosityRow = 6;
inline constexpr std::size_t quicklookCompressibilityRow = 7;
inline constexpr std::size_t quicklookHeightRow = 9;

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

/// Header codes of the summary grid and their long meanings, in the same order ("Depth Interval" has none).
const std::array<const char*, 8>& SummaryCodes();
const std::array<const char*, 8>& SummaryMeanings();

/// Entries of a cycle chooser: "1", "2", …, "Window".
std::vector<std::string> CycleChoices(std::size_t dataset);
/// Stores the entry of the chooser (0-based) as the dataset's cycle and refills the level grid.
bool ChooseCycle(std::size_t dataset, std::size_t entry);

/// Rows of the cycle information dialog: header and one row for each cycle, the window among them.
std::vector<std::vector<std::string>> CycleInformationRows(std::size_t dataset);

/// The export file's bytes. `separator` "," or a tab.
std::string InterpretationText(char separator);
/// Writes the export file by its path; the separator follows the save dialog's filter (1: comma, 2: tab).
/// Step "Saving data". True when it was written.
bool WriteInterpretation(const std::string& path, int filterIndex);
/// Where a file about a level is saved unless the user says otherwise: beside its database, named after both,
/// without ending. Empty where there is no such level.
std::string ProposedFile(std::size_t dataset);
/// The File menu's entry: save dialog, write, message.
bool SaveInterpretation();

namespace step {
inline constexpr const char* settingUpLevelGrid = "Setting up level flexgrid";
inline constexpr const char* settingUpSignalGrid = "Setting up signal flexgrid";
inline constexpr const char* settingUpSummaryGrid = "Setting up summary flexgrid";
inline constexpr const char* savingData = "Saving data";
}  // namespace step

}  // namespace vorela
