// Level outputs, and the interval outputs between neighbouring levels.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vorela {

/// A level's outputs at its selected cycle; nothing when that entry has no results.
struct LevelOutputs {
    std::optional<double> hpi;       ///< rps/psi
    std::optional<double> phaseLag;  ///< degrees
};
LevelOutputs GetLevelOutputs(std::size_t dataset);
/// Array index of the dataset's selected cycle; nothing when the record is empty or the number is outside it.
std::optional<std::size_t> SelectedEntry(std::size_t dataset);

/// Interval between level 1 (dataset i) and level 2 (dataset i − 1). Outputs are empty where an error kept
/// them from being reached.
struct IntervalRecord {
    std::string label;              ///< "depth2 to depth1"
    bool hasInputs = false;         ///< the values below hold; false where a selected cycle has no results
    double hpi1 = 0, hpi2 = 0;      ///< rps/psi
    double phase1 = 0, phase2 = 0;  ///< degrees
    std::optional<double> intervalHpi, intervalPhase;  ///< rps/psi, degrees −180 … 180
    double casingID = 0;                               ///< in
    double totalDepth = 0;                             ///< ft
    double depth1 = 0, depth2 = 0;                     ///< ft
    double period = 0;                                 ///< s
    double compressibility = 0;                        ///< 1/psi
    int spinnerType = 0;
    std::optional<double> reservoirHpi, reservoirPhase;  ///< bbl/day/psi, degrees −180 … 180
};
/// Entry 0 is blank and never shown: interval i pairs datasets i and i − 1, i = 1 … count − 1. Empty list: no
/// intervals.
std::vector<IntervalRecord>& CurrentIntervals();
/// Number of intervals (entries 1 …).
std::size_t IntervalCount();

/// Step "Getting interval information". False after a report; records computed before keep their values.
bool GetIntervalInformation();

inline constexpr double toolDiameter = 1.6875;  ///< in

/// Factor from rps to bbl/day downhole, by the spinner's type or, for the user's own, its slope (rps/ft/min).
/// HVX readings need no area; the others turn a velocity into a rate through the annulus between casing and
/// tool.
double FlowConversion(int spinnerType, double casingID, double slope);

/// Runs `body` for one interval. A run-time error of it goes on with the interval's label in its description:
/// in a list of intervals the user has to know whose parameters to look at.
void WithIntervalNamed(const std::string& label, const std::function<void()>& body);

/// One line for each level with cycles whose selected entry has no results, "LEVEL2: there is no cycle 9,
/// only 5": its rows are empty. Tells how things stand now; empty when all is well.
std::vector<std::string> ResultHints();
/// The same of one level; empty when all is well.
std::string ResultHint(std::size_t dataset);

namespace step {
inline constexpr const char* gettingIntervalInformation = "Getting interval information";
}  // namespace step

}  // namespace vorela
