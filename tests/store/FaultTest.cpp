// Every call of a short run fails once, in every way: the run reports it, the file holds the state before or
// after the commit, and the next run goes on.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "dravik/store/Sqlite.h"
#include "tests/store/FaultyVfs.h"
#include "tests/store/StoreTest.h"

namespace dravik::test {
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

/// Each round begins with one recorded curve.
class RoundsTest : public StoreTest {
  protected:
    RoundsTest() {
        Opened(path).New("L/ZG/1", TimeCurve(), Ramp(recorded));
        before_ = ReadAll(path);
        store::SetLongestWait(std::chrono::milliseconds(1));
    }
    ~RoundsTest() override { store::SetLongestWait(std::chrono::seconds(5)); }
    void BeginRound() {
        std::filesystem::remove(path + "-journal");
        WriteAll(path, before_);
    }

  private:
    const FaultyVfs vfs_;
    std::string before_;
};

class FaultTest : public RoundsTest, public testing::WithParamInterface<std::tuple<Fault, bool>> {};

TEST_P(FaultTest, AtTheNthCallLeavesTheStateBeforeOrAfter) {
    const auto [fault, lasting] = GetParam();
    const std::ptrdiff_t descriptors = OpenDescriptors();
    bool fired = true;
    int nth = 0;
    for (nth = 1; fired && !HasFailure(); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        BeginRound();
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
}

/// A recorder's short run on one handle: what fails is rolled back and done again.
void RecordOn(std::int32_t database) {
    const DBNewItem curve = TimeCurve(10, 0, "bbl/d");
    for (std::size_t second = 0; second < 4; ++second) {
        const auto from = static_cast<std::int32_t>(second * appended / 4);
        const auto values = Ramp(appended / 4, static_cast<float>(recorded) + static_cast<float>(from));
        const auto once = [&] {
            std::int32_t item = 0;
            const auto written = [&](const char* name, std::int32_t first) {
                return DBattachA(database, name, &item, 0, nullptr) == DK_OK &&
                       Write(item, first * 10, values) == DK_OK && DBdetach(item) == DK_OK;
            };
            if (DBbegin(database) != DK_OK)
                return false;
            const bool complete = (second > 0 || DBnewA(database, "M/Q/1", &curve) == DK_OK) &&
                                  written("M/Q/1", from) &&
                                  written("L/ZG/1", static_cast<std::int32_t>(recorded) + from);
            return complete ? DBcommit(database) == DK_OK : (DBrollback(database), false);
        };
        while (!once() && FaultyVfs::Fired())
            FaultyVfs::Disarm();
    }
}

TEST_P(FaultTest, AtTheNthCallIsOverOnTheSameHandleWhenItIsOver) {
    const auto [fault, lasting] = GetParam();
    bool fired = true;
    for (int nth = 1; fired && !HasFailure(); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        BeginRound();
        {
            const Opened database(path);
            FaultyVfs::Arm(fault, nth, lasting);
            RecordOn(database.handle);
            fired = FaultyVfs::Fired();
            FaultyVfs::Disarm();
            EXPECT_EQ(database.Verify(), DK_OK) << DBlastdetail();
            EXPECT_EQ(Read(database.Attach("M/Q/1"), 0, appended).values,
                      Ramp(appended, static_cast<float>(recorded)));
        }
        EXPECT_TRUE(HoldsTheExtension(path));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryWay, FaultTest,
                         testing::Combine(testing::Values(Fault::readError, Fault::writeError,
                                                          Fault::diskFull, Fault::syncError, Fault::lockBusy,
                                                          Fault::openError, Fault::deleteError),
                                          testing::Bool()));

class CommitTest : public StoreTest {};

TEST_F(RoundsTest, AKilledWriterLeavesOneStateWhereverItWas) {
    int status = 1;
    for (int nth = 1; status != 0 && !HasFailure(); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        BeginRound();
        const pid_t child = fork();
        if (child == 0) {
            std::int32_t database = 0;
            DBopenA(path.c_str(), DK_OPEN_EXISTING, &database);
            FaultyVfs::Arm(Fault::kill, nth, false);
            RecordOn(database);
            _exit(0);
        }
        ASSERT_EQ(waitpid(child, &status, 0), child);
        const Opened database(path, DK_OPEN_EXISTING);
        EXPECT_EQ(database.Verify(), DK_OK) << DBlastdetail();
        const std::int32_t last = database.Information("L/ZG/1").Last() / 10 + 1;
        EXPECT_EQ((last - static_cast<std::int32_t>(recorded)) % static_cast<std::int32_t>(appended / 4), 0);
        const auto length = static_cast<std::size_t>(last);
        EXPECT_EQ(Read(database.Attach("L/ZG/1"), 0, length).values, Ramp(length));
    }
}

TEST_F(CommitTest, AFileAtItsSizeLimitIsAFullDiskAndGoesOnWhenThereIsRoom) {
    const Opened database(path);
    std::int32_t item = database.New("L/ZG/1", TimeCurve(), Ramp(recorded));
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    auto truth = Ramp(recorded);
    int full = 0;
    const int rounds = Rounds("VORELA_STORE_FULL", 10);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        // Room for some of the new pages, or for some of the journal only.
        const rlim_t grown = round % 3 == 0 ? std::filesystem::file_size(path) : 0;
        const rlimit tight{grown + static_cast<rlim_t>(round % 7) * 20000, usual.rlim_max};
        const auto more = Ramp(recorded, static_cast<float>(truth.size()));
        const auto at = static_cast<std::int32_t>(truth.size()) * 10;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
        const bool explicitly = round % 2 == 0 && DBbegin(database.handle) == DK_OK;
        std::int32_t status = Write(item, at, more);
        if (explicitly)
            status = std::max(status, DBcommit(database.handle));
        const std::string said = DBlastdetail();
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
        EXPECT_TRUE(status == DK_DISK_ERROR || status == DK_OK) << status;
        full += status == DK_OK ? 0 : 1;
        if (status != DK_OK) {
            EXPECT_TRUE(explicitly || said.find("full") != std::string::npos) << said;
            EXPECT_EQ(database.Information("L/ZG/1").Last(), at - 10);
            EXPECT_EQ(Write(item, at, more), DK_OK) << "on the same handle: " << DBlastdetail();
        }
        truth.insert(truth.end(), more.begin(), more.end());
        EXPECT_EQ(Read(item, at - 1000, recorded).values.back(), truth[truth.size() - 101]);
        EXPECT_EQ(database.Verify(), DK_OK) << DBlastdetail();
        if (truth.size() > 400000) {
            ASSERT_EQ(DBdeleteA(database.handle, "L/ZG/1"), DK_OK);
            truth = Ramp(recorded);
            DBdetach(std::exchange(item, database.New("L/ZG/1", TimeCurve(), truth)));
        }
    }
    EXPECT_EQ(Read(item, 0, truth.size()).values, truth);
    EXPECT_GT(full, rounds / 3) << "rounds that met a full disk";
}

TEST_F(CommitTest, WhatUndoesOneCallOfManyNeedsNoTemporaryFile) {
    const FaultyVfs vfs;
    const Opened database(path);
    const std::int32_t item = database.New("L/ZG/1", TimeCurve(), Ramp(4 * appended));
    ASSERT_EQ(DBbegin(database.handle), DK_OK);
    for (const float from : {1.0F, 2.0F})  // the second call changes what the transaction has changed
        ASSERT_EQ(Write(item, 0, Ramp(4 * appended, from)), DK_OK);
    EXPECT_EQ(DBcommit(database.handle), DK_OK);
    EXPECT_EQ(FaultyVfs::TemporaryFiles(), 0);
}

TEST_F(RoundsTest, ACommitRollsBackWhenAReaderKeepsItOutForTooLong) {
    sqlite3* reader = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &reader), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT count(*) FROM items2", nullptr, nullptr, nullptr),
              SQLITE_OK);
    const Opened database(path);
    ASSERT_EQ(DBbegin(database.handle), DK_OK);
    EXPECT_EQ(Write(database.Attach("L/ZG/1"), recorded * 10, {1}), DK_OK);
    EXPECT_EQ(DBcommit(database.handle), DK_DISK_ERROR);
    EXPECT_STRNE(DBlastdetail(), "");
    sqlite3_close(reader);
    EXPECT_EQ(database.Information("L/ZG/1").Last(), (recorded - 1) * 10);
    EXPECT_EQ(DBbegin(database.handle), DK_OK) << "the next transaction goes on";
}

}  // namespace
}  // namespace dravik::test
