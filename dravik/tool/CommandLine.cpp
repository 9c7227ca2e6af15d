#include "dravik/tool/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/Datasets.h"
#include "dravik/tool/Commands.h"
#include "dravik/tool/ImportArguments.h"
#include "dravik/tool/ImportCommand.h"
#include "dravik/tool/LinkedLibrary.h"
#include "dravik/tool/Recover.h"
#include "dravik/tool/SimulationArguments.h"
#include "dravik/tool/ToolError.h"
#include "general/NumberText.h"
#include "general/RunTimeError.h"
#include "general/TerminalText.h"
#include "general/Version.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

const CLI::Validator depthRange = CLI::Range(-100000.0, 100000.0).description("");

enum ExitStatus { done = 0, failed = 1, badUsage = 2 };

void AddSimulate(CLI::App& app) {
    struct Arguments {
        SimulateRequest request;
        SimulationArguments simulation;
    };
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand(
        "simulate", "Write a simulated periodic test of a layered well and print what is true of it");
    command->add_option("DB", arguments->request.database, "Database file; created when absent")->required();
    AddSimulationOptions(*command, "The simulated test", arguments->simulation);
    command->add_flag("--replace", arguments->request.replace,
                      "Replace datasets LEVEL1, LEVEL2 ... that exist");
    command
        ->add_option("--json", arguments->request.json,
                     "Write the truth in full precision to FILE, - for standard output")
        ->type_name("FILE");
    command->callback([arguments] {
        arguments->request.simulation = MakeSimulation(arguments->simulation);
        Simulate(arguments->request);
    });
}

void AddRecord(CLI::App& app) {
    struct Arguments {
        RecordRequest request;
        std::string file;
        bool simulate = false;
        int level = 1;
        std::optional<double> depth;
        SimulationArguments simulation;
    };
    auto arguments = std::make_shared<Arguments>();
    Arguments& a = *arguments;
    CLI::App* command =
        app.add_subcommand("record", "Play a file or a simulated level as a live recording, or continue one");
    command->add_option("DB", a.request.database, "Database file; created when absent")->required();
    command->add_option("DATASET", a.request.dataset, "Dataset to record")->required();
    command->add_option("--from", a.file, "Play a file that import takes")->type_name("FILE");
    command->add_flag("--simulate", a.simulate, "Play a level of the simulated test described below");
    command->add_option("--level", a.level, "With --simulate: which level")
        ->type_name("N")
        ->check(CLI::Range(1, 64).description(""))
        ->capture_default_str();
    command->add_option("--depth", a.depth, "With --from: depth of the level, ft (for files without ADPTH)")
        ->check(depthRange);
    command->add_option("--speed", a.request.speed, "Times real time; 0: as fast as it goes")
        ->check(CLI::Range(0.0, 1e6).description(""))
        ->capture_default_str();
    command->add_option("--commit", a.request.commitSeconds, "Seconds of data in one transaction")
        ->check(CLI::Range(0.001, 1e6).description(""))
        ->capture_default_str();
    command
        ->add_option("--patience", a.request.patienceSeconds,
                     "Seconds for which a failed transaction is tried again")
        ->check(CLI::Range(0.0, 1e6).description(""))
        ->capture_default_str();
    command->add_flag("--ack", a.request.acknowledge, "Print the last index of each commit once it is safe");
    command->add_flag("--replace", a.request.replace, "Start anew instead of continuing");
    AddSimulationOptions(*command, "The simulated test (--step also with --from)", a.simulation);
    command->callback([arguments, command] {
        if (arguments->simulate == (command->count("--from") > 0))
            throw UsageError("record needs one of --from FILE and --simulate");
        if (arguments->simulate) {
            const Simulation simulation = MakeSimulation(arguments->simulation);
            const auto level = static_cast<std::size_t>(arguments->level);
            if (level > simulation.levels.size())
                throw UsageError("--level " + std::to_string(level) + ": there are " +
                                 std::to_string(simulation.levels.size()) + " levels");
            SimulatedLevel source(simulation, level - 1);
            return Record(arguments->request, source, simulatedTools);
        }
        dravik::Choices choices;
        choices.depth = arguments->depth;
        if (command->count("--step") > 0)
            choices.step = static_cast<std::int16_t>(arguments->simulation.step);
        dravik::GriddedSource source = dravik::OpenSource(arguments->file, choices);
        Record(arguments->request, source, "PLAYBACK");
    });
}

/// "3=A,1=B"
dravik::CodeMap CodeMapOf(const std::string& text) {
    dravik::CodeMap map;
    const std::size_t comma = text.find(',');
    for (const std::string& part :
         {text.substr(0, comma), comma == std::string::npos ? "" : text.substr(comma + 1)}) {
        const std::optional<float> value =
            part.size() > 2 ? vorela::StrictFloat(part.substr(2)) : std::nullopt;
        if (!value || (!part.starts_with("3=") && !part.starts_with("1=")))
            throw UsageError("--map " + text + ": two values, as in 3=2,1=0");
        (part.front() == '3' ? map.three : map.one) = *value;
    }
    return map;
}

void AddValve(CLI::App& app) {
    auto request = std::make_shared<ValveRequest>();
    CLI::App* command =
        app.add_subcommand("valve", "Add a valve: on a nominal schedule, at listed times, or from a curve");
    command->footer("PVLPOS, PVLID, PVLIDT and PVLT are added.");
    command->add_option("DB", request->database, "Database file")->required();
    command->add_option("DATASET", request->dataset, "Dataset recorded against time")->required();
    command->add_option("--period", request->periodSeconds, "A nominal schedule: period of the valve, s")
        ->check(CLI::Range(0.0, longestTime).description(""));
    command
        ->add_option("--first", request->firstSeconds,
                     "Time of the first cycle boundary, s (default: first sample)")
        ->check(CLI::Range(-longestTime, longestTime).description(""));
    command
        ->add_option("--times", request->times,
                     "Times of the changes, one a line: seconds or dates, code 1 or 3")
        ->type_name("FILE");
    CLI::Option* from =
        command->add_option("--from", request->from, "Changes where this curve crosses a threshold")
            ->type_name("CURVE");
    CLI::Option* threshold =
        command->add_option("--threshold", request->threshold.value, "With --from: that value")->needs(from);
    from->needs(threshold);
    command
        ->add_option("--hysteresis", request->threshold.hysteresis, "With --from: width of the band to leave")
        ->check(CLI::Validator(CLI::NonNegativeNumber).description(""))
        ->needs(from);
    command->add_flag("--invert", request->threshold.invert, "With --from: code 1 where it rises")
        ->needs(from);
    CLI::Option* codes =
        command->add_option("--codes", request->codes, "Changes where this curve of codes does")
            ->type_name("CURVE");
    auto map = std::make_shared<std::string>();
    command->add_option("--map", *map, "With --codes: values that stand for 3 and 1")
        ->type_name("3=A,1=B")
        ->needs(codes);
    command->add_flag("--replace", request->replace, "Replace valve curves that exist");
    command->callback([request, map] {
        const int ways = (request->periodSeconds ? 1 : 0) + (request->times.empty() ? 0 : 1) +
                         (request->from.empty() ? 0 : 1) + (request->codes.empty() ? 0 : 1);
        if (ways != 1)
            throw UsageError("valve needs one of --period, --times, --from and --codes");
        if (!map->empty())
            request->map = CodeMapOf(*map);
        AddValveCurves(*request);
    });
}

void AddReaders(CLI::App& app, int& status) {
    struct Names {
        std::string database;
        std::string dataset;
        std::string curve;
    };
    auto names = std::make_shared<Names>();
    CLI::App* list = app.add_subcommand(
        "list", "Datasets, one a line; or the curves of one: name, unit, step, first and last index");
    list->add_option("DB", names->database, "Database file")->required();
    list->add_option("DATASET", names->dataset, "List the curves of this dataset");
    list->callback([names] { List(names->database, names->dataset); });

    CLI::App* info = app.add_subcommand("info", "Attributes and statistics of one curve");
    info->add_option("DB", names->database, "Database file")->required();
    info->add_option("DATASET", names->dataset, "Dataset")->required();
    info->add_option("CURVE", names->curve, "Curve")->required();
    info->callback([names] { Info(names->database, names->dataset, names->curve); });

    CLI::App* check =
        app.add_subcommand("check", "Read and verify every chunk; one line for each damaged one");
    check->add_option("DB", names->database, "Database file")->required();
    check->callback([names, &status] { status = Check(names->database) ? done : failed; });
}

void AddExport(CLI::App& app) {
    auto request = std::make_shared<ExportRequest>();
    CLI::App* command = app.add_subcommand("export", "Write the curves of a dataset as CSV or LAS 2.0");
    command->add_option("DB", request->database, "Database file")->required();
    command->add_option("DATASET", request->dataset, "Dataset")->required();
    command->add_option("--curves", request->curves, "Only these, in this order")
        ->type_name("A,B,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    command
        ->add_option("-o,--output", request->output, "FILE.csv or FILE.las (default: CSV to standard output)")
        ->type_name("FILE");
    command->add_flag("--wrap", request->wrapped, "LAS: several lines for each step");
    command
        ->add_option("--time-format", request->dates,
                     "CSV: times in seconds, or dates from the start of recording")
        ->transform(CLI::CheckedTransformer(std::map<std::string, bool>{{"seconds", false}, {"dates", true}})
                        .description(""))
        ->type_name("seconds|dates");
    command->callback([request] { Export(*request); });
}

void AddRecover(CLI::App& app, int& status) {
    auto request = std::make_shared<RecoverRequest>();
    CLI::App* command =
        app.add_subcommand("recover", "Copy what is sound of a damaged database into a new one");
    command->footer("One line is printed for each loss. The damaged database stays as it is.");
    command->add_option("DB", request->database, "Damaged database file")->required();
    command->add_option("-o,--output", request->output, "The new database; must not be there yet")
        ->required()
        ->type_name("FILE");
    command->callback([request, &status] { status = Recover(*request) ? done : failed; });
}

/// CLI11 takes "nan" and "inf" for numbers, and no range check stops "nan". For numbers of users neither is
/// one.
std::string FaultOfReal(const std::string& text) {
    return vorela::StrictNumber(text) ? "" : "\"" + text + "\" is not a finite number";
}

/// What users write in place of CLI11's type names, and what every real number has to be.
void NameAndCheckTypes(CLI::App& app) {
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        for (CLI::Option* option : command->get_options()) {
            if (option->get_positional())
                option->type_name("");
            else if (option->get_type_name() == "TEXT")
                option->type_name("NAME");
            else if (option->get_type_name() == "FLOAT")
                option->type_name("X")->check(FaultOfReal);
        }
    }
}

}  // namespace

int RunDravik(int argc, const char* const* argv) {
    CLI::App app{
        "dravik: simulate, import, look at and export well-test recordings in a Dravik database.\n"
        "Times are seconds, indices hundredths of a second. `dravik COMMAND --help` explains a command."};
    app.name("dravik");
    app.require_subcommand(1);
    app.set_version_flag("--version", vorela::VersionLine("dravik"), "Print the version and exit");
    app.set_help_all_flag("--help-all", "Help for every command");
    app.get_formatter()->label("REQUIRED", "");
    int status = done;
    LinkDatabaseLibrary();
    AddSimulate(app);
    dravik::AddImportCommand(app, status, failed);
    AddValve(app);
    AddRecord(app);
    AddReaders(app, status);
    AddExport(app);
    AddRecover(app, status);
    NameAndCheckTypes(app);
    try {
        app.parse(argc, argv);
        return status;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        const bool unknownCommand = app.get_subcommands().empty() && argc > 1 && argv[1][0] != '-';
        std::cerr << "dravik: "
                  << vorela::TerminalText(unknownCommand
                                              ? "there is no command \"" + std::string(argv[1]) + "\""
                                              : error.what())
                  << " (--help explains)\n";
        return badUsage;
    } catch (const UsageError& error) {
        std::cerr << "dravik: " << vorela::TerminalText(error.what()) << "\n";
        return badUsage;
    } catch (const std::bad_alloc&) {
        std::cerr << "dravik: out of memory\n";
    } catch (const std::exception& error) {
        std::cerr << "dravik: " << vorela::TerminalLines(error.what()) << "\n";
    } catch (const vorela::DatabaseError& error) {
        std::cerr << "dravik: " << vorela::TerminalText(FailureText(error)) << "\n";
    } catch (const vorela::RunTimeError& error) {
        std::cerr << "dravik: " << vorela::TerminalText(error.description) << "\n";
    }
    return failed;
}

}  // namespace dravik
