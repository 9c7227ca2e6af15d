// The shared records of the selection: one for each selected dataset (level), the curves they have in common
// and the choice of pressure and flow curve. Plain process-wide data; a test puts a fresh Selection in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/Presentation.h"

namespace vorela {

/// Longest path and name that the dataset record's fixed-width texts hold.
inline constexpr std::size_t longestDatabasePath = 144;
inline constexpr std::size_t longestDatasetName = 66;

/// Depth of a level whose depth sample cannot be read: the null value of log data.
inline constexpr double nullDepth = -999.25;

/// Phase (degrees, 0 … 360) and magnitude of a signal's fundamental over one cycle. The magnitude is that of
/// the correlation sums, half the signal's amplitude.
struct Harmonic {
    double phase = 0.0;
    double magnitude = 0.0;
};

/// The selected cycle number that stands for the window: its entry moves as cycles are added, and a number
/// would be that of a cycle the next time.
inline constexpr std::int32_t windowCycleNumber = -1;

/// How the cycle information of a dataset was last calculated.
enum class CycleSource { none, filtered, unfiltered, motorPosition };

/// The cycles of a dataset as parallel arrays, always count + 1 elements long: real cycles at 0 … count − 2,
/// the window entry (with the start of the cycle in progress) at count − 1, a blank trailing element at
/// count.
struct CycleRecord {
    std::vector<std::int32_t> start{0};  ///< hundredths of a second
    std::vector<double> period{0.0};     ///< seconds
    std::vector<Harmonic> valve{1};
    std::vector<Harmonic> pressure{1};  ///< magnitude in the pressure curve's unit (psi)
    std::vector<Harmonic> flow{1};      ///< magnitude in the flow curve's unit (rps)
    std::vector<double> ratio{0.0};     ///< flow magnitude / pressure magnitude
    std::vector<double> phaseLag{0.0};  ///< degrees
    std::vector<std::uint8_t> analysed{
        0};  ///< 1 where the results hold; 0: start and period only (not covered)
    std::int32_t count = 0;
    std::int32_t selectedCycle = 1;  ///< 1-based
    bool windowSelected = false;  ///< the user chose "Window": the selection follows it as cycles are added

    /// Cycles between two boundaries, the window entry not counted; never below 0.
    std::int32_t RealCycles() const { return count > 0 ? count - 1 : 0; }
    /// True when `cycleNumber` (1-based) is the window entry.
    bool IsWindow(std::int32_t cycleNumber) const { return count > 0 && cycleNumber == count; }
    /// The selection is the window, also while there is no cycle yet.
    bool ShowsWindow() const { return windowSelected || IsWindow(selectedCycle); }
};

/// Selects a cycle by its number, or the window by windowCycleNumber.
void SelectCycle(CycleRecord& cycles, std::int32_t cycleNumber);
/// Empties the record to one blank element and selects; the window is the window as cycles come.
void ResetCycles(CycleRecord& cycles, std::int32_t selectedCycle);
/// Raises the count by one and every array to count + 1 elements; keeps a selected window the window.
void AppendCycle(CycleRecord& cycles);

/// What index values mean and how they are displayed.
struct IndexDescription {
    std::int16_t kind = 0;  ///< 0 depth, 1 time
    std::string name;
    std::string unit;
    float scale = 1.0F;
    float offset = 0.0F;
};

/// What the enumeration tells of a curve.
struct CurveAttributes {
    std::string unit;
    std::int32_t extentFirst = 0;  ///< hundredths of a second; empty when extentLast < extentFirst
    std::int32_t extentLast = -1;
    std::int16_t step = 0;  ///< hundredths of a second
};

/// One selected dataset.
struct DatasetRecord {
    std::string database;      ///< full path of the database file, trimmed
    std::string dataset;       ///< name inside it, trimmed
    std::int32_t extentA = 0;  ///< first index of the first common curve, hundredths of a second
    std::int32_t extentB = 0;  ///< last index of the same
    std::int16_t step = 0;     ///< its sampling step, hundredths of a second
    CycleRecord cycles;
    CycleSource cycleSource = CycleSource::none;
    double sortKey = nullDepth;  ///< depth of the level, ft
    IndexDescription index;
    Presentation presentation;
    std::int16_t pendingFlag = 0;  ///< non-zero while the dataset is being recorded, as last read
    /// The last extension did not get to its end (an error on the way): the next pass extends although
    /// nothing grew.
    bool extensionOwed = true;
    int failedPasses = 0;             ///< passes that failed, in a row
    std::vector<std::string> curves;  ///< names of the dataset's selectable curves, as enumerated
    std::vector<CurveAttributes> curveAttributes;  ///< of the same curves, in the same order

    bool IsRecorded() const { return pendingFlag != 0; }
    /// No cycle has been calculated yet.
    bool IsUnmeasured() const { return cycleSource == CycleSource::none; }
};

/// A curve that every selected dataset has.
struct CommonCurve {
    std::string name;  ///< "ZG"
    std::string unit;  ///< "psi"
};

/// The chosen input curves: positions in the common curve list and names.
struct CurveChoice {
    std::int16_t pressureIndex = 0;
    std::int16_t flowIndex = 0;
    std::string pressure = "ZG";
    std::string flow = "RTC";
};

struct Selection {
    std::vector<DatasetRecord> datasets;
    std::vector<CommonCurve> commonCurves;
    CurveChoice choice;
    /// Counts selections: state kept for a dataset (resume marks, filters) dies when it changes.
    std::uint64_t generation = 1;
};
Selection& CurrentSelection();

}  // namespace vorela
