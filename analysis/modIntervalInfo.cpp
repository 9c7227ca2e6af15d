#include "analysis/modIntervalInfo.h"

#include <cmath>
#include <cstdint>

#include "analysis/modComplex.h"
#include "db/DatasetRecord.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr const char* source = "modIntervalInfo";
constexpr double hoursPerDay = 24.0;
constexpr double secondsPerHour = 3600.0;
constexpr double barrelsPerCubicFoot = 0.178;
constexpr double inchesDiameterToFeetRadius = 24.0;

using Datasets = std::vector<DatasetRecord>;

/// Every level holds a cycle and the window, and a selected cycle. Without one there are no intervals at all.
bool LevelsAreReady(const Datasets& datasets) {
    for (const DatasetRecord& record : datasets)
        if (record.cycles.count < 2 || record.cycles.selectedCycle < 1)
            return false;
    return true;
}

/// Entries of an interval's two levels.
struct EntryPair {
    std::int64_t level1 = 0;
    std::int64_t level2 = 0;
};

// The limit is crosswise: when the selected cycle of level 2 lies beyond its record, it is level 1 that is
// put at level 2's count, while level 2 stays outside. An interval with a level whose choice does not exist
// is meant to stay without numbers and be told, not to be shown with those of another cycle.
EntryPair LimitedEntries(const CycleRecord& level1, const CycleRecord& level2) {
    EntryPair entries{std::int64_t{level1.selectedCycle} - 1, std::int64_t{level2.selectedCycle} - 1};
    if (entries.level1 > level1.count)
        entries.level1 = level1.count;
    if (entries.level2 > level2.count)
        entries.level1 = level2.count;
    return entries;
}

IntervalRecord LabelledInterval(const DatasetRecord& level1, const DatasetRecord& level2) {
    IntervalRecord interval;
    interval.depth1 = level1.sortKey;
    interval.depth2 = level2.sortKey;
    interval.label = FormatNumber(level2.sortKey) + " to " + FormatNumber(level1.sortKey);
    return interval;
}

bool HasResults(const CycleRecord& cycles, std::int64_t entry) {
    return entry < std::ssize(cycles.analysed) && cycles.analysed[static_cast<std::size_t>(entry)] != 0;
}

/// Inputs of an interval; none when a selected entry has no results.
void FillInputs(IntervalRecord& interval, const CycleRecord& level1, const CycleRecord& level2) {
    const EntryPair entries = LimitedEntries(level1, level2);
    if (!HasResults(level1, entries.level1) || !HasResults(level2, entries.level2))
        return;
    interval.hpi1 = CheckedAt(level1.ratio, entries.level1, source);
    interval.phase1 = CheckedAt(level1.phaseLag, entries.level1, source);
    interval.hpi2 = CheckedAt(level2.ratio, entries.level2, source);
    interval.phase2 = CheckedAt(level2.phaseLag, entries.level2, source);
    const ParameterSet& parameters = CurrentParameters();
    interval.casingID = parameters.casingID;
    interval.totalDepth = parameters.td;
    interval.period = parameters.period;
    interval.compressibility = parameters.compressibility;
    interval.spinnerType = parameters.spinner;
    interval.hasInputs = true;
}

/// What is the matter with a level's selected entry; "" when it has results.
std::string SelectionFault(const CycleRecord& cycles) {
    const std::string number = std::to_string(cycles.selectedCycle);
    if (cycles.RealCycles() == 0)
        return "no whole cycle yet";
    if (cycles.selectedCycle < 1)
        return "no cycle is selected";
    if (cycles.selectedCycle > cycles.count)
        return "there is no cycle " + number + ", only " + std::to_string(cycles.RealCycles());
    if (HasResults(cycles, cycles.selectedCycle - 1))
        return "";
    return cycles.ShowsWindow() ? "the window has no results" : "cycle " + number + " has no results";
}

Complex FromPolar(double magnitude, double phaseDegrees) {
    const double phase = DegreesToRadians(phaseDegrees);
    return Multiply({magnitude, 0.0}, {std::cos(phase), std::sin(phase)});
}

void ComputeIntervalOutputs(IntervalRecord& interval) {
    const Complex difference =
        Subtract(FromPolar(interval.hpi1, interval.phase1), FromPolar(interval.hpi2, interval.phase2));
    interval.intervalHpi = Magnitude(difference);
    interval.intervalPhase = ArgumentDegrees(difference);
}

/// Storage of the well below a level, bbl/psi.
double WellboreStorage(const IntervalRecord& interval, double depth) {
    const double radius = interval.casingID / inchesDiameterToFeetRadius;
    return barrelsPerCubicFoot * pi * interval.compressibility * (interval.totalDepth - depth) * radius *
           radius;
}

void ComputeReservoirOutputs(IntervalRecord& interval) {
    const double omega = 2.0 * pi * hoursPerDay * CheckedDivide(secondsPerHour, interval.period, source);
    const double factor = FlowConversion(interval.spinnerType, interval.casingID, CurrentParameters().slope);
    const double a = factor * interval.hpi1;
    const double b = factor * interval.hpi2;
    const double phase1 = DegreesToRadians(interval.phase1);
    const double phase2 = DegreesToRadians(interval.phase2);
    const double storage =
        (WellboreStorage(interval, interval.depth1) - WellboreStorage(interval, interval.depth2)) * omega;
    // Storage stands a quarter period off the pressure: it enters the imaginary part only.
    const Complex index{CheckedFinite(a * std::cos(phase1) - b * std::cos(phase2), source),
                        CheckedFinite(a * std::sin(phase1) - b * std::sin(phase2) - storage, source)};
    interval.reservoirHpi = Magnitude(index);
    interval.reservoirPhase = ArgumentDegrees(index);
}

}  // namespace

double FlowConversion(int spinnerType, double casingID, double slope) {
    constexpr double hvx = 75.19;
    constexpr double rtc = 28.0;
    constexpr double nps = 46.6;
    const double area = casingID * casingID - toolDiameter * toolDiameter;
    switch (spinnerType) {
        case 0:
            return hvx;
        case 1:
            return rtc * area;
        case 2:
            return nps * area;
        default:
            return (slope == 0.0 ? rtc : CheckedDivide(0.445 * pi, slope, source)) * area;
    }
}

std::optional<std::size_t> SelectedEntry(std::size_t dataset) {
    const Datasets& datasets = CurrentSelection().datasets;
    if (dataset >= datasets.size())
        return std::nullopt;
    const CycleRecord& cycles = datasets[dataset].cycles;
    if (cycles.selectedCycle < 1 || cycles.selectedCycle > cycles.count)
        return std::nullopt;
    return static_cast<std::size_t>(cycles.selectedCycle) - 1;
}

LevelOutputs GetLevelOutputs(std::size_t dataset) {
    const std::optional<std::size_t> entry = SelectedEntry(dataset);
    if (!entry)
        return {};
    const CycleRecord& cycles = CurrentSelection().datasets[dataset].cycles;
    if (cycles.analysed[*entry] == 0)
        return {};
    return {cycles.ratio[*entry], cycles.phaseLag[*entry]};
}

std::vector<IntervalRecord>& CurrentIntervals() {
    static std::vector<IntervalRecord> intervals;
    return intervals;
}

std::size_t IntervalCount() {
    return CurrentIntervals().empty() ? 0 : CurrentIntervals().size() - 1;
}

void WithIntervalNamed(const std::string& label, const std::function<void()>& body) {
    try {
        body();
    } catch (const RunTimeError& error) {
        throw RunTimeError{error.number, error.source, "Interval " + label + ": " + error.description};
    }
}

std::vector<std::string> ResultHints() {
    std::vector<std::string> hints;
    for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i)
        if (std::string hint = ResultHint(i); !hint.empty())
            hints.push_back(std::move(hint));
    return hints;
}

std::string ResultHint(std::size_t dataset) {
    const DatasetRecord& record = CurrentSelection().datasets.at(dataset);
    const std::string fault = record.cycles.count > 0 ? SelectionFault(record.cycles) : std::string();
    return fault.empty() ? fault : record.dataset + ": " + fault;
}

bool GetIntervalInformation() {
    return Attempt(step::gettingIntervalInformation, [] {
        const StatusScope status(step::gettingIntervalInformation);
        std::vector<IntervalRecord>& intervals = CurrentIntervals();
        intervals.clear();
        const Datasets& datasets = CurrentSelection().datasets;
        if (datasets.empty() || !LevelsAreReady(datasets))
            return;
        intervals.resize(datasets.size());
        for (std::size_t i = 1; i < datasets.size(); ++i) {
            intervals[i] = LabelledInterval(datasets[i], datasets[i - 1]);
            FillInputs(intervals[i], datasets[i].cycles, datasets[i - 1].cycles);
        }
        for (std::size_t i = 1; i < intervals.size(); ++i)
            if (intervals[i].hasInputs)
                WithIntervalNamed(intervals[i].label, [&] {
                    ComputeIntervalOutputs(intervals[i]);
                    ComputeReservoirOutputs(intervals[i]);
                });
    });
}

}  // namespace vorela
