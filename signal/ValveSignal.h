// The reconstructed valve signal PVLSIG: straight lines from one position change to the next.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "signal/DerivedRun.h"
#include "signal/ValveChanges.h"

namespace vorela {

/// How the signal is made, as its item says it.
inline constexpr const char* valveSignalMade = "valve signal from PVLID, PVLIDT and PVLT";

/// The signal at t between a change at t1 (code1) and the next at t2 (code2). A code that is none stands for
/// the state asked for last, which `remembered` holds.
float RampValue(double t, double t1, double t2, std::int32_t code1, std::int32_t code2, double& remembered);

/// The dataset's own sample grid: that of its first common curve.
struct SampleGrid {
    std::int32_t origin = 0;
    GridSpan recorded;
};
SampleGrid GridOf(const Database& database, const DatasetRecord& record);

/// Makes the signal anew, or opens one that has begun for extension.
void OpenSignal(DerivedRun& run, const SampleGrid& grid, bool incremental);

/// Writes the lines that end at `changes` and states how far the signal is known. One transaction.
void WriteLines(DerivedRun& run, const SampleGrid& grid, const std::vector<ValveChange>& changes,
                double& valveState);

/// The signal is what one reconstruction leaves: it ends with the last change.
bool SignalIsComplete(const ItemInfo& signal, const SampleGrid& grid, std::optional<std::int32_t> lastChange);

}  // namespace vorela
