#include "dravik/importer/PlanRunner.h"

#include <exception>
#include <utility>

namespace dravik {
namespace {

/// What no plan foresees (no memory) forbids the import like a problem of a file.
JobPlan PlanOrProblem(const ImportSettings& settings, const DatabaseView& database, const JobPlan& before,
                      const Progress& progress) {
    try {
        return PlanJob(settings, database, before, progress);
    } catch (const std::exception& error) {
        JobPlan job;
        job.problems.emplace_back(error.what());
        return job;
    }
}

}  // namespace

void PlanRunner::Start(ImportSettings settings, DatabaseView database, JobPlan before) {
    Stop();
    running_ = true;
    stop_ = std::make_shared<std::atomic<bool>>(false);
    const auto work = [this, run = run_, stop = stop_, settings = std::move(settings),
                       database = std::move(database), before = std::move(before)] {
        int told = -1;
        const Progress progress = [&](std::uint64_t done, std::uint64_t all) {
            // Of a pass, the half that goes before the import.
            const int perMille =
                all == 0 ? 0
                         : static_cast<int>(2000.0 * static_cast<double>(done) / static_cast<double>(all));
            if (std::exchange(told, perMille) != perMille)
                QMetaObject::invokeMethod(
                    this,
                    [this, run, perMille] {
                        if (run == run_)
                            emit Progressed(perMille);
                    },
                    Qt::QueuedConnection);
            return !*stop;
        };
        try {
            JobPlan job = PlanOrProblem(settings, database, before, progress);
            QMetaObject::invokeMethod(
                this, [this, run, job = std::move(job)] { Finish(run, job); }, Qt::QueuedConnection);
        } catch (const ImportStopped&) {
            // Whoever stopped it knows.
        }
    };
    thread_ = std::thread(work);
}

void PlanRunner::Stop() {
    ++run_;
    running_ = false;
    if (stop_)
        *stop_ = true;
    if (thread_.joinable())
        thread_.join();
}

void PlanRunner::Finish(unsigned run, const JobPlan& job) {
    if (run != run_)
        return;
    running_ = false;
    emit Planned(job);
}

}  // namespace dravik
