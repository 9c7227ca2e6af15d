// What was measured cycle by cycle, as series: value, scatter and drift of phase and magnitude. And the
// cycles of a level stacked on the phase of the valve.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vorela {

struct CycleRecord;

inline constexpr std::size_t cycleSeriesCount = 8;

/// One quantity over the cycles of a level.
struct CycleSeries {
    std::string name;  ///< "Pressure phase"
    std::string unit;  ///< "degrees", "psi"
    /// By cycle, the first at 0; nothing for a cycle without results. Phases run on through 360 degrees, so
    /// that neighbours differ by less than half a turn.
    std::vector<std::optional<double>> values;
    std::size_t count = 0;  ///< cycles with results
    double mean = 0;
    double scatter = 0;     ///< standard deviation of one cycle about the trend; 0 below three cycles
    double drift = 0;       ///< of the least-squares line, per cycle; 0 below two cycles
    double driftError = 0;  ///< its standard error; 0 below three cycles
    double Trend(double cycle) const { return mean + drift * (cycle - middle); }  ///< cycles count from 1
    double middle = 0;                                                            ///< mean cycle number
};

/// Magnitude and phase of valve, pressure and flow, ratio and phase lag: four magnitudes, then the phases in
/// the same order.
std::array<CycleSeries, cycleSeriesCount> SeriesOf(const CycleRecord& cycles, const std::string& pressureUnit,
                                                   const std::string& flowUnit);

/// Mean, scatter and drift of values that are there.
void Summarise(CycleSeries& series);

/// Cycles of one level laid over each other: phase 0 is the valve boundary that a cycle begins with.
struct StackedLevel {
    std::string name;
    std::size_t cycles = 0;  ///< that went in
    std::size_t of = 0;      ///< that the level has
    /// Less the mean over the cycle; by phase 0 … 360 degrees in equal steps, both ends included; nothing
    /// where no cycle has samples.
    std::vector<std::optional<double>> pressure, flow;
    std::string pressureUnit, flowUnit;
};

/// At most this many cycles of a level are laid over each other, evenly spaced ones of a longer record.
inline constexpr std::size_t mostStackedCycles = 60;
inline constexpr std::size_t stackedSteps = 240;

/// Of every selected dataset, from its input curves; a level without cycles is left out. Reports what cannot
/// be read.
std::vector<StackedLevel> StackSelectedLevels();

}  // namespace vorela
