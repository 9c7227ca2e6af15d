#include "dravik/tool/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "dravik/include/DKBase.h"
#include "dravik/tool/Commands.h"
#include "dravik/tool/SimulationArguments.h"
#include "dravik/tool/ToolError.h"

namespace vorela {
namespace {

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
    AddSimulationOptions(*command, arguments->simulation);
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

void AddValve(CLI::App& app) {
    auto request = std::make_shared<ValveRequest>();
    CLI::App* command = app.add_subcommand(
        "valve", "Add PVLPOS, PVLID, PVLIDT and PVLT for a valve that keeps a nominal schedule");
    command->add_option("DB", request->database, "Database file")->required();
    command->add_option("DATASET", request->dataset, "Dataset recorded against time")->required();
    command->add_option("--period", request->periodSeconds, "Period of the valve, s")->required();
    command->add_option("--first", request->firstSeconds,
                        "Time of the first cycle boundary, s (default: first sample)");
    command->add_flag("--replace", request->replace, "Replace valve curves that exist");
    command->callback([request] { AddValveCurves(*request); });
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
    command->add_option("--curves", request->curves, "Only these, in this order: A,B,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    command
        ->add_option("-o,--output", request->output, "FILE.csv or FILE.las (default: CSV to standard output)")
        ->type_name("FILE");
    command->add_flag("--wrap", request->wrapped, "LAS: several lines for each step");
    command->callback([request] { Export(*request); });
}

}  // namespace

int RunDravik(int argc, const char* const* argv) {
    CLI::App app{
        "dravik: simulate, import, look at and export well-test recordings in a Dravik database.\n"
        "Times are seconds, indices hundredths of a second. `dravik COMMAND --help` explains a command."};
    app.name("dravik");
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Help for every command");
    int status = done;
    AddSimulate(app);
    AddValve(app);
    AddReaders(app, status);
    AddExport(app);
    try {
        app.parse(argc, argv);
        return status;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        std::cerr << "dravik: " << error.what() << " (--help explains)\n";
        return badUsage;
    } catch (const UsageError& error) {
        std::cerr << "dravik: " << error.what() << "\n";
        return badUsage;
    } catch (const std::bad_alloc&) {
        std::cerr << "dravik: out of memory\n";
    } catch (const std::exception& error) {
        std::cerr << "dravik: " << error.what() << "\n";
    }
    return failed;
}

}  // namespace vorela
