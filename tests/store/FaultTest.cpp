// Every call of a short run fails once, in every way: the run reports it, the file holds the state before or
// after the commit, and the next run goes on.

#include "dravik/store/Sqlite.h"
#include "tests/store/FaultyVfs.h"
#include "tests/store/StoreTest.h"

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

/// Appends to one curve and makes another in one transaction; reads.
Report Extend(const std::string& path, bool lasting = false) {
    Report report;
    const Opened opened(path);
    report.Note(opened.status);
    if (report.worst == DK_OK)
        report.Note(DBbegin(opened.handle));
    if (report.worst != DK_OK)
        return report;
    const std::int32_t database = opened.handle;
    std::int32_t item = 0;
    const DBNewItem curve = TimeCurve(10, 0, "bbl/d");
    const auto values = Ramp(appended, static_cast<float>(recorded));
    report.Note(DBattachA(database, "L/ZG/1", &item, 0, nullptr));
    report.Note(Write(item, recorded * 10, values));
    report.Note(DBnewA(database, "M/Q/1", &curve));
    report.Note(DBattachA(database, "M/Q/1", &item, 0, nullptr));
    report.Note(Write(item, 0, values));
    const bool complete = report.worst == DK_OK;
    report.commit = complete ? DBcommit(database) : DK_UNSPECIFIED;
    if (complete && report.commit != DK_OK) {
        const std::int32_t after = DBattachA(database, "M/Q/1", &item, 0, nullptr);
        EXPECT_TRUE(after == DK_NOT_AVAILABLE || (lasting && after == DK_DISK_ERROR))
            << "a failed commit has rolled back: " << after;
    }
    report.Note(report.commit);
    item = 0;
    report.Note(DBattachA(database, "L/ZG/1", &item, 0, nullptr));
    const Reading reading = Read(item, 0, recorded);
    EXPECT_TRUE(reading.status != DK_OK || reading.values == Ramp(recorded));
    report.Note(reading.status);
    return report;
}

/// Whether the second curve is there; the first must agree, and all be sound.
bool HoldsTheExtension(const std::string& path) {
    const Opened database(path, DK_OPEN_EXISTING);
    EXPECT_EQ(database.status, DK_OK) << DBlastdetail();
    EXPECT_EQ(database.Verify(), DK_OK) << DBlastdetail();
    std::int32_t item = 0;
    const bool extended = DBattachA(database.handle, "M/Q/1", &item, 0, nullptr) == DK_OK;
    const std::size_t length = recorded + (extended ? appended : 0);
    EXPECT_EQ(Read(database.Attach("L/ZG/1"), 0, length).values, Ramp(length));
    EXPECT_EQ(database.Information("L/ZG/1").Last(), static_cast<std::int32_t>(length - 1) * 10);
    return extended;
}

class FaultTest : public StoreTest, public testing::WithParamInterface<std::tuple<Fault, bool>> {
    const FaultyVfs vfs;
};

TEST_P(FaultTest, AtTheNthCallLeavesTheStateBeforeOrAfter) {
    const auto [fault, lasting] = GetParam();
    store::SetLongestWait(std::chrono::milliseconds(1));
    Opened(path).New("L/ZG/1", TimeCurve(), Ramp(recorded));
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

class CommitTest : public StoreTest {};

TEST_F(CommitTest, RollsBackWhenAReaderKeepsItOutForTooLong) {
    Opened(path).New("L/ZG/1", TimeCurve(), Ramp(recorded));
    sqlite3* reader = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &reader), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT count(*) FROM items", nullptr, nullptr, nullptr),
              SQLITE_OK);
    store::SetLongestWait(std::chrono::milliseconds(20));
    const Opened database(path);
    ASSERT_EQ(DBbegin(database.handle), DK_OK);
    EXPECT_EQ(Write(database.Attach("L/ZG/1"), recorded * 10, {1}), DK_OK);
    EXPECT_EQ(DBcommit(database.handle), DK_DISK_ERROR);
    EXPECT_STRNE(DBlastdetail(), "");
    sqlite3_close(reader);
    store::SetLongestWait(std::chrono::seconds(5));
    EXPECT_EQ(database.Information("L/ZG/1").Last(), (recorded - 1) * 10);
    EXPECT_EQ(DBbegin(database.handle), DK_OK) << "the next transaction goes on";
}

}  // namespace
}  // namespace vorela::test
