// Playing curves into a database as a live recording.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/Datasets.h"

namespace dravik {

struct RecordRequest {
    std::string database;
    std::string dataset;
    double speed = 1.0;           ///< times real time; 0: as fast as it goes
    double commitSeconds = 1.0;   ///< of data in one transaction
    double patienceSeconds = 30;  ///< how long a transaction that fails (lock, full disk) is tried again
    bool acknowledge = false;  ///< a line "INDEX" on standard output for each commit: all up to there is safe
    bool replace = false;
};

/// Appends the source's samples to the dataset, transaction by transaction, until the source ends or Stop()
/// is asked for. The first transaction creates all curves and sets the recording flag; the last one clears
/// it. What a killed recorder left is continued behind its last sample. Throws ToolError; then the flag stays
/// set.
class Recorder {
  public:
    Recorder(RecordRequest request, CurveSource& source, std::string toolString);
    /// `stopAsked` is looked at between transactions and while waiting.
    void Run(const std::function<bool()>& stopAsked);

  private:
    /// The first row that is not in the database yet.
    std::int64_t Begin();
    std::int64_t ResumeRow() const;
    bool WaitUntilDue(double seconds, const std::function<bool()>& stopAsked) const;
    void CommitPatiently(const std::function<void()>& body);

    RecordRequest request_;
    CurveSource& source_;
    std::string toolString_;
    Database database_;
    RecordingClaim claim_;
};

/// True once SIGINT or SIGTERM has come; the first call takes the signals over.
bool StopSignalled();

}  // namespace dravik
