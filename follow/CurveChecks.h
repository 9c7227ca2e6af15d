// What follows a selection: the offers to create derived curves that are missing, in their fixed order, and
// the warning about curves that the acquisition system has filtered.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vorela {

/// What the sequence needs from whoever shows it.
struct SelectDataView {
    std::function<void()> showSelectDialog;          ///< frmSelectData, modal
    std::function<bool()> plotDataCheck;             ///< shows its own message when it answers false
    std::function<void()> showFilteredCurvesDialog;  ///< frmFilteredCurves, modal
    std::function<void()> updateMainWindow;
    std::function<void()> switchTimerOn;
};

/// Step "Selecting data". True when it ran to its end. Datasets that are being recorded and have all their
/// derived curves are extended to what is recorded; derived curves of the others that end too early are
/// completed.
bool SelectData(const SelectDataView& view);

/// What the last selection found about derived curves, a line each: those that ended too early, recordings
/// that stand in their place.
const std::vector<std::string>& CurveNotes();

/// A chosen pressure or flow curve ends before PVLPOS: the acquisition system filtered it. Step "Checking
/// filters in curves".
bool CurvesFilteredByDravik();

}  // namespace vorela
