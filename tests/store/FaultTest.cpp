// Every call of a short run fails once, in every way: the run reports it, the file holds the state before or
// after the commit, and the next run goes on.
#include <sqlite3.h>

#include <filesystem>
#include <iterator>

#include "dravik/store/Sqlite.h"
#include "tests/store/FaultyVfs.h"
#include "tests/store/Module.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

constexpr std::size_t recorded = 20000;
constexpr std::size_t appended = 30000;

std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// What a run has reported.
struct Report {
    std::int32_t worst = DK_OK;
    std::int32_t commit = -1;
    void Note(std::int32_t status) { worst = std::max(worst, status); }
};

void MakeDatabase(const std::string& path) {
    const Opened database(path);
    ASSERT_EQ(Dk().DBbegin(database.handle), DK_OK);
    const auto values = Ramp(recorded);
    ASSERT_EQ(
        Dk().DBwrite(database.New("L/ZG/1"), 0, static_cast<std::int32_t>(values.size()), values.data()),
        DK_OK);
    ASSERT_EQ(Dk().DBcommit(database.handle), DK_OK);
}

/// Appends to one curve and makes another in one transaction; reads.
Report Extend(const std::string& path, bool lasting = false) {
    Report report;
    std::int32_t database = 0;
    std::int32_t item = 0;
    report.Note(Dk().DBopenA(path.c_str(), DK_OPEN_CREATE, &database));
    if (report.worst != DK_OK)
        return report;
    const DBNewItem curve = TimeCurve(10, 0, "bbl/d");
    const auto values = Ramp(appended, static_cast<float>(recorded));
    report.Note(Dk().DBbegin(database));
    if (report.worst != DK_OK) {
        EXPECT_EQ(Dk().DBclose(database), DK_OK);
        return report;
    }
    report.Note(Dk().DBattachA(database, "L/ZG/1", &item, 0, nullptr));
    report.Note(Dk().DBwrite(item, recorded * 10, appended, values.data()));
    report.Note(Dk().DBnewA(database, "M/Q/1", &curve));
    report.Note(Dk().DBattachA(database, "M/Q/1", &item, 0, nullptr));
    report.Note(Dk().DBwrite(item, 0, appended, values.data()));
    const bool complete = report.worst == DK_OK;
    report.commit = complete ? Dk().DBcommit(database) : DK_UNSPECIFIED;
    if (complete && report.commit != DK_OK) {
        const std::int32_t after = Dk().DBattachA(database, "M/Q/1", &item, 0, nullptr);
        EXPECT_TRUE(after == DK_NOT_AVAILABLE || (lasting && after == DK_DISK_ERROR))
            << "a failed commit has rolled back: " << after;
    }
    report.Note(report.commit);
    std::vector<float> back(recorded, -1.0F);
    const std::vector<float> untouched = back;
    std::int32_t status = Dk().DBattachA(database, "L/ZG/1", &item, 0, nullptr);
    if (status == DK_OK)
        status = Dk().DBread(item, 0, recorded, back.data());
    EXPECT_EQ(back, status == DK_OK ? Ramp(recorded) : untouched);
    report.Note(status);
    EXPECT_EQ(Dk().DBclose(database), DK_OK);
    return report;
}

/// Whether the second curve is there; the first must agree, and all be sound.
bool HoldsTheExtension(const std::string& path) {
    const Opened database(path, DK_OPEN_EXISTING);
    EXPECT_EQ(database.status, DK_OK) << Dk().DBlastdetail();
    EXPECT_EQ(Dk().DBverify(database.handle, nullptr, nullptr), DK_OK) << Dk().DBlastdetail();
    std::int32_t item = 0;
    const bool extended = Dk().DBattachA(database.handle, "M/Q/1", &item, 0, nullptr) == DK_OK;
    const std::size_t length = recorded + (extended ? appended : 0);
    std::vector<float> back(length);
    EXPECT_EQ(Dk().DBread(database.Attach("L/ZG/1"), 0, static_cast<std::int32_t>(length), back.data()),
              DK_OK);
    EXPECT_EQ(back, Ramp(length));
    EXPECT_EQ(database.Information("L/ZG/1").Last(), static_cast<std::int32_t>(length - 1) * 10);
    return extended;
}

class FaultTest : public testing::TestWithParam<std::tuple<Fault, bool>> {
  protected:
    FaultyVfs vfs;
    TempFolder folder;
    std::string path = folder.File("a.dkb");
};

TEST_P(FaultTest, AtTheNthCallLeavesTheStateBeforeOrAfter) {
    const auto [fault, lasting] = GetParam();
    store::SetLongestWait(std::chrono::milliseconds(1));
    MakeDatabase(path);
    const std::string before = ReadAll(path);
    const std::ptrdiff_t descriptors = OpenDescriptors();
    bool fired = true;
    int nth = 0;
    for (nth = 1; fired && !HasFailure(); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        std::filesystem::remove(path + "-journal");
        WriteAll(path, before);
        FaultyVfs::Arm(fault, nth, lasting);
        const Report report = Extend(path, lasting);
        fired = FaultyVfs::Fired();
        FaultyVfs::Disarm();
        EXPECT_TRUE(report.worst == DK_OK || (report.worst & (DK_DISK_ERROR | DK_UNSPECIFIED)) != 0)
            << report.worst;
        EXPECT_EQ(HoldsTheExtension(path), report.commit == DK_OK);
        EXPECT_EQ(OpenDescriptors(), descriptors);
        if (report.commit != DK_OK) {
            EXPECT_EQ(Extend(path).worst, DK_OK) << "the next run goes on";
            EXPECT_TRUE(HoldsTheExtension(path));
        }
    }
    EXPECT_GT(nth, 2) << "the run makes calls of this kind";
    store::SetLongestWait(std::chrono::seconds(5));
}

INSTANTIATE_TEST_SUITE_P(EveryWay, FaultTest,
                         testing::Combine(testing::Values(Fault::readError, Fault::writeError,
                                                          Fault::diskFull, Fault::syncError, Fault::lockBusy,
                                                          Fault::openError, Fault::deleteError),
                                          testing::Bool()));

TEST(CommitTest, RollsBackWhenAReaderKeepsItOutForTooLong) {
    const TempFolder folder;
    const std::string path = folder.File("a.dkb");
    MakeDatabase(path);
    sqlite3* reader = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &reader), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT count(*) FROM items", nullptr, nullptr, nullptr),
              SQLITE_OK);
    store::SetLongestWait(std::chrono::milliseconds(20));
    const Opened database(path);
    ASSERT_EQ(Dk().DBbegin(database.handle), DK_OK);
    const float more = 1.0F;
    EXPECT_EQ(Dk().DBwrite(database.Attach("L/ZG/1"), recorded * 10, 1, &more), DK_OK);
    EXPECT_EQ(Dk().DBcommit(database.handle), DK_DISK_ERROR);
    EXPECT_STRNE(Dk().DBlastdetail(), "");
    sqlite3_close(reader);
    store::SetLongestWait(std::chrono::seconds(5));
    EXPECT_EQ(database.Information("L/ZG/1").Last(), (recorded - 1) * 10);
    EXPECT_EQ(Dk().DBbegin(database.handle), DK_OK) << "the next transaction goes on";
}

}  // namespace
}  // namespace vorela::test
