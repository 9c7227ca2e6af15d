#include <sys/wait.h>

#include <csignal>

#include "dravik/importer/ImportRun.h"
#include "dravik/importer/ValveSettings.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {
namespace {

using namespace dravik;

constexpr int rows = 80;

class ImportJob : public DravikFixture {
  protected:
    /// A spreadsheet with decimal commas, every 0.5 s: pressure 200 + i/8 bar, flow i rps, valve 1 and 0 in
    /// turn for 5 s.
    std::string Sheet(const std::string& name = "sheet.csv") const {
        std::string text = "Zeit (s);Druck (bar);Durchfluss (rps);Ventil;Bemerkung\n";
        for (int i = 0; i < rows; ++i)
            text += std::to_string(i / 2) + (i % 2 == 0 ? ",0;" : ",5;") + std::to_string(200 + i / 8) + "," +
                    std::to_string(125 * (i % 8)) + ";" + std::to_string(i) + ",0;" +
                    std::to_string(i / 10 % 2) + ";ok\n";
        WriteAll(folder.File(name), text);
        return folder.File(name);
    }
    /// Another file of the same level: 1 s, its own pressure name.
    std::string Gauge(const std::string& column) const {
        std::string text = "time_s," + column + "\n";
        for (int i = 0; i < rows / 2; ++i)
            text += std::to_string(i) + "," + std::to_string(3000 + i) + "\n";
        WriteAll(folder.File("gauge.csv"), text);
        return folder.File("gauge.csv");
    }

    ImportSettings SettingsFor(const std::vector<std::string>& files) const {
        ImportSettings settings;
        settings.database = DatabasePath();
        for (const std::string& file : files)
            settings.files.push_back({file, {}});
        return settings;
    }
    static JobPlan Plan(const ImportSettings& settings, const JobPlan& before = {}) {
        return PlanJob(settings, LookAtDatabase(settings), before);
    }
    static std::vector<std::string> ProblemsOf(const JobPlan& job) {
        std::vector<std::string> problems = job.problems;
        for (const FilePlan& file : job.files)
            problems.insert(problems.end(), file.problems.begin(), file.problems.end());
        return problems;
    }
    /// "; , 0.5 s: ZG (bar), ..." or the first problem.
    static std::string Told(const JobPlan& job) {
        if (const auto problems = ProblemsOf(job); !problems.empty())
            return problems.front();
        const FilePlan& file = job.files.front();
        const FoundTexts found = FoundOf(file.plan);
        std::string text = found.separator + " " + found.decimal + " " + found.step + ":";
        for (const PlannedColumn& column : file.plan.columns) {
            if (column.role == ColumnRole::curve)
                text += " " + column.name + "(" + column.unit + ")";
        }
        return text;
    }
    void MakeOld() {
        AddCurve("OLD", {"ZG", "psi", 400, [](std::int32_t t) { return t; }});
        SetPresentation("OLD", Presentation{});
    }
    std::string Bytes() const { return ReadAll(DatabasePath()); }
    std::vector<std::string> FolderNames() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(ImportJob, EveryChoiceShowsInThePlanOrNamesItsControl) {
    const auto role = [](FileControls& c, std::size_t column, const char* source, Role given) {
        c.columns.resize(5);
        c.columns[column].source = source;
        c.columns[column].role = given;
    };
    struct Case {
        std::function<void(FileControls&)> choose;
        std::string told;
    };
    const Case cases[] = {
        {[](FileControls&) {}, "; , 0.5 s: ZG(bar) RTC(rps) PVLPOS()"},
        {[](FileControls& c) { c.separator = ";"; }, "; , 0.5 s: ZG(bar) RTC(rps) PVLPOS()"},
        {[](FileControls& c) { c.separator = "tab"; },
         "no table: no separator makes lines of two cells or more (Separator)"},
        {[](FileControls& c) { c.separator = ";;"; }, "Separator \";;\": one character, tab or blanks"},
        {[](FileControls& c) { c.step = "1.5"; }, "; , 1.5 s: ZG(bar) RTC(rps) PVLPOS()"},
        {[](FileControls& c) { c.step = "0.005"; }, "Step \"0.005\": a number from 0.01 to 327.67"},
        {[](FileControls& c) { c.step = "0.123"; }, "Step \"0.123\": whole hundredths"},
        {[](FileControls& c) { c.timeUnit = "min"; }, "; , 30 s: ZG(bar) RTC(rps) PVLPOS()"},
        {[](FileControls& c) { c.time = "#3"; },
         "column Durchfluss: \"rps\" is no unit of time (Time unit s|ms|min|h|d)"},
        {[](FileControls& c) {
             c.time = "#3";
             c.timeUnit = "s";
         },
         "; , 1 s: ZEIT(s) ZG(bar) PVLPOS()"},
        {[](FileControls& c) {
             c.time = "#1";
             c.timeFormat = "%Hh%M";
         },
         "line 2: \"0,0\" does not fit Time format %Hh%M (Leave out lines 2)"},
        {[](FileControls& c) {
             c.time = "#1,#4";
             c.timeFormat = " %M,0 %S ";
             c.leaveOut = "3,5,7,9,11-81";
         },
         "; , 60 s: ZG(bar) RTC(rps)"},
        {[](FileControls& c) { c.time = "#1,#4"; },
         "the columns of Time column make no whole time (Time format)"},
        {[](FileControls& c) { c.headerLine = "0"; },
         "Line of names \"0\": lines are numbers from 1 on, or two with - between"},
        {[](FileControls& c) { c.leaveOut = "2, x"; },
         "Leave out lines \"x\": lines are numbers from 1 on, or two with - between"},
        {[](FileControls& c) { c.depth = "deep"; },
         "Depth \"deep\": a depth is a number, of feet or with m behind (8120, 2475m)"},
        {[&](FileControls& c) { role(c, 2, "Durchfluss", Role::leaveOut); }, "; , 0.5 s: ZG(bar) PVLPOS()"},
        {[&](FileControls& c) { role(c, 2, "another column", Role::leaveOut); },
         "; , 0.5 s: ZG(bar) RTC(rps) PVLPOS()"},
        {[&](FileControls& c) {
             role(c, 1, "Druck", Role::other);
             role(c, 2, "Durchfluss", Role::pressure);
         },
         "; , 0.5 s: DRUCK(bar) ZG(rps) PVLPOS()"},
        {[&](FileControls& c) {
             role(c, 1, "Druck", Role::pressure);
             c.columns[1].name = "pd";
             c.columns[1].convert = true;
         },
         "; , 0.5 s: PD(psi) RTC(rps) PVLPOS()"},
    };
    JobPlan before;
    for (const Case& one : cases) {
        ImportSettings settings = SettingsFor({Sheet()});
        one.choose(settings.files[0].controls);
        // What was planned before must not show through.
        before = Plan(settings, before);
        EXPECT_EQ(Told(before), one.told);
    }
}

TEST_F(ImportJob, NamesAndUnitsAreSettledWithoutReadingTheRowsAgain) {
    ImportSettings settings = SettingsFor({Sheet()});
    const JobPlan before = Plan(settings);
    int passes = 0;
    const auto plan = [&] {
        passes = 0;
        return PlanJob(settings, LookAtDatabase(settings), before, [&](std::uint64_t, std::uint64_t) {
            ++passes;
            return true;
        });
    };
    settings.files[0].controls.columns.resize(5);
    settings.files[0].controls.columns[1] = {"Druck", Role::pressure, "upper", "kPa", true};
    settings.files[0].controls.depth = "8120";
    EXPECT_EQ(Told(plan()), "; , 0.5 s: UPPER(psi) RTC(rps) PVLPOS()");
    EXPECT_EQ(passes, 0);
    settings.files[0].controls.step = "1.5";
    EXPECT_EQ(Told(plan()), "; , 1.5 s: UPPER(psi) RTC(rps) PVLPOS()");
    EXPECT_EQ(passes, 1);
    // Another file under the same name.
    settings.files[0].controls.step.clear();
    WriteAll(settings.files[0].path, ReadAll(settings.files[0].path) + "40,0;211,5;9,0;1;ok\n");
    EXPECT_EQ(plan().files[0].plan.grid.rows, rows + 1);
}

TEST_F(ImportJob, FirstRowsStandUnderTheirNamesAndATableWithoutTimeStillNamesItsColumns) {
    const JobPlan job = Plan(SettingsFor({Sheet()}));
    EXPECT_TRUE(job.files[0].head.isTable);
    EXPECT_THAT(job.files[0].head.rows.at(3), ElementsAre("1,5", "200,375", "3,0", "0", "ok"));
    WriteAll(folder.File("odd.txt"), "A,B\n7,2\n3,5\n9,1\n4,4\n8,8\n");
    const JobPlan odd = Plan(SettingsFor({folder.File("odd.txt")}));
    EXPECT_EQ(Told(odd), "no column tells the time (Time column)");
    ASSERT_EQ(odd.files[0].columns.size(), 2U);
    EXPECT_EQ(odd.files[0].columns[1].source, "B");
    EXPECT_FALSE(odd.CanImport());
}

TEST_F(ImportJob, FilesOfOneDatasetJoinTheFirstOnesGridAndTheValveComesFromTheThreshold) {
    ImportSettings settings = SettingsFor({Sheet("upper.csv"), Gauge("Depth gauge (psi)")});
    settings.files[0].controls.depth = "100m";
    settings.valve.way = ValveWay::threshold;
    const JobPlan job = Plan(settings);
    ASSERT_THAT(ProblemsOf(job), ElementsAre());
    EXPECT_THAT(job.files[1].notes, Contains(HasSubstr("a file before it has a pressure too")));
    const Imported done = RunImport(settings, job);
    EXPECT_THAT(done.datasets, ElementsAre("upper"));
    // A pressure of the first file has the usual name; the second keeps its own.
    EXPECT_FLOAT_EQ(*ReadCurve("upper", "ZG").At(3950), 209.875F);
    EXPECT_FLOAT_EQ(*ReadCurve("upper", "DEPTH_GAUG").At(150), 3001.5F);
    EXPECT_FLOAT_EQ(*ReadCurve("upper", "ADPTH").samples.at(0), 328.08398F);
    EXPECT_EQ(ReadCurve("upper", "VENTIL").samples.size(), 80U);
    EXPECT_FLOAT_EQ(*ReadCurve("upper", "PVLID").At(600), 3.0F);
    EXPECT_FLOAT_EQ(*ReadCurve("upper", "PVLPOS").At(1100), 1.0F);
    EXPECT_THAT(FolderNames(), ElementsAre("gauge.csv", "upper.csv", "well.vdb"));
}

TEST_F(ImportJob, StoppedOrRefusedLeavesTheDatabaseAsItWasAndNoNewOne) {
    ImportSettings settings = SettingsFor({Sheet("upper.csv"), Gauge("P (psi)")});
    const auto stop = [calls = 0](std::uint64_t, std::uint64_t) mutable { return ++calls < 2; };
    EXPECT_THROW(RunImport(settings, Plan(settings), stop), ImportStopped);
    EXPECT_THAT(FolderNames(), ElementsAre("gauge.csv", "upper.csv"));

    MakeOld();
    const std::string before = Bytes();
    EXPECT_THROW(RunImport(settings, Plan(settings), stop), ImportStopped);
    EXPECT_EQ(Bytes(), before);
    // The second file fails after the first was written: a time that no valve can have.
    settings.valve.way = ValveWay::times;
    settings.valve.times = folder.File("times.txt");
    WriteAll(settings.valve.times, "3\n2\n");
    EXPECT_THROW(RunImport(settings, Plan(settings)), DatasetError);
    EXPECT_EQ(Bytes(), before);
}

TEST_F(ImportJob, WhatAKilledImportLeftIsRemovedByTheNextAndNothingElse) {
    const ImportSettings settings = SettingsFor({Sheet("upper.csv")});
    const JobPlan job = Plan(settings);
    const auto leftBy = [this](pid_t process) { return DatabasePath() + ".new-" + std::to_string(process); };
    const pid_t killed = ::fork();
    if (killed == 0)
        RunImport(settings, job, [](std::uint64_t, std::uint64_t) { return ::raise(SIGKILL) != 0; });
    ASSERT_EQ(::waitpid(killed, nullptr, 0), killed);
    ASSERT_TRUE(std::filesystem::exists(leftBy(killed)));
    ASSERT_TRUE(std::filesystem::exists(leftBy(killed) + "-journal"));

    const std::string database = ReadAll(leftBy(killed));
    const std::vector<std::string> others{leftBy(::getppid()),       // alive
                                          leftBy(killed) + "0000x",  // no number
                                          DatabasePath() + "2.new-" + std::to_string(killed)};
    for (const std::string& other : others)
        WriteAll(other, database);
    constexpr pid_t beyondAll = 1 << 30;
    WriteAll(leftBy(beyondAll),
             "a text of somebody, long enough to have something where a database tells "
             "whose it is, and behind that");
    WriteAll(leftBy(beyondAll + 1), "");
    RunImport(settings, job);
    for (const std::string& other : others)
        EXPECT_TRUE(std::filesystem::exists(other)) << other;
    EXPECT_TRUE(std::filesystem::exists(leftBy(beyondAll)));
    EXPECT_FALSE(std::filesystem::exists(leftBy(beyondAll + 1)));
    EXPECT_FALSE(std::filesystem::exists(leftBy(killed)));
    EXPECT_FALSE(std::filesystem::exists(leftBy(killed) + "-journal"));
    EXPECT_TRUE(std::filesystem::exists(DatabasePath()));
}

TEST_F(ImportJob, NamesThatMeetAreProblemsBeforeAnythingIsWritten) {
    struct Case {
        std::function<void(ImportSettings&)> change;
        std::string problem;  ///< "": none
    };
    const Case cases[] = {
        {[](ImportSettings&) {}, "curve ZG is in sheet.csv too"},
        {[](ImportSettings& s) { s.join = false; }, ""},
        {[](ImportSettings& s) {
             s.join = false;
             s.files[1].controls.dataset = "sheet";
         },
         "Dataset \"sheet\" is the name of another file's too"},
        {[](ImportSettings& s) { s.files[0].controls.dataset = "OLD"; }, "dataset \"OLD\" exists already"},
        {[](ImportSettings& s) {
             s.join = false;
             s.joinExisting = true;
             s.files[0].controls.dataset = "OLD";
         },
         "curve ZG is in dataset OLD too"},
        {[](ImportSettings& s) { s.database = s.files[0].path; }, "not a database file"},
        {[](ImportSettings& s) { s.valve.way = ValveWay::schedule; }, "Valve, Period \"\": seconds above 0"},
        {[](ImportSettings& s) {
             s.join = false;
             s.valve.way = ValveWay::threshold;
         },
         "dataset gauge: no column has the role valve position"},
    };
    MakeOld();
    for (const Case& one : cases) {
        ImportSettings settings = SettingsFor({Sheet(), Gauge("ZG (psi)")});
        one.change(settings);
        const JobPlan job = Plan(settings);
        if (one.problem.empty())
            EXPECT_THAT(ProblemsOf(job), ElementsAre());
        else
            EXPECT_THAT(ProblemsOf(job), Contains(HasSubstr(one.problem)));
        EXPECT_EQ(job.CanImport(), one.problem.empty()) << one.problem;
    }
}

}  // namespace
}  // namespace vorela::test
