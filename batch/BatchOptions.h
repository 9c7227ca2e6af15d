// The command line of vorela-batch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "general/SettingsTable.h"

namespace vorela {

namespace exit_status {
inline constexpr int done = 0;
inline constexpr int failed = 1;
inline constexpr int badUsage = 2;
}  // namespace exit_status

/// The cycle that every level shows: a number from 1, or the window between the cursors.
struct CycleWish {
    bool window = false;
    std::int32_t number = 1;
};

struct CursorWish {
    double cursor1 = 0;  ///< %
    double cursor2 = 0;
};

/// The cycles of the exact analysis, 1-based, of every level.
struct ExactCyclesWish {
    std::int32_t first = 1;
    std::int32_t last = 1;
};

/// The plot of one dataset as a file.
struct PlotWish {
    std::string path;                    ///< .png, .svg or .pdf
    std::optional<std::string> dataset;  ///< nothing: the level that the export shows
    int width = 1200;                    ///< in units of 1/96 inch
    int height = 800;
};

/// Paths are absolute: loading the acquisition system's libraries changes the current directory.
struct BatchOptions {
    std::string database;
    std::vector<std::string> datasets;  ///< empty: every one that qualifies
    std::optional<std::string> pressure, flow;
    std::optional<std::string> settingsFile;
    std::vector<SettingValue> settings;
    bool recreate = false;
    bool unfiltered = false;
    bool motorPosition = false;
    std::optional<CycleWish> cycle;
    std::optional<CursorWish> cursors;
    std::optional<std::size_t> level, interval;  ///< 1-based
    std::optional<std::string> exportFile;
    std::optional<std::string> jsonFile;  ///< "-": standard output
    std::optional<std::string> tableFile;
    std::optional<PlotWish> plot;
    std::optional<std::string> reportFile;  ///< .pdf or .html
    std::optional<ExactCyclesWish> exactCycles;
    bool follow = false;
    std::vector<std::string> plan;  ///< lists NAME=VALUE[,...] of a plan; not empty: nothing else is done

    bool JsonToStandardOutput() const { return jsonFile == "-"; }
};

/// Options, or the status to end with: 0 after the help text or the version, 2 after a line on standard error
/// that says what is wrong.
struct ParsedCommandLine {
    std::optional<BatchOptions> options;
    int exitStatus = exit_status::done;
};
ParsedCommandLine ParseCommandLine(int argc, const char* const* argv);

}  // namespace vorela
