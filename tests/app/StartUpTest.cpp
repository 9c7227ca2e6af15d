#include "BuildPaths.h"
#include "db/DatasetRecord.h"
#include "follow/StartUp.h"
#include "platform/Application.h"
#include "platform/DravikLibraries.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

class StartUpTest : public test::SettingsFixture {};

TEST_F(StartUpTest, StampsOnlyAVersionThatDiffers) {
    EXPECT_EQ(VersionText({1, 0, 5}), "1.05");
    EXPECT_EQ(VersionText({2, 1, 12}), "2.112");
    const std::tuple<const char*, ProgramVersion, const char*> cases[] = {
        {"", {1, 0, 5}, "[Version]\r\nVersion=1.05\r\n"},
        {"[Version]\nVersion=1.05 \n", {1, 0, 5}, "[Version]\nVersion=1.05 \n"},
        {"[Version]\nVersion=1.05\n[Plot]\nY1=3\n", {1, 0, 6}, "[Version]\nVersion=1.06\n[Plot]\nY1=3\n"},
        {"[Version]\nVersion=abc\n", {1, 0, 5}, "[Version]\nVersion=1.05\n"},
        {"[Version]\nVersion=-1\n", {1, 0, 5}, "[Version]\nVersion=-1\n"},
        {"[Version]\nVersion=1.054\n", {1, 0, 5}, "[Version]\nVersion=1.054\n"},
    };
    for (const auto& [before, running, after] : cases) {
        WriteSettings(before);
        StampVersion(running);
        EXPECT_EQ(Settings(), after) << before;
    }
}

TEST_F(StartUpTest, CursorsStandAtTheirUnevenDefaultsUntilTheyAreMoved) {
    EXPECT_EQ(ReadCursorSettings().cursor1, 33.33F);
    EXPECT_EQ(ReadCursorSettings().cursor2, 66.33F);
    WriteCursorSettings({12.5F, 150.0F});
    EXPECT_EQ(Settings(), "[Cursors]\r\nCursor1=12.5\r\nCursor2=150\r\n");
    EXPECT_EQ(ReadCursorSettings().cursor2, 150.0F);
    // Keys of garbage read as 0, as every number of the settings does.
    WriteSettings("[Cursors]\nCursor1=x\n");
    EXPECT_EQ(ReadCursorSettings().cursor1, 0.0F);
    WriteSettings("[Cursors]\nCursor1=1e39\nCursor2=-1e999\n");
    EXPECT_EQ(ReadCursorSettings().cursor1, 33.33F);
    EXPECT_EQ(ReadCursorSettings().cursor2, 66.33F);
}

TEST_F(StartUpTest, StartsInItsOwnFolderWithBothLibrariesOrNotAtAll) {
    const auto before = std::filesystem::current_path();
    const std::string own = DefaultSettingsFilePath();
    const bool hadSettings = std::filesystem::exists(own);
    const auto startWith = [this](const std::string& registry) {
        FreeLibraries();
        setenv("VORELA_REGISTRY", registry.c_str(), 1);
        return StartUp();
    };
    test::WriteAll(folder.File("elsewhere.reg"), "Windows Registry Editor Version 5.00\r\n");
    EXPECT_FALSE(startWith(folder.File("elsewhere.reg")));
    EXPECT_EQ(ports.boxes.size(), 1U);
    const std::uint64_t generation = CurrentSelection().generation;
    EXPECT_TRUE(startWith(VORELA_BIN_DIR "/vorela.reg"));
    EXPECT_EQ(std::filesystem::current_path(), ApplicationFolder());
    EXPECT_EQ(HelpFilePath(), ApplicationFolder() + "/Vorela.hlp");
    EXPECT_EQ(SettingsFilePath(), own);
    EXPECT_EQ(ReadIniString("Version", "Version", "", own), "1.05");
    EXPECT_TRUE(LoadedLibraries().databaseHandle != nullptr && LoadedLibraries().filterHandle != nullptr);
    EXPECT_GT(CurrentSelection().generation, generation);
    if (!hadSettings)
        std::filesystem::remove(own);
    std::filesystem::current_path(before);
}

}  // namespace
}  // namespace vorela
