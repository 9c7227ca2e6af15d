#include "dravik/exchange/DatasetImport.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

namespace dravik {
namespace {

void CheckNewCurves(const Database& database, const std::string& dataset, const GriddedSource& source) {
    for (const NamedItem& item : CurvesOf(database, dataset)) {
        for (const CurveDescription& curve : source.Curves()) {
            if (item.name == curve.name)
                throw DatasetError(database.Path() + ": dataset \"" + dataset + "\" has a curve " +
                                   curve.name + " already (--curves COL=NAME renames)");
        }
    }
}

constexpr const char* importMark = "IMPORT";

/// The tool string of an imported dataset: with the zone of its start, "IMPORT+01:00", where the file has
/// one.
std::string ImportMark(const ImportPlan& plan) {
    std::array<char, 16> zone{};
    if (plan.zoneMinutes) {
        const int minutes = std::abs(*plan.zoneMinutes);
        std::snprintf(zone.data(), zone.size(), "%c%02d:%02d", *plan.zoneMinutes < 0 ? '-' : '+',
                      minutes / 60 % 100, minutes % 60);
    }
    return importMark + std::string(zone.data());
}

/// The zone that such a string tells.
std::optional<int> ZoneOfMark(const std::string& mark) {
    int hours = 0;
    int minutes = 0;
    char sign = '+';
    if (std::sscanf(mark.c_str(), "IMPORT%c%2d:%2d", &sign, &hours, &minutes) != 3)
        return std::nullopt;
    return (sign == '-' ? -1 : 1) * (hours * 60 + minutes);
}

}  // namespace

std::int32_t RecordingStart(const ImportPlan& plan) {
    struct stat status {};
    double start = plan.start.value_or(0.0);
    if (!plan.start && ::stat(plan.file.c_str(), &status) == 0)
        start = static_cast<double>(status.st_mtime);
    return static_cast<std::int32_t>(
        std::clamp<double>(std::floor(start), 0.0, std::numeric_limits<std::int32_t>::max()));
}

TargetGrid TargetOf(const Database& database, const std::string& dataset) {
    const std::string where = database.Path() + ": dataset \"" + dataset + "\"";
    const std::vector<NamedItem> curves = CurvesOf(database, dataset);
    const auto leading = std::find_if(curves.begin(), curves.end(),
                                      [](const NamedItem& curve) { return !curve.information.IsEmpty(); });
    if (leading == curves.end())
        throw DatasetError(where + " holds no samples to join");
    if (IsRecording(database, dataset))
        throw DatasetError(where + " is being recorded");
    TargetGrid target;
    target.indexKind = leading->information.indexKind;
    target.step = leading->information.step;
    target.firstIndex = leading->information.extentFirst;
    target.hasStart = true;
    const Presentation presentation = ReadPresentation(database, dataset);
    target.start = presentation.recordingStart;
    target.knowsZone = presentation.toolString.starts_with(importMark);
    target.zoneMinutes = ZoneOfMark(presentation.toolString);
    return target;
}

TargetGrid TargetOf(const ImportPlan& plan) {
    TargetGrid target;
    target.indexKind = plan.grid.indexKind;
    target.step = plan.grid.step;
    target.firstIndex = plan.grid.firstIndex;
    target.hasStart = true;
    target.start = RecordingStart(plan);
    target.knowsZone = true;
    target.zoneMinutes = plan.zoneMinutes;
    return target;
}

void StoreDataset(Database& database, const std::string& dataset, GriddedSource& source, bool replace) {
    CreateDataset(database, dataset, source,
                  PresentationOf(source.Grid(), RecordingStart(source.Plan()), ImportMark(source.Plan())),
                  replace);
    DatasetWriter(database, dataset, source).WriteRows(0, source.Grid().rowCount);
}

void MergeCurves(Database& database, const std::string& dataset, GriddedSource& source) {
    CheckNewCurves(database, dataset, source);
    CreateCurves(database, dataset, source.Grid(), source.Curves());
    DatasetWriter(database, dataset, source).WriteRows(0, source.Grid().rowCount);
}

}  // namespace dravik
