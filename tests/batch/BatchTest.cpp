// The programs as a user runs them: databases by dravik, results by vorela-batch.
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "BuildPaths.h"
#include "tests/support/ProgramTest.h"

namespace vorela::test {
namespace {

using Json = nlohmann::json;

const std::string measuredData = VORELA_SOURCE_DIR "/../shared/data/sinusoidal-pumping-90s/test.csv";

/// vorela-batch on the test's database with a settings file of its own.
class Batch : public ProgramTest {
  protected:
    Batch() : ProgramTest("vorela-batch well.dkb --settings Vorela.ini", 3) { Write("Vorela.ini", ""); }

    /// What dravik says when all goes well.
    std::string Dravik(const std::string& arguments) const {
        const CommandResult result = Shell("dravik " + arguments);
        EXPECT_EQ(result.status, 0) << arguments << result.err;
        return result.out;
    }
    Json Results(const std::string& arguments) const {
        const CommandResult result = Run(arguments + " --json -");
        EXPECT_EQ(result.status, 0) << result.err;
        return Json::parse(result.out);
    }
    /// A simulated well; later runs get the parameters that belong to it.
    void Simulate(const std::string& arguments) {
        const std::string truth = Dravik("simulate well.dkb " + arguments);
        const std::size_t from = truth.find("--set");
        program += " " + truth.substr(from, truth.find('\n', from) - from);
    }
};

/// The quicklook formulae on a true index and phase: what is left between them and the result is the
/// measurement.
double FormulaPermeability(double hpi, double phase, double height) {
    return 111 * hpi / (std::sin(phase * std::numbers::pi / 180) * height);
}

TEST_F(Batch, SimulatedFourLevelWellComesBackWithTheTruthDeepestLevelFirst) {
    Simulate("--levels 4");
    const Json results = Results("LEVEL2 LEVEL4 LEVEL1 LEVEL3");
    const std::tuple<const char*, double, double, double> levels[] = {
        {"LEVEL4", 9900, 0.000945294912, 11.9359405},
        {"LEVEL3", 9800, 0.00473698303, 12.2971022},
        {"LEVEL2", 9700, 0.00546900804, 12.6506353},
        {"LEVEL1", 9600, 0.00636224646, 12.3635066}};
    ASSERT_EQ(results["levels"].size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        const Json& level = results["levels"][i];
        const auto& [name, depth, hpi, lag] = levels[i];
        EXPECT_EQ(level["dataset"], name);
        EXPECT_EQ(level["depth"], depth);
        EXPECT_EQ(level["recording"], false);
        EXPECT_EQ(level["step"], 10);
        EXPECT_NEAR(level["hpi"], hpi, hpi * 1e-3);
        EXPECT_NEAR(level["phaseLag"], lag, 0.05);
        EXPECT_EQ(level["cycles"].size(), level["cycleCount"]);
        EXPECT_TRUE(level["cycles"].back()["pressure"].is_null()) << "the last cycle is not covered";
        EXPECT_TRUE(level["cycles"].back()["valve"].is_object());
    }
    // Interval 3 is the layer of 100 mD, skin 5 between LEVEL2 and LEVEL1.
    ASSERT_EQ(results["intervals"].size(), 3U);
    const Json& interval = results["intervals"][2];
    EXPECT_EQ(interval["label"], "9700 to 9600");
    EXPECT_EQ(interval["dataset1"], "LEVEL1");
    EXPECT_EQ(interval["dataset2"], "LEVEL2");
    const Json& upper = results["levels"][3];  // level 1 of the interval
    const Json& lower = results["levels"][2];
    for (const auto& [key, level, of] : {std::tuple("hpi1", upper, "hpi"),
                                         {"hpi2", lower, "hpi"},
                                         {"phase1", upper, "phaseLag"},
                                         {"phase2", lower, "phaseLag"},
                                         {"depth1", upper, "depth"},
                                         {"depth2", lower, "depth"}})
        EXPECT_EQ(interval[key], level[of]) << key;
    EXPECT_EQ(upper["extent"], Json({0, 264000}));
    EXPECT_NEAR(interval["reservoirHpi"], 0.81758664, 0.001);
    EXPECT_NEAR(interval["reservoirPhase"], 5.15247922, 0.05);
    EXPECT_NEAR(results["quicklook"][2]["permeability"], FormulaPermeability(0.81758664, 5.15247922, 10), 1);
    EXPECT_NEAR(results["quicklook"][2]["skin"], -3.5525, 0.02);
    EXPECT_NEAR(results["quicklook"][1]["permeability"], FormulaPermeability(0.663207872, 8.32320209, 10), 1);
}

TEST_F(Batch, RepeatedRunReadsTheCurvesThatStandAndChangesNothingRecorded) {
    Simulate("--levels 2 --cycles 6");
    const std::string recorded = "export well.dkb LEVEL1 --curves ZG,RTC,PVLPOS,PVLID,PVLIDT,PVLT,ADPTH";
    const std::string before = Dravik(recorded);
    ASSERT_GT(before.size(), 10000U);
    const Json first = Results("");
    const std::string bytes = Bytes("well.dkb");
    EXPECT_EQ(Results(""), first);
    EXPECT_TRUE(Bytes("well.dkb") == bytes) << "nothing was missing, nothing is written";
    EXPECT_EQ(Results("--recreate"), first);
    for (const char* more : {"--unfiltered", "--pvlpos", "--cycle window --cursors 20,80"})
        Results(more);
    EXPECT_EQ(Dravik(recorded), before);
    EXPECT_THAT(Dravik("list well.dkb LEVEL1"),
                AllOf(HasSubstr("ZG_p"), HasSubstr("RTC_qs"), HasSubstr("PVLSIG"), HasSubstr("RTC_f")));
    EXPECT_EQ(Bytes("Vorela.ini"), "") << "settings are read, never written";
}

TEST_F(Batch, CurvesThatEndBeforeTheRecordAreMadeAgainAndThoseMadeOtherwiseAreTold) {
    Dravik("simulate half.dkb --levels 1 --cycles 3");
    Dravik("export half.dkb LEVEL1 -o LEVEL.csv");
    Dravik("import well.dkb LEVEL.csv");
    ASSERT_EQ(Run("").status, 0);
    // The record goes on where it was left.
    Dravik("record well.dkb LEVEL --simulate --levels 1 --cycles 6 --speed 0");
    const CommandResult result = Run("--json -");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, AllOf(HasSubstr("LEVEL/ZG_p/1"), HasSubstr("LEVEL/PVLSIG/1")));
    const Json all = Json::parse(result.out);
    EXPECT_EQ(all, Results("--recreate"));
    EXPECT_EQ(all["levels"][0]["cycles"][4]["pressure"].is_null(), false);
    const CommandResult other = Run("--set Parameters.FilterN=2");
    EXPECT_EQ(other.status, 0);
    EXPECT_THAT(other.err, HasSubstr("2 passes"));
}

TEST_F(Batch, CyclesWithoutResultsAreExplained) {
    Dravik("simulate half.dkb --levels 1 --cycles 6");
    Dravik("export half.dkb LEVEL1 -o all.csv");
    Shell("awk -F, 'NR < 3 || $1 < 900 || $1 > 910' all.csv > LEVEL.csv");
    Dravik("import well.dkb LEVEL.csv");
    const std::string filtered = Run("").err;
    EXPECT_THAT(filtered, HasSubstr("LEVEL: cycle 4 without results: gap in ZG_p from 900 s to 910 s\n"));
    EXPECT_THAT(filtered, HasSubstr("LEVEL: cycle 6 without results: ZG_p ends at 1440 s\n"));
    EXPECT_EQ(Run("--unfiltered").err,
              "vorela-batch: LEVEL: cycle 4 without results: gap in ZG from 900 s to 910 s\n");
    // A sample of a wrong position code behind the third boundary shows that boundary twice.
    Shell(
        "awk -F, -v OFS=, '$5 == 3 && p != 3 {n++; at = NR} {p = $5} n == 3 && NR == at + 2 {$5 = 1} "
        "{print}' "
        "all.csv > TWICE.csv");
    Dravik("import twice.dkb TWICE.csv");
    EXPECT_THAT(Shell("vorela-batch twice.dkb --settings Vorela.ini").err,
                HasSubstr("TWICE: cycle 3 without results: zero length at 600 s\n"));
}

TEST_F(Batch, SourceOfTheCyclesAndTheSelectedCycleAreThoseAskedFor) {
    Simulate("--levels 2 --cycles 8");
    const Json window = Results("--cycle window --cursors 30,60 --set Presentation.TimeAuto=-1");
    const Json& level = window["levels"][0];
    EXPECT_EQ(level["selectedCycle"], level["cycleCount"].get<int>() + 1);
    ASSERT_TRUE(level["window"].is_object());
    EXPECT_EQ(level["hpi"], level["window"]["ratio"]);
    const Json second = Results("--cycle 2");
    EXPECT_EQ(second["levels"][1]["hpi"], second["levels"][1]["cycles"][1]["ratio"]);
    EXPECT_EQ(second["levels"][1]["selectedCycle"], 2);
    EXPECT_THAT(Run("--cycle 8").err, HasSubstr("LEVEL1: cycle 8 has no results")) << "not covered";
    const Json raw = Results("--unfiltered");
    EXPECT_FALSE(raw["levels"][0]["cycles"].back()["pressure"].is_null()) << "raw curves reach further";
    const Json motor = Results("--pvlpos");
    EXPECT_NEAR(motor["levels"][0]["cycles"][1]["valve"]["magnitude"], 2 / std::numbers::pi, 0.01);
    Fails("--cycle 99", "LEVEL2: there is no cycle 99, only 8");
    // A level that was recorded for a shorter time keeps none of the others from its cycle.
    Dravik("record well.dkb SHORT --simulate --levels 1 --cycles 4 --depths 9000 --speed 0");
    const CommandResult uneven = Run("--cycle 6 --json -");
    EXPECT_EQ(uneven.status, 0);
    EXPECT_THAT(uneven.err, testing::StartsWith("vorela-batch: SHORT: there is no cycle 6, only 4\n"));
    const Json sixth = Json::parse(uneven.out);
    EXPECT_EQ(sixth["levels"][0]["hpi"], sixth["levels"][0]["cycles"][5]["ratio"]);
    EXPECT_TRUE(sixth["levels"][2]["hpi"].is_null() && sixth["intervals"][1]["hpi1"].is_null());
    EXPECT_TRUE(sixth["intervals"][0]["hpi"].is_number());
    EXPECT_THAT(Run("--cycle 5").err, HasSubstr("SHORT: there is no cycle 5, only 4; the window is shown"));
}

TEST_F(Batch, ExportShowsTheChosenLevelAndIntervalAndTheTableTheRest) {
    Simulate("--levels 3 --cycles 6");
    const CommandResult result = Run("--level 3 --interval 2 --export out.csv --json out.json");
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string text = Bytes("out.csv");
    EXPECT_THAT(text, AllOf(HasSubstr("Dataset,LEVEL1\r\r\n"), HasSubstr("Level depth 1 (ft),9700\r\r\n")));
    EXPECT_THAT(result.out, AllOf(HasSubstr("LEVEL3"), HasSubstr("9800 to 9700"), HasSubstr("k (mD)")));
    EXPECT_EQ(Json::parse(Bytes("out.json"))["levels"].size(), 3U);
    ASSERT_EQ(Run("--level 3 --interval 2 --export out.txt").status, 0);
    std::string tabs = Bytes("out.txt");
    std::replace(tabs.begin(), tabs.end(), '\t', ',');
    EXPECT_EQ(tabs, text);
}

TEST_F(Batch, MeasuredPumpingTestGivesTheReferenceFigures) {
    if (!std::filesystem::exists(measuredData))
        GTEST_SKIP() << measuredData << " is not on this machine";
    Dravik("import well.dkb '" + measuredData + "' --dataset MEASURED");
    Dravik("valve well.dkb MEASURED --period 90 --first 0");
    const Json results = Results("--set Parameters.Period=90 --pressure PRES --flow FLOW");
    double lag = 0, flowPhase = 0, ratio = 0;
    int cycles = 0;
    for (const Json& cycle : results["levels"][0]["cycles"]) {
        if (cycle["ratio"].is_null())
            continue;
        ++cycles;
        lag += cycle["phaseLag"].get<double>();
        flowPhase += cycle["flow"]["phase"].get<double>();
        ratio += cycle["ratio"].get<double>();
    }
    EXPECT_EQ(cycles, 16);
    EXPECT_NEAR(lag / cycles, 164.5, 1.5);
    EXPECT_NEAR(flowPhase / cycles, 283.25, 0.3);
    EXPECT_NEAR(ratio / cycles, 0.01894, 0.01894 * 0.03);
}

TEST_F(Batch, SelectionThatCannotBeIsRefusedBeforeAnythingIsWritten) {
    Simulate("--levels 2 --cycles 4");
    const std::string bytes = Bytes("well.dkb");
    Fails("LEVEL7", "LEVEL7");
    Fails("LEVEL1 LEVEL1", "LEVEL1", 2);
    Fails("--pressure PX", "PX");
    Fails("--flow QX", "QX");
    Fails("--level 3", "--level 3", 2);
    Fails("--interval 2", "--interval 2", 2);
    Fails("--set Parameters.2Porosity=0.2", "2Porosity", 2);
    Fails("--set Presentation.PresMin=30 --set Presentation.PresAuto=0", "Pressure Axis", 2);
    program = "vorela-batch well.dkb --settings .";
    Fails("", folder.Path().string());
    EXPECT_TRUE(Bytes("well.dkb") == bytes);
}

TEST_F(Batch, DatabaseThatIsMissingForeignTruncatedOrDamagedIsNamedWithStatus1) {
    Fails("", folder.File("well.dkb"));
    EXPECT_FALSE(Exists("well.dkb")) << "never created by reading";
    for (const std::string& content :
         {std::string(), std::string("not a database"), std::string(40000, 'x')}) {
        Write("well.dkb", content);
        Fails("", folder.File("well.dkb"));
        EXPECT_TRUE(Bytes("well.dkb") == content);
    }
    std::filesystem::remove(folder.File("well.dkb"));
    Simulate("--levels 1 --cycles 8");
    const std::string sound = Bytes("well.dkb");
    Write("well.dkb", sound.substr(0, sound.size() / 2));
    Fails("", "well.dkb");
    // One bit, somewhere in the pressure curve.
    constexpr std::size_t places = 20;
    std::string report;
    for (std::size_t i = 1; i < places && report.find("/ZG/") == std::string::npos; ++i) {
        std::string flipped = sound;
        flipped[sound.size() * i / places] = static_cast<char>(flipped[sound.size() * i / places] ^ 0x10);
        Write("well.dkb", flipped);
        report = Shell("dravik check well.dkb").out;
    }
    ASSERT_THAT(report, HasSubstr("/ZG/"));
    Fails("", "LEVEL1/ZG/1");
    // A level whose row is damaged keeps the others from nothing but the status of success.
    Write("well.dkb", sound);
    Dravik("record well.dkb OTHER --simulate --levels 1 --cycles 4 --depths 9000 --speed 0");
    std::string flipped = Bytes("well.dkb");
    flipped[flipped.rfind("OTHER")] ^= 1;
    Write("well.dkb", flipped);
    const CommandResult rest = Run("--json -");
    EXPECT_EQ(rest.status, 1);
    EXPECT_THAT(rest.err, HasSubstr("OTHER is left out"));
    EXPECT_EQ(Json::parse(rest.out)["levels"].size(), 1U);
}

TEST_F(Batch, RecordingsWithTheNamesOfDerivedCurvesAreAllNamedAndNotReplaced) {
    Simulate("--levels 2 --cycles 4");
    ASSERT_EQ(Run("").status, 0);
    for (const char* level : {"LEVEL1", "LEVEL2"})
        Dravik("export well.dkb " + std::string(level) + " -o " + level + ".csv");
    Dravik("import other.dkb LEVEL1.csv LEVEL2.csv");  // recordings now, whatever their names
    const CommandResult result = Shell("vorela-batch other.dkb --settings Vorela.ini --recreate");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, AllOf(HasSubstr("LEVEL1/PVLSIG/1"), HasSubstr("LEVEL2/PVLSIG/1")));
}

TEST_F(Batch, ReadOnlyDatabaseIsAnalysedWhenItHasAllDerivedCurvesAndRefusedWhenItLacksOne) {
    Simulate("--levels 2 --cycles 4");
    // Root may write everything unless it gives that up.
    const std::string asOther =
        geteuid() == 0 ? "setpriv --bounding-set -dac_override,-dac_read_search --inh-caps -all" : "";
    if (!asOther.empty() && Shell(asOther + " true").status != 0)
        GTEST_SKIP() << "root cannot give up its right to write everywhere here";
    const auto readOnly = [&](bool on) {
        chmod(folder.File("well.dkb").c_str(), on ? 0444 : 0644);
        chmod(folder.Path().c_str(), on ? 0555 : 0755);
    };
    readOnly(true);
    const std::string own = std::exchange(program, asOther + " " + program);
    Fails("", "read only");
    const std::string other = std::exchange(program, own);
    readOnly(false);
    const Json results = Results("");
    const std::string bytes = Bytes("well.dkb");
    readOnly(true);
    program = other;
    EXPECT_EQ(Results(""), results);
    Fails("--recreate", "read only");
    readOnly(false);
    EXPECT_TRUE(Bytes("well.dkb") == bytes);
}

TEST_F(Batch, TwoRunsOfOneDatabaseGiveTheSameAndAFollowerWaitsForWhatIsInTheMaking) {
    Write("well.dkb", "");
    const CommandResult result = Shell(
        program +
        " LEVEL1 --follow --set Parameters.Period=20 --json a.json >a.out 2>a.err & first=$!; "
        "until grep -q waiting a.err; do sleep 0.02; done; "
        "dravik record well.dkb LEVEL1 --simulate --levels 1 --period 20 --cycles 5 --speed 100; " +
        program +
        " LEVEL1 --recreate --set Parameters.Period=20 --json b.json >b.out; echo $?; wait $first; echo $?");
    EXPECT_EQ(result.out, "0\n0\n") << result.err << Bytes("a.err");
    EXPECT_EQ(Json::parse(Bytes("a.json")), Json::parse(Bytes("b.json")));
}

TEST_F(Batch, ForeignUnitsAndThePassBandAreToldAndResultFilesThatCannotBeWrittenAreStatus1) {
    std::string text = "TIME,ZG,RTC\ns,kPa,rps\n";
    for (int t = 0; t < 400; ++t)
        text += std::to_string(t) + "," + std::to_string(std::cos(t * 2 * std::numbers::pi / 40)) + ",1.5\n";
    Write("LEVEL.csv", text);
    Dravik("import well.dkb LEVEL.csv");
    Dravik("valve well.dkb LEVEL --period 40");
    program += " --set Parameters.Period=40 --set Parameters.BandPass=1";
    const CommandResult result = Run("");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err,
                AllOf(HasSubstr("Pressure curve ZG is in \"kPa\", not in psi; nothing is converted"),
                      HasSubstr("gain")));
    const CommandResult lost = Run("--export absent/out.csv --json absent/o.json");
    EXPECT_EQ(lost.status, 1);
    EXPECT_THAT(lost.err, AllOf(HasSubstr("absent/out.csv"), HasSubstr("absent/o.json")));
    EXPECT_EQ(Run(">/dev/full").status, 1);
}

TEST_F(Batch, SettingsThatAreNotUsedAsTheyStandAreToldWithTheirLine) {
    Dravik("simulate well.dkb --cycles 3");
    EXPECT_THAT(Shell("vorela-batch well.dkb --settings Vorle.ini").err,
                HasSubstr("Vorle.ini: there is no such file"));
    Write("Vorela.ini",
          "[Version]\nVersion=1\n[Parameters]\nPeriood=240\nPeriod=2x\nPERIOD=120\nSlope=-5\n0Porosit=3\n"
          "0CycleNo=-1\nTD=0\n[Parametres]\nTD=3\n[PARAMETERS]\nTD=4\n[Cursors]\nCursor1=-0.5\nSnap=0\n");
    std::string told = Run("--set Parameters.TD=3000").err;
    std::erase(told, '\r');
    std::string remarks;
    std::istringstream lines(told);
    for (std::string line; std::getline(lines, line);)
        if (const std::size_t at = line.find("Vorela.ini, line "); at != std::string::npos)
            remarks += line.substr(at + 17) + "\n";
    EXPECT_EQ(remarks,
              "4: section Parameters has no key \"Periood\": passed over\n"
              "5: Period=2x: Period of test: Out of range (20 to 2147483647); taken as 2\n"
              "6: PERIOD stands in the file already: passed over\n"
              "7: Slope=-5: Spinner slope: Out of range (0.0001 to 100); taken as it stands\n"
              "8: section Parameters has no key \"0Porosit\": passed over\n"
              "11: there is no settings section \"Parametres\": passed over\n"
              "13: section Parameters stands in the file already: passed over\n"
              "14: TD stands in the file already: passed over\n");
    EXPECT_THAT(Shell("vorela-batch --plan k=10,skin=0 --settings Vorela.ini").err,
                AllOf(HasSubstr("line 4: section"), HasSubstr("line 10: TD=0: ")));
}

}  // namespace
}  // namespace vorela::test
