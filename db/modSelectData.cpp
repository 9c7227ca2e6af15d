#include "db/modSelectData.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "db/CommonCurves.h"
#include "db/DatasetReading.h"
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
constexpr const char* choosingCurves = "Choosing curves";
constexpr const char* removingDatasets = "Removing Datasets";
constexpr const char* sortingDatasets = "Sorting datasets";
constexpr const char* readingOptions = "Reading dataset options";
constexpr const char* writingOptions = "Writing dataset options";

constexpr const char* defaultPressure = "ZG";
constexpr const char* defaultFlow = "RTC";

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

// --- The chooser ---

/// What DBselectA gave, released at the end.
class ChooserResult {
  public:
    ChooserResult() = default;
    ~ChooserResult() {
        if (selection_ != nullptr)
            LoadedLibraries().database.DBreleaseMS(selection_);
    }
    ChooserResult(const ChooserResult&) = delete;
    ChooserResult& operator=(const ChooserResult&) = delete;

    bool Ask() {
        if (LoadedLibraries().database.InitWin(0) == 0)
            throw RunTimeError{error_number::internalError, "DKBase",
                               "There is no chooser of databases and datasets"};
        const std::int32_t status = LoadedLibraries().database.DBselectA(&selection_);
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

// --- What is selected already ---

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
        return ReadDatasetRecords(databasePath, names, newRecords);
    });
}

bool ReadDatasets(const std::string& databasePath, const std::vector<std::string>& names,
                  std::vector<DatasetRecord>& newRecords) {
    return Attempt(selectingData, false, [&] { return ReadDatasetRecords(databasePath, names, newRecords); });
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
