// The cycle record of a dataset as texts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vorela {

struct CycleRecord;

/// The name of the entry that stands for all cycles together.
inline constexpr const char* windowText = "Window";

/// What the record holds at an entry (0-based): period, then phase and amplitude of valve, pressure and flow.
/// Empty where there is none.
std::vector<std::string> EntryTexts(const CycleRecord& cycles, std::size_t entry);

/// The selected cycle's number, or "Window".
std::string SelectedCycleText(const CycleRecord& cycles);

/// Entries of a cycle chooser: "1", "2", …, "Window".
std::vector<std::string> CycleChoices(std::size_t dataset);

/// Why a level has no cycles and how to get them, in sentences; "" when it has some.
std::string MissingCyclesText(std::size_t dataset);

/// Rows of the cycle information dialog: header and one row for each cycle, the window among them.
std::vector<std::vector<std::string>> CycleInformationRows(std::size_t dataset);

}  // namespace vorela
