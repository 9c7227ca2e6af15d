// A recorder and a follower on the same file, both killed again and again. VORELA_KILLS sets how often (6
// when it is not set).
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "BuildPaths.h"
#include "follow/ActionQueue.h"
#include "tests/live/LiveSupport.h"

namespace vorela {
namespace {

/// Times real time; a kill comes every tenth of a second or so.
constexpr int speed = 200;

int Kills() {
    const char* count = std::getenv("VORELA_KILLS");
    return count == nullptr ? 6 : std::atoi(count);
}

/// A process that is ended by SIGKILL unless it ends by itself.
class Child {
  public:
    /// Runs `body` in a copy of this process; its result is the exit status.
    explicit Child(const std::function<int()>& body) : process_(fork()) {
        if (process_ == 0)
            _exit(body());
    }
    ~Child() {
        if (process_ > 0)
            kill(process_, SIGKILL);
        Wait();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    /// Exit status; −1 when it was killed.
    int Wait() {
        int status = 0;
        if (process_ > 0)
            waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    bool HasEnded() {
        if (process_ > 0 && waitpid(process_, nullptr, WNOHANG) == process_)
            process_ = -1;
        return process_ < 0;
    }

  private:
    pid_t process_;
};

class TwoProcessTest : public test::LiveFixture {
  protected:
    int Record(const std::string& database, int recordSpeed) const {
        const std::string command =
            "exec '" VORELA_BIN_DIR "/dravik' record " + database +
            " LEVEL1 --simulate --levels 1 --period 20 --noise 0.05 --drift 3 --cycles " +
            std::to_string(cycles) + " --speed " + std::to_string(recordSpeed) + " --ack >>" +
            folder.File("acknowledged");
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        return 127;
    }
    /// Follows until the recording has ended, without the pause between passes.
    int FollowQuickly() {
        std::vector<DatasetRecord> records;
        while (access(DatabasePath().c_str(), R_OK) != 0 ||
               !ReadDatasets(DatabasePath(), {"LEVEL1"}, records))
            usleep(2000);
        if (!AppendDatasets(std::move(records)))
            return 1;
        int failed = 0;
        do
            failed = ExtendDataset(0) ? 0 : failed + 1;
        while (CurrentSelection().datasets[0].pendingFlag != 0 && failed < 20);
        return failed == 0 ? 0 : 2;
    }
    /// Time index of the last sample whose commit was acknowledged.
    std::int32_t LastAcknowledged() const {
        std::istringstream lines(test::ReadAll(folder.File("acknowledged")));
        std::int32_t last = -1;
        for (std::string line; std::getline(lines, line) && !lines.eof();)
            last = std::stoi(line);
        return last;
    }
    std::string Results(const std::string& database, const std::string& options) const {
        const std::string json = folder.File("results.json");
        const test::CommandResult run =
            test::Run("'" VORELA_BIN_DIR "/vorela-batch' " + database + " LEVEL1 --settings " +
                      folder.File("none.ini") + " --set Parameters.Period=20 --set Parameters.DFilt=1" +
                      " --set Parameters.DLen=1.5 --json " + json + options);
        EXPECT_EQ(run.status, 0) << run.err;
        std::string text = test::ReadAll(json);
        for (std::size_t at; (at = text.find(database)) != std::string::npos;)
            text.replace(at, database.size(), "DATABASE");
        return text;
    }

    int cycles = 12 + Kills();
};

TEST_F(TwoProcessTest, LoseNothingThatWasAcknowledgedAndEndAtTheResultsOfOneRun) {
    test::Use({1, false, 1, 1.5}, 20.0);
    std::mt19937 random{5};
    const auto below = [&](unsigned limit) { return static_cast<useconds_t>(random() % limit); };
    std::optional<Child> recorder;
    std::optional<Child> follower;
    for (int kills = 1; kills <= Kills(); ++kills) {
        if (!recorder || recorder->HasEnded())
            recorder.emplace([&] { return Record(DatabasePath(), speed); });
        if (!follower || follower->HasEnded())
            follower.emplace([&] { return FollowQuickly(); });
        // Now and then at once, so that starting and rolling back are hit too.
        usleep(below(4) == 0 ? below(15000) : 20000 + below(120000));
        const bool both = below(8) == 0;
        const bool first = below(2) == 0;
        if (both || first)
            recorder.reset();
        if (both || !first)
            follower.reset();
        const std::int32_t acknowledged = kills % 5 == 0 ? LastAcknowledged() : -1;
        if (acknowledged >= 0) {
            ASSERT_GE(ReadCurve("LEVEL1", "RTC").info.extentLast, acknowledged) << "after kill " << kills;
            const std::int32_t pressureEnd = ReadCurve("LEVEL1", "ZG").info.extentLast;
            ASSERT_TRUE(recorder || pressureEnd == ReadCurve("LEVEL1", "PVLT").info.extentLast)
                << "half a commit";
        }
    }
    recorder.reset();
    follower.reset();

    // Both go on to the end, the follower as the program that the field runs.
    const std::int32_t acknowledged = LastAcknowledged();
    recorder.emplace([&] { return Record(DatabasePath(), 2 * speed); });
    for (int waited = 0; acknowledged < 0 && LastAcknowledged() < 0 && waited < 1000; ++waited)
        usleep(10000);
    const std::string followed = Results(DatabasePath(), " --follow");
    EXPECT_EQ(recorder->Wait(), 0);
    const test::CommandResult check = test::Run("'" VORELA_BIN_DIR "/dravik' check " + DatabasePath());
    EXPECT_EQ(check.status, 0) << check.out << check.err;

    const std::string undisturbed = folder.File("undisturbed.vdb");
    EXPECT_EQ(Child([&] { return Record(undisturbed, 0); }).Wait(), 0);
    EXPECT_EQ(followed, Results(undisturbed, ""));
    EXPECT_NE(followed.find("\"number\": 11,"), std::string::npos) << followed.substr(0, 500);
    const std::string exportBoth =
        " LEVEL1 --curves ZG,RTC,PVLID,PVLIDT,PVLT,ZG_p,RTC_qs,PVLSIG,RTC_f -o " + folder.File("");
    EXPECT_EQ(test::Run("'" VORELA_BIN_DIR "/dravik' export " + DatabasePath() + exportBoth + "a.csv").status,
              0);
    EXPECT_EQ(test::Run("'" VORELA_BIN_DIR "/dravik' export " + undisturbed + exportBoth + "b.csv").status,
              0);
    EXPECT_TRUE(test::ReadAll(folder.File("a.csv")) == test::ReadAll(folder.File("b.csv")));
}

}  // namespace
}  // namespace vorela
