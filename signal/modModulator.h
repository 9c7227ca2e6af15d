// The run over the tool's valve curves that writes the reconstructed signal (ValveSignal) from the changes
// found (ValveChanges), and the cycle boundaries that start the cycle analysis.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "db/DatasetRecord.h"
#include "signal/SelectedDatasets.h"

namespace vorela {

/// The cycle analysis as the reconstruction calls it; handed down by the composition (it lives a room
/// higher).
struct CycleAnalysis {
    /// A boundary was found at `boundary` (hundredths of a second): opens or completes a cycle and analyses
    /// it.
    std::function<bool(std::size_t dataset, std::int32_t boundary)> onBoundary;
    /// After the boundaries of a run: cycles that were not covered before, then the window.
    std::function<bool(const Database& database, std::size_t dataset)> onFinished;
    /// Re-calculates all recorded cycles and the window from other input curves.
    std::function<bool(const Database& database, std::size_t dataset, CycleSource source)> recalculate;
};
void SetCycleAnalysis(CycleAnalysis analysis);

/// PVLID, PVLIDT and PVLT are in every selected dataset; otherwise a message box and false.
bool ValveCurvesPresent();
/// PVLSIG is in every selected dataset.
bool ValveSignalPresent();

/// The interactive entry. `askBeforeOverwriting`: the mode argument of menu and selection.
bool CreateReconstructedValveCurves(bool askBeforeOverwriting);

/// The worker for one dataset: writes PVLSIG (from the start, or extends it) and reports each boundary. A
/// recorded PVLSIG is left as it is.
bool ReconstructValveCurve(const Database& database, std::size_t index, bool incremental);
/// The same walk without writing: cycles of a dataset that has all its derived curves (a read-only database).
bool FindValveCycles(const Database& database, std::size_t index);

/// How PVLSIG of dataset `index` stands against what ReconstructValveCurve would leave. Walks over the tool's
/// curves, unless that was done already. For guarded bodies: throws.
CurveStanding ValveSignalStanding(const Database& database, std::size_t index);

/// The re-calculation entries of the Action menu.
bool RecalculateWithUnfilteredCurves();
bool RecalculateWithMotorPosition();

}  // namespace vorela
