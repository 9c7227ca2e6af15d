// The curves that all selected datasets have in common, and the extents that the first of them gives.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "db/DatasetRecord.h"

namespace vorela {

class Database;

/// Rebuilds the common curve list over the selected and the new datasets; false with
/// "There are no common curves in the selected datasets" as `message`.
bool CheckDatasets(const std::vector<DatasetRecord>& newRecords, std::string& message);
/// False with "Vorela valve curve is not in all datasets".
bool CheckForValveCurves(const std::vector<DatasetRecord>& newRecords, std::string& message);

/// The curve's name is among the common curves (exact, case-sensitive).
bool CurveInCommonList(const std::string& name);
/// Its position there.
std::optional<std::size_t> CommonPosition(const std::string& name);

/// The extent of a dataset is that of the first common curve.
void TakeExtent(DatasetRecord& record, const std::vector<CommonCurve>& common);
/// The extents of all datasets by the first common curve as it stands in the file now. For guarded bodies.
void TakeExtentsAnew(const Database* held = nullptr);
/// After datasets went or changed places: the common curves, and with them the positions of the choice and,
/// where another curve is now the first, the extents. For guarded bodies.
void FollowCommonCurves(const Database* held = nullptr);

/// After curves were created: reads each dataset's curve names again and rebuilds the common curve list.
/// False after a report. `held`: the database that a pass has open already; it is not opened a second time.
bool RefreshCommonCurves(const Database* held = nullptr);

/// One line for each chosen input curve whose unit is not psi or rps; empty when all are.
std::vector<std::string> UnitWarnings();

}  // namespace vorela
