#include "signal/SelectedDatasets.h"

#include <algorithm>

#include "db/Curves.h"
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
        Database database(record.database);
        return database.IsOpen() && database.Close();
    });
}

}  // namespace vorela
