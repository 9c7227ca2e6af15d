// The start-up sequence, the settings file's version stamp and the cursor settings. No window here.
#pragma once

#include <string>
#include <vector>

#include "general/SettingsTable.h"
#include "general/Version.h"

namespace vorela {

/// As the settings file holds it: major, point, minor and revision side by side: {1, 0, 5} is "1.05",
/// {2, 1, 12} is "2.112". Everywhere else the version has both its points.
std::string VersionText(const ProgramVersion& version);

/// Writes the version into `[Version]` when the settings file holds another one; other sections are never
/// touched, and a negative stored number leaves the file alone.
void StampVersion(const ProgramVersion& version);
/// Stamps the program's own settings file. False after a report, which ends the program.
bool CheckIniFile();

/// Absolute path of the help file: beside the executable, or where an installation keeps it.
const std::string& HelpFilePath();

/// Positions of the time cursors in percent, as kept in `[Cursors]`. The defaults 33.33 and 66.33 are not
/// symmetric: an old choice of the field crews, kept.
struct CursorPositions {
    float cursor1 = 33.33F;
    float cursor2 = 66.33F;
};
CursorPositions ReadCursorSettings();
void WriteCursorSettings(CursorPositions positions);

/// Every section that the command line can set.
std::vector<SettingsSection> CommandLineSettings();
/// What of a settings file a run from the command line passes over, or takes though no dialog would, a
/// sentence each.
std::vector<std::string> RemarksOnSettings(const std::string& filePath);

/// Everything between the start of the process and the showing of the window, the single instance test left
/// aside: paths, current directory, settings check, both libraries, empty selection. False when the program
/// has to end (its message has been shown).
bool StartUp();

/// Connects the rooms that hand functions down: cycle analysis, selected cycle numbers, plotted range. Called
/// by StartUp and by vorela-batch; `positions` gives the cursors' place.
void ComposeRooms();
CursorPositions& CurrentCursorPositions();

namespace step {
inline constexpr const char* loadingVorela = "Loading Corvane Vorela Utilities";
}  // namespace step

}  // namespace vorela
