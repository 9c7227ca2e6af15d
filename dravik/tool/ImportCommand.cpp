#include "dravik/tool/ImportCommand.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "dravik/exchange/DatasetImport.h"
#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/NewDatabase.h"
#include "dravik/exchange/PlanReport.h"
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

ImportPlan PlanFile(const ImportRequest& request, const std::string& file, ProgressLine& progress) {
    Choices choices = request.choices;
    if (request.merge) {
        choices.target =
            TargetOf(OpenDatabase(request.database, OpenMode::readOnly), DatasetOf(request, file));
        choices.indexKind = choices.target->indexKind;
    }
    return PlanImport(file, choices, std::ref(progress));
}

void StoreIn(const std::string& path, const ImportRequest& request, const std::string& dataset,
             GriddedSource& source) {
    Database database = OpenDatabase(path, request.merge ? OpenMode::existing : OpenMode::create);
    Transaction transaction(database);
    if (request.merge)
        MergeCurves(database, dataset, source);
    else
        StoreDataset(database, dataset, source, request.replace);
    transaction.Commit();
}

/// A database that an import makes is there when the import is done, not before.
void Store(const ImportRequest& request, const std::string& dataset, GriddedSource& source) {
    CheckDatasetName(dataset);
    NewDatabase made(request.database);
    try {
        StoreIn(made.WorkPath(), request, dataset, source);
        made.Publish();
    } catch (const DatasetError& error) {
        throw DatasetError(made.Shown(error.what()));
    } catch (const vorela::DatabaseError& error) {
        throw DatasetError(made.Shown(FailureText(error)));
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
