#include "db/modSelectData.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "db/Curves.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"

namespace vorela {
namespace {

constexpr const char* initialisingVariables = "Initialising dataset variables";
constexpr const char* addingData = "Selecting data";
constexpr const char* selectingData = "Selecting Data";
constexpr const char* readingDepth = "Reading the depth of a level";
constexpr const char* checkingDatasets = "Checking datasets";
constexpr const char* checkingValveCurves = "Checking for Vorela curves";
constexpr const char* choosingCurves = "Choosing curves";
constexpr const char* removingDatasets = "Removing Datasets";
constexpr const char* sortingDatasets = "Sorting datasets";
constexpr const char* readingOptions = "Reading dataset options";
constexpr const char* writingOptions = "Writing dataset options";

constexpr const char* noCommonCurves = "There are no common curves in the selected datasets";
constexpr const char* noValveCurve = "Vorela valve curve is not in all datasets";

constexpr const char* defaultPressure = "ZG";
constexpr const char* defaultFlow = "RTC";

constexpr float metresPerFoot = 0.3048F;

const DkBaseApi& Api() {
    return LoadedLibraries().database;
}

std::function<std::int32_t(std::size_t)>& SelectedCycleSource() {
    static std::function<std::int32_t(std::size_t)> source;
    return source;
}

std::int32_t SelectedCycleOf(std::size_t index) {
    return SelectedCycleSource() ? SelectedCycleSource()(index) : 1;
}

void Tell(MessageIcon icon, const std::string& text) {
    CurrentPorts().messages->Show(icon, applicationTitle, text);
}

// --- Reading a dataset ---

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
        Tell(MessageIcon::exclamation, record.dataset + ": damaged in the database and left out: " + damaged);
}

/// The same by the handle that a pass holds, where it is of the dataset's database; else by one of its own.
/// False after the box of a database that does not open.
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

/// The index description of an index kind; nothing for a kind that is neither depth nor time.
std::optional<IndexDescription> DescribeIndex(std::int16_t kind) {
    if (kind == DK_INDEX_TIME)
        return IndexDescription{kind, "Time", "sec", 1.0F, 0.0F};
    if (kind != DK_INDEX_DEPTH)
        return std::nullopt;
    if (Api().GetDravikSetting(DK_SETTING_DEPTH_UNIT) == 1)
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
        Tell(MessageIcon::exclamation, record.dataset + " is not Depth or Time Driven Dataset");
    if (kind == DK_INDEX_TIME)
        return true;
    Tell(MessageIcon::exclamation,
         "Selected datasets must be recorded against time (" + record.dataset + ")");
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
        Tell(MessageIcon::exclamation, "The database path is longer than " +
                                           std::to_string(longestDatabasePath) + " characters:\r" +
                                           databasePath);
        return false;
    }
    for (const std::string& name : names) {
        if (name.size() > longestDatasetName) {
            Tell(MessageIcon::exclamation, "The dataset name is longer than " +
                                               std::to_string(longestDatasetName) + " characters:\r" + name);
            return false;
        }
    }
    return true;
}

bool ReadDatasetsOf(const std::string& path, const std::vector<std::string>& names,
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

// --- The chooser ---

/// What DBselectA gave, released at the end.
class ChooserResult {
  public:
    ChooserResult() = default;
    ~ChooserResult() {
        if (selection_ != nullptr)
            Api().DBreleaseMS(selection_);
    }
    ChooserResult(const ChooserResult&) = delete;
    ChooserResult& operator=(const ChooserResult&) = delete;

    bool Ask() {
        if (Api().InitWin(0) == 0)
            throw RunTimeError{error_number::internalError, "DKBase",
                               "There is no chooser of databases and datasets"};
        const std::int32_t status = Api().DBselectA(&selection_);
        if (status != DK_OK && status != DK_NOT_AVAILABLE)
            ThrowDravikStatus(status, "DBselectA");
        return status == DK_OK && selection_ != nullptr && selection_->count > 0;
    }

    std::vector<std::string> Paths() const {
        return {selection_->paths, selection_->paths + selection_->count};
    }

  private:
    DBMultiSelect* selection_ = nullptr;
};

/// "/data/well.vdb/LEVEL1" to the database's path and the dataset's name.
std::pair<std::string, std::string> SplitChosenPath(const std::string& path) {
    const std::size_t cut = path.find_last_of("\\/");
    if (cut == std::string::npos)
        throw RunTimeError{error_number::pathNotFound, "SelectDravikData",
                           path + ": The chosen path names no database and dataset"};
    return {path.substr(0, cut), path.substr(cut + 1)};
}

// --- Common curves ---

std::string UnitOfCurve(const DatasetRecord& record, std::size_t position) {
    return position < record.curveAttributes.size() ? record.curveAttributes[position].unit : std::string();
}

bool HasCurve(const DatasetRecord& record, const std::string& name) {
    return std::find(record.curves.begin(), record.curves.end(), name) != record.curves.end();
}

/// Curves that every dataset has, in the order of the first one. The depth curve comes last: the first of the
/// list tells how far a dataset reaches, and a depth curve may hold one sample only.
std::vector<CommonCurve> CommonCurvesOf(const std::vector<const DatasetRecord*>& records) {
    std::vector<CommonCurve> common;
    if (records.empty())
        return common;
    const DatasetRecord& first = *records.front();
    for (std::size_t i = 0; i < first.curves.size(); ++i) {
        const std::string& name = first.curves[i];
        if (std::all_of(records.begin(), records.end(),
                        [&](const auto* record) { return HasCurve(*record, name); }))
            common.push_back({name, UnitOfCurve(first, i)});
    }
    std::stable_partition(common.begin(), common.end(),
                          [](const auto& entry) { return entry.name != curve::depth; });
    return common;
}

/// The extent of a dataset is that of the first common curve.
void TakeExtent(DatasetRecord& record, const std::vector<CommonCurve>& common) {
    if (common.empty())
        return;
    const auto found = std::find(record.curves.begin(), record.curves.end(), common.front().name);
    const auto position = static_cast<std::size_t>(found - record.curves.begin());
    if (position >= record.curveAttributes.size())
        return;
    const CurveAttributes& attributes = record.curveAttributes[position];
    // Samples that the record knows of now without a pass having seen them are owed to the derived curves.
    if (record.extentA != attributes.extentFirst || record.extentB != attributes.extentLast)
        record.extensionOwed = true;
    record.extentA = attributes.extentFirst;
    record.extentB = attributes.extentLast;
    record.step = attributes.step;
}

std::optional<std::size_t> CommonPosition(const std::string& name) {
    const auto& common = CurrentSelection().commonCurves;
    const auto found =
        std::find_if(common.begin(), common.end(), [&](const auto& entry) { return entry.name == name; });
    if (found == common.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - common.begin());
}

/// The choice is one of curves: when the list changes, the positions follow the names.
void FollowChosenNames() {
    CurveChoice& choice = CurrentSelection().choice;
    if (const auto position = CommonPosition(choice.pressure))
        choice.pressureIndex = static_cast<std::int16_t>(*position);
    if (const auto position = CommonPosition(choice.flow))
        choice.flowIndex = static_cast<std::int16_t>(*position);
}

/// The extents of all datasets by the first common curve as it stands in the file now.
void TakeExtentsAnew(const Database* held = nullptr) {
    Selection& selection = CurrentSelection();
    for (DatasetRecord& record : selection.datasets) {
        ReadCurvesAgain(record, held);
        TakeExtent(record, selection.commonCurves);
    }
}

/// After datasets went or changed places: the common curves, and with them the positions of the choice and,
/// where another curve is now the first, the extents.
void FollowCommonCurves(const Database* held = nullptr) {
    const std::vector<CommonCurve> before = CurrentSelection().commonCurves;
    std::string ignored;
    CheckDatasets({}, ignored);
    FollowChosenNames();
    const std::vector<CommonCurve>& now = CurrentSelection().commonCurves;
    if (!now.empty() && (before.empty() || before.front().name != now.front().name))
        TakeExtentsAnew(held);
}

bool SameDataset(const DatasetRecord& a, const DatasetRecord& b) {
    return Trimmed(a.database) == Trimmed(b.database) && Trimmed(a.dataset) == Trimmed(b.dataset);
}

/// The first new record that is selected already or stands among the new ones twice.
const DatasetRecord* FindDuplicate(const std::vector<DatasetRecord>& newRecords) {
    for (const DatasetRecord& selected : CurrentSelection().datasets)
        for (const DatasetRecord& record : newRecords)
            if (SameDataset(selected, record))
                return &record;
    for (std::size_t i = 1; i < newRecords.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (SameDataset(newRecords[j], newRecords[i]))
                return &newRecords[i];
    return nullptr;
}

std::int16_t To16Bit(std::int64_t value) {
    return static_cast<std::int16_t>(std::clamp<std::int64_t>(value, std::numeric_limits<std::int16_t>::min(),
                                                              std::numeric_limits<std::int16_t>::max()));
}

// --- Settings ---

constexpr const char* datasetSection = "Dataset";

/// The choice of curves as the settings file holds it.
struct StoredChoice {
    std::int32_t pressureIndex = 0;
    std::int32_t flowIndex = 0;
    std::string pressure = defaultPressure;
    std::string flow = defaultFlow;
};

/// The flow curve's name stands under the key of its number and overwrites the number just written: settings
/// files in the field are kept that way.
SettingFields Fields(StoredChoice& stored) {
    constexpr auto integer = SettingReading::integer;
    const SettingRange number{0, std::numeric_limits<std::int16_t>::max(), "Curve number: Out of range"};
    const SettingRange name{.message = "a curve name is needed"};
    return {{"PresCurveNum", &stored.pressureIndex, number, integer},
            {"FlowCurveNum", &stored.flowIndex, number, integer},
            {"PresCurve", &stored.pressure, name},
            {"FlowCurveNum", &stored.flow, name}};
}

}  // namespace

void InitialiseDatasetVariables() {
    Attempt(initialisingVariables, [] {
        Selection& selection = CurrentSelection();
        selection.datasets.clear();  // and with them every cycle record
        selection.commonCurves.clear();
        ++selection.generation;
    });
}

void SetSelectedCycleSource(std::function<std::int32_t(std::size_t)> source) {
    SelectedCycleSource() = std::move(source);
}

void ResetDatasetCycles(std::size_t index) {
    DatasetRecord& record =
        CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(index), "ResetDatasetCycles");
    ResetCycles(record.cycles, SelectedCycleOf(index));
    record.cycleSource = CycleSource::none;
}

bool SelectDravikData(std::vector<DatasetRecord>& newRecords) {
    return Attempt(selectingData, false, [&] {
        ChooserResult chosen;
        if (!chosen.Ask())
            return false;
        std::string databasePath;
        std::vector<std::string> names;
        for (const std::string& path : chosen.Paths()) {
            auto [database, name] = SplitChosenPath(path);
            if (!names.empty() && database != databasePath)
                throw RunTimeError{error_number::invalidProcedureCall, "SelectDravikData",
                                   path + ": The chosen datasets are not of one database"};
            databasePath = std::move(database);
            names.push_back(std::move(name));
        }
        return ReadDatasetsOf(databasePath, names, newRecords);
    });
}

bool ReadDatasets(const std::string& databasePath, const std::vector<std::string>& names,
                  std::vector<DatasetRecord>& newRecords) {
    return Attempt(selectingData, false, [&] { return ReadDatasetsOf(databasePath, names, newRecords); });
}

bool CheckDatasets(const std::vector<DatasetRecord>& newRecords, std::string& message) {
    return Attempt(checkingDatasets, false, [&] {
        Selection& selection = CurrentSelection();
        std::vector<const DatasetRecord*> all;
        for (const DatasetRecord& record : selection.datasets)
            all.push_back(&record);
        for (const DatasetRecord& record : newRecords)
            all.push_back(&record);
        selection.commonCurves = CommonCurvesOf(all);
        if (selection.commonCurves.empty())
            message = noCommonCurves;
        return !selection.commonCurves.empty();
    });
}

bool CheckForValveCurves(const std::vector<DatasetRecord>& newRecords, std::string& message) {
    return Attempt(checkingValveCurves, false, [&] {
        for (const DatasetRecord& record : newRecords) {
            if (!HasCurve(record, curve::valvePosition)) {
                message = noValveCurve;
                return false;
            }
        }
        return true;
    });
}

bool AppendDatasets(std::vector<DatasetRecord> newRecords) {
    Selection& selection = CurrentSelection();
    const std::vector<CommonCurve> before = selection.commonCurves;
    const bool appended = Attempt(addingData, false, [&] {
        std::string message;
        if (!CheckDatasets(newRecords, message) || !CheckForValveCurves(newRecords, message)) {
            if (!message.empty())
                Tell(MessageIcon::information, message);
            return false;
        }
        if (const DatasetRecord* duplicate = FindDuplicate(newRecords)) {
            Tell(MessageIcon::exclamation,
                 "This dataset has already been selected\rDatabase: " + Trimmed(duplicate->database) +
                     "\rDataset: " + Trimmed(duplicate->dataset));
            return false;
        }
        const bool sameFirst = !before.empty() && before.front().name == selection.commonCurves.front().name;
        if (!sameFirst)
            TakeExtentsAnew();
        selection.datasets.reserve(selection.datasets.size() + newRecords.size());
        for (DatasetRecord& record : newRecords) {
            TakeExtent(record, selection.commonCurves);
            selection.datasets.push_back(std::move(record));
            ResetDatasetCycles(selection.datasets.size() - 1);
        }
        return true;
    });
    if (!appended)
        selection.commonCurves = before;
    return appended;
}

bool AddDatasets() {
    return Attempt(addingData, false, [] {
        std::vector<DatasetRecord> newRecords;
        return SelectDravikData(newRecords) && AppendDatasets(std::move(newRecords));
    });
}

bool AddNamedDatasets(const std::string& databasePath, const std::vector<std::string>& names) {
    return Attempt(addingData, false, [&] {
        std::vector<DatasetRecord> newRecords;
        return ReadDatasets(databasePath, names, newRecords) && AppendDatasets(std::move(newRecords));
    });
}

void RemoveDatasets(std::vector<std::size_t> positions) {
    Attempt(removingDatasets, [&] {
        Selection& selection = CurrentSelection();
        if (positions.empty() && !selection.datasets.empty())
            return;  // what is remembered of the datasets stays
        // From the end, so that the positions still to visit stay valid.
        std::sort(positions.begin(), positions.end(), std::greater<>());
        positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
        for (const std::size_t position : positions) {
            CheckedAt(selection.datasets, static_cast<std::int64_t>(position), "RemoveDatasets");
            selection.datasets.erase(selection.datasets.begin() + static_cast<std::ptrdiff_t>(position));
        }
        if (selection.datasets.empty()) {
            InitialiseDatasetVariables();
            return;
        }
        // A dataset that comes back later starts afresh, so what is remembered of it must not live on.
        ++selection.generation;
        FollowCommonCurves();
    });
}

void ClearSelection() {
    InitialiseDatasetVariables();
}

bool CurveInCommonList(const std::string& name) {
    return CommonPosition(name).has_value();
}

void ChooseCurves(std::optional<std::size_t> pressurePosition, std::optional<std::size_t> flowPosition) {
    Attempt(choosingCurves, [&] {
        Selection& selection = CurrentSelection();
        CurveChoice choice{0, 0, defaultPressure, defaultFlow};
        if (!selection.commonCurves.empty()) {
            choice.pressureIndex = To16Bit(static_cast<std::int64_t>(pressurePosition.value_or(0)));
            choice.flowIndex = To16Bit(static_cast<std::int64_t>(flowPosition.value_or(0)));
            choice.pressure = CheckedAt(selection.commonCurves, choice.pressureIndex, "ChooseCurves").name;
            choice.flow = CheckedAt(selection.commonCurves, choice.flowIndex, "ChooseCurves").name;
        }
        const bool otherCurves =
            choice.pressure != selection.choice.pressure || choice.flow != selection.choice.flow;
        selection.choice = choice;
        if (!otherCurves)
            return;
        // Cycles, resume marks and filters of the former curves say nothing about these.
        ++selection.generation;
        for (std::size_t i = 0; i < selection.datasets.size(); ++i)
            ResetDatasetCycles(i);
    });
}

std::size_t PreselectedCurve(std::int16_t storedIndex, const std::string& storedName) {
    const auto& common = CurrentSelection().commonCurves;
    // The name decides: positions shift with every curve that is added, and the settings file keeps no flow
    // position.
    if (const auto position = CommonPosition(storedName))
        return *position;
    return storedIndex >= 0 && static_cast<std::size_t>(storedIndex) < common.size()
               ? static_cast<std::size_t>(storedIndex)
               : 0;
}

void SortDatasets() {
    Attempt(sortingDatasets, [] {
        std::vector<DatasetRecord>& datasets = CurrentSelection().datasets;
        if (datasets.size() < 2)
            return;
        // The scan restarts at the first pair after every swap: quadratic, which is nothing for a few levels.
        for (std::size_t i = 0; i + 1 < datasets.size();) {
            if (datasets[i].sortKey < datasets[i + 1].sortKey) {
                std::swap(datasets[i], datasets[i + 1]);
                i = 0;
            } else {
                ++i;
            }
        }
        // Cycle numbers belong to levels, which are counted in the new order.
        for (std::size_t i = 0; i < datasets.size(); ++i)
            SelectCycle(datasets[i].cycles, SelectedCycleOf(i));
        FollowCommonCurves();
    });
}

bool RefreshCommonCurves(const Database* held) {
    return Attempt(checkingDatasets, false, [&] {
        std::vector<DatasetRecord>& datasets = CurrentSelection().datasets;
        for (DatasetRecord& record : datasets) {
            if (!ReadCurvesAgain(record, held))
                return false;
        }
        FollowCommonCurves(held);
        for (DatasetRecord& record : datasets)
            TakeExtent(record, CurrentSelection().commonCurves);
        return true;
    });
}

std::vector<std::string> UnitWarnings() {
    std::vector<std::string> lines;
    const auto check = [&](const char* what, const std::string& name, const char* expected) {
        const auto position = CommonPosition(name);
        if (!position)
            return;
        const std::string& unit = CurrentSelection().commonCurves[*position].unit;
        if (unit != expected)
            lines.push_back(std::string(what) + " curve " + name + " is in \"" + unit + "\", not in " +
                            expected + "; nothing is converted");
    };
    check("Pressure", CurrentSelection().choice.pressure, "psi");
    check("Flow", CurrentSelection().choice.flow, "rps");
    return lines;
}

std::vector<std::string> FilesInUse() {
    std::vector<std::string> files{SettingsFilePath()};
    for (const DatasetRecord& record : CurrentSelection().datasets) {
        files.push_back(record.database);
        files.push_back(record.database + "-journal");
    }
    return files;
}

void ReadDatasetSettings() {
    Attempt(readingOptions, [] {
        StoredChoice stored;
        ReadFields(datasetSection, Fields(stored));
        CurrentSelection().choice = {To16Bit(stored.pressureIndex), To16Bit(stored.flowIndex),
                                     stored.pressure, stored.flow};
    });
}

void WriteDatasetSettings() {
    Attempt(writingOptions, [] {
        const CurveChoice& choice = CurrentSelection().choice;
        StoredChoice stored{choice.pressureIndex, choice.flowIndex, choice.pressure, choice.flow};
        WriteFields(datasetSection, Fields(stored));
    });
}

SettingsSection DatasetSettings() {
    static StoredChoice any;
    return {datasetSection, Fields(any)};
}

}  // namespace vorela
