// The selection of datasets (levels) and of their pressure and flow curves.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "db/DatasetRecord.h"
#include "general/SettingsTable.h"

namespace vorela {

/// Empties the selection: no datasets (and with them no cycles), no common curves, a new generation.
void InitialiseDatasetVariables();

/// Where the selected cycle number of a level comes from (the parameters own it): handed down by the
/// composition; 1 until then. Argument: position of the dataset.
void SetSelectedCycleSource(std::function<std::int32_t(std::size_t)> source);
/// Resets the cycles of dataset `index` with its selected cycle number. Throws subscript out of range; for
/// guarded bodies.
void ResetDatasetCycles(std::size_t index);

/// Runs the acquisition system's chooser and reads the chosen datasets into new records: time-driven ones
/// only, names and paths within the record's widths. False when nothing was chosen or one was refused (after
/// its message).
bool SelectDravikData(std::vector<DatasetRecord>& newRecords);
/// The part behind the chooser: the records of named datasets of one database (vorela-batch chooses by
/// itself).
bool ReadDatasets(const std::string& databasePath, const std::vector<std::string>& names,
                  std::vector<DatasetRecord>& newRecords);

/// Appends `newRecords` after the checks: common curves, valve curve, duplicates. False after its message;
/// then the selection is as it was.
bool AppendDatasets(std::vector<DatasetRecord> newRecords);
/// The dialog's "Add": chooser, then AppendDatasets.
bool AddDatasets();
/// The same with datasets that are named instead of chosen.
bool AddNamedDatasets(const std::string& databasePath, const std::vector<std::string>& names);
/// Removes the datasets at these positions.
void RemoveDatasets(std::vector<std::size_t> positions);
void ClearSelection();

/// Stores the choice by positions in the common curve list (nothing counts as 0). Other curves than before
/// are a new selection to everything that is remembered of the datasets, and their cycles are reset.
void ChooseCurves(std::optional<std::size_t> pressurePosition, std::optional<std::size_t> flowPosition);
/// The position that the stored choice preselects: the entry of the stored name, else the stored position
/// while it is inside the list, else the first. The name comes first because the settings file keeps no
/// position of the flow curve.
std::size_t PreselectedCurve(std::int16_t storedIndex, const std::string& storedName);

/// Deepest first; equal depths keep their order. Selected cycle numbers are copied again afterwards.
void SortDatasets();

/// What the program reads and may not write over: the selected databases with their journals, the settings
/// file.
std::vector<std::string> FilesInUse();

/// The `[Dataset]` section.
void ReadDatasetSettings();
void WriteDatasetSettings();
/// What the command line can set of it.
SettingsSection DatasetSettings();

}  // namespace vorela
