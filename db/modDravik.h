// The thin layer over the acquisition system's database library: uniform error reporting, names of items and
// curves, extents and presentation information of the selected datasets.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/DatasetRecord.h"
#include "platform/DatabaseClient.h"

namespace vorela {

/// The database message box: critical icon, `title`, "Dravik error: " & StatusText.
void ShowDravikError(std::int32_t status, const std::string& title);

/// False after the box "Error opening Dravik database"; then handle is 0.
bool OpenDravikDatabase(const std::string& path, std::int16_t mode, std::int32_t& handle);
/// False after the box "Error closing Dravik database".
bool CloseDravikDatabase(std::int32_t handle);
/// Detaches the item when its handle is not 0, then closes. Never throws.
void DetachAndClose(std::int32_t database, std::int32_t item) noexcept;

/// The four-part rule that decides which items of a dataset ("/ZG/1") are curves to choose from.
bool IsSelectableCurve(const std::string& itemName);
/// "/ZG/1" to "ZG".
std::string CurveNameOfItem(const std::string& itemName);

/// The curve-mnemonic rule: names of derived curves, at most 10 characters.
std::string MakeCurveMnemonic(const std::string& name, const std::string& suffix);

/// Names of a dataset's items ("/ZG/1", …) in order of creation. Throws RunTimeError.
std::vector<std::string> ItemsOf(const Database& database, const std::string& dataset);

/// What became of a dataset's extent; `failed` after a report.
enum class Growth { none, grown, failed };
/// Reads the extent of the dataset's first common curve again; its names are stored back without blanks at
/// their ends.
Growth UpdateDatasetInformation(const Database& database, std::vector<DatasetRecord>& datasets,
                                std::size_t index);

/// "LEVEL1" to "LEVEL1/_defaults_/1".
std::string PresentationPath(const std::string& dataset);
/// Reads the presentation record of an open database's dataset into the record and sets PendingFlag from its
/// recording flag. False after a report; then the record is as it was.
bool ReadPresentation(const Database& database, DatasetRecord& record);
/// The same for one selected dataset. False after a report.
bool GetPresentationInformation(const Database& database, std::vector<DatasetRecord>& datasets,
                                std::size_t index, Presentation& presentation);

namespace suffix {
inline constexpr const char* filteredPressure = "_p";
inline constexpr const char* filteredFlow = "_qs";
inline constexpr const char* dravikFilteredFlow = "_f";
}  // namespace suffix

namespace curve {
inline constexpr const char* valveSignal = "PVLSIG";
inline constexpr const char* valvePosition = "PVLPOS";
inline constexpr const char* valveCode = "PVLID";
inline constexpr const char* valveChangeTimer = "PVLIDT";
inline constexpr const char* valveTimer = "PVLT";
inline constexpr const char* depth = "ADPTH";
}  // namespace curve

/// Names of the derived curves of the chosen input curves.
std::string FilteredPressureName(const CurveChoice& choice);
std::string FilteredFlowName(const CurveChoice& choice);
std::string DravikFilteredFlowName(const CurveChoice& choice);

}  // namespace vorela
