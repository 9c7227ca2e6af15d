// Plans an import beside the window: reading a large file must not hold it up.
#pragma once

#include <QObject>
#include <atomic>
#include <memory>
#include <thread>

#include "dravik/importer/modImport.h"

namespace dravik {

class PlanRunner : public QObject {
    Q_OBJECT
  public:
    using QObject::QObject;
    ~PlanRunner() override { Stop(); }

    /// Stops what runs and plans anew, in a thread of its own. Planned comes in this object's thread.
    void Start(ImportSettings settings, DatabaseView database, JobPlan before);
    /// Nothing that runs will be told.
    void Stop();
    bool IsRunning() const { return running_; }

  signals:
    void Progressed(int perMille);
    void Planned(const dravik::JobPlan& job);

  private:
    void Finish(unsigned run, const JobPlan& job);

    std::thread thread_;
    std::shared_ptr<std::atomic<bool>> stop_;
    unsigned run_ = 0;  ///< what an earlier run still sends is not this one's
    bool running_ = false;
};

}  // namespace dravik
