#include "db/modDravik.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "db/Curves.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"

namespace vorela {
namespace {

constexpr const char* openingFailed = "Error opening Dravik database";
constexpr const char* closingFailed = "Error closing Dravik database";
constexpr const char* updatingInformation = "Updating Dataset Information";
constexpr const char* gettingPresentation = "Getting Presentation Information";
constexpr const char* unpackingPresentation = "Unpacking presentation info";
constexpr const char* presentationAttachFailed = "Error attaching to Dravik presentation information";
constexpr const char* presentationReadFailed = "Error reading Dravik presentation information";

constexpr std::size_t longestCurveName = 10;

const DkBaseApi& Api() {
    return LoadedLibraries().database;
}

}  // namespace

void ShowDravikError(std::int32_t status, const std::string& title) {
    CurrentPorts().messages->Show(MessageIcon::critical, title, "Dravik error: " + StatusText(status));
}

bool OpenDravikDatabase(const std::string& path, std::int16_t mode, std::int32_t& handle) {
    handle = 0;
    std::int32_t opened = 0;
    const std::int32_t status =
        Api().DBopenA == nullptr ? DK_UNSPECIFIED : Api().DBopenA(path.c_str(), mode, &opened);
    if (status != DK_OK) {
        ShowDravikError(status, openingFailed);
        return false;
    }
    handle = opened;
    return true;
}

bool CloseDravikDatabase(std::int32_t handle) {
    const std::int32_t status = Api().DBclose == nullptr ? DK_UNSPECIFIED : Api().DBclose(handle);
    if (status == DK_OK)
        return true;
    ShowDravikError(status, closingFailed);
    return false;
}

void DetachAndClose(std::int32_t database, std::int32_t item) noexcept {
    try {
        if (item != 0 && Api().DBdetach != nullptr)
            Api().DBdetach(item);
        CloseDravikDatabase(database);
    } catch (...) {
        SetCurrentError(ErrorFromCurrentException("DetachAndClose"));
    }
}

bool IsSelectableCurve(const std::string& itemName) {
    return itemName.find("_zsc_") == std::string::npos && itemName.find("_vars_") == std::string::npos &&
           itemName.substr(0, 4).find("/RAW") == std::string::npos && itemName.ends_with("/1");
}

std::string CurveNameOfItem(const std::string& itemName) {
    std::string name = itemName;
    if (name.ends_with("/1"))
        name.resize(name.size() - 2);
    if (name.starts_with("/"))
        name.erase(0, 1);
    return name;
}

std::string MakeCurveMnemonic(const std::string& name, const std::string& suffix) {
    std::string base = Trimmed(name);
    const std::string ending = Trimmed(suffix);
    if (base.empty())
        base = "ERROR";
    // A name that is too long by itself loses its suffix: the derived curve then bears the input's cut name.
    // Field databases hold curves named that way, so the rule stays.
    if (base.size() > longestCurveName)
        return base.substr(0, longestCurveName);
    if (ending.size() > longestCurveName)
        return ending.substr(0, longestCurveName);
    if (base.size() + ending.size() > longestCurveName)
        base.resize(longestCurveName - ending.size());
    return base + ending;
}

std::vector<std::string> ItemsOf(const Database& database, const std::string& dataset) {
    std::vector<std::string> names;
    for (ListedItem& item : database.List(dataset))
        names.push_back(std::move(item.name));
    return names;
}

Growth UpdateDatasetInformation(const Database& database, std::vector<DatasetRecord>& datasets,
                                std::size_t index) {
    return Attempt(updatingInformation, Growth::failed, [&] {
        DatasetRecord& record =
            CheckedAt(datasets, static_cast<std::int64_t>(index), "UpdateDatasetInformation");
        const std::int32_t extentA = record.extentA;
        const std::int32_t extentB = record.extentB;
        record.database = Trimmed(record.database);
        record.dataset = Trimmed(record.dataset);
        const CommonCurve& first = CheckedAt(CurrentSelection().commonCurves, 0, "UpdateDatasetInformation");
        const std::string path = ItemPath(record.dataset, first.name);
        const std::optional<Item> item = Item::FindQuietly(database, path);
        if (!item) {
            ReportError(updatingInformation);
            return Growth::failed;
        }
        record.extentA = item->Info().extentFirst;
        record.extentB = item->Info().extentLast;
        return record.extentA != extentA || record.extentB != extentB ? Growth::grown : Growth::none;
    });
}

bool ReadPresentation(const Database& database, DatasetRecord& record) {
    std::vector<std::byte> stored;
    const std::optional<Item> item = Item::FindQuietly(database, PresentationPath(record.dataset));
    if (!item) {
        ReportError(presentationAttachFailed);
        return false;
    }
    if (item->ReadRecord(presentationBytes, stored) != DK_OK) {
        ReportError(presentationReadFailed);
        return false;
    }
    return Attempt(unpackingPresentation, [&] {
        record.presentation = UnpackPresentation(std::span(stored).first<presentationBytes>());
        record.pendingFlag = record.presentation.recordingFlag;
    });
}

bool GetPresentationInformation(const Database& database, std::vector<DatasetRecord>& datasets,
                                std::size_t index, Presentation& presentation) {
    return Attempt(gettingPresentation, false, [&] {
        DatasetRecord& record =
            CheckedAt(datasets, static_cast<std::int64_t>(index), "GetPresentationInformation");
        record.dataset = Trimmed(record.dataset);
        if (!ReadPresentation(database, record))
            return false;
        presentation = record.presentation;
        return true;
    });
}

std::string PresentationPath(const std::string& dataset) {
    return dataset + "/_defaults_/1";
}

std::string FilteredPressureName(const CurveChoice& choice) {
    return MakeCurveMnemonic(choice.pressure, suffix::filteredPressure);
}

std::string FilteredFlowName(const CurveChoice& choice) {
    return MakeCurveMnemonic(choice.flow, suffix::filteredFlow);
}

std::string DravikFilteredFlowName(const CurveChoice& choice) {
    return MakeCurveMnemonic(choice.flow, suffix::dravikFilteredFlow);
}

}  // namespace vorela
