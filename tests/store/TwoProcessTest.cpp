// Two processes on one file.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/store/StoreTest.h"

namespace dravik::test {
namespace {

constexpr std::int32_t piece = 700;
constexpr const char* curve = "L/A/1";

class TwoProcessTest : public StoreTest {};

TEST_F(TwoProcessTest, MakersOfOneDatabaseAllFindIt) {
    constexpr int makers = 4;
    const std::string leftover = folder.File(".a.dkb.making-1");
    for (int round = 0; round < Rounds("VORELA_STORE_MAKERS", 10) && !HasFailure(); ++round) {
        std::filesystem::remove(path);
        WriteAll(leftover, "half a datab");
        for (int maker = 0; maker < makers; ++maker) {
            if (fork() != 0)
                continue;
            const Opened database(path);
            const DBNewItem attributes = TimeCurve();
            const std::string name = "L" + std::to_string(maker) + "/A/1";
            _exit(database.status == DK_OK && DBnewA(database.handle, name.c_str(), &attributes) == DK_OK
                      ? 0
                      : 3);
        }
        int left = makers;
        for (int status = 0; left > 0;) {
            std::int32_t early = 0;  // what a reader meets meanwhile: nothing, or a whole database
            const std::int32_t opened = DBopenA(path.c_str(), DK_OPEN_READ_ONLY, &early);
            EXPECT_TRUE(opened == DK_OK ? DBclose(early) == DK_OK : opened == DK_DISK_ERROR) << opened;
            if (waitpid(-1, &status, WNOHANG) == 0)
                continue;
            EXPECT_EQ(status, 0);
            --left;
        }
        const Opened database(path, DK_OPEN_EXISTING);
        for (int maker = 0; maker < makers; ++maker)
            DBdetach(database.Attach("L" + std::to_string(maker) + "/A/1"));
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1)
            << "nothing left over";
    }
}

TEST_F(TwoProcessTest, AWriterWithoutARestLetsAnotherOneIn) {
    Opened(path).New(curve);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    constexpr int turns = 50;
    const pid_t child = fork();
    if (child == 0) {
        const Opened database(path, DK_OPEN_EXISTING);
        const std::int32_t item = database.Attach(curve);
        const std::vector<float> values(piece);
        while (DBbegin(database.handle) == DK_OK && DBwrite(item, 0, piece, values.data()) == DK_OK &&
               DBcommit(database.handle) == DK_OK)
            if (write(ends[1], "", 1) != 1)
                break;
        _exit(3);
    }
    close(ends[1]);
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
    EXPECT_LT(kept, 2 * turns) << "commits that another writer had to wait for";
}

}  // namespace
}  // namespace dravik::test
