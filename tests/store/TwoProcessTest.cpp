// A recorder and a follower on one file; the recorder is killed at random moments.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>

#include "tests/store/StoreTest.h"

namespace vorela::test {
namespace {

constexpr std::int32_t piece = 700;
const char* const curves[] = {"L/A/1", "L/B/1"};

float SampleAt(std::int32_t sample) {
    return static_cast<float>(sample % 100003) * 0.5F;
}

/// Appends to both curves in one transaction for ever; tells through `pipe` how far it is committed.
[[noreturn]] void Record(const std::string& path, int pipe) {
    while (true) {
        std::int32_t database = 0;
        std::int32_t items[2] = {};
        Block block;
        bool done = DBopenA(path.c_str(), DK_OPEN_EXISTING, &database) == DK_OK && DBbegin(database) == DK_OK;
        for (int i = 0; i < 2; ++i)
            done = done && DBattachA(database, curves[i], &items[i], 0, block.bytes) == DK_OK;
        const std::int32_t next = block.Last() < block.First() ? 0 : block.Last() / 10 + 1;
        std::vector<float> values(piece);
        for (std::int32_t i = 0; i < piece; ++i)
            values[static_cast<std::size_t>(i)] = SampleAt(next + i);
        for (int i = 0; i < 2; ++i)
            done = done && DBwrite(items[i], next * 10, piece, values.data()) == DK_OK;
        done = done && DBcommit(database) == DK_OK && DBclose(database) == DK_OK;
        const std::int32_t acknowledged = next + piece;
        if (!done || write(pipe, &acknowledged, sizeof acknowledged) != sizeof acknowledged)
            _exit(done ? 0 : 3);
    }
}

/// The number of samples of both curves; they must be equal in one view, and the tail must be what was
/// recorded.
std::int32_t Follow(const std::string& path) {
    const Opened database(path, DK_OPEN_EXISTING);
    EXPECT_EQ(database.status, DK_OK) << DBlastdetail();
    EXPECT_EQ(DBbegin(database.handle), DK_OK) << DBlastdetail();
    const std::int32_t first = database.Information(curves[0]).Last();
    EXPECT_EQ(first, database.Information(curves[1]).Last()) << "half an append";
    EXPECT_EQ(DBrollback(database.handle), DK_OK);
    const std::int32_t count = first < 0 ? 0 : first / 10 + 1;
    EXPECT_EQ(count % piece, 0) << "half an append";
    if (count == 0)
        return 0;
    const std::int32_t from = std::max(0, count - 40000);
    const Reading tail = Read(database.Attach(curves[1]), from * 10, static_cast<std::size_t>(count - from));
    EXPECT_EQ(tail.status, DK_OK) << DBlastdetail();
    for (std::int32_t i = from; i < count && !testing::Test::HasFailure(); ++i)
        EXPECT_EQ(tail.values[static_cast<std::size_t>(i - from)], SampleAt(i)) << i;
    return count;
}

class TwoProcessTest : public StoreTest {};

TEST_F(TwoProcessTest, AKilledRecorderLosesNothingThatItAcknowledged) {
    {
        const Opened database(path);
        for (const char* curve : curves)
            database.New(curve);
    }
    const int kills = Rounds("VORELA_STORE_KILLS", 8);
    std::mt19937 random(5);
    std::int32_t acknowledged = 0;
    for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0)
            Record(path, ends[1]);
        close(ends[1]);
        const auto until =
            std::chrono::steady_clock::now() + std::chrono::microseconds(2000 + random() % 150000);
        while (std::chrono::steady_clock::now() < until) {
            if (kill % 2 == 0)
                EXPECT_GE(Follow(path), acknowledged);
            else
                usleep(500);
        }
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status)) << "the recorder failed by itself: " << WEXITSTATUS(status);
        for (std::int32_t told = 0; read(ends[0], &told, sizeof told) == sizeof told;)
            acknowledged = told;
        close(ends[0]);
        EXPECT_GE(Follow(path), acknowledged);
        const Opened database(path, DK_OPEN_EXISTING);
        EXPECT_EQ(database.Verify(), DK_OK) << DBlastdetail();
    }
    EXPECT_GT(acknowledged, 0);
}

TEST_F(TwoProcessTest, AWriterWithoutARestLetsAnotherOneIn) {
    Opened(path).New(curves[0]);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    constexpr int turns = 50;
    const pid_t child = fork();
    if (child == 0) {
        const Opened database(path, DK_OPEN_EXISTING);
        const std::int32_t item = database.Attach(curves[0]);
        const std::vector<float> values(piece);
        while (DBbegin(database.handle) == DK_OK && DBwrite(item, 0, piece, values.data()) == DK_OK &&
               DBcommit(database.handle) == DK_OK)
            if (write(ends[1], "", 1) != 1)
                break;
        _exit(3);
    }
    char told[64];
    ASSERT_EQ(read(ends[0], told, 1), 1);
    ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    const Opened database(path, DK_OPEN_EXISTING);
    ssize_t kept = 0;
    for (int turn = 0; turn < turns; ++turn) {
        usleep(3000);
        while (read(ends[0], told, sizeof told) > 0) {
        }
        EXPECT_EQ(DBbegin(database.handle), DK_OK) << DBlastdetail();
        kept += std::max<ssize_t>(read(ends[0], told, sizeof told), 0);
        EXPECT_EQ(DBrollback(database.handle), DK_OK);
    }
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    EXPECT_LT(kept, 2 * turns) << "commits that another writer had to wait for";
}

}  // namespace
}  // namespace vorela::test
