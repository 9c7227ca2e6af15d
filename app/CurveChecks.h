// What follows a selection: the offers to create derived curves that are missing, in their fixed order, and
// the warning about curves that the acquisition system has filtered.
#pragma once

#include <functional>

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
/// derived curves are extended to what is recorded.
bool SelectData(const SelectDataView& view);

/// A chosen pressure or flow curve ends before PVLPOS: the acquisition system filtered it. Step "Checking
/// filters in curves".
bool CurvesFilteredByDravik();

}  // namespace vorela
