#include "signal/ValveSignal.h"

#include <algorithm>
#include <cstddef>

#include "general/CheckedMath.h"

namespace vorela {
namespace {

/// +1 or −1 for a position code; a code that is neither keeps what was returned last, which `remembered`
/// holds.
double ValveState(std::int32_t code, double& remembered) {
    if (code == 1 || code == 4)
        remembered = 1.0;
    else if (code == 2 || code == 3)
        remembered = -1.0;
    return remembered;
}

/// The first sample time of the grid at or after `index` and the grid's first sample.
std::int64_t AtOrAfter(const GridSpan& grid, std::int32_t index) {
    const std::int64_t offset = std::max<std::int64_t>(std::int64_t{index} - grid.first, 0);
    return grid.first + (offset + grid.step - 1) / grid.step * grid.step;
}

/// The straight line that ends at the change.
void PutLine(CurveWriter& signal, const GridSpan& grid, const ValveChange& change, double& valveState) {
    constexpr std::size_t samplesAtOnce = 4096;
    std::vector<float> line;
    std::int64_t first = AtOrAfter(grid, change.previous);
    for (std::int64_t t = first; t <= change.at; t += grid.step) {
        line.push_back(RampValue(static_cast<double>(t), change.previous, change.at, change.oldCode,
                                 change.newCode, valveState));
        if (line.size() == samplesAtOnce) {
            signal.PutRun(static_cast<std::int32_t>(first), line);
            first = t + grid.step;
            line.clear();
        }
    }
    if (!line.empty())
        signal.PutRun(static_cast<std::int32_t>(first), line);
}

}  // namespace

float RampValue(double t, double t1, double t2, std::int32_t code1, std::int32_t code2, double& remembered) {
    // In this order: an unknown first code stands for the state before, an unknown second one for the first.
    const double s1 = ValveState(code1, remembered);
    const double s2 = ValveState(code2, remembered);
    if (t <= t1)
        return static_cast<float>(s1);
    if (t >= t2)
        return static_cast<float>(s2);
    if (s1 == s2)
        return static_cast<float>(s1);
    return static_cast<float>(s1 + (s1 - s2) / (t1 - t2) * (t - t1));
}

SampleGrid GridOf(const Database& database, const DatasetRecord& record) {
    const CommonCurve& common = CheckedAt(CurrentSelection().commonCurves, 0, "Sample grid");
    const ItemInfo info = Item(database, ItemPath(record.dataset, common.name)).Info();
    return {info.firstIndex, GridSpan::Of(info)};
}

void OpenSignal(DerivedRun& run, const SampleGrid& grid, bool incremental) {
    const DerivedCurve attributes{grid.recorded.step, grid.origin, "", 1.0F, 0.0F, valveSignalMade};
    if (incremental && (!run.Extend(attributes).Info().IsEmpty() || grid.recorded.IsEmpty()))
        return;
    run.StartAnew(attributes);
    if (!grid.recorded.IsEmpty())
        run.Output().Put(grid.recorded.first, 0.0F);
    run.State(grid.recorded.first,
              std::int64_t{grid.recorded.first} - 1);  // nothing is known before the first change
    run.Commit();
}

void WriteLines(DerivedRun& run, const SampleGrid& grid, const std::vector<ValveChange>& changes,
                double& valveState) {
    if (changes.empty())
        return;
    run.Begin();
    for (const ValveChange& change : changes)
        PutLine(run.Output(), grid.recorded, change, valveState);
    run.State(grid.recorded.first, changes.back().at);
    run.Commit();
}

bool SignalIsComplete(const ItemInfo& signal, const SampleGrid& grid,
                      std::optional<std::int32_t> lastChange) {
    if (grid.recorded.IsEmpty())
        return signal.IsEmpty();
    return signal.step == grid.recorded.step && signal.validFirst == grid.recorded.first &&
           signal.validLast == lastChange.value_or(grid.recorded.first - 1);
}

}  // namespace vorela
