#include "dravik/exchange/ValveCurves.h"

#include <algorithm>
#include <functional>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/ValveSchedule.h"

namespace dravik {
namespace {

/// The valve that the request describes.
std::function<ValveSample(std::int32_t)> ValveOf(const Database& database, const ValveRequest& request,
                                                 const CurveGrid& grid) {
    if (request.periodSeconds) {
        const double first = request.firstSeconds ? *request.firstSeconds * indexPerUnit
                                                  : static_cast<double>(grid.firstIndex);
        const double period = *request.periodSeconds * indexPerUnit;
        return [schedule = ValveSchedule(first, period, grid)](std::int32_t index) {
            return schedule.At(index);
        };
    }
    std::vector<ValveChange> changes;
    if (!request.times.empty())
        changes = ReadValveTimes(request.times, ReadPresentation(database, request.dataset).recordingStart);
    else if (!request.from.empty())
        changes = FindCrossings(Item(database, CurvePath(request.dataset, request.from)), request.threshold);
    else
        changes = FindCodeChanges(Item(database, CurvePath(request.dataset, request.codes)), request.map);
    return [record = ValveRecord(std::move(changes), grid)](std::int32_t index) { return record.At(index); };
}

}  // namespace

void AddValveCurves(Database& database, const ValveRequest& request) {
    const std::vector<NamedItem> curves = CurvesOf(database, request.dataset);
    const std::string where = database.Path() + ": dataset \"" + request.dataset + "\"";
    const auto leading = std::find_if(curves.begin(), curves.end(),
                                      [](const NamedItem& curve) { return !curve.information.IsEmpty(); });
    if (leading == curves.end())
        throw DatasetError(where + " holds no samples");
    const ItemInfo& information = leading->information;
    if (information.indexKind != DK_INDEX_TIME)
        throw DatasetError(where + " is recorded against depth; a valve schedule needs time");
    for (const CurveDescription& curve : ValveCurves()) {
        const bool exists = std::any_of(curves.begin(), curves.end(),
                                        [&](const NamedItem& item) { return item.name == curve.name; });
        if (exists && !request.replace)
            throw DatasetError(where + " has a curve " + curve.name + " already; --replace replaces it");
        if (exists)
            database.Delete(CurvePath(request.dataset, curve.name));
    }
    const CurveGrid grid{information.indexKind, information.step, information.extentFirst,
                         information.RowCount()};
    const std::function<ValveSample(std::int32_t)> sampleAt = ValveOf(database, request, grid);
    CreateCurves(database, request.dataset, grid, ValveCurves());
    std::vector<float> values(static_cast<std::size_t>(blockRows));
    for (std::size_t curve = 0; curve < ValveCurves().size(); ++curve) {
        Item item(database, CurvePath(request.dataset, ValveCurves()[curve].name));
        for (std::int64_t row = 0; row < grid.rowCount; row += blockRows) {
            const std::int64_t count = std::min(blockRows, grid.rowCount - row);
            for (std::int64_t i = 0; i < count; ++i)
                values[static_cast<std::size_t>(i)] = ValveValue(sampleAt(grid.IndexOf(row + i)), curve);
            item.Write(grid.IndexOf(row), count, values.data());
        }
    }
}

}  // namespace dravik
