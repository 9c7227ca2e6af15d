#include "db/modDravik.h"

#include <array>
#include <cstddef>

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

struct Enumeration {
    std::vector<std::string> names;
    bool outOfMemory = false;
};

std::int32_t VisitItem(void* context, const char* name, const void*) noexcept {
    auto& enumeration = *static_cast<Enumeration*>(context);
    try {
        enumeration.names.emplace_back(name);
        return 0;
    } catch (...) {
        enumeration.outOfMemory = true;
        return 1;
    }
}

}  // namespace

std::string StatusText(std::int32_t status) {
    switch (status) {
        case DK_NOT_AVAILABLE:
            return "The requested item or sample is not available";
        case DK_EXISTS:
            return "The item already exists";
        case DK_NOT_UNDERSTOOD:
            return "The request wasn't understood";
        case DK_NOT_DATABASE:
            return "The file isn't a database";
        case DK_MAXIMUM:
            return "An internal maximum was reached";
        case DK_NOT_WRITTEN:
            return "The data to be read hasn't been written yet";
        case DK_NO_MEMORY:
            return "Unable to allocate memory";
        case DK_DISK_ERROR:
            return "Operating system disk error";
        case DK_UNSPECIFIED:
            return "Unspecified error";
        default:
            return "Error" + std::to_string(status);
    }
}

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

std::string GetUnitText(std::int32_t unitCode) {
    const char* text = Api().GetUnitTextA(unitCode);
    return text == nullptr ? "" : text;
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

std::vector<std::string> ItemsOf(std::int32_t database, const std::string& dataset) {
    Enumeration enumeration;
    const std::int32_t status = Api().DBenumA(database, dataset.c_str(), VisitItem, &enumeration);
    if (enumeration.outOfMemory)
        throw RunTimeError{error_number::outOfMemory, "ItemsOf", "Out of memory"};
    if (status != DK_OK)
        ThrowDravikStatus(status, dataset);
    return std::move(enumeration.names);
}

Growth ReadGrowth(std::vector<DatasetRecord>& datasets, std::size_t index) {
    return Attempt(updatingInformation, Growth::failed, [&] {
        DatasetRecord& record = CheckedAt(datasets, static_cast<std::int64_t>(index), "ReadGrowth");
        const std::int32_t extentA = record.extentA;
        const std::int32_t extentB = record.extentB;
        record.database = Trimmed(record.database);
        Database database(record.database);
        if (!database.IsOpen())
            return Growth::failed;
        record.dataset = Trimmed(record.dataset);
        const CommonCurve& first = CheckedAt(CurrentSelection().commonCurves, 0, "ReadGrowth");
        const std::string path = ItemPath(record.dataset, first.name);
        std::array<std::byte, DK_INFO_BYTES> block{};
        std::int32_t item = 0;
        if (Api().DBattachA(database.Handle(), path.c_str(), &item, 0, block.data()) != DK_OK) {
            database.Close();
            ReportError(updatingInformation);
            return Growth::failed;
        }
        const ItemInfo info = UnpackItemInfo(block);
        record.extentA = info.extentFirst;
        record.extentB = info.extentLast;
        Api().DBdetach(item);
        database.Close();
        return record.extentA != extentA || record.extentB != extentB ? Growth::grown : Growth::none;
    });
}

bool UpdateDatasetInformation(std::vector<DatasetRecord>& datasets, std::size_t index) {
    return ReadGrowth(datasets, index) == Growth::grown;
}

bool ReadPresentation(const Database& database, DatasetRecord& record) {
    std::vector<std::byte> stored;
    std::array<std::byte, DK_INFO_BYTES> block{};
    std::int32_t item = 0;
    const std::string path = PresentationPath(record.dataset);
    if (Api().DBattachA(database.Handle(), path.c_str(), &item, 0, block.data()) != DK_OK) {
        ReportError(presentationAttachFailed);
        return false;
    }
    const std::int32_t status =
        ReadRecord(Api().DBread, item, ItemShape::Of(block.data()), presentationBytes, stored);
    Api().DBdetach(item);
    if (status != DK_OK) {
        ReportError(presentationReadFailed);
        return false;
    }
    return Attempt(unpackingPresentation, [&] {
        record.presentation = UnpackPresentation(std::span(stored).first<presentationBytes>());
        record.pendingFlag = record.presentation.recordingFlag;
    });
}

bool GetPresentationInformation(std::vector<DatasetRecord>& datasets, std::size_t index,
                                Presentation& presentation) {
    return Attempt(gettingPresentation, false, [&] {
        DatasetRecord& record =
            CheckedAt(datasets, static_cast<std::int64_t>(index), "GetPresentationInformation");
        const Database database(record.database);
        if (!database.IsOpen())
            return false;
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
