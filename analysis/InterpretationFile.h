// The interpretation as a file: the four grids as they are shown.
#pragma once

#include <cstddef>
#include <string>

namespace vorela {

/// The export file's bytes. `separator` "," or a tab.
std::string InterpretationText(char separator);
/// Writes the export file by its path; the separator follows the save dialog's filter (1: comma, 2: tab).
/// Step "Saving data". True when it was written.
bool WriteInterpretation(const std::string& path, int filterIndex);
/// Where a file about a level is saved unless the user says otherwise: beside its database, named after both,
/// without ending. Empty where there is no such level.
std::string ProposedFile(std::size_t dataset);
/// The File menu's entry: save dialog, write, message.
bool SaveInterpretation();

namespace step {
inline constexpr const char* savingData = "Saving data";
}  // namespace step

}  // namespace vorela
