#include "dravik/tool/ImportCommand.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>

#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/PlanReport.h"
#include "dravik/tool/NewDatabase.h"
#include "dravik/tool/Recorder.h"
#include "dravik/tool/StandardOutput.h"
#include "dravik/tool/ToolError.h"
#include "general/AtomicFile.h"
#include "general/TerminalText.h"

namespace dravik {
namespace {

/// Percents on a terminal, and SIGINT.
class ProgressLine {
  public:
    explicit ProgressLine(const std::string& file) : file_(file) {}
    ~ProgressLine() {
        if (percent_ >= 0)
            std::fprintf(stderr, "\r\033[K");
    }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool operator()(std::uint64_t done, std::uint64_t all) {
        const int percent =
            all == 0 ? 0 : static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(all));
        if (percent != percent_ && terminal_) {
            percent_ = percent;
            std::fprintf(stderr, "\r%s: %d %%", vorela::TerminalText(file_).c_str(), percent);
        }
        return !StopSignalled();
    }

  private:
    const std::string& file_;
    bool terminal_ = ::isatty(STDERR_FILENO) != 0;
    int percent_ = -1;
};

std::string DatasetOf(const ImportRequest& request, const std::string& file) {
    return request.dataset.empty() ? std::filesystem::path(file).stem().string() : request.dataset;
}

constexpr const char* importMark = "IMPORT";

/// The tool string of an imported dataset: with the zone of its start, "IMPORT+01:00", where the file has
/// one.
std::string ImportMark(const ImportPlan& plan) {
    std::array<char, 16> zone{};
    if (plan.zoneMinutes) {
        const int minutes = std::abs(*plan.zoneMinutes);
        std::snprintf(zone.data(), zone.size(), "%c%02d:%02d", *plan.zoneMinutes < 0 ? '-' : '+',
                      minutes / 60 % 100, minutes % 60);
    }
    return importMark + std::string(zone.data());
}

/// The zone that such a string tells.
std::optional<int> ZoneOfMark(const std::string& mark) {
    int hours = 0;
    int minutes = 0;
    char sign = '+';
    if (std::sscanf(mark.c_str(), "IMPORT%c%2d:%2d", &sign, &hours, &minutes) != 3)
        return std::nullopt;
    return (sign == '-' ? -1 : 1) * (hours * 60 + minutes);
}

/// The grid and start of a dataset that curves are to join.
TargetGrid TargetOf(const ImportRequest& request, const std::string& dataset) {
    const Database database = OpenDatabase(request.database, OpenMode::readOnly);
    const std::string where = request.database + ": dataset \"" + dataset + "\"";
    const std::vector<NamedItem> curves = CurvesOf(database, dataset);
    const auto leading = std::find_if(curves.begin(), curves.end(),
                                      [](const NamedItem& curve) { return !curve.information.IsEmpty(); });
    if (leading == curves.end())
        throw ToolError(where + " holds no samples to join");
    if (IsRecording(database, dataset))
        throw ToolError(where + " is being recorded");
    TargetGrid target;
    target.indexKind = leading->information.indexKind;
    target.step = leading->information.step;
    target.firstIndex = leading->information.extentFirst;
    target.hasStart = true;
    target.start = RecordingStart(database, dataset);
    const std::string mark = ToolString(database, dataset);
    target.knowsZone = mark.starts_with(importMark);
    target.zoneMinutes = ZoneOfMark(mark);
    return target;
}

ImportPlan PlanFile(const ImportRequest& request, const std::string& file, ProgressLine& progress) {
    Choices choices = request.choices;
    if (request.merge) {
        choices.target = TargetOf(request, DatasetOf(request, file));
        choices.indexKind = choices.target->indexKind;
    }
    return PlanImport(file, choices, std::ref(progress));
}

void CheckNewCurves(const Database& database, const std::string& dataset, const GriddedSource& source) {
    for (const NamedItem& item : CurvesOf(database, dataset)) {
        for (const CurveDescription& curve : source.Curves()) {
            if (item.name == curve.name)
                throw ToolError(database.Path() + ": dataset \"" + dataset + "\" has a curve " + curve.name +
                                " already (--curves COL=NAME renames)");
        }
    }
}

void StoreIn(const std::string& path, const ImportRequest& request, const std::string& dataset,
             GriddedSource& source) {
    Database database = OpenDatabase(path, request.merge ? OpenMode::existing : OpenMode::create);
    Transaction transaction(database);
    if (request.merge) {
        CheckNewCurves(database, dataset, source);
        CreateCurves(database, dataset, source.Grid(), source.Curves());
    } else {
        CreateDataset(database, dataset, source,
                      PresentationOf(source.Grid(), RecordingStart(source.Plan()), ImportMark(source.Plan())),
                      request.replace);
    }
    DatasetWriter(database, dataset, source).WriteRows(0, source.Grid().rowCount);
    transaction.Commit();
}

/// A database that an import makes is there when the import is done, not before.
void Store(const ImportRequest& request, const std::string& dataset, GriddedSource& source) {
    CheckDatasetName(dataset);
    NewDatabase made(request.database);
    try {
        StoreIn(made.WorkPath(), request, dataset, source);
        made.Publish();
    } catch (const ToolError& error) {
        throw ToolError(made.Shown(error.what()));
    }
}

void ImportFile(const ImportRequest& request, ImportPlan plan, ProgressLine& progress) {
    const std::string file = plan.file;
    std::string told = ImportLine(plan) + "\n";
    for (const std::string& note : plan.notes)
        told += "  " + note + "\n";
    GriddedSource source(std::move(plan), std::ref(progress));
    Store(request, DatasetOf(request, file), source);
    if (request.json != "-")
        WriteStandardOutput(vorela::TerminalLines(told));
}

void WritePlans(const std::string& target, const nlohmann::ordered_json& plans) {
    if (target.empty())
        return;
    const std::string text = plans.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    if (target == "-")
        WriteStandardOutput(text);
    else
        vorela::WriteFileAtomically(target, text);
}

void CheckRequest(const ImportRequest& request) {
    if (!request.dataset.empty() && request.files.size() > 1 && !request.merge)
        throw UsageError("--dataset names one dataset, but there are " +
                         std::to_string(request.files.size()) + " files");
    std::vector<std::string> inputs = request.files;
    inputs.push_back(request.database);
    inputs.push_back(request.database + "-journal");
    const std::string named = vorela::InputNamedBy(request.json, inputs);
    if (!request.json.empty() && request.json != "-" && !named.empty())
        throw UsageError("--json " + request.json + ": that is the input " + named);
}

/// Plans and, unless it is a dry run, stores one file; true when it could be imported.
bool Treat(const ImportRequest& request, const std::string& file, nlohmann::ordered_json& plans) {
    ProgressLine progress(file);
    try {
        ImportPlan plan = PlanFile(request, file, progress);
        plans.push_back(PlanJson(plan));
        const bool sound = plan.CanImport();
        if (request.dryRun) {
            if (request.json != "-")
                WriteStandardOutput(vorela::TerminalLines(PlanText(plan)));
        } else if (!sound) {
            throw ToolError(RefusalText(plan));
        } else {
            ImportFile(request, std::move(plan), progress);
        }
        return sound;
    } catch (const ImportStopped&) {
        throw ToolError(file + ": stopped; nothing of it is in the database");
    } catch (const ExchangeError& error) {
        throw ToolError(file + ": " + error.what());
    }
}

}  // namespace

std::int32_t RecordingStart(const ImportPlan& plan) {
    struct stat status {};
    double start = plan.start.value_or(0.0);
    if (!plan.start && ::stat(plan.file.c_str(), &status) == 0)
        start = static_cast<double>(status.st_mtime);
    return static_cast<std::int32_t>(
        std::clamp<double>(std::floor(start), 0.0, std::numeric_limits<std::int32_t>::max()));
}

GriddedSource OpenSource(const std::string& file, const Choices& choices) {
    ImportPlan plan = PlanImport(file, choices);
    if (!plan.CanImport())
        throw ToolError(RefusalText(plan));
    return GriddedSource(std::move(plan));
}

bool Import(const ImportRequest& request) {
    CheckRequest(request);
    StopSignalled();
    nlohmann::ordered_json plans = nlohmann::ordered_json::array();
    bool sound = true;
    try {
        for (const std::string& file : request.files)
            sound = Treat(request, file, plans) && sound;
    } catch (...) {
        WritePlans(request.json, plans);
        throw;
    }
    WritePlans(request.json, plans);
    return sound;
}

}  // namespace dravik
