#include "signal/SelectedDatasets.h"

#include <algorithm>

#include "general/CheckedMath.h"
#include "general/modGeneral.h"

namespace vorela {

DatasetRecord& SelectedDataset(std::size_t index) {
    return CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(index), "Dataset");
}

bool DatabasesOpen() {
    const std::vector<DatasetRecord>& datasets = CurrentSelection().datasets;
    if (datasets.empty()) {
        CurrentPorts().messages->Show(MessageIcon::critical, applicationTitle, "No data selected");
        return false;
    }
    return std::all_of(datasets.begin(), datasets.end(), [](const DatasetRecord& record) {
        DravikDatabase database(record.database);
        return database.IsOpen() && database.Close();
    });
}

void RefuseToReplaceRecordings(const std::vector<std::string>& curves) {
    std::string recorded;
    for (const DatasetRecord& record : CurrentSelection().datasets) {
        const Database database(record.database, OpenMode::existing);
        for (const std::string& curve : curves)
            if (RecordingStands(database, record.dataset, curve))
                recorded += (recorded.empty() ? "" : ", ") + ItemPath(record.dataset, curve) + " in " +
                            record.database;
    }
    if (!recorded.empty())
        throw RunTimeError{error_number::permissionDenied, "Vorela",
                           recorded + ": What was recorded is not overwritten"};
}

CurveStanding StandingOf(const Database& database, const std::string& dataset, const std::string& curve,
                         const std::string& wanted,
                         const std::function<bool(const ItemInfo& output)>& isComplete) {
    const std::string path = ItemPath(dataset, curve);
    const std::optional<Item> output = Item::Find(database, path);
    if (!output)
        return {Standing::missing, path};
    if (RecordingStands(database, dataset, curve))
        return {Standing::recorded, path};
    const ItemInfo& info = output->Info();
    if (info.made != wanted)
        return {Standing::madeOtherwise, path, info.made, wanted};
    return {isComplete(info) ? Standing::complete : Standing::incomplete, path};
}

std::string StandingText(const CurveStanding& curve) {
    switch (curve.standing) {
        case Standing::recorded:
            return curve.path + " was recorded and is used as it stands";
        case Standing::madeOtherwise:
            return curve.path + " was made by \"" + curve.made + "\", the parameters say \"" + curve.wanted +
                   "\"";
        case Standing::incomplete:
            return curve.path + " ends before the record does";
        default:
            return "";
    }
}

}  // namespace vorela
