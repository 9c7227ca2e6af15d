#include "dravik/tool/Recorder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <ctime>
#include <iostream>
#include <thread>

#include "dravik/tool/StandardOutput.h"
#include "dravik/tool/ToolError.h"
#include "general/TerminalText.h"

namespace dravik {
namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t stopSignalled = 0;

void NoteStop(int /*signal*/) {
    stopSignalled = 1;
}

double SecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

}  // namespace

bool StopSignalled() {
    static const bool installed = [] {
        struct sigaction action {};
        action.sa_handler = NoteStop;
        return sigaction(SIGINT, &action, nullptr) == 0 && sigaction(SIGTERM, &action, nullptr) == 0;
    }();
    return installed && stopSignalled != 0;
}

Recorder::Recorder(RecordRequest request, CurveSource& source, std::string toolString)
    : request_(std::move(request)),
      source_(source),
      toolString_(std::move(toolString)),
      database_((CheckDatasetName(request_.dataset), request_.database), OpenMode::create),
      claim_(database_, request_.dataset) {}

std::int64_t Recorder::Begin() {
    Transaction transaction(database_);
    std::int64_t row = 0;
    if (HasDataset(database_, request_.dataset) && !request_.replace) {
        row = ResumeRow();
        SetRecording(database_, request_.dataset, true);
    } else {
        Presentation presentation =
            PresentationOf(source_.Grid(), static_cast<std::int32_t>(std::time(nullptr)), toolString_);
        presentation.recordingFlag = 1;
        CreateDataset(database_, request_.dataset, source_, presentation, request_.replace);
    }
    transaction.Commit();
    return row;
}

std::int64_t Recorder::ResumeRow() const {
    const std::vector<NamedItem> curves = CurvesOf(database_, request_.dataset);
    const CurveGrid& grid = source_.Grid();
    std::int64_t row = 0;
    for (const CurveDescription& curve : source_.Curves()) {
        const auto found = std::find_if(curves.begin(), curves.end(),
                                        [&](const NamedItem& item) { return item.name == curve.name; });
        const bool fits = found != curves.end() && found->information.step == grid.step &&
                          found->information.indexKind == grid.indexKind &&
                          found->information.firstIndex == grid.firstIndex;
        if (!fits)
            throw ToolError(request_.database + ": dataset \"" + request_.dataset +
                            "\" exists and is no recording of this" + " (curve " + curve.name +
                            " differs); --replace starts anew");
        if (!found->information.IsEmpty())
            row = std::max(row,
                           (std::int64_t{found->information.extentLast} - grid.firstIndex) / grid.step + 1);
    }
    return row;
}

bool Recorder::WaitUntilDue(double seconds, const std::function<bool()>& stopAsked) const {
    constexpr double longestNap = 0.05;  // a stop is noticed within it
    const Clock::time_point begin = Clock::now();
    for (double left = seconds; left > 0.0 && !stopAsked(); left = seconds - SecondsSince(begin))
        std::this_thread::sleep_for(std::chrono::duration<double>(std::min(left, longestNap)));
    return !stopAsked();
}

void Recorder::CommitPatiently(const std::function<void()>& body) {
    const Clock::time_point begin = Clock::now();
    for (bool told = false;;) {
        try {
            Transaction transaction(database_);
            body();
            transaction.Commit();
            return;
        } catch (const vorela::DatabaseError& error) {
            if (SecondsSince(begin) >= request_.patienceSeconds)
                throw;
            if (!told)
                std::cerr << "dravik: " << vorela::TerminalText(FailureText(error)) << "; trying again\n";
            told = true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
}

void Recorder::Run(const std::function<bool()>& stopAsked) {
    const std::int64_t firstRow = Begin();
    const CurveGrid& grid = source_.Grid();
    DatasetWriter writer(database_, request_.dataset, source_);
    constexpr double mostRows = 1e9;  // a bound for the arithmetic, far above what is due in any pass
    const auto rowsPerCommit = static_cast<std::int64_t>(
        std::clamp(std::round(request_.commitSeconds * indexPerUnit / grid.step), 1.0, mostRows));
    const double rowsPerSecond = request_.speed * indexPerUnit / grid.step;
    const Clock::time_point begin = Clock::now();
    for (std::int64_t row = firstRow; row < grid.rowCount;) {
        // What a slow disk has held up goes into one larger transaction: a recorder does not fall behind its
        // data.
        constexpr std::int64_t mostHeldUp = 60;
        const auto due =
            firstRow + static_cast<std::int64_t>(std::min(SecondsSince(begin) * rowsPerSecond, mostRows));
        const std::int64_t end =
            std::min(grid.rowCount, row + std::clamp(due - row, rowsPerCommit, mostHeldUp * rowsPerCommit));
        const double wait = rowsPerSecond > 0.0 ? static_cast<double>(end - firstRow) / rowsPerSecond : 0.0;
        if (!WaitUntilDue(wait - SecondsSince(begin), stopAsked))
            break;
        CommitPatiently([&] {
            writer.WriteRows(row, end);
            if (end == grid.rowCount)
                SetRecording(database_, request_.dataset, false);
        });
        if (request_.acknowledge)
            WriteStandardOutput(std::to_string(grid.IndexOf(end - 1)) + "\n");
        row = end;
    }
    if (IsRecording(database_, request_.dataset))
        CommitPatiently([&] { SetRecording(database_, request_.dataset, false); });
}

}  // namespace dravik
