#include "follow/LiveStatus.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "follow/ActionQueue.h"
#include "platform/DatabaseClient.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

/// The last index of the curve that tells how far a dataset reaches.
std::optional<std::int32_t> RecordedEnd(const DatasetRecord& record) {
    const auto& common = CurrentSelection().commonCurves;
    if (common.empty())
        return std::nullopt;
    try {
        const Database database(record.database, OpenMode::readOnly);
        const auto item = Item::FindQuietly(database, ItemPath(record.dataset, common.front().name));
        return item ? std::optional(item->Info().extentLast) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;  // the pass itself reports what is wrong with the database
    }
}

std::optional<double> SecondsToNextBoundary(const CycleRecord& cycles, std::int32_t end) {
    if (cycles.count <= 0)
        return std::nullopt;
    const auto open = static_cast<std::size_t>(cycles.count) - 1;
    const double length = open > 0 ? cycles.period[open - 1] : CurrentParameters().period;
    return SecondsOf(cycles.start[open]) + length - SecondsOf(end);
}

std::string WholeSeconds(double seconds) {
    return std::to_string(std::llround(seconds)) + " s";
}

}  // namespace

std::optional<LiveStatus> LiveStatusOf(std::size_t dataset) {
    const auto& datasets = CurrentSelection().datasets;
    if (dataset >= datasets.size() || !datasets[dataset].IsRecorded())
        return std::nullopt;
    const DatasetRecord& record = datasets[dataset];
    const CycleRecord& cycles = record.cycles;
    LiveStatus status;
    status.level = record.dataset;
    status.cycles = cycles.RealCycles();
    const auto analysed = cycles.analysed.begin();
    status.measured = static_cast<std::int32_t>(std::count(analysed, analysed + status.cycles, 1));
    const std::optional<std::int32_t> end = RecordedEnd(record);
    const std::optional<std::int32_t> followed = FollowedTo(record);
    if (end && followed)
        status.lag = std::max(SecondsOf(*end) - SecondsOf(*followed), 0.0);
    status.nextCycle = SecondsToNextBoundary(cycles, end.value_or(record.extentB));
    return status;
}

std::string LiveStatusText(const LiveStatus& status) {
    std::string text = status.level + ": ";
    text += status.lag ? WholeSeconds(*status.lag) + " behind" : "not followed yet";
    text += ", " + std::to_string(status.cycles) + (status.cycles == 1 ? " cycle" : " cycles");
    if (status.measured < status.cycles)
        text += " (" + std::to_string(status.measured) + " measured)";
    if (!status.nextCycle)
        return text + ", no valve boundary yet";
    return text + (*status.nextCycle >= 0 ? ", next in " + WholeSeconds(*status.nextCycle)
                                          : ", next due " + WholeSeconds(-*status.nextCycle) + " ago");
}

}  // namespace vorela
