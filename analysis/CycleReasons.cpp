#include "analysis/CycleReasons.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "analysis/modIntervalInfo.h"
#include "analysis/modMatchFilter.h"
#include "db/IndexUnits.h"
#include "db/modSelectData.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

std::string Seconds(std::int64_t index) {
    return ShortestText(SecondsOf(index)) + " s";
}

/// "/LEVEL1/ZG/1" as "ZG".
std::string CurveName(const CurveReader& curve) {
    std::string path = curve.Path();
    path.erase(std::min(path.rfind('/'), path.size()));
    return path.substr(path.rfind('/') + 1);
}

/// Where the samples missing between two indices begin and end: the whole gap, also beyond the indices.
std::optional<std::string> GapIn(CurveReader& curve, std::int64_t first, std::int64_t last) {
    const ItemInfo& info = curve.Info();
    const std::int64_t step = info.step;
    const auto isMissing = [&](std::int64_t index) { return !curve.At(static_cast<std::int32_t>(index)); };
    const std::int64_t behind = (first - info.extentFirst) % step;
    std::int64_t begin = first - behind;
    while (begin <= last && !isMissing(begin))
        begin += step;
    if (begin > last)
        return std::nullopt;
    while (begin - step >= info.extentFirst && isMissing(begin - step))
        begin -= step;
    std::int64_t end = begin;
    while (end + step <= info.extentLast && isMissing(end + step))
        end += step;
    return "gap in " + CurveName(curve) + " from " + Seconds(begin) + " to " + Seconds(end);
}

/// Why a curve does not bear a cycle between two indices; nothing when it does.
std::optional<std::string> FaultOf(CurveReader& curve, std::int64_t first, std::int64_t last) {
    const ItemInfo& info = curve.Info();
    const std::string name = CurveName(curve);
    const bool derived = !info.made.empty();
    if (info.IsEmpty() || info.step <= 0 || (derived && info.validLast < info.validFirst))
        return name + " holds no samples";
    const std::int64_t begin = derived ? std::max(info.extentFirst, info.validFirst) : info.extentFirst;
    const std::int64_t end = derived ? std::min(info.extentLast, info.validLast) : info.extentLast;
    if (first < begin)
        return name + " begins at " + Seconds(begin);
    if (last > end)
        return name + " ends at " + Seconds(end);
    return GapIn(curve, first, last);
}

std::string ReasonFor(CycleCurves& curves, std::int64_t first, double period) {
    const auto last = first + static_cast<std::int64_t>(IndexUnitsIn(period));
    if (last <= first)
        return "zero length at " + Seconds(first);
    for (CurveReader* curve : {&curves.valve, &curves.pressure, &curves.flow})
        if (const auto fault = FaultOf(*curve, first, last))
            return *fault;
    return "they could not be computed";
}

struct Reason {
    std::string text;
    std::vector<std::int32_t> cycles;
};

std::string LineOf(const Reason& reason) {
    std::string line = reason.cycles.size() == 1 ? "cycle" : "cycles";
    for (std::size_t i = 0; i < reason.cycles.size(); ++i)
        line += (i == 0 ? " " : ", ") + std::to_string(reason.cycles[i]);
    return line + " without results: " + reason.text;
}

/// Empty where no cycle is selected or its curves cannot be read: the fault of reading is told elsewhere.
std::string ReasonOfSelected(std::size_t dataset) {
    const DatasetRecord& record = CurrentSelection().datasets.at(dataset);
    const std::optional<std::size_t> entry = SelectedEntry(dataset);
    if (!entry || static_cast<std::int32_t>(*entry) >= record.cycles.RealCycles())
        return {};
    try {
        const Database database(record.database, OpenMode::existing);
        CycleCurves curves = AttachCycleCurves(database, dataset, record.cycleSource);
        return ReasonFor(curves, record.cycles.start[*entry], record.cycles.period[*entry]);
    } catch (...) {
        return {};
    }
}

}  // namespace

std::vector<std::string> ExplainedResultHints() {
    std::vector<std::string> hints;
    for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i) {
        std::string hint = ResultHint(i);
        if (hint.empty())
            continue;
        const std::string reason = ReasonOfSelected(i);
        hints.push_back(reason.empty() ? hint : hint + ": " + reason);
    }
    return hints;
}

std::vector<std::string> ReasonsForMissingResults(std::size_t dataset) {
    const DatasetRecord& record = CurrentSelection().datasets.at(dataset);
    const CycleRecord& cycles = record.cycles;
    const auto analysedEnd = cycles.analysed.begin() + cycles.RealCycles();
    if (std::find(cycles.analysed.begin(), analysedEnd, 0) == analysedEnd)
        return {};
    const Database database(record.database, OpenMode::existing);
    CycleCurves curves = AttachCycleCurves(database, dataset, record.cycleSource);
    std::vector<Reason> reasons;
    for (std::int32_t n = 1; n <= cycles.RealCycles(); ++n) {
        const auto entry = static_cast<std::size_t>(n) - 1;
        if (cycles.analysed[entry] != 0)
            continue;
        const std::string text = ReasonFor(curves, cycles.start[entry], cycles.period[entry]);
        const auto same =
            std::find_if(reasons.begin(), reasons.end(), [&](const Reason& r) { return r.text == text; });
        (same == reasons.end() ? reasons.emplace_back(Reason{text, {}}) : *same).cycles.push_back(n);
    }
    std::vector<std::string> lines;
    std::transform(reasons.begin(), reasons.end(), std::back_inserter(lines), LineOf);
    return lines;
}

}  // namespace vorela
