#include "dravik/importer/ImportRun.h"

#include <algorithm>
#include <filesystem>

#include "dravik/exchange/DatasetImport.h"
#include "dravik/exchange/NewDatabase.h"
#include "dravik/exchange/PlanReport.h"
#include "dravik/importer/ValveSettings.h"

namespace dravik {
namespace {

/// The progress of one file within that of all, by their sizes.
class JobProgress {
  public:
    JobProgress(const JobPlan& job, const Progress& progress) : progress_(progress) {
        for (const FilePlan& file : job.files) {
            std::error_code ignored;
            const std::uintmax_t size = std::filesystem::file_size(file.path, ignored);
            sizes_.push_back(ignored ? 1 : static_cast<std::uint64_t>(size));
            all_ += sizes_.back();
        }
    }

    /// A file was planned before: what is left of it is the second half.
    Progress Of(std::size_t file) const {
        std::uint64_t before = 0;
        for (std::size_t i = 0; i < file; ++i)
            before += sizes_[i];
        return [this, before, size = sizes_[file]](std::uint64_t done, std::uint64_t all) {
            const double share =
                all == 0
                    ? 0.0
                    : std::clamp(2.0 * static_cast<double>(done) / static_cast<double>(all) - 1.0, 0.0, 1.0);
            return !progress_ ||
                   progress_(before + static_cast<std::uint64_t>(share * static_cast<double>(size)), all_);
        };
    }

  private:
    const Progress& progress_;
    std::vector<std::uint64_t> sizes_;
    std::uint64_t all_ = 0;
};

void AddValves(const ImportSettings& settings, const JobPlan& job, const Imported& done, Database& database) {
    for (const std::string& dataset : done.datasets) {
        if (const auto valve = ValveOf(settings.valve, job, dataset))
            AddValveCurves(database, *valve);
    }
}

}  // namespace

Imported RunImport(const ImportSettings& settings, const JobPlan& job, const Progress& progress) {
    Imported done;
    done.database = settings.database;
    const JobProgress share(job, progress);
    NewDatabase target(settings.database);
    try {
        Database database = OpenDatabase(target.WorkPath(), OpenMode::create);
        Transaction transaction(database);
        for (std::size_t i = 0; i < job.files.size(); ++i) {
            const FilePlan& file = job.files[i];
            const Progress own = share.Of(i);
            GriddedSource source(file.plan, own);
            // A file without a target makes its dataset.
            if (file.target)
                MergeCurves(database, file.dataset, source);
            else
                StoreDataset(database, file.dataset, source, false);
            if (std::find(done.datasets.begin(), done.datasets.end(), file.dataset) == done.datasets.end())
                done.datasets.push_back(file.dataset);
            done.lines.push_back(ImportLine(file.plan));
        }
        AddValves(settings, job, done, database);
        transaction.Commit();
    } catch (const DatasetError& error) {
        throw DatasetError(target.Shown(error.what()));
    } catch (const vorela::DatabaseError& error) {
        throw DatasetError(target.Shown(FailureText(error)));
    }
    target.Publish();
    return done;
}

}  // namespace dravik
