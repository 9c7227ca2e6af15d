#include "db/DatasetReading.h"

#include <cmath>
#include <optional>
#include <utility>

#include "db/Curves.h"
#include "db/modDravik.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"

namespace vorela {
namespace {

constexpr const char* readingDepth = "Reading the depth of a level";
constexpr float metresPerFoot = 0.3048F;

void Tell(const std::string& text) {
    CurrentPorts().messages->Show(MessageIcon::exclamation, applicationTitle, text);
}

void ReadCurves(const Database& database, DatasetRecord& record) {
    const std::vector<ListedItem> items = database.List(record.dataset);
    std::string damaged;
    record.curves.clear();
    record.curveAttributes.clear();
    for (const auto& [name, info] : items) {
        if (info.shape.kind == DK_ITEM_DAMAGED)
            damaged += (damaged.empty() ? "" : ", ") + CurveNameOfItem(name);
        // Records ("/_defaults_/1") pass the rule of names but hold no samples to choose.
        if (!info.IsCurve() || !IsSelectableCurve(name))
            continue;
        record.curves.push_back(CurveNameOfItem(name));
        record.curveAttributes.push_back(
            {GetUnitText(info.unitCode), info.extentFirst, info.extentLast, info.step});
    }
    if (!damaged.empty())
        Tell(record.dataset + ": damaged in the database and left out: " + damaged);
}

/// The index description of an index kind; nothing for a kind that is neither depth nor time.
std::optional<IndexDescription> DescribeIndex(std::int16_t kind) {
    if (kind == DK_INDEX_TIME)
        return IndexDescription{kind, "Time", "sec", 1.0F, 0.0F};
    if (kind != DK_INDEX_DEPTH)
        return std::nullopt;
    if (LoadedLibraries().database.GetDravikSetting(DK_SETTING_DEPTH_UNIT) == 1)
        return IndexDescription{kind, "Depth", "m", metresPerFoot, 0.0F};
    return IndexDescription{kind, "Depth", "ft", 1.0F, 0.0F};
}

/// Depth of the level: first sample of the depth curve, in feet by the curve's scale and offset.
double ReadDepth(const Database& database, const std::string& dataset) {
    const std::optional<Item> item = Item::Find(database, ItemPath(dataset, curve::depth));
    if (!item || item->Info().IsEmpty())
        return nullDepth;
    const ItemInfo& info = item->Info();
    float sample = 0.0F;
    const std::int32_t status = item->ReadCurveSample(info.extentFirst, sample);
    if (status == DK_NOT_AVAILABLE || status == DK_NOT_WRITTEN)
        return nullDepth;
    if (status != DK_OK)
        ThrowDravikStatus(status, item->Name());
    const double depth = static_cast<double>(sample) * info.scale + info.offset;
    return std::isfinite(depth) ? depth : nullDepth;
}

/// The dataset's own state of recording. A dataset without presentation information is not being recorded;
/// one whose record cannot be read is reported and counts the same.
void ReadRecordingState(const Database& database, DatasetRecord& record) {
    const std::optional<Item> item = Item::Find(database, PresentationPath(record.dataset));
    if (item && item->Info().shape.IsRecordOf(presentationBytes))
        ReadPresentation(database, record);
}

bool FillIndexDescription(const Item& dataset, DatasetRecord& record) {
    const std::int16_t kind = dataset.Info().indexKind;
    const std::optional<IndexDescription> index = DescribeIndex(kind);
    if (index)
        record.index = *index;
    else
        Tell(record.dataset + " is not Depth or Time Driven Dataset");
    if (kind == DK_INDEX_TIME)
        return true;
    Tell("Selected datasets must be recorded against time (" + record.dataset + ")");
    return false;
}

bool ReadDataset(const Database& database, const std::string& name, DatasetRecord& record) {
    record.database = database.Path();
    record.dataset = name;
    const std::string attachFailed = "Error attaching to Dravik dataset: " + name;
    std::optional<Item> dataset;
    const bool looked = Attempt(attachFailed, [&] {
        if (std::optional<Item> found = Item::Find(database, name))
            dataset.emplace(std::move(*found));
    });
    if (looked && !dataset)
        ReportError(attachFailed);
    if (!dataset)
        return false;
    if (!FillIndexDescription(*dataset, record))
        return false;
    ReadCurves(database, record);
    // A depth that is damaged is a fault to be told; the level can be analysed without it.
    record.sortKey = Attempt(readingDepth, nullDepth, [&] { return ReadDepth(database, name); });
    record.extentA = dataset->Info().extentFirst;
    record.extentB = dataset->Info().extentLast;
    record.step = dataset->Info().step;
    ReadRecordingState(database, record);
    return true;
}

/// The record's texts are of fixed width; a longer one would name another file or dataset when cut.
bool FitsTheRecord(const std::string& databasePath, const std::vector<std::string>& names) {
    if (databasePath.size() > longestDatabasePath) {
        Tell("The database path is longer than " + std::to_string(longestDatabasePath) + " characters:\r" +
             databasePath);
        return false;
    }
    for (const std::string& name : names) {
        if (name.size() > longestDatasetName) {
            Tell("The dataset name is longer than " + std::to_string(longestDatasetName) + " characters:\r" +
                 name);
            return false;
        }
    }
    return true;
}

}  // namespace

bool ReadCurvesAgain(DatasetRecord& record, const Database* held) {
    if (held != nullptr && held->Path() == record.database) {
        ReadCurves(*held, record);
        return true;
    }
    const DravikDatabase database(record.database);
    if (database.IsOpen())
        ReadCurves(database, record);
    return database.IsOpen();
}

bool ReadDatasetRecords(const std::string& path, const std::vector<std::string>& names,
                        std::vector<DatasetRecord>& newRecords) {
    const std::string databasePath = Trimmed(path);
    std::vector<std::string> trimmed;
    trimmed.reserve(names.size());
    for (const std::string& name : names)
        trimmed.push_back(Trimmed(name));
    if (trimmed.empty() || !FitsTheRecord(databasePath, trimmed))
        return false;
    const DravikDatabase database(databasePath);
    if (!database.IsOpen())
        return false;
    std::vector<DatasetRecord> records;
    for (const std::string& name : trimmed) {
        if (!ReadDataset(database, name, records.emplace_back()))
            return false;
    }
    newRecords = std::move(records);
    return true;
}

}  // namespace vorela
