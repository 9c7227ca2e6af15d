#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

class SettingsFileTest : public test::SettingsFixture {
  protected:
    const std::string path = SettingsFilePath();
};

TEST_F(SettingsFileTest, KeepsCommentsUnknownKeysOrderAndLineEndsWhenOneKeyIsWritten) {
    WriteSettings(
        "; mine\r\n[Plot]\r\nUnknown = 7\r\nY1=0\r\n\r\n[parameters]\r\n;Period=1\r\nperiod=240\r\n");
    EXPECT_TRUE(WriteIniString("Parameters", "PERIOD", "90", path));
    EXPECT_TRUE(WriteIniString("Plot", "Y2", "2", path));
    EXPECT_TRUE(WriteIniString("Cursors", "Cursor1", "33.33", path));
    EXPECT_EQ(
        Settings(),
        "; mine\r\n[Plot]\r\nUnknown = 7\r\nY1=0\r\nY2=2\r\n\r\n[parameters]\r\n;Period=1\r\nPERIOD=90\r\n"
        "[Cursors]\r\nCursor1=33.33\r\n");
    EXPECT_EQ(ReadIniString("PARAMETERS", "Period", "240", path), "90");
}

TEST_F(SettingsFileTest, GivesTheDefaultForWhatIsMissingOrEmpty) {
    EXPECT_EQ(ReadIniString("A", "B", "d", path), "d");
    EXPECT_EQ(ReadIniInteger("A", "B", -1, path), -1);
    WriteSettings("[A]\nempty=\nbad=x1\nnegative=-1\nquoted=\" a b \"\n[B]\nonly=here\n");
    EXPECT_EQ(ReadIniString("A", "empty", "d", path), "d");
    EXPECT_EQ(ReadIniInteger("A", "bad", 5, path), 0);
    EXPECT_EQ(ReadIniInteger("A", "negative", 5, path), -1);
    EXPECT_EQ(ReadIniString("A", "quoted", "", path), " a b ");
    EXPECT_EQ(ReadIniString("A", "only", "other section", path), "other section");
    WriteSettings("\xEF\xBB\xBF[A]\r\nk=v\r\n");
    EXPECT_EQ(ReadIniString("A", "k", "", path), "v");
}

TEST_F(SettingsFileTest, CreatesTheFileOnTheFirstWriteAndCutsAValueReadAt255Characters) {
    EXPECT_TRUE(WriteIniString("A", "long", std::string(300, 'x'), path));
    EXPECT_EQ(Settings(), "[A]\r\nlong=" + std::string(300, 'x') + "\r\n");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1)
        << "nothing beside it";
    EXPECT_EQ(ReadIniString("A", "long", "", path), std::string(255, 'x'));
}

TEST_F(SettingsFileTest, AWriteThatFailsLeavesTheFileAsItWas) {
    EXPECT_FALSE(WriteIniString("A", "k", "v", folder.File("missing/Vorela.ini")));
    WriteSettings("[A]\nk=old\n");
    chmod(path.c_str(), 0444);
    chmod(folder.Path().c_str(), 0777);
    const bool root = geteuid() == 0;  // who may write everything
    ASSERT_TRUE(!root || setresuid(65534, 65534, 0) == 0);
    EXPECT_FALSE(WriteIniString("A", "k", "new", path));
    ASSERT_TRUE(!root || setresuid(0, 0, 0) == 0);
    EXPECT_EQ(Settings(), "[A]\nk=old\n");
}

/// A disk that takes only a part of the new file.
TEST_F(SettingsFileTest, AWriteThatEndsHalfwayLeavesTheFileAsItWas) {
    const std::string before = "[A]\nk=" + std::string(5000, 'x') + "\n[B]\n";
    WriteSettings(before);
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small{3000, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = WriteIniString("B", "k", "new", path);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_FALSE(written);
    EXPECT_EQ(Settings(), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

TEST_F(SettingsFileTest, AnOverlayTakesWritesAndAnswersFirst) {
    WriteSettings("[A]\nk=file\n");
    {
        SettingsOverlay overlay;
        overlay.Set("a", "K", "set");
        EXPECT_EQ(ReadIniString("A", "k", "", path), "set");
        EXPECT_TRUE(WriteIniString("A", "other", "written", path));
        EXPECT_EQ(ReadIniString("A", "other", "", path), "written");
    }
    EXPECT_EQ(ReadIniString("A", "k", "", path), "file");
    EXPECT_EQ(Settings(), "[A]\nk=file\n");
}

}  // namespace
}  // namespace vorela
