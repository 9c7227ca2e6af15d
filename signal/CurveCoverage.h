// What the derived curves of the selected datasets can be used for: from when to when filtered curves will be
// valid, what the filter lets pass, and which curves that exist were made with other settings than those in
// force. Reads, never writes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorela {

/// What filtering leaves of one selected dataset's recording as it stands now.
struct LevelCoverage {
    std::string dataset;
    double recorded = 0;  ///< length of the shorter of the two input curves, s
    double from = 0;      ///< both filtered curves are full responses from here, s
    double to = 0;        ///< to here, s; before `from` when nothing is left
    /// Periods of test that fit between the two. With 0 no cycle of the level can be analysed.
    std::int64_t wholeCycles = 0;
};
/// One entry for each selected dataset that has both input curves, for the current period and kind of filter
/// and `filterN` passes. Throws as the filters do where one cannot be made (a band pass of too many samples).
std::vector<LevelCoverage> FilteredCoverage(int filterN);

/// What the user is told before curves are made.
struct FilterAdvice {
    std::string text;  ///< lines separated by "\n"; "" when nothing is selected
    bool warning = false;
};
/// The coverage in words, one line for levels that agree. A warning where a level keeps no whole cycle, or
/// the filter cannot be made.
FilterAdvice DescribeCoverage(int filterN);

/// What the filter of the current parameters does with this FilterN: pass band as periods in seconds and gain
/// at the period of test, with a warning below 0.9; for the difference filter its gain.
FilterAdvice GetPassBand(int filterN);

/// Filtered pressure, filtered flow and the acquisition system's filtered flow that were made in another way
/// than the settings in force say, one line for each way: 'ZG_p, RTC_qs of LEVEL1, LEVEL2 were made by "…",
/// the settings say "…"'. A curve without a text of how it was made is a recording and never stale. Empty
/// after a report.
std::vector<std::string> StaleCurveLines();

}  // namespace vorela
