#include "batch/BatchWork.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "analysis/modMain.h"
#include "app/ActionQueue.h"
#include "app/CurveChecks.h"
#include "app/StartUp.h"
#include "batch/BatchReport.h"
#include "db/Curves.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/AtomicFile.h"
#include "general/ConsolePorts.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlot.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"
#include "signal/modDFilt.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

/// Ends the work with a line on standard error (none when a routine has told already).
struct Stop {
    int exitStatus = exit_status::failed;
    std::string text;
};

void Say(const std::string& text) {
    std::fprintf(stderr, "vorela-batch: %s\n", text.c_str());
}

void Require(bool routineSucceeded) {
    if (!routineSucceeded)
        throw Stop{};
}

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
    ReadPresentationOptions();
    ReadPlotFormat();
    ReadParameters();
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
    const bool touched = std::any_of(
        options.settings.begin(), options.settings.end(),
        [](const SettingValue& setting) { return EqualIgnoringCase(setting.section, "Presentation"); });
    if (const auto fault = PresentationOrderFault(PrsOpt()); touched && fault)
        throw Stop{exit_status::badUsage, "--set: " + fault->message};
}

// --- Selection ---

bool HasCurve(const DatasetRecord& record, const std::string& name) {
    return std::find(record.curves.begin(), record.curves.end(), name) != record.curves.end();
}

const std::vector<std::string>& CurvesNeeded() {
    static const std::vector<std::string> names{curve::valvePosition, curve::valveCode,
                                                curve::valveChangeTimer, curve::valveTimer};
    return names;
}

std::vector<std::string> DatasetNames(const std::string& databasePath) {
    std::error_code ignored;
    if (!std::filesystem::exists(databasePath, ignored))
        throw Stop{exit_status::failed, databasePath + ": there is no such database"};
    const Database database(databasePath);
    if (!database.IsOpen())
        throw Stop{exit_status::failed, databasePath + ": the database cannot be opened"};
    std::vector<std::string> names;
    Require(Attempt("Selecting data", [&] { names = ItemsOf(database.Handle(), ""); }));
    return names;
}

/// Why a dataset does not qualify; "" when it does.
std::string WhyLeftOut(const Database& database, const std::string& name, const CurveChoice& choice) {
    const auto dataset = Item::Find(database, name);
    if (!dataset || dataset->Info().indexKind != DK_INDEX_TIME)
        return "it is not recorded against time";
    std::vector<std::string> needed{choice.pressure, choice.flow};
    needed.insert(needed.end(), CurvesNeeded().begin(), CurvesNeeded().end());
    for (const std::string& curve : needed)
        if (!Item::Find(database, ItemPath(name, curve)))
            return "it has no curve " + curve;
    return {};
}

std::vector<std::string> QualifyingDatasets(const std::string& databasePath, const CurveChoice& choice) {
    const std::vector<std::string> all = DatasetNames(databasePath);
    std::vector<std::string> names;
    Require(Attempt("Selecting data", [&] {
        const Database database(databasePath);
        for (const std::string& name : all) {
            const std::string why = WhyLeftOut(database, name, choice);
            if (why.empty())
                names.push_back(name);
            else
                Say("dataset " + name + " is left out: " + why);
        }
    }));
    if (names.empty())
        throw Stop{exit_status::failed, databasePath + ": no dataset can be analysed"};
    return names;
}

std::vector<std::string> NamedDatasets(const BatchOptions& options) {
    const std::vector<std::string> all = DatasetNames(options.database);
    std::vector<std::string> names;
    for (const std::string& given : options.datasets) {
        const std::string name = Trimmed(given);
        if (std::find(all.begin(), all.end(), name) == all.end())
            throw Stop{exit_status::failed, options.database + ": there is no dataset " + name};
        if (std::find(names.begin(), names.end(), name) != names.end())
            throw Stop{exit_status::badUsage, "dataset " + name + " is named twice"};
        names.push_back(name);
    }
    return names;
}

std::size_t PositionOfCurve(const std::string& name, const char* option) {
    const auto& common = CurrentSelection().commonCurves;
    for (std::size_t i = 0; i < common.size(); ++i)
        if (common[i].name == name)
            return i;
    for (const DatasetRecord& record : Datasets())
        if (!HasCurve(record, name))
            throw Stop{exit_status::failed, "dataset " + record.dataset + " has no curve " + name +
                                                "; another one is chosen with " + option};
    throw Stop{exit_status::failed, "there is no common curve " + name};
}

/// Indices on the command line that name a level or interval which the selection does not have.
void CheckIndices(const BatchOptions& options) {
    const std::size_t levels = Datasets().size();
    const auto refuse = [](const std::string& what, std::size_t have, const char* of) {
        throw Stop{exit_status::badUsage, what + ": there are " + std::to_string(have) + " " + of};
    };
    if (options.level && *options.level > levels)
        refuse("--level " + std::to_string(*options.level), levels, "levels");
    if (options.interval && *options.interval > levels - 1)
        refuse("--interval " + std::to_string(*options.interval), levels - 1, "intervals");
    for (const SettingValue& setting : options.settings)
        if (const auto level = LevelOfSetting(setting); level && *level >= levels)
            refuse("--set " + setting.section + "." + setting.key, levels, "levels, counted from 0");
}

void Select(const BatchOptions& options) {
    CurveChoice choice = CurrentSelection().choice;
    choice.pressure = options.pressure.value_or(choice.pressure);
    choice.flow = options.flow.value_or(choice.flow);
    const std::vector<std::string> names =
        options.datasets.empty() ? QualifyingDatasets(options.database, choice) : NamedDatasets(options);
    std::vector<DatasetRecord> records;
    Require(ReadDatasets(options.database, names, records));
    Require(AppendDatasets(std::move(records)));
    const std::size_t pressure = PositionOfCurve(choice.pressure, "--pressure");
    const std::size_t flow = PositionOfCurve(choice.flow, "--flow");
    for (const std::string& needed : CurvesNeeded())
        for (const DatasetRecord& record : Datasets())
            if (!HasCurve(record, needed))
                throw Stop{exit_status::failed, "dataset " + record.dataset + " has no curve " + needed};
    ChooseCurves(pressure, flow);
    SortDatasets();
    ResizeIntervalArrays();
    CheckIndices(options);
}

void WarnOfInput() {
    for (const std::string& line : UnitWarnings())
        Say(line);
    if (CurvesFilteredByDravik())
        Say("pressure or flow were filtered by the acquisition system, which shifts phase: its filters "
            "should be off");
}

// --- Derived curves ---

bool IsWritable(const std::string& databasePath) {
    const std::string folder = std::filesystem::path(databasePath).parent_path().string();
    return access(databasePath.c_str(), W_OK) == 0 && access(folder.c_str(), W_OK) == 0;
}

/// Which derived curves of a dataset have to be made.
struct Missing {
    bool filtered = false;
    bool valve = false;
    bool dravikFlow = false;
    bool Any() const { return filtered || valve || dravikFlow; }
};

Missing MissingCurves(const DatasetRecord& record, bool recreate) {
    const CurveChoice& choice = CurrentSelection().choice;
    Missing missing;
    missing.filtered = recreate || !HasCurve(record, FilteredPressureName(choice)) ||
                       !HasCurve(record, FilteredFlowName(choice));
    missing.valve = recreate || !HasCurve(record, curve::valveSignal);
    missing.dravikFlow = recreate || !HasCurve(record, DravikFilteredFlowName(choice));
    return missing;
}

std::string NameOfFirstMissing(const DatasetRecord& record) {
    const CurveChoice& choice = CurrentSelection().choice;
    for (const std::string& name : {FilteredPressureName(choice), FilteredFlowName(choice),
                                    std::string(curve::valveSignal), DravikFilteredFlowName(choice)})
        if (!HasCurve(record, name))
            return name;
    return {};
}

void CheckWritable(const BatchOptions& options, const std::vector<Missing>& missing) {
    if (IsWritable(options.database))
        return;
    if (options.recreate)
        throw Stop{exit_status::failed, options.database + " is read only: --recreate cannot be done"};
    for (std::size_t i = 0; i < missing.size(); ++i)
        if (missing[i].Any())
            throw Stop{exit_status::failed, options.database + " is read only and dataset " +
                                                Datasets()[i].dataset + " has no curve " +
                                                NameOfFirstMissing(Datasets()[i])};
}

void SayFilter() {
    const FilterInformation information = GetFilterInformation();
    if (CurrentParameters().bandPass == 0 && !information.warning)
        return;
    std::string line;
    for (const char c : information.passBand + "\n") {
        if (c != '\n' && c != '\r')
            line += c;
        else if (!line.empty())
            Say(std::exchange(line, {}));
    }
}

/// Makes what is missing; finds the cycles of every dataset, which are kept nowhere but in memory.
void MakeCurvesAndCycles(const std::vector<Missing>& missing) {
    if (std::any_of(missing.begin(), missing.end(), [](const Missing& one) { return one.filtered; }))
        SayFilter();
    for (std::size_t i = 0; i < missing.size(); ++i)
        if (missing[i].filtered)
            Require(CreateFilteredCurves(i, false));
    for (std::size_t i = 0; i < missing.size(); ++i) {
        ResetDatasetCycles(i);
        Require(missing[i].valve ? ReconstructValveCurve(i, false) : FindValveCycles(i));
    }
    ResetFilterSlots();
    for (std::size_t i = 0; i < missing.size(); ++i)
        if (missing[i].dravikFlow)
            Require(FilterDatasetFlow(i, false));
    Require(RefreshCommonCurves());
}

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
    return std::any_of(Datasets().begin(), Datasets().end(),
                       [](const DatasetRecord& record) { return record.pendingFlag != 0; });
}

void WaitForNextPass() {
    constexpr int millisecondsPerSecond = 1000;
    constexpr long nanosecondsPerMillisecond = 1'000'000;
    const timespec pause{actionQueueIntervalMs / millisecondsPerSecond,
                         actionQueueIntervalMs % millisecondsPerSecond * nanosecondsPerMillisecond};
    nanosleep(&pause, nullptr);  // a signal ends the wait early, as it should
}

/// Extends every dataset that is being recorded until none is. A pass that fails is taken up again by the
/// next one; a fault that stays ends the work.
void Follow() {
    constexpr int mostFailedPasses = 30;
    const StopSignals signals;
    int failedPasses = 0;
    while (stopAsked == 0 && AnyPending()) {
        bool allWell = true;
        for (std::size_t i = 0; i < Datasets().size(); ++i)
            if (Datasets()[i].pendingFlag != 0)
                allWell = ExtendDataset(i) && allWell;
        failedPasses = allWell ? 0 : failedPasses + 1;
        if (failedPasses >= mostFailedPasses)
            throw Stop{exit_status::failed, "the recording cannot be followed any longer"};
        if (AnyPending())
            WaitForNextPass();
    }
}

// --- Results ---

void ChooseCycles(const CycleWish& wish) {
    for (std::size_t i = 0; i < Datasets().size(); ++i) {
        const CycleRecord& cycles = Datasets()[i].cycles;
        const std::int32_t entry = wish.window ? cycles.count : wish.number;
        if (entry < 1 || (!wish.window && entry > cycles.RealCycles()))
            throw Stop{exit_status::failed,
                       "dataset " + Datasets()[i].dataset + " has " + std::to_string(cycles.RealCycles()) +
                           " cycles, " +
                           (wish.window ? "no window" : "not --cycle " + std::to_string(wish.number))};
        Require(ChooseCycle(i, static_cast<std::size_t>(entry) - 1));
    }
}

bool WriteResults(const BatchOptions& options) {
    bool allWell = true;
    if (options.exportFile) {
        constexpr int commaSeparated = 1;
        constexpr int tabSeparated = 2;
        const bool comma =
            EqualIgnoringCase(std::filesystem::path(*options.exportFile).extension().string(), ".csv");
        allWell = WriteInterpretation(*options.exportFile, comma ? commaSeparated : tabSeparated);
    }
    if (options.jsonFile && !options.JsonToStandardOutput())
        allWell = Attempt(step::savingData, [&] { WriteFileAtomically(*options.jsonFile, ResultJson()); }) &&
                  allWell;
    const std::string shown = options.JsonToStandardOutput() ? ResultJson() : ResultTable();
    if (std::fputs(shown.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        Say("standard output: the results could not be written");
        allWell = false;
    }
    return allWell;
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

bool WritePlotOf(std::size_t dataset, const PlotWish& wish, const PlotWriter& writePlot) {
    const PlottedRange range = PlottedRangeOf(dataset);
    const auto seconds = [&](double percent) {
        return range.start + percent * (range.end - range.start) / 100;
    };
    const CursorPositions& cursors = CurrentCursorPositions();
    return writePlot({wish, dataset, {seconds(cursors.cursor1), seconds(cursors.cursor2)}});
}

int Work(const BatchOptions& options, const ConsoleInPlace& console, const PlotWriter& writePlot) {
    SettingsOverlay overlay;
    const LoadedLibrariesScope libraries;
    ComposeRooms();
    InitialiseDatasetVariables();
    ReadSettings(options, overlay, console);
    CheckSettingsTogether(options);
    Select(options);
    const std::size_t plotDataset = options.plot ? PlotDataset(options) : 0;
    std::vector<Missing> missing;
    for (const DatasetRecord& record : Datasets())
        missing.push_back(MissingCurves(record, options.recreate));
    CheckWritable(options, missing);
    WarnOfInput();
    MakeCurvesAndCycles(missing);
    Recalculate(options);
    if (options.follow)
        Follow();
    if (options.cycle)
        ChooseCycles(*options.cycle);
    ShownChoice() = {options.level.value_or(1) - 1, options.interval.value_or(1)};
    const bool computed = RefreshGrids();
    const bool written = WriteResults(options);
    const bool plotted = !options.plot || WritePlotOf(plotDataset, *options.plot, writePlot);
    return computed && written && plotted ? exit_status::done : exit_status::failed;
}

}  // namespace

int RunBatch(const BatchOptions& options, const PlotWriter& writePlot) {
    const ConsoleInPlace console;
    try {
        return Work(options, console, writePlot);
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
