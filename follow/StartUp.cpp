#include "follow/StartUp.h"

#include <cstdio>
#include <filesystem>

#include "analysis/modExact.h"
#include "analysis/modMatchFilter.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlot.h"
#include "plot/modPlotFormat.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr const char* versionSection = "Version";
constexpr const char* cursorsSection = "Cursors";
constexpr const char* helpFileName = "Vorela.hlp";

std::string& HelpFileState() {
    static std::string path;
    return path;
}

std::int32_t Hundredths(const std::string& version) {
    return RoundTo<std::int32_t>(LeadingNumber(version) * 100, "CheckIniFile");
}

SettingFields Fields(std::string& version) {
    return {{"Version", &version}};
}

SettingFields Fields(CursorPositions& positions) {
    const SettingRange guide{0, 100, "Cursor position: Out of range"};  // percent
    return {{"Cursor1", &positions.cursor1, guide}, {"Cursor2", &positions.cursor2, guide}};
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

void StampVersion(const ProgramVersion& version) {
    std::string stored;
    ReadFields(versionSection, Fields(stored));
    std::string current = VersionText(version);
    if (Hundredths(stored) >= 0 && Hundredths(stored) != Hundredths(current))
        WriteFields(versionSection, Fields(current));
}

bool CheckIniFile() {
    return Attempt("Checking ini file", false, [] {
        SetSettingsFilePath(DefaultSettingsFilePath());
        // Whether the file exists is not asked: a missing one is no error, the first write creates it.
        StampVersion(RunningVersion());
        return true;
    });
}

const std::string& HelpFilePath() {
    return HelpFileState();
}

CursorPositions ReadCursorSettings() {
    CursorPositions positions;
    ReadFields(cursorsSection, Fields(positions));
    return positions;
}

void WriteCursorSettings(CursorPositions positions) {
    WriteFields(cursorsSection, Fields(positions));
}

std::vector<SettingsSection> CommandLineSettings() {
    return {ParameterSettings(),    DatasetSettings(), {cursorsSection, Fields(CurrentCursorPositions())},
            PresentationSettings(), PlotSettings(),    ExactSettingsSection()};
}

std::vector<std::string> RemarksOnSettings(const std::string& filePath) {
    std::vector<SettingsSection> sections = CommandLineSettings();
    bool snap = true;
    for (SettingsSection& section : sections) {
        if (section.name == cursorsSection)
            section.fields.push_back({"Snap", &snap});
        // The window keeps what it shows: a cursor drawn beyond the edge, a level without a cycle.
        for (SettingFields* fields : {&section.fields, &section.indexed})
            for (SettingField& field : *fields)
                if (section.name == cursorsSection || field.key == "CycleNo")
                    field.range = {};
    }
    return SettingsRemarks(filePath, sections,
                           {versionSection, "Window", "Recent", "Plan", "Chooser", "Import"});
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
        HelpFileState() = (IsInstalled() ? SharedFolder() : folder) + "/" + helpFileName;
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
