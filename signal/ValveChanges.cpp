#include "signal/ValveChanges.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"

namespace vorela {
namespace {

constexpr double timerWrap = 65536.0;

/// Hundredths of a second of a timer value; a zero timer is time 0.
std::int32_t TimerIndex(double ticks) {
    return ticks == 0.0 ? 0 : RoundTo<std::int32_t>(IndexUnitsIn(ticks * 1024.0 / 4000000.0), "ElapsedTicks");
}

/// A disturbed sample counts as one that cannot be read: it must not cost the others.
bool IsOfTheTool(double value) {
    constexpr double farBeyondTheTool = 1e9;
    return std::isfinite(value) && std::abs(value) < farBeyondTheTool;
}

/// When the change was that a sample at `t` shows. A change cannot lie behind the sample that shows it: such
/// timers are disturbed, and the next sample tells.
std::optional<std::int32_t> TimeOfChange(std::int64_t t, const ToolCurves::Sample& sample) {
    const std::int64_t at = t - ElapsedTicks(sample.changeTimer, sample.timer);
    if (at > t || at < std::numeric_limits<std::int32_t>::min())
        return std::nullopt;
    return static_cast<std::int32_t>(at);
}

}  // namespace

std::int32_t ElapsedTicks(double changeTimer, double sampleTimer) {
    if (changeTimer > sampleTimer)  // the counter wrapped between the change and the sample
        changeTimer -= timerWrap;
    const std::int64_t elapsed = std::int64_t{TimerIndex(sampleTimer)} - TimerIndex(changeTimer);
    if (elapsed < std::numeric_limits<std::int32_t>::min() ||
        elapsed > std::numeric_limits<std::int32_t>::max())
        return 0;
    return static_cast<std::int32_t>(elapsed);
}

ToolCurves::ToolCurves(const Database& database, const std::string& dataset)
    : code_(database, dataset, curve::valveCode, Between::sampleBefore),
      changeTimer_(database, dataset, curve::valveChangeTimer, Between::sampleBefore),
      timer_(database, dataset, curve::valveTimer, Between::sampleBefore) {}

GridSpan ToolCurves::Recorded() const {
    GridSpan recorded = GridSpan::Of(code_.Info());
    for (const CurveReader* timer : {&changeTimer_, &timer_})
        recorded.last = std::min(recorded.last, timer->Info().extentLast);
    return recorded;
}

std::optional<ToolCurves::Sample> ToolCurves::At(std::int32_t index) {
    double code = 0;
    double changeTimer = 0;
    double timer = 0;
    if (!code_.Fetch(index, code) || !changeTimer_.Fetch(index, changeTimer) || !timer_.Fetch(index, timer) ||
        !IsOfTheTool(code) || !IsOfTheTool(changeTimer) || !IsOfTheTool(timer))
        return std::nullopt;
    return Sample{RoundTo<std::int32_t>(code, "Valve position code"), changeTimer, timer};
}

std::vector<ValveChange> Walk(ToolCurves& tool, const GridSpan& piece, WalkState& state,
                              RunProgress& progress) {
    std::vector<ValveChange> changes;
    for (std::int64_t t = piece.first; t <= piece.last; t += piece.step) {
        const auto index = static_cast<std::int32_t>(t);
        progress.At(index);
        const auto sample = tool.At(index);
        if (!sample)
            continue;
        if (!state.lastCode)
            state.lastCode = sample->code;
        if (sample->code == *state.lastCode)
            continue;
        const auto change = TimeOfChange(t, *sample);
        if (!change)
            continue;
        changes.push_back(
            {state.lastChange.value_or(tool.Recorded().first), *change, *state.lastCode, sample->code});
        state.lastChange = change;
        state.lastCode = sample->code;
    }
    return changes;
}

std::optional<WalkState> WholeWalk(
    ToolCurves& tool, const char* status,
    const std::function<bool(const std::vector<ValveChange>& changes)>& found) {
    WalkState walk;
    walk.mark.taken = tool.Recorded();
    RunProgress progress(true, status, walk.mark.taken);
    const bool whole = InPieces(walk.mark.taken, 0, samplesPerCommit, [&](const GridSpan& piece) {
        return found(Walk(tool, piece, walk, progress));
    });
    return whole ? std::optional(walk) : std::nullopt;
}

}  // namespace vorela
