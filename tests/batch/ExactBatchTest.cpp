// Exact results and plans as a user of the programs gets them.
#include <complex>
#include <nlohmann/json.hpp>

#include "BuildPaths.h"
#include "tests/support/ProgramTest.h"

namespace vorela::test {
namespace {

using Json = nlohmann::json;

const std::string measuredData = VORELA_SOURCE_DIR "/../shared/data/sinusoidal-pumping-90s/test.csv";

class ExactBatch : public ProgramTest {
  protected:
    ExactBatch() : ProgramTest("vorela-batch well.dkb --settings none.ini", 3) {}

    std::string Dravik(const std::string& arguments) const {
        const CommandResult result = Shell("dravik " + arguments);
        EXPECT_EQ(result.status, 0) << arguments << result.err;
        return result.out;
    }
    void Simulate(const std::string& arguments) {
        const std::string truth = Dravik("simulate well.dkb " + arguments);
        const std::size_t from = truth.find("--set");
        program += " " + truth.substr(from, truth.find('\n', from) - from);
    }
    Json Results(const std::string& arguments) const {
        const CommandResult result = Run(arguments + " --json -");
        EXPECT_EQ(result.status, 0) << result.err;
        return Json::parse(result.out);
    }
    /// Of a run whose quicklook fails, which is told and is not the exact results' business.
    Json ResultsBesideAFailure(const std::string& arguments) const {
        return Json::parse(Run(arguments + " --json -").out);
    }
    Json Plan(const std::string& arguments) const {
        const CommandResult result = Shell("vorela-batch " + arguments + " --json -");
        EXPECT_EQ(result.status, 0) << result.err;
        return Json::parse(result.out);
    }
};

/// Well of the table of tests/analysis, number 8.
const char* const wellEight =
    "--levels 2 --depths 9700,9750 --period 240 --cycles 10 --step 50 --permeability 100,100 --skin 5,3 "
    "--height 30,60 --noise 0.02 --drift 1 --borehole 6 --seed 18";

TEST_F(ExactBatch, DocumentAlwaysCarriesTheExactResultsAndTheTableShowsThem) {
    Simulate(wellEight);
    const Json exact = Results("")["exact"];
    const Json& interval = exact["intervals"][0];
    EXPECT_EQ(interval["label"], "9750 to 9700");
    EXPECT_EQ(interval["recommended"], "storage");
    EXPECT_EQ(interval["grade"], "B");
    EXPECT_NEAR(interval["single"]["permeability"], 98.68, 0.05);
    EXPECT_NEAR(interval["single"]["skin"], 4.8740, 0.005);
    EXPECT_NEAR(interval["storage"]["permeability"], 97.206, 0.05);
    EXPECT_NEAR(interval["joint"]["pValue"], 0.892, 0.01);
    EXPECT_TRUE(interval["single"]["pValue"].is_null());
    EXPECT_TRUE(interval["constrained"].is_null());
    EXPECT_EQ(interval["budget"].size(), 7U);
    EXPECT_EQ(interval["harmonics"][2]["number"], 5);
    EXPECT_EQ(exact["levels"][0]["dataset"], "LEVEL2");
    EXPECT_EQ(exact["levels"][0]["firstCycle"], 2);
    EXPECT_EQ(exact["levels"][0]["lastCycle"], 10);
    EXPECT_EQ(exact["levels"][1]["cycles"].size(), 9U);
    const CommandResult table = Run("");
    EXPECT_THAT(table.out, AllOf(HasSubstr("Exact: interval (ft)"), HasSubstr("97.2"), HasSubstr("storage"),
                                 HasSubstr("9750 to 9700: step is coarse")));
}

TEST_F(ExactBatch, ChoicesActAndThoseThatCannotBeAreRefused) {
    Simulate(wellEight);
    const Json chosen = Results("--exact-cycles 3-6")["exact"];
    EXPECT_EQ(chosen["levels"][1]["firstCycle"], 3);
    EXPECT_EQ(chosen["levels"][1]["lastCycle"], 6);
    EXPECT_EQ(Results("--set Exact.FirstCycle=3 --set Exact.LastCycle=6")["exact"], chosen);
    const Json few =
        Results("--set Exact.Harmonics=1 --set Exact.CompressibilityError=30 --set Exact.Confidence=50");
    const Json& interval = few["exact"]["intervals"][0];
    EXPECT_EQ(interval["harmonics"].size(), 1U);
    EXPECT_EQ(interval["recommended"], "constrained");
    const Json wide = Results("")["exact"]["intervals"][0]["single"]["permeabilityRange"];
    EXPECT_GT(interval["single"]["permeabilityRange"][0], wide[0]);
    const Json beyond = Results("--exact-cycles 30-40")["exact"]["intervals"][0];
    EXPECT_THAT(beyond["messages"][0], HasSubstr("there is no cycle 30"));
    EXPECT_TRUE(beyond["recommended"].is_null());
    for (const char* refused :
         {"--exact-cycles 6-3", "--exact-cycles 0-3", "--exact-cycles 3", "--exact-cycles a-b",
          "--set Exact.Harmonics=2", "--set Exact.First=1", "--set Exact.Confidence=100",
          "--set Exact.FirstCycle=5 --set Exact.LastCycle=4", "--set Exact.CompressibilityError=-0.5"})
        Fails(refused, std::string(refused).starts_with("--set") ? "--set" : "--exact-cycles", 2);
}

// Text of the document's other keys, of the export and of what is printed before the exact results.
TEST_F(ExactBatch, NothingElseChangesByAByteWhateverIsChosenForTheExactResults) {
    Simulate("--levels 3 --cycles 8 --step 20 --noise 0.003");
    const auto others = [&](const std::string& choices) {
        const CommandResult run = Run(choices + " --json out.json --export out.csv");
        EXPECT_EQ(run.status, 0) << run.err;
        auto document = nlohmann::ordered_json::parse(Bytes("out.json"));
        const std::string exact = document["exact"].dump();
        document.erase("exact");
        return std::pair(document.dump() + Bytes("out.csv") + run.out.substr(0, run.out.find("Exact:")),
                         exact);
    };
    const auto [before, exact] = others("");
    EXPECT_THAT(before, HasSubstr("quicklook"));
    for (const char* choices : {"--exact-cycles 3-4", "--exact-cycles 30-40", "--set Exact.Harmonics=1",
                                "--set Exact.Confidence=68 --set Exact.CompressibilityError=20"}) {
        const auto [now, other] = others(choices);
        EXPECT_EQ(now, before) << choices;
        EXPECT_NE(other, exact) << choices;
    }
}

TEST_F(ExactBatch, CasingNarrowerThanTheToolIsToldWhereTheSpinnersFactorNeedsTheAnnulus) {
    Simulate("--levels 2 --cycles 6 --step 20 --noise 0.003");
    for (const char* casing : {"1.5", "1.6875"})
        for (const char* spinner : {"1", "2", "3"}) {
            const Json exact = ResultsBesideAFailure(std::string("--set Parameters.CasingID=") + casing +
                                                     " --set Parameters.Spinner=" + spinner)["exact"];
            EXPECT_EQ(exact["intervals"][0]["messages"][0],
                      "casing ID must be above the tool's diameter, 1.6875 in, for this type of spinner "
                      "(LEVEL1)");
            EXPECT_TRUE(exact["intervals"][0]["single"]["permeability"].is_null());
            EXPECT_TRUE(exact["levels"][0]["harmonics"].empty());
        }
    const Json hvx =
        ResultsBesideAFailure("--set Parameters.CasingID=1.5 --set Parameters.Spinner=0")["exact"];
    EXPECT_FALSE(hvx["intervals"][0]["single"]["permeability"].is_null()) << "no annulus in that factor";
}

TEST_F(ExactBatch, OneIntervalsFaultIsItsOwn) {
    Simulate("--levels 3 --cycles 6 --step 20");
    const Json sound = Results("");
    const Json broken = ResultsBesideAFailure("--set Parameters.1Height=0 --set Parameters.1Porosity=0.3");
    EXPECT_EQ(broken["exact"]["intervals"][0]["messages"][0], "height must be positive");
    EXPECT_TRUE(broken["exact"]["intervals"][0]["single"]["permeability"].is_null());
    EXPECT_EQ(broken["exact"]["intervals"][1], sound["exact"]["intervals"][1]);
    EXPECT_EQ(broken["exact"]["levels"], sound["exact"]["levels"]);
}

TEST_F(ExactBatch, UnitsOfPressureAndFlowAreHonoured) {
    Dravik("simulate spinner.dkb --levels 2 --cycles 6 --step 20 --noise 0.001 --seed 4");
    // The same well with the pressure in kPa, and the flow in l/s where a rate is wanted.
    const auto copy = [&](const std::string& pressure, const std::string& flow) {
        Shell("rm -f well.dkb");
        for (const char* level : {"LEVEL1", "LEVEL2"}) {
            Dravik(std::string("export spinner.dkb ") + level + " -o " + level + ".csv");
            const std::string name = std::string(level) + ".csv";
            std::istringstream lines(Bytes(name));
            std::ostringstream out;
            std::string line;
            for (int row = 0; std::getline(lines, line); ++row) {
                if (row == 1) {
                    line.replace(line.find("psi"), 3, pressure);
                    line.replace(line.find("rps"), 3, flow);
                }
                out << line << "\n";
            }
            Write(name, out.str());
            Dravik("import well.dkb " + name);
        }
    };
    program += " --set Parameters.Spinner=3 --set Parameters.Compressibility=0.00001";
    for (const char* entry : {"1Porosity=0.2", "1CT=0.00001"})
        program += std::string(" --set Parameters.") + entry;
    copy("psi", "rps");
    const auto index = [](const Json& results) {
        return results["exact"]["levels"][0]["harmonics"][0]["real"].get<double>();
    };
    const double plain = index(ResultsBesideAFailure(""));
    copy("bar", "rps");
    EXPECT_NEAR(index(ResultsBesideAFailure("")) / plain, 6894.757293168 / 1e5, 1e-9);
    copy("psi", "m3/h");
    const double rate = index(ResultsBesideAFailure(""));
    EXPECT_NEAR(index(ResultsBesideAFailure("--set Parameters.Slope=0.1")), rate, 1e-9)
        << "a rate needs no spinner";
    const double perRevolution = 0.445 * std::numbers::pi / 0.05 * (36 - 1.6875 * 1.6875);
    EXPECT_NEAR(rate / plain, 24 / 0.158987294928 / perRevolution, 1e-9);
    struct Unknown {
        const char *pressure, *flow, *message;
    };
    for (const Unknown& units :
         {Unknown{"rod", "rps", R"(unit "rod" of curve ZG is not one of pressure)"},
          Unknown{"psi", "furlong", R"(unit "furlong" of curve RTC is not one of flow)"}}) {
        copy(units.pressure, units.flow);
        const Json unknown = ResultsBesideAFailure("");
        EXPECT_THAT(unknown["exact"]["intervals"][0]["messages"][0], HasSubstr(units.message));
        EXPECT_TRUE(unknown["exact"]["intervals"][0]["single"]["permeability"].is_null());
        EXPECT_FALSE(unknown["intervals"][0]["reservoirHpi"].is_null()) << "the required results stand";
    }
}

TEST_F(ExactBatch, FollowedRecordingGivesWhatOneRunOverItGives) {
    Simulate("--levels 2 --cycles 8 --step 20 --noise 0.003 --seed 9");
    for (const char* level : {"LEVEL1", "LEVEL2"})
        Dravik(std::string("export well.dkb ") + level + " -o " + level + ".csv");
    const Json whole = Results("")["exact"];
    Shell("rm well.dkb");
    const CommandResult followed = Shell(
        "(for l in LEVEL1 LEVEL2; do dravik record well.dkb $l --from $l.csv --speed 2000 & done; wait) & "
        "until [ \"$(dravik list well.dkb 2>/dev/null | grep -c LEVEL)\" = 2 ]; do sleep 0.02; done; " +
        program + " LEVEL1 LEVEL2 --follow --json -; status=$?; wait; exit $status");
    ASSERT_EQ(followed.status, 0) << followed.err;
    EXPECT_EQ(Json::parse(followed.out)["exact"], whole);
}

TEST_F(ExactBatch, MeasuredTestHasItsLagWithItsRange) {
    if (!std::filesystem::exists(measuredData))
        GTEST_SKIP() << measuredData << " is not on this machine";
    Dravik("import well.dkb '" + measuredData + "' --dataset MEASURED");
    Dravik("valve well.dkb MEASURED --period 90 --first 0");
    const Json level = Results(
        "--set Parameters.Period=90 --pressure PRES --flow FLOW --exact-cycles 1-16")["exact"]["levels"][0];
    const std::complex<double> index{level["harmonics"][0]["real"], level["harmonics"][0]["imag"]};
    const double lag = std::arg(index) * 180 / std::numbers::pi;
    EXPECT_NEAR(lag, 164.85, 0.1);
    const double sigma =
        level["harmonics"][0]["sigma"].get<double>() / std::abs(index) * 180 / std::numbers::pi;
    EXPECT_NEAR(sigma, 1.42, 0.05);
    // 0.018925 m3/s for each kPa, in bbl/day for each psi.
    EXPECT_NEAR(std::abs(index) / (0.018925 * 86400 / 0.158987294928 * 6.894757293), 1, 0.002);
}

TEST_F(ExactBatch, PlanIsATableOrADocumentAndTakesGivenParametersForDefaults) {
    const Json plan = Plan("--plan k=100,skin=5 --plan wanted=0.005");
    EXPECT_NEAR(plan["storage"]["sigmaLnPermeability"], .00995712, 1e-7);
    EXPECT_EQ(plan["cyclesWanted"], 36);
    EXPECT_EQ(plan["inputs"]["dw"], 8.5);
    EXPECT_EQ(plan["levels"][1]["harmonic"], 3);
    EXPECT_TRUE(plan["constrained"].is_null());
    const Json other = Plan(
        "--plan k=100,skin=5 --set Parameters.DW=6 --set Parameters.1Porosity=0.1 --set "
        "Exact.CompressibilityError=10");
    EXPECT_EQ(other["inputs"]["dw"], 6);
    EXPECT_EQ(other["inputs"]["porosity"], 0.1);
    EXPECT_EQ(other["recommended"], "constrained");
    const CommandResult table = Shell("vorela-batch --plan k=100,skin=5");
    EXPECT_EQ(table.status, 0) << table.err;
    EXPECT_THAT(table.out, AllOf(HasSubstr("storage (recommended)"), HasSubstr("14400"), HasSubstr("25.1")));
    program = "vorela-batch";
    for (const char* refused :
         {"--plan k=100", "--plan k=100,skin", "--plan k=100,skin=5,sort=3", "--plan k=100,skin=5,cycles=1",
          "--plan k=100,skin=5,casing=1.6", "--plan k=100,skin=5 --set Parameters.CasingID=1.6",
          "--plan k=100,skin=5 well.dkb", "--plan k=100,skin=5 --follow"})
        Fails(refused, "--plan", 2);
}

}  // namespace
}  // namespace vorela::test
