// Filtered pressure and flow curves: half-period difference or band pass, created or extended in a dataset.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vorela {

/// True when both filtered curves are in every selected dataset.
bool FilteredCurvesExist();

/// Creates (incremental false) or extends (true) both filtered curves of dataset `index`. False after a report.
bool CreateFilteredCurves(std::size_t index, bool incremental);

/// The dialog's create step: stores FilterN (nothing selected: 1), writes the parameters, creates the curves of every
/// selected dataset. False at the first that fails.
bool CreateFilteredCurvesInAll(int filterN);
/// The same with the stored FilterN: what the valve reconstruction's prompt runs.
bool CreateFilteredCurvesInAll();

/// What the dialog shows.
struct FilterInformation {
    std::string inputPressure, inputFlow, outputPressure, outputFlow;
    std::vector<std::string> passChoices;  ///< entries of cboFilter, entry i = i + 1 passes
    /// Pass band as periods in seconds and gain at the period of test, with a warning below 0.9; for the difference
    /// filter its gain. One or more lines.
    std::string passBand;
    bool warning = false;
};
FilterInformation GetFilterInformation();

}  // namespace vorela
