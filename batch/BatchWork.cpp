#include "batch/BatchWork.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "analysis/CycleReasons.h"
#include "analysis/InterpretationFile.h"
#include "analysis/modExact.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modMain.h"
#include "batch/BatchCurves.h"
#include "batch/BatchPlan.h"
#include "batch/BatchReport.h"
#include "batch/BatchSelection.h"
#include "batch/BatchStop.h"
#include "batch/BatchTable.h"
#include "db/AnalysisClaim.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "follow/ActionQueue.h"
#include "follow/StartUp.h"
#include "general/AtomicFile.h"
#include "general/ConsolePorts.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/TerminalText.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlot.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"
#include "signal/modDFilt.h"
#include "signal/modModulator.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

std::vector<DatasetRecord>& Datasets() {
    return CurrentSelection().datasets;
}

// --- Start ---

/// Puts the console in the place of the window for the time of a run.
class ConsoleInPlace {
  public:
    // No: a question that turns up is about something that the command line did not ask for.
    ConsoleInPlace() : before_(CurrentPorts()) { CurrentPorts() = console_.AsPorts(); }
    ~ConsoleInPlace() { CurrentPorts() = before_; }
    ConsoleInPlace(const ConsoleInPlace&) = delete;
    ConsoleInPlace& operator=(const ConsoleInPlace&) = delete;
    int Complaints() const { return console_.Complaints(); }
    const std::vector<std::string>& Told() const { return console_.Told(); }

  private:
    ConsolePorts console_{false};
    Ports before_;
};

class LoadedLibrariesScope {
  public:
    LoadedLibrariesScope() {
        if (!LoadDatabaseLibrary() || !LoadFilterLibrary())
            throw Stop{exit_status::failed, LoadedLibraries().loadDetail};
    }
    ~LoadedLibrariesScope() {
        ReleaseAllFilters();
        FreeLibraries();
    }
    LoadedLibrariesScope(const LoadedLibrariesScope&) = delete;
    LoadedLibrariesScope& operator=(const LoadedLibrariesScope&) = delete;
};

void ReadSettings(const BatchOptions& options, SettingsOverlay& overlay, const ConsoleInPlace& console) {
    SetSettingsFilePath(options.settingsFile.value_or(DefaultSettingsFilePath()));
    const std::string& path = SettingsFilePath();
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored) &&
        (!std::filesystem::is_regular_file(path, ignored) || access(path.c_str(), R_OK) != 0))
        throw Stop{exit_status::failed, path + ": the settings file cannot be read"};
    for (const SettingValue& setting : options.settings)
        overlay.Set(setting.section, setting.key, setting.value);
    SayOfSettings(options);
    ReadPresentationOptions();
    ReadPlotFormat();
    ReadParameters();
    ReadExactSettings();
    if (options.exactCycles) {
        CurrentExactSettings().firstCycle = options.exactCycles->first;
        CurrentExactSettings().lastCycle = options.exactCycles->last;
    }
    ReadDatasetSettings();
    CurrentCursorPositions() = ReadCursorSettings();
    if (options.cursors)
        CurrentCursorPositions() = {static_cast<float>(options.cursors->cursor1),
                                    static_cast<float>(options.cursors->cursor2)};
    if (console.Complaints() > 0)
        throw Stop{exit_status::failed, path + ": the settings cannot be used"};
}

/// Limits that are each in range may still stand in the wrong order.
void CheckSettingsTogether(const BatchOptions& options) {
    const auto touched = [&](const char* section) {
        return std::any_of(
            options.settings.begin(), options.settings.end(),
            [&](const SettingValue& setting) { return EqualIgnoringCase(setting.section, section); });
    };
    if (const auto fault = PresentationOrderFault(PrsOpt()); touched("Presentation") && fault)
        throw Stop{exit_status::badUsage, "--set: " + fault->message};
    if (const std::string fault = ExactSettingsFault(CurrentExactSettings());
        touched("Exact") && !fault.empty())
        throw Stop{exit_status::badUsage, "--set Exact: " + fault};
}

// --- Cycles from other curves ---

void Recalculate(const BatchOptions& options) {
    if (options.unfiltered)
        Require(RecalculateWithUnfilteredCurves());
    if (options.motorPosition)
        Require(RecalculateWithMotorPosition());
}

// --- Following a recording ---

volatile std::sig_atomic_t stopAsked = 0;

void AskToStop(int) {
    stopAsked = 1;
}

/// SIGINT and SIGTERM end the following, not the work: results are written as they stand.
class StopSignals {
  public:
    StopSignals() {
        struct sigaction action {};
        action.sa_handler = AskToStop;
        sigaction(SIGINT, &action, &interrupt_);
        sigaction(SIGTERM, &action, &terminate_);
    }
    ~StopSignals() {
        sigaction(SIGINT, &interrupt_, nullptr);
        sigaction(SIGTERM, &terminate_, nullptr);
    }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

  private:
    struct sigaction interrupt_ {};
    struct sigaction terminate_ {};
};

bool AnyPending() {
    return std::ranges::any_of(Datasets(), &DatasetRecord::IsRecorded);
}

void WaitForNextPass() {
    constexpr int millisecondsPerSecond = 1000;
    constexpr long nanosecondsPerMillisecond = 1'000'000;
    const timespec pause{actionQueueIntervalMs / millisecondsPerSecond,
                         actionQueueIntervalMs % millisecondsPerSecond * nanosecondsPerMillisecond};
    nanosleep(&pause, nullptr);  // a signal ends the wait early, as it should
}

/// Holds the database for this run, after waiting for another analysis of it to end, which is said once
/// (`told` is what was said last). Throws Stop when that takes too long or the user ends the wait.
std::unique_ptr<AnalysisClaim> ClaimPatiently(const std::string& database, std::string& told) {
    constexpr int mostTries = 60;
    for (int tries = 0;; ++tries) {
        auto claim = std::make_unique<AnalysisClaim>(std::vector<std::string>{database});
        if (claim->IsHeld())
            return claim;
        if (tries >= mostTries || stopAsked != 0)
            throw Stop{exit_status::failed, claim->Refusal() + "; given up"};
        if (told != claim->Refusal())
            Say(claim->Refusal() + "; waiting for up to " + std::to_string(mostTries) + " s");
        told = claim->Refusal();
        WaitForNextPass();
    }
}

void AwaitRecording(const BatchOptions& options) {
    const StopSignals signals;
    if (!WaitForDatasets(options, [] { return stopAsked != 0; }))
        throw Stop{exit_status::failed, options.database + ": stopped before the recording began"};
}

/// Extends every dataset that is being recorded until none is. A pass that fails is taken up again by the
/// next one; a fault that stays ends the work.
void Follow(const std::string& database) {
    constexpr int mostFailedPasses = 30;
    const StopSignals signals;
    int failedPasses = 0;
    std::string told;
    while (stopAsked == 0 && AnyPending()) {
        bool allWell = true;
        {
            const auto claim = ClaimPatiently(database, told);
            for (std::size_t i = 0; i < Datasets().size(); ++i)
                if (Datasets()[i].IsRecorded())
                    allWell = ExtendDataset(i) && allWell;
        }
        failedPasses = allWell ? 0 : failedPasses + 1;
        if (failedPasses >= mostFailedPasses)
            throw Stop{exit_status::failed, "the recording cannot be followed any longer"};
        if (AnyPending())
            WaitForNextPass();
    }
    // One whose recording has ended is given up after some passes that failed.
    for (const DatasetRecord& record : Datasets())
        if (stopAsked == 0 && record.failedPasses > 0)
            throw Stop{exit_status::failed,
                       "dataset " + record.dataset + " could not be followed to the end of its recording"};
}

// --- Results ---

/// What keeps a level from showing the entry that was asked for; "" when it has it.
std::string WhyNoSuchEntry(const CycleRecord& cycles, const CycleWish& wish) {
    if (cycles.count == 0)
        return "no whole cycle yet";
    if (wish.window || wish.number <= cycles.RealCycles())
        return "";
    std::string text =
        "there is no cycle " + std::to_string(wish.number) + ", only " + std::to_string(cycles.RealCycles());
    if (cycles.IsWindow(wish.number))
        text += "; the window is shown, whose entry comes next";
    return text;
}

/// Levels differ in how long they were recorded: one that lacks the cycle keeps the number, has no results
/// for it and is named, as with a stored number that has become stale. A cycle that no level has is a
/// mistake. Gives the names with what is wrong.
std::vector<std::string> ChooseCycles(const CycleWish& wish) {
    std::vector<std::string> faults;
    for (std::size_t i = 0; i < Datasets().size(); ++i) {
        CycleRecord& cycles = Datasets()[i].cycles;
        const std::string fault = WhyNoSuchEntry(cycles, wish);
        if (fault.empty()) {
            const std::int32_t entry = wish.window ? cycles.count : wish.number;
            Require(ChooseCycle(i, static_cast<std::size_t>(entry) - 1));
            continue;
        }
        SelectCycle(cycles, wish.window ? windowCycleNumber : wish.number);
        faults.push_back(Datasets()[i].dataset + ": " + fault);
    }
    if (faults.size() == Datasets().size())
        throw Stop{exit_status::failed, "--cycle: " + faults.front()};
    return faults;
}

bool WriteResults(const BatchOptions& options, const ExactResults& exact) {
    bool allWell = true;
    if (options.exportFile) {
        constexpr int commaSeparated = 1;
        constexpr int tabSeparated = 2;
        const bool comma =
            EqualIgnoringCase(std::filesystem::path(*options.exportFile).extension().string(), ".csv");
        allWell = WriteInterpretation(*options.exportFile, comma ? commaSeparated : tabSeparated);
    }
    if (options.jsonFile && !options.JsonToStandardOutput())
        allWell =
            Attempt(step::savingData, [&] { WriteFileAtomically(*options.jsonFile, ResultJson(exact)); }) &&
            allWell;
    if (options.tableFile)
        allWell = Attempt(step::savingData,
                          [&] { WriteFileAtomically(*options.tableFile, IntervalTable(exact)); }) &&
                  allWell;
    if (options.tableFile && IntervalCount() == 0)
        Say("--table: no interval, only the header: intervals lie between two levels");
    const std::string shown =
        options.JsonToStandardOutput() ? ResultJson(exact) : TerminalLines(ResultTable(exact));
    if (std::fputs(shown.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        Say("standard output: the results could not be written");
        allWell = false;
    }
    return allWell;
}

/// What is to be said of the results, after the `faults` of the choice of cycles: hints, then once for each
/// level a line a cause.
void TellMissingResults(const std::vector<std::string>& faults) {
    std::set<std::string> hints(faults.begin(), faults.end());
    for (std::string& hint : ResultHints())
        hints.insert(std::move(hint));
    for (const std::string& hint : hints)
        Say(hint);
    for (std::size_t i = 0; i < Datasets().size(); ++i)
        for (const std::string& reason : ReasonsForMissingResults(i))
            Say(Datasets()[i].dataset + ": " + reason);
}

/// The dataset of the plot, checked before anything is done.
std::size_t PlotDataset(const BatchOptions& options) {
    if (!options.plot->dataset)
        return options.level.value_or(1) - 1;
    for (std::size_t i = 0; i < Datasets().size(); ++i)
        if (Datasets()[i].dataset == *options.plot->dataset)
            return i;
    throw Stop{exit_status::failed,
               "--plot-dataset " + *options.plot->dataset + ": it is not among the datasets"};
}

bool WritePlotOf(std::size_t dataset, const PlotWish& wish, const BatchDrawing& drawing) {
    const PlottedRange range = PlottedRangeOf(dataset);
    const auto seconds = [&](double percent) {
        return range.start + percent * (range.end - range.start) / 100;
    };
    const CursorPositions& cursors = CurrentCursorPositions();
    return drawing.writePlot({wish, dataset, {seconds(cursors.cursor1), seconds(cursors.cursor2)}});
}

/// All that the run has said by now stands in the report.
bool WriteReport(const std::string& path, const ExactResults& exact, const ConsoleInPlace& console,
                 const BatchDrawing& drawing) {
    ReportSource source{exact, "vorela-batch " + PointedVersion(RunningVersion()), std::time(nullptr)};
    source.notes = console.Told();
    source.notes.insert(source.notes.end(), Said().begin(), Said().end());
    return drawing.writeReport(path, source);
}

int Work(const BatchOptions& options, const ConsoleInPlace& console, const BatchDrawing& drawing) {
    SettingsOverlay overlay;
    const LoadedLibrariesScope libraries;
    ComposeRooms();
    InitialiseDatasetVariables();
    ReadSettings(options, overlay, console);
    CheckSettingsTogether(options);
    if (options.follow)
        AwaitRecording(options);
    std::string told;
    auto claim = ClaimPatiently(options.database, told);
    SelectForBatch(options);
    const bool soundInput = console.Complaints() == 0;  // what was told of a level that came in all the same
    const std::size_t plotDataset = options.plot ? PlotDataset(options) : 0;
    WarnOfInput();
    ExactLevels exactLevels(CurrentExactSettings());
    MakeCurvesAndCycles(options, [&](std::size_t dataset) {
        if (!options.follow)  // a level that grows has other cycles in the end
            exactLevels.Start(dataset);
    });
    Recalculate(options);
    claim.reset();
    if (options.follow)
        Follow(options.database);
    const std::vector<std::string> faults =
        options.cycle ? ChooseCycles(*options.cycle) : std::vector<std::string>();
    ShownChoice() = {options.level.value_or(1) - 1, options.interval.value_or(1)};
    const bool computed = RefreshGrids();
    TellMissingResults(faults);
    const ExactResults exact = options.follow ? ComputeExact(CurrentExactSettings())
                                              : ExactResultsOf(exactLevels.Take(), CurrentExactSettings());
    const bool written = WriteResults(options, exact);
    const bool plotted = !options.plot || WritePlotOf(plotDataset, *options.plot, drawing);
    const bool reported = !options.reportFile || WriteReport(*options.reportFile, exact, console, drawing);
    return soundInput && computed && written && plotted && reported ? exit_status::done : exit_status::failed;
}

}  // namespace

namespace {
std::vector<std::string>& SaidByNow() {
    static std::vector<std::string> said;
    return said;
}
}  // namespace

const std::vector<std::string>& Said() {
    return SaidByNow();
}

void SayOfSettings(const BatchOptions& options) {
    const std::string path = options.settingsFile.value_or(DefaultSettingsFilePath());
    std::error_code ignored;
    if (options.settingsFile && !std::filesystem::exists(path, ignored))
        Say(path + ": there is no such file, every setting is at its default");
    for (const std::string& remark : RemarksOnSettings(path))
        Say(remark);
}

void Say(const std::string& text) {
    SaidByNow().push_back(text);
    std::fprintf(stderr, "vorela-batch: %s\n", TerminalText(text).c_str());
}

int RunBatch(const BatchOptions& options, const BatchDrawing& drawing) {
    const ConsoleInPlace console;
    try {
        return options.plan.empty() ? Work(options, console, drawing) : RunPlan(options);
    } catch (const Stop& stop) {
        if (!stop.text.empty())
            Say(stop.text);
        return stop.exitStatus;
    } catch (...) {
        const RunTimeError error = ErrorFromCurrentException("vorela-batch");
        Say(error.description);
        return exit_status::failed;
    }
}

}  // namespace vorela
