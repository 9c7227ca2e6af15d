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

/// The same in words for the user, one line for levels that agree.
struct CoverageText {
    std::string text;      ///< lines separated by "\n"; "" when nothing is selected
    bool warning = false;  ///< a level keeps no whole cycle, or the filter cannot be made
};
CoverageText DescribeCoverage(int filterN);

/// What the filter of the current parameters does with this FilterN.
struct PassBand {
    /// Pass band as periods in seconds and gain at the period of test, with a warning below 0.9; for the
    /// difference filter its gain. One or more lines.
    std::string text;
    bool warning = false;
};
PassBand GetPassBand(int filterN);

/// A derived curve that was made in another way than the settings in force say.
struct StaleCurve {
    std::string dataset;
    std::string curve;
    std::string made;    ///< what the curve says
    std::string wanted;  ///< what it would say if it were made now
};
/// Filtered pressure, filtered flow and the acquisition system's filtered flow of every selected dataset.
/// A curve without a text of how it was made is a recording and never stale. Empty after a report.
std::vector<StaleCurve> StaleCurves();

/// One line for each way of making: 'ZG_p, RTC_qs of LEVEL1, LEVEL2 were made by "…", the settings say
/// "…"'.
std::vector<std::string> StaleCurveLines();

}  // namespace vorela
