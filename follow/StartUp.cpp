#include "follow/StartUp.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "analysis/modMatchFilter.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlot.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr const char* cursorsSection = "Cursors";
constexpr const char* helpFileName = "Vorela.hlp";

std::string& HelpFileState() {
    static std::string path;
    return path;
}

std::int32_t Hundredths(const std::string& version) {
    return RoundTo<std::int32_t>(LeadingNumber(version) * 100, "CheckIniFile");
}

/// What the loader said goes to standard error: the report itself has no description.
bool Explained(bool loaded) {
    if (!loaded)
        std::fprintf(stderr, "Vorela: %s\n", LoadedLibraries().loadDetail.c_str());
    return loaded;
}

}  // namespace

std::string VersionText(const ProgramVersion& version) {
    return std::to_string(version.major) + "." + std::to_string(version.minor) +
           std::to_string(version.revision);
}

void StampVersion(const ProgramVersion& version, const std::string& filePath) {
    const std::int32_t stored = Hundredths(ReadIniString("Version", "Version", "", filePath));
    const std::string current = VersionText(version);
    if (stored >= 0 && stored != Hundredths(current))
        WriteIniString("Version", "Version", current, filePath);
}

bool CheckIniFile() {
    return Attempt("Checking ini file", false, [] {
        SetSettingsFilePath(DefaultSettingsFilePath());
        // Whether the file exists is not asked: a missing one is no error, the first write creates it.
        StampVersion(programVersion, SettingsFilePath());
        return true;
    });
}

const std::string& HelpFilePath() {
    return HelpFileState();
}

CursorPositions ReadCursorSettings() {
    const auto read = [](const char* key, const char* defaultText) {
        const std::string text = Trimmed(ReadIniString(cursorsSection, key, defaultText, SettingsFilePath()));
        // A place beyond single precision is none, be it a number of double precision or not even that.
        float single = 0.0F;
        const bool beyond = std::from_chars(text.data(), text.data() + text.size(), single).ec ==
                            std::errc::result_out_of_range;
        return static_cast<float>(LeadingNumber(beyond ? defaultText : text));
    };
    return {read("Cursor1", "33.33"), read("Cursor2", "66.33")};
}

void WriteCursorSettings(const CursorPositions& positions) {
    WriteIniString(cursorsSection, "Cursor1", ShortestText(positions.cursor1), SettingsFilePath());
    WriteIniString(cursorsSection, "Cursor2", ShortestText(positions.cursor2), SettingsFilePath());
}

CursorPositions& CurrentCursorPositions() {
    static CursorPositions positions;
    return positions;
}

void ComposeRooms() {
    SetSelectedCycleSource([](std::size_t dataset) { return CycleNumberOf(dataset); });
    SetCursorSpanSource([](std::size_t dataset) {
        const PlottedRange range = PlottedRangeOf(dataset);
        return CursorSpan{CurrentCursorPositions().cursor1, CurrentCursorPositions().cursor2, range.start,
                          range.end};
    });
    InstallCycleAnalysis();
}

bool StartUp() {
    return Attempt(step::loadingVorela, false, [] {
        const std::string folder = ApplicationFolder();
        SetSettingsFilePath(DefaultSettingsFilePath());
        HelpFileState() = folder + "/" + helpFileName;
        std::filesystem::current_path(folder);
        if (!CheckIniFile())
            return false;
        // If only the first library loads, the process ends with it still loaded: nothing is left to release
        // it for.
        if (!Explained(LoadDatabaseLibrary()) || !Explained(LoadFilterLibrary()))
            return false;
        ComposeRooms();
        InitialiseDatasetVariables();
        return true;
    });
}

}  // namespace vorela
