// The tool as its users run it: exit status, output, and what is in the database afterwards.
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "dravik/exchange/Datasets.h"
#include "dravik/tool/LinkedLibrary.h"
#include "tests/support/ProgramTest.h"

namespace dravik {
using namespace vorela::test;

namespace {

[[maybe_unused]] const bool isLinked = (LinkDatabaseLibrary(), true);

using testing::HasSubstr;
using vorela::test::CommandResult;

class Dravik : public vorela::test::ProgramTest {
  protected:
    Dravik() : ProgramTest("dravik") {}
    std::string Exported(const std::string& database, const std::string& dataset) const {
        return Run("export " + database + " " + dataset).out;
    }
};

constexpr const char* smallCsv = "TIME,ADPTH,ZG,RTC\ns,ft,psi,rps\n0.00,9000,1,0.5\n0.10,,2,\n0.20,,3,0.7\n";

TEST_F(Dravik, SimulatedDatabaseListsItsLevelsAndPrintsTheirTruth) {
    const CommandResult result = Run("simulate a.dk --levels 3 --cycles 2 --json truth.json");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("0.81758664"));
    const auto truth = nlohmann::json::parse(Bytes("truth.json"));
    EXPECT_EQ(truth["levels"].size(), 3U);
    const std::string list = Run("list a.dk").out;
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 3);
    EXPECT_EQ(Run("list a.dk LEVEL2").out,
              "ZG      psi  10  0  72000\nRTC     rps  10  0  72000\nPVLPOS    -  10  0  72000\n"
              "PVLID     -  10  0  72000\nPVLIDT    -  10  0  72000\nPVLT      -  10  0  72000\n"
              "ADPTH    ft  10  0      0\n");
    EXPECT_THAT(Run("info a.dk LEVEL2 ADPTH").out, HasSubstr("9800"));
    Succeeds("check a.dk");
    EXPECT_TRUE(nlohmann::json::accept(Run("simulate b.dk --cycles 1 --json -").out));
}

TEST_F(Dravik, StatisticsPassOverWhatIsNoNumber) {
    Write("odd.csv", "TIME,ZG\n0,1\n1,2\n2,4\n");
    Succeeds("import a.dk odd.csv");
    const float infinite = std::numeric_limits<float>::infinity();
    const auto infoWithInfinityAt = [&](std::int32_t index) {
        const Database database = OpenDatabase(folder.File("a.dk"), OpenMode::existing);
        Item(database, "odd/ZG/1").Write(index, 1, &infinite);
        return Run("info a.dk odd ZG").out;
    };
    EXPECT_THAT(infoWithInfinityAt(100), HasSubstr("no numbers      1\nleast           1\ngreatest        4\n"
                                                   "mean            2.5\n"));
    infoWithInfinityAt(0);
    EXPECT_THAT(infoWithInfinityAt(200), HasSubstr("no numbers      3\n"));
}

TEST_F(Dravik, ImportMakesADatasetThatExportsTheSameText) {
    Write("pass.csv", smallCsv);
    Succeeds("import a.dk pass.csv");
    EXPECT_EQ(Run("list a.dk pass").out,
              "ZG     psi  10  0  20\nRTC    rps  10  0  20\nADPTH   ft  10  0   0\n");
    Succeeds("export a.dk pass -o again.csv");
    Succeeds("export a.dk pass -o again.las --wrap");
    Succeeds("import b.dk again.csv");
    Succeeds("import c.dk again.las");
    EXPECT_EQ(Exported("b.dk", "again"), Bytes("again.csv"));
    EXPECT_EQ(Exported("c.dk", "again"), Bytes("again.csv"));
    Write("flow.csv", "Clock;Flow\n0;0,25\n0,1;0,5\n0,2;0,75\n");
    Succeeds("import a.dk flow.csv --dataset pass --merge --curves Flow=Q:gpm >/dev/null");
    EXPECT_EQ(Run("export a.dk pass --curves Q").out, "TIME,Q\ns,gpm\n0.00,0.25\n0.10,0.5\n0.20,0.75\n");
    const auto plan = nlohmann::json::parse(Run("import - flow.csv --dry-run --json -").out)[0];
    EXPECT_EQ(plan["separator"], ";");
    EXPECT_EQ(plan["grid"]["samples"], 3);
    EXPECT_EQ(Run("export a.dk pass --curves RTC").out, "TIME,RTC\ns,rps\n0.00,0.5\n0.10,\n0.20,0.7\n");
}

TEST_F(Dravik, DepthOptionAddsTheDepthCurveLast) {
    Write("pass.csv", "TIME,ZG\n5,1\n6,2\n");
    Succeeds("import a.dk pass.csv --dataset deep --depth 9123.5");
    EXPECT_EQ(Exported("a.dk", "deep"), "TIME,ZG,ADPTH\ns,,ft\n5.00,1,9123.5\n6.00,2,\n");
    Write("own.csv", smallCsv);
    Fails("import a.dk own.csv --depth 9000", "ADPTH");
}

TEST_F(Dravik, PresentationRecordHasItsFieldsAtTheirOffsets) {
    Write("pass.csv", "TIME,ZG\n-1.5,1\n100,2\n");
    Succeeds("import a.dk pass.csv --step 50");
    const Database database = OpenDatabase(folder.File("a.dk"), OpenMode::readOnly);
    const std::vector<std::byte> record = Item(database, "pass/_defaults_/1").ReadWholeRecord(32);
    const std::string bytes(reinterpret_cast<const char*>(record.data()), record.size());
    EXPECT_EQ(bytes.substr(0, 6), std::string("\0\0\1\0\2\0", 6)) << "not recorded, by time, two tracks";
    EXPECT_GT(bytes[9], 0x50) << "start of recording: top byte of Unix seconds, this century";
    EXPECT_EQ(bytes.substr(10), std::string("\xFE\xFF\xFF\xFF\x64\0\0\0IMPORT        ", 22))
        << "-2 s to 100 s";
}

TEST_F(Dravik, RefusedInputLeavesTheDatabaseByteIdenticalOrAbsent) {
    Write("good.csv", smallCsv);
    std::string rows = "TIME,ZG\n";
    for (int i = 0; i < 40; ++i)
        rows += std::to_string(i) + ".0," + (i == 20 ? "x" : "1.5") + "\n";
    Write("bad.csv", rows);
    Write("foreign.dk",
          "this is no database, though it is long enough to hold a header" + std::string(200, ' '));
    Fails("import new.dk bad.csv", "bad.csv: line 22: \"x\"");
    Fails("import new.dk missing.csv", "missing.csv: it cannot be read");
    Fails("import new.dk good.csv --dataset a/b", "slash");
    Fails("import new.dk good.csv --dataset " + std::string(67, 'x'), "longer than 66");
    Fails("simulate new.dk --depths 9000,9000", "9000");
    Fails("record new.dk LIVE --from bad.csv", "line 22");
    EXPECT_FALSE(Exists("new.dk"));
    Succeeds("import a.dk good.csv");
    const std::string before = Bytes("a.dk");
    Fails("import a.dk good.csv", "\"good\" exists already");
    Fails("import a.dk bad.csv --replace --dataset good", "line 22");
    EXPECT_EQ(Run("import - bad.csv --dry-run").status, 1);
    Fails("import a.dk good.csv --merge", "has a curve ZG already");
    Fails("valve a.dk good --period 0.3", "0.3 s");
    Fails("valve a.dk nosuch --period 90", "no dataset \"nosuch\"");
    Fails("list a.dk nosuch", "nosuch");
    Fails("info a.dk good NOSUCH", "NOSUCH");
    Fails("export a.dk good --curves ZG,NOSUCH", "NOSUCH");
    Fails("export a.dk good -o no/such/folder.csv", "no/such/folder.csv");
    Fails("record a.dk good --simulate", "is no recording of this");
    std::filesystem::create_symlink(folder.File("a.dk"), folder.File("link.csv"));
    std::filesystem::create_hard_link(folder.File("a.dk"), folder.File("hard.las"));
    for (const char* output : {"link.csv", "hard.las"})
        Fails(std::string("export a.dk good -o ") + output, std::string("-o ") + output, 2);
    Fails("simulate a.dk --json ./a.dk", "--json", 2);
    Fails("simulate new.dk --json ./new.dk", "--json", 2);
    EXPECT_EQ(Bytes("a.dk"), before);
    for (const char* command :
         {"list foreign.dk", "import foreign.dk good.csv", "check foreign.dk", "simulate foreign.dk"})
        Fails(command, "foreign.dk");
    Fails("list missing.dk", "missing.dk: there is no such file");
    Fails("check missing.dk", "missing.dk");
    EXPECT_FALSE(Exists("missing.dk"));
}

TEST_F(Dravik, AnInterruptedImportLeavesNothing) {
    // The signal comes when storing has begun: in a new database, and in one that is there.
    Shell("awk 'BEGIN { print \"T,P\"; for (i = 0; i < 3000000; ++i) print i \",\" i % 977 }' > long.csv");
    const auto interrupted = [&](const std::string& sign) {
        return Shell("dravik import a.dk long.csv & p=$!; until ls " + sign +
                     " >/dev/null 2>&1 || ! kill -0 $p 2>/dev/null; do :; done; kill -INT $p; wait $p");
    };
    const CommandResult made = interrupted("a.dk.new-*");
    EXPECT_NE(made.status, 0);
    EXPECT_THAT(made.err, HasSubstr("long.csv: stopped; nothing of it is in the database"));
    EXPECT_EQ(Shell("ls a.dk*").out, "");
    Write("good.csv", smallCsv);
    Succeeds("import a.dk good.csv");
    const std::string before = Bytes("a.dk");
    EXPECT_NE(interrupted("a.dk-journal").status, 0);
    EXPECT_EQ(Bytes("a.dk"), before);
    EXPECT_EQ(Shell("ls a.dk*").out, "a.dk\n");
}

TEST_F(Dravik, MergedFilesTellZonesThatDiffer) {
    const auto file = [&](const std::string& name, const std::string& zone) {
        std::string text = "Date," + name + "\n";
        for (int i = 10; i < 40; ++i)
            text += "2024-03-14T09:30:" + std::to_string(i) + zone + ",1.5\n";
        Write(name + ".csv", text);
    };
    file("p", "+01:00");
    file("q", "");
    file("r", "+02:00");
    file("s", "+01:00");
    Succeeds("import a.dk p.csv");
    const std::string merge = "import a.dk --dataset p --merge ";
    EXPECT_THAT(Run(merge + "q.csv").out, HasSubstr("only the dataset's start has a zone"));
    EXPECT_THAT(Run(merge + "r.csv").out, HasSubstr("zones of file and dataset differ"));
    EXPECT_THAT(Run(merge + "s.csv").out, testing::Not(HasSubstr("zone")));
    Succeeds("import a.dk q.csv");
    EXPECT_THAT(Run("import a.dk --dataset q --merge r.csv").out,
                HasSubstr("only the file's times have a zone"));
}

TEST_F(Dravik, OfSeveralFilesTheSoundOnesBeforeABadOneStay) {
    Write("one.csv", smallCsv);
    Write("two.csv", "TIME,ZG\n");
    EXPECT_THAT(Run("import a.dk one.csv two.csv").err, HasSubstr("two.csv: no table"));
    EXPECT_EQ(Run("list a.dk").out, "one  time  3 curves  10  0  20  complete\n");
    Succeeds("import a.dk one.csv --replace");
}

TEST_F(Dravik, BadUsageIsStatusTwo) {
    Write("one.csv", smallCsv);
    for (const char* arguments : {"",
                                  "nosuch",
                                  "list",
                                  "simulate a.dk --bogus",
                                  "simulate a.dk --skin 1,2",
                                  "simulate a.dk --skin x",
                                  "simulate a.dk --levels 2 --depths 1",
                                  "simulate a.dk --period 240.001",
                                  "simulate a.dk --porosity 0",
                                  "simulate a.dk --period nan",
                                  "import a.dk one.csv --merge --replace",
                                  "import a.dk one.csv --separator long",
                                  "import a.dk one.csv --depth inf",
                                  "record a.dk one --simulate --speed nan",
                                  "record a.dk one --simulate --commit inf",
                                  "valve a.dk one --period 90 --first 1e9",
                                  "import a.dk one.csv two.csv --dataset x",
                                  "import a.dk one.csv --index up",
                                  "valve a.dk one",
                                  "export a.dk one -o x.pdf",
                                  "record a.dk one",
                                  "record a.dk one --simulate --level 5",
                                  "record a.dk one --simulate --from one.csv"})
        Fails(arguments, "", 2);
    Fails("valve a.dk one --period nan", "--period", 2);
    EXPECT_FALSE(Exists("a.dk"));
    EXPECT_EQ(Run("--help").status, 0);
    EXPECT_THAT(Run("simulate --help").out, HasSubstr("--well-compressibility"));
}

TEST_F(Dravik, FullDevicesAreReportedAndLeaveNoHalfFile) {
    Write("one.csv", smallCsv);
    Succeeds("import a.dk one.csv");
    const CommandResult full = Run("export a.dk one >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("standard output"));
    // The file may grow to 64 blocks only.
    EXPECT_EQ(Shell("trap '' XFSZ; ulimit -f 64; dravik simulate small.dk").status, 1);
    EXPECT_EQ(Run("list small.dk").out, "") << "made, and nothing half in it";
    Succeeds("import small.dk one.csv");
}

TEST_F(Dravik, CheckNamesEachDamagedChunkAndExportNeverShowsOne) {
    Succeeds("simulate a.dk --levels 1 --cycles 30 >/dev/null");
    std::string bytes = Bytes("a.dk");
    std::string ones;  // a valve curve's samples; pages that the file no longer uses may hold them too
    for (int i = 0; i < 32; ++i)
        ones += std::string("\x00\x00\x80\x3f", 4);
    for (std::size_t at = bytes.find(ones); at != std::string::npos; at = bytes.find(ones, at + 16384))
        bytes[at + 2] ^= 1;
    Write("a.dk", bytes);
    const CommandResult result = Run("check a.dk");
    EXPECT_EQ(result.status, 1);
    std::istringstream lines(result.out);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_TRUE(line.starts_with("LEVEL1/PVL") && line.ends_with("are damaged")) << line;
    EXPECT_GE(count, 2U) << "PVLPOS and PVLID hold such runs";
    EXPECT_EQ(Run("export a.dk LEVEL1 -o x.csv").status, 1);
    EXPECT_FALSE(Exists("x.csv"));
}

TEST_F(Dravik, ValveCurvesFollowTheSchedule) {
    Write("p.csv", "TIME,ZG\n0,1\n1,2\n2,3\n3,4\n4,5\n5,6\n6,7\n");
    Succeeds("import a.dk p.csv");
    Succeeds("valve a.dk p --period 6 --first 0");
    EXPECT_EQ(Run("export a.dk p --curves PVLPOS,PVLID,PVLIDT,PVLT").out,
              "TIME,PVLPOS,PVLID,PVLIDT,PVLT\ns,,,,\n0.00,-1,1,0,0\n1.00,-1,3,0,3906\n2.00,-1,3,0,7812\n"
              "3.00,1,1,11718,11718\n4.00,1,1,11718,15625\n5.00,1,1,11718,19531\n6.00,-1,3,23437,23437\n");
    Fails("valve a.dk p --period 6", "PVLPOS already");
    Succeeds("valve a.dk p --period 4 --first 2 --replace");
    const std::string scheduled = Run("export a.dk p --curves PVLPOS,PVLID,PVLIDT,PVLT").out;
    Write("s.csv", "TIME,S,C\n0,0,7\n1,0,7\n2,2,5\n3,2,5\n4,0,7\n5,0,7\n6,0.9,5\n");
    Succeeds("import a.dk s.csv --dataset p --merge >/dev/null");
    Write("times.txt", "2\n4 1\n6,3\n");
    for (const char* way : {"--times times.txt", "--codes C --map 3=5,1=7"}) {
        Succeeds(std::string("valve a.dk p --replace ") + way);
        EXPECT_EQ(Run("export a.dk p --curves PVLPOS,PVLID,PVLIDT,PVLT").out, scheduled) << way;
    }
    Succeeds("valve a.dk p --from S --threshold 0.5 --hysteresis 1 --replace");
    EXPECT_EQ(Run("export a.dk p --curves PVLID,PVLIDT").out,
              "TIME,PVLID,PVLIDT\ns,,\n0.00,1,0\n1.00,1,0\n2.00,3,4882\n3.00,3,4882\n4.00,1,14648\n5.00,1,"
              "14648\n6.00,1,14648\n")
        << "crossed at 1.25 and 3.75 s; 0.9 stays in the band";
    Write("bad.txt", "1\nx\n");
    Fails("valve a.dk p --times bad.txt --replace", "bad.txt: line 2");
    Fails("valve a.dk p --times bad.txt --period 4", "one of", 2);
    Write("d.csv",
          "When;P\n14.03.2024 09:30:00,5;1,5\n14.03.2024 09:30:01,5;2,5\n14.03.2024 09:30:02,5;3,5\n");
    Succeeds("import a.dk d.csv >/dev/null");
    EXPECT_EQ(
        Run("export a.dk d --time-format dates").out,
        "TIME,P\n,\n2024-03-14T09:30:00.500,1.5\n2024-03-14T09:30:01.500,2.5\n2024-03-14T09:30:02.500,3.5\n");
}

// --- Recording ---

TEST_F(Dravik, ADatasetHasOneRecorderUntilItEndsOrDies) {
    const CommandResult result = Shell(
        "mkfifo ack; dravik record a.dk LIVE --simulate --levels 1 --speed 40 --ack >ack & pid=$!; exec "
        "3<ack; "
        "read -r index <&3; dravik record a.dk LIVE --simulate --levels 1 --speed 0; echo $?; "
        "dravik record a.dk OTHER --simulate --levels 1 --cycles 1 --speed 0; echo $?; kill -KILL $pid; "
        "wait $pid; dravik record a.dk LIVE --simulate --levels 1 --cycles 1 --speed 0; echo $?; echo $pid");
    EXPECT_EQ(result.out.substr(0, 6), "1\n0\n0\n") << result.err;
    EXPECT_THAT(result.err,
                HasSubstr("a.dk: dataset \"LIVE\" is being recorded by process " + result.out.substr(6)));
    Succeeds("check a.dk");
}

TEST_F(Dravik, RecordedFileEqualsTheImportedOne) {
    Succeeds("simulate a.dk --levels 1 --cycles 1 >/dev/null");
    Succeeds("export a.dk LEVEL1 -o l.csv");
    const CommandResult recorded = Run("record b.dk LIVE --from l.csv --speed 0 --commit 100 --ack");
    EXPECT_EQ(recorded.out, "9990\n19990\n29990\n39990\n48000\n") << recorded.err;
    EXPECT_EQ(Exported("b.dk", "LIVE"), Bytes("l.csv"));
    EXPECT_EQ(Run("list b.dk").out, "LIVE  time  7 curves  10  0  48000  complete\n");
    Succeeds("record c.dk LIVE --simulate --levels 1 --cycles 1 --speed 0 --commit 60");
    EXPECT_EQ(Exported("c.dk", "LIVE"), Bytes("l.csv"));
}

/// A recorder at 40 times real time that gets `signal` once it has acknowledged `commits` transactions.
std::string SignalledRecorder(const std::string& signal, int commits) {
    return ": >ack; "
           "dravik record b.dk LIVE --simulate --levels 1 --cycles 1 --ack --speed 40 >ack & pid=$!; "
           "while [ $(wc -l <ack) -lt " +
           std::to_string(commits) + " ] && kill -0 $pid; do sleep 0.02; done; kill -" + signal +
           " $pid; wait $pid";
}

TEST_F(Dravik, SignalledRecorderLosesNothingAcknowledgedAndContinuesWhereItStopped) {
    Succeeds("simulate a.dk --levels 1 --cycles 1 >/dev/null");
    const std::pair<const char*, int> ends[] = {{"KILL", 1}, {"KILL", 2}, {"TERM", 4}, {"KILL", 3},
                                                {"KILL", 4}, {"INT", 4},  {"KILL", 5}};
    for (const auto& [signal, commits] : ends) {
        const bool killed = std::string_view(signal) == "KILL";
        const CommandResult ended = Shell(SignalledRecorder(signal, commits));
        EXPECT_TRUE(killed || ended.status == 0) << ended.err;
        EXPECT_THAT(Run("list b.dk").out, HasSubstr(killed ? "recording" : "complete"));
        const auto curves = CurvesOf(OpenDatabase(folder.File("b.dk"), OpenMode::readOnly), "LIVE");
        ASSERT_EQ(curves.size(), 7U);
        std::istringstream lines(Bytes("ack"));
        std::int32_t acknowledged = -1;
        while (lines >> acknowledged) {
        }
        EXPECT_GT(acknowledged, 0);
        EXPECT_GE(curves[0].information.extentLast, acknowledged);
        EXPECT_LT(curves[0].information.extentLast, 48000) << "the signal came too late";
        EXPECT_EQ(curves[0].information.extentLast, curves[5].information.extentLast)
            << "all curves of a commit or none";
        Succeeds("check b.dk");
    }
    Succeeds("record b.dk LIVE --simulate --levels 1 --cycles 1 --speed 0 --commit 100");
    EXPECT_EQ(Exported("b.dk", "LIVE"), Exported("a.dk", "LEVEL1"));
    EXPECT_THAT(Run("list b.dk").out, HasSubstr("complete"));
}

}  // namespace
}  // namespace dravik
