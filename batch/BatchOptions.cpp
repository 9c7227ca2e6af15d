#include "batch/BatchOptions.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>

#include "follow/StartUp.h"
#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/RangeCheck.h"
#include "general/SettingsList.h"
#include "general/TerminalText.h"
#include "general/Version.h"
#include "platform/Application.h"
#include "platform/Registry.h"

namespace vorela {
namespace {

/// A command line that is refused; the text names the option.
struct UsageFault {
    std::string text;
};

/// The values as they stand on the command line.
struct RawOptions {
    std::vector<std::string> settings;
    std::string cycle, cursors;
    std::string level, interval;
    std::string exactCycles;
    std::string plotFile, plotDataset, plotSize;
};

std::string Absolute(const std::string& path) {
    return path.empty() ? path : std::filesystem::absolute(path).string();
}

std::int32_t WholeNumber(const char* option, const std::string& text) {
    const auto number = NumberInRange(text, 1, std::numeric_limits<std::int32_t>::max());
    if (!number || std::trunc(*number) != *number)
        throw UsageFault{std::string(option) + " " + text + ": a whole number from 1 is needed"};
    return static_cast<std::int32_t>(*number);
}

CycleWish ParseCycle(const std::string& text) {
    if (EqualIgnoringCase(text, "window"))
        return {true, 0};
    const auto number = NumberInRange(text, 1, std::numeric_limits<std::int32_t>::max());
    if (!number || std::trunc(*number) != *number)
        throw UsageFault{"--cycle " + text + ": a cycle number or \"window\" is needed"};
    return {false, static_cast<std::int32_t>(*number)};
}

CursorWish ParseCursors(const std::string& text) {
    const std::size_t comma = text.find(',');
    const auto first = NumberInRange(text.substr(0, comma), 0, 100);
    const auto second =
        comma == std::string::npos ? std::nullopt : NumberInRange(text.substr(comma + 1), 0, 100);
    if (!first || !second)
        throw UsageFault{"--cursors " + text +
                         ": two positions from 0 to 100 percent are needed, as in 20,80"};
    return {*first, *second};
}

ExactCyclesWish ParseExactCycles(const std::string& text) {
    const std::size_t dash = text.find('-');
    const auto number = [&](const std::string& part) {
        const auto value = NumberInRange(part, 1, std::numeric_limits<std::int32_t>::max());
        return value && std::trunc(*value) == *value ? static_cast<std::int32_t>(*value) : 0;
    };
    ExactCyclesWish wish{number(text.substr(0, dash)),
                         dash == std::string::npos ? 0 : number(text.substr(dash + 1))};
    if (wish.first < 1 || wish.last < wish.first)
        throw UsageFault{"--exact-cycles " + text +
                         ": two cycle numbers from 1 are needed, the first not behind the last, as in 2-9"};
    return wish;
}

int Pixels(const std::string& wanted, std::string_view text) {
    constexpr int fewest = 100;
    constexpr int most = 20000;
    const auto number = NumberInRange(text, fewest, most);
    if (!number || std::trunc(*number) != *number)
        throw UsageFault{"--size " + wanted +
                         ": width and height from 100 to 20000 are needed, as in 1200x800"};
    return static_cast<int>(*number);
}

bool HasEnding(const std::string& path, const char* ending) {
    return EqualIgnoringCase(std::filesystem::path(path).extension().string(), ending);
}

/// The plot's options belong together: without a file there is no plot to choose a dataset or a size for.
std::optional<PlotWish> ParsePlot(const RawOptions& raw) {
    if (raw.plotFile.empty()) {
        if (!raw.plotDataset.empty() || !raw.plotSize.empty())
            throw UsageFault{std::string(raw.plotDataset.empty() ? "--size" : "--plot-dataset") +
                             ": --plot FILE is needed too"};
        return std::nullopt;
    }
    if (!HasEnding(raw.plotFile, ".png") && !HasEnding(raw.plotFile, ".svg") &&
        !HasEnding(raw.plotFile, ".pdf"))
        throw UsageFault{"--plot " + raw.plotFile + ": the name must end in .png, .svg or .pdf"};
    PlotWish plot;
    plot.path = Absolute(raw.plotFile);
    if (!raw.plotDataset.empty())
        plot.dataset = raw.plotDataset;
    if (!raw.plotSize.empty()) {
        const std::size_t cross = raw.plotSize.find('x');
        plot.width = Pixels(raw.plotSize, std::string_view(raw.plotSize).substr(0, cross));
        plot.height = Pixels(raw.plotSize, cross == std::string::npos
                                               ? std::string_view()
                                               : std::string_view(raw.plotSize).substr(cross + 1));
    }
    return plot;
}

void CheckDatasetNames(const std::vector<std::string>& names) {
    for (const std::string& name : names)
        if (Trimmed(name).empty())
            throw UsageFault{"an empty dataset name"};
}

/// A plan has no database; without a plan there must be one.
void CheckKindOfWork(const CLI::App& app, const BatchOptions& options) {
    if (options.plan.empty()) {
        if (options.database.empty())
            throw CLI::RequiredError("DB");
        return;
    }
    for (const CLI::Option* option : app.get_options())
        if (option->count() > 0 && option->get_name() != "--plan" && option->get_name() != "--set" &&
            option->get_name() != "--settings" && option->get_name() != "--json")
            throw UsageFault{"--plan: " + option->get_name() + " does not go with it"};
}

void Digest(const RawOptions& raw, BatchOptions& options) {
    const std::vector<SettingsSection> sections = CommandLineSettings();
    for (const std::string& text : raw.settings) {
        std::string fault;
        const auto setting = ParseSetting(sections, text, fault);
        if (!setting)
            throw UsageFault{fault};
        options.settings.push_back(*setting);
    }
    if (!raw.cycle.empty())
        options.cycle = ParseCycle(raw.cycle);
    if (!raw.cursors.empty())
        options.cursors = ParseCursors(raw.cursors);
    if (!raw.exactCycles.empty())
        options.exactCycles = ParseExactCycles(raw.exactCycles);
    if (!raw.level.empty())
        options.level = static_cast<std::size_t>(WholeNumber("--level", raw.level));
    if (!raw.interval.empty())
        options.interval = static_cast<std::size_t>(WholeNumber("--interval", raw.interval));
    if (options.exportFile && !HasEnding(*options.exportFile, ".csv") &&
        !HasEnding(*options.exportFile, ".txt"))
        throw UsageFault{"--export " + *options.exportFile + ": the name must end in .csv or .txt"};
    if (options.tableFile && !HasEnding(*options.tableFile, ".csv"))
        throw UsageFault{"--table " + *options.tableFile + ": the name must end in .csv"};
    if (options.jsonFile && options.jsonFile->empty())
        throw UsageFault{"--json: a file name or - is needed"};
    options.plot = ParsePlot(raw);
    if (options.reportFile && !HasEnding(*options.reportFile, ".pdf") &&
        !HasEnding(*options.reportFile, ".html"))
        throw UsageFault{"--report " + *options.reportFile + ": the name must end in .pdf or .html"};
    CheckDatasetNames(options.datasets);
    if (!options.database.empty())
        options.database = Absolute(options.database);
    for (std::optional<std::string>* path : {&options.settingsFile, &options.exportFile, &options.jsonFile,
                                             &options.tableFile, &options.reportFile})
        if (*path && **path != "-")
            *path = Absolute(**path);
}

void PrintSettings() {
    std::fputs(SettingsList(CommandLineSettings()).c_str(), stdout);
    throw CLI::Success();
}

void Declare(CLI::App& app, RawOptions& raw, BatchOptions& options) {
    app.add_option("DB", options.database, "Database");
    app.add_option("DATASET", options.datasets,
                   "Datasets (levels); every one that qualifies when none is named");
    app.add_option("--pressure", options.pressure, "Pressure curve (default: the stored choice, else ZG)");
    app.add_option("--flow", options.flow, "Flow meter curve (default: the stored choice, else RTC)");
    app.add_option("--settings", options.settingsFile,
                   "Settings file, read only (default: the program's own)");
    app.add_option("--set", raw.settings, "Section.Key=Value in place of a setting; may be repeated")
        ->allow_extra_args(false);
    app.add_flag_callback("--list-settings", PrintSettings,
                          "Lists every setting with its default and what it accepts, and does nothing else");
    app.add_flag("--recreate", options.recreate, "Make the derived curves anew");
    CLI::Option* unfiltered = app.add_flag("--unfiltered", options.unfiltered,
                                           "Cycle information from the unfiltered pressure and flow curves");
    app.add_flag("--pvlpos", options.motorPosition, "Cycle information from the valve motor position PVLPOS")
        ->excludes(unfiltered);
    app.add_option("--cycle", raw.cycle, "Selected cycle of every level: a number, or window");
    app.add_option("--cursors", raw.cursors, "Time cursors in percent of the plotted range, as in 20,80");
    app.add_option("--exact-cycles", raw.exactCycles,
                   "First and last cycle of the exact analysis, as in 2-9 (default: those of the settings)");
    app.add_option("--level", raw.level, "Level that the export's level grid shows (1: the deepest)");
    app.add_option("--interval", raw.interval, "Interval that the export's single-value grids show, from 1");
    app.add_option("--export", options.exportFile, "Writes the interpretation (.csv or .txt)");
    app.add_option("--json", options.jsonFile, "Writes the results in full precision; - is standard output");
    app.add_option("--table", options.tableFile,
                   "Writes one line an interval in full precision (.csv), the same columns for every well");
    app.add_option("--plot", raw.plotFile, "Writes a plot (.png, .svg or .pdf)");
    app.add_option("--plot-dataset", raw.plotDataset, "Dataset of the plot (default: that of --level)");
    app.add_option("--size", raw.plotSize, "Width and height of the plot, as in 1200x800 (the default)");
    app.add_option("--report", options.reportFile,
                   "Writes the report: results, inputs, cycles, plots, curves and notes (.pdf or .html)");
    app.add_option("--plan", options.plan,
                   "Plans a test instead: NAME=VALUE[,NAME=VALUE...], k and skin at least")
        ->allow_extra_args(false);
    app.add_flag("--follow", options.follow, "Goes on until no dataset is being recorded");
}

/// An output put in place of what the run reads would destroy it; of two outputs of one name the second would
/// destroy the first.
void CheckOutputs(const BatchOptions& options) {
    std::vector<std::string> taken{options.database, options.database + "-journal",
                                   options.settingsFile.value_or(DefaultSettingsFilePath()),
                                   RegistryFilePath()};
    const auto check = [&](const char* option, const std::string& path) {
        if (const std::string named = InputNamedBy(path, taken); !named.empty())
            throw UsageFault{std::string(option) + " " + path + ": " + named +
                             " is read or written by this run already"};
        taken.push_back(path);
    };
    if (options.exportFile)
        check("--export", *options.exportFile);
    if (options.jsonFile && !options.JsonToStandardOutput())
        check("--json", *options.jsonFile);
    if (options.tableFile)
        check("--table", *options.tableFile);
    if (options.plot)
        check("--plot", options.plot->path);
    if (options.reportFile)
        check("--report", *options.reportFile);
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv) {
    CLI::App app{
        "Analyses the harmonic tests of a database: derived curves, cycles, level, interval and "
        "quicklook results.\nSettings are read, never written.",
        "vorela-batch"};
    RawOptions raw;
    BatchOptions options;
    Declare(app, raw, options);
    app.set_version_flag("--version", VersionLine("vorela-batch"), "Print the version and exit");
    try {
        app.parse(argc, argv);
        CheckKindOfWork(app, options);
        Digest(raw, options);
        CheckOutputs(options);
    } catch (const CLI::Success& wanted) {  // --help, --version
        return {std::nullopt, app.exit(wanted)};
    } catch (const CLI::Error& error) {
        std::fprintf(stderr, "vorela-batch: %s\nTry vorela-batch --help\n",
                     TerminalText(error.what()).c_str());
        return {std::nullopt, exit_status::badUsage};
    } catch (const UsageFault& fault) {
        std::fprintf(stderr, "vorela-batch: %s\n", TerminalText(fault.text).c_str());
        return {std::nullopt, exit_status::badUsage};
    }
    return {std::move(options), exit_status::done};
}

}  // namespace vorela
