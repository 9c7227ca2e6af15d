// One analysis at a time on a database: derived curves are written by one process, the others wait or are
// told.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vorela {

/// Held while derived curves of these databases are made or extended; given back by the destructor and by the
/// death of the process. A claim inside a claim of the same process is the same claim.
class AnalysisClaim {
  public:
    /// Claims all of them, or none when one is refused. Of a file that is not there nothing is claimed:
    /// whoever opens it tells.
    explicit AnalysisClaim(const std::vector<std::string>& databases);
    ~AnalysisClaim();
    AnalysisClaim(const AnalysisClaim&) = delete;
    AnalysisClaim& operator=(const AnalysisClaim&) = delete;

    bool IsHeld() const { return refusal_.empty(); }
    /// "/data/well.dkb is being analysed by process 4711"; "" when held.
    const std::string& Refusal() const { return refusal_; }

  private:
    std::vector<std::string> claimed_;
    std::string refusal_;
};

/// Runs `work` under the claim of all selected databases. False when it is refused: then a box has named the
/// database and the process, and nothing was done.
bool WithAnalysisClaim(const std::function<void()>& work);

}  // namespace vorela
