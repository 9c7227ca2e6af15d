#include "dravik/tool/ImportArguments.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/ChoiceText.h"
#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/tool/ImportCommand.h"
#include "dravik/tool/ToolError.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

/// The options as they are written.
struct Written {
    ImportRequest request;
    std::string depth;
    std::string separator;
    std::string decimal;
    std::vector<std::string> leaveOut;
    std::vector<std::string> curves;
    std::optional<int> headerLine;
};

/// What `read` makes of an option's text; a fault is one of usage.
template <typename Read>
auto Settled(const std::string& option, const std::string& text, Read read) {
    try {
        return read(text);
    } catch (const ChoiceError& error) {
        throw UsageError(option + " " + text + ": " + error.what());
    }
}

/// COL[=NAME][:UNIT]
CurveChoice CurveOf(const std::string& text) {
    CurveChoice choice;
    const std::size_t colon = text.rfind(':');
    const std::string name = text.substr(0, colon);
    const std::size_t equals = name.find('=');
    choice.column = name.substr(0, equals);
    choice.name = equals == std::string::npos ? "" : name.substr(equals + 1);
    choice.unit = colon == std::string::npos ? "" : text.substr(colon + 1);
    return choice;
}

void Settle(Written& written) {
    Choices& choices = written.request.choices;
    if (!written.depth.empty())
        choices.depth = Settled("--depth", written.depth, DepthOfText);
    if (!written.separator.empty())
        choices.separator = Settled("--separator", written.separator, SeparatorOfText);
    if (!written.decimal.empty())
        choices.decimal = Settled("--decimal", written.decimal, DecimalOfText);
    for (const std::string& range : written.leaveOut)
        choices.leaveOut.push_back(Settled("--leave-out", range, LinesOfText));
    for (const std::string& curve : written.curves)
        choices.curves.push_back(CurveOf(curve));
    if (written.headerLine)
        choices.headerLine = static_cast<std::size_t>(*written.headerLine);
}

CLI::Option* AddList(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                     const std::string& type, const std::string& help) {
    return command.add_option(name, values, help)->type_name(type)->delimiter(',')->allow_extra_args(false);
}

void AddReading(CLI::App& command, Written& w) {
    Choices& c = w.request.choices;
    const std::string group = "Reading (found from the file unless given)";
    command.add_option("--separator", w.separator, "Between cells")->type_name("C|tab|blanks")->group(group);
    command.add_option("--decimal", w.decimal, "Decimal sign")->type_name(",|.")->group(group);
    command.add_option("--encoding", c.encoding, "Encoding of the text, e.g. latin1")->group(group);
    command.add_option("--header-line", w.headerLine, "Line of the names")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000).description(""))
        ->group(group);
    AddList(command, "--names", c.names, "A,B,...", "Names of the columns")->group(group);
    AddList(command, "--leave-out", w.leaveOut, "LINE[-LINE],...", "Lines to pass over")->group(group);
    AddList(command, "--time", c.time, "COL[,COL]",
            "Column of the time, or those of date and clock; #n by number")
        ->group(group);
    command.add_option("--time-unit", c.timeUnit, "Unit of a time or depth in numbers")
        ->type_name("s|ms|min|h|d|ft|m")
        ->check(CLI::IsMember({"s", "ms", "min", "h", "d", "ft", "m"}).description(""))
        ->group(group);
    command.add_option("--time-format", c.timeFormat, "Format of dates, e.g. \"%d.%m.%Y %H:%M:%S\"")
        ->type_name("FMT")
        ->group(group);
    command.add_option("--date-order", c.dateOrder, "Which part of a date is the day")
        ->transform(CLI::CheckedTransformer(std::map<std::string, DateOrder>{{"ymd", DateOrder::ymd},
                                                                             {"dmy", DateOrder::dmy},
                                                                             {"mdy", DateOrder::mdy}})
                        .description(""))
        ->type_name("ymd|dmy|mdy")
        ->group(group);
    AddList(command, "--null", c.nulls, "TEXT,...", "Cells that mean no value")->group(group);
    command
        .add_option("--index", c.indexKind,
                    "What the rows are recorded against, where the file does not tell")
        ->transform(CLI::CheckedTransformer(std::map<std::string, std::int16_t>{{"time", DK_INDEX_TIME},
                                                                                {"depth", DK_INDEX_DEPTH}})
                        .description(""))
        ->type_name("time|depth")
        ->group(group);
}

void AddTaking(CLI::App& command, Written& w) {
    Choices& c = w.request.choices;
    AddList(command, "--curves", w.curves, "COL[=NAME][:UNIT],...",
            "Only these columns, renamed, in this unit")
        ->group("Taking");
    command.add_flag("--convert", c.convert, "Pressures of other units become psi")->group("Taking");
    const std::string group = "Gridding";
    command.add_option("--step", c.step, "Step of the grid, hundredths: means over it, or straight lines")
        ->type_name("CS")
        ->check(CLI::Range(1, 32767).description(""))
        ->group(group);
    command.add_option("--fill", c.fill, "Straight lines over gaps of up to so many seconds")
        ->check(CLI::Range(0.0, longestTime).description(""))
        ->group(group);
    command.add_option("--shift", c.shift, "Seconds added to the file's times")
        ->check(CLI::Range(-longestShift, longestShift).description(""))
        ->group(group);
}

}  // namespace

void AddImportCommand(CLI::App& app, int& status, int refused) {
    auto written = std::make_shared<Written>();
    Written& w = *written;
    CLI::App* command = app.add_subcommand(
        "import", "Import recordings as loggers write them: delimited text, LAS 1.2 to 3.0");
    command->add_option("DB", w.request.database, "Database file; created when absent (- with --dry-run)")
        ->required();
    command->add_option("FILE", w.request.files, "Files")->required();
    command->add_option("--dataset", w.request.dataset,
                        "Name of the dataset (default: the file's base name)");
    CLI::Option* replace = command->add_flag("--replace", w.request.replace, "Replace a dataset that exists");
    command->add_flag("--merge", w.request.merge, "Add the curves to a dataset that exists, on its grid")
        ->excludes(replace);
    command->add_option("--depth", w.depth, "Depth of the level, ft or with m (for files without ADPTH)")
        ->type_name("8120|2475m");
    command->footer(
        "What the file is, is found and told; options override it. Of a refused file nothing is imported.\n\n"
        "Examples (the guide's chapter on importing has them in full):\n"
        "  dravik import well.dkb level1.csv --depth 2475m --convert    a logger's file, kPa to psi\n"
        "  dravik import - sheet.csv --dry-run                          the plan only\n"
        "  dravik import well.dkb sheet.csv --curves Pressure=ZG,Flow=RTC --convert\n"
        "  dravik import well.dkb pressure.csv --dataset level2 --curves '#2=ZG'\n"
        "  dravik import well.dkb flow.txt --dataset level2 --merge --curves Spinner=RTC");
    AddReading(*command, w);
    AddTaking(*command, w);
    command->add_flag("--dry-run", w.request.dryRun, "Print the plan, write nothing");
    command->add_option("--json", w.request.json, "Write the plans to FILE, - for standard output")
        ->type_name("FILE");
    command->callback([written, &status, refused] {
        Settle(*written);
        if (!Import(written->request))
            status = refused;
    });
}

}  // namespace dravik
