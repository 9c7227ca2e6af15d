#include "dravik/exchange/Datasets.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/DravikLibraries.h"

namespace dravik {
namespace {

constexpr std::size_t longestDatasetName = 66;
constexpr const char* presentationItem = "_defaults_";
constexpr std::int16_t tracks = 2;

std::string StatusMessage(std::int32_t status) {
    switch (status) {
        case DK_NOT_AVAILABLE:
            return "there is no such item or sample";
        case DK_EXISTS:
            return "it exists already";
        case DK_NOT_UNDERSTOOD:
            return "the request was not understood";
        case DK_NOT_DATABASE:
            return "not a database file of this version";
        case DK_MAXIMUM:
            return "an internal maximum was reached";
        case DK_NOT_WRITTEN:
            return "the sample has not been written yet";
        case DK_NO_MEMORY:
            return "out of memory";
        case DK_DISK_ERROR:
            return "disk error";
        default:
            return "error " + std::to_string(status);
    }
}

/// "/ZG/1" as "ZG"; other items keep their number.
std::string ShownName(std::string_view itemName) {
    if (itemName.starts_with('/'))
        itemName.remove_prefix(1);
    if (itemName.ends_with("/1"))
        itemName.remove_suffix(2);
    return std::string(itemName);
}

std::vector<NamedItem> Named(std::vector<vorela::ListedItem> listed) {
    std::vector<NamedItem> items;
    items.reserve(listed.size());
    for (vorela::ListedItem& item : listed)
        items.push_back({ShownName(item.name), std::move(item.info)});
    return items;
}

std::int32_t WholeUnits(double index) {
    return static_cast<std::int32_t>(std::clamp(index, -2147483648.0, 2147483647.0));
}

}  // namespace

std::string FailureText(const vorela::DatabaseError& error) {
    std::string detail = error.detail;
    // The library names the file too, a relative one from the current folder.
    for (const std::string& prefix : {error.database + ": ", "./" + error.database + ": "}) {
        if (detail.starts_with(prefix))
            detail.erase(0, prefix.size());
    }
    const std::string what =
        error.item + (error.item.empty() || error.action.empty() ? "" : " ") + error.action;
    return error.database + ": " + what + ": " + StatusMessage(error.status) +
           (detail.empty() ? "" : " (" + detail + ")");
}

Database OpenDatabase(const std::string& path, OpenMode mode) {
    std::error_code ignored;
    const bool wasThere = std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
    try {
        return Database(path, mode);
    } catch (const vorela::DatabaseError&) {
        if (wasThere || mode == OpenMode::create)
            throw;
        throw DatasetError(path + ": there is no such file");
    }
}

std::vector<NamedItem> DatasetsOf(const Database& database) {
    return Named(database.List(""));
}

bool HasDataset(const Database& database, const std::string& dataset) {
    const std::vector<NamedItem> datasets = DatasetsOf(database);
    return std::any_of(datasets.begin(), datasets.end(),
                       [&](const NamedItem& item) { return item.name == dataset; });
}

std::vector<NamedItem> ItemsOf(const Database& database, const std::string& dataset) {
    if (dataset.empty() || !HasDataset(database, dataset))
        throw DatasetError(database.Path() + ": there is no dataset \"" + dataset + "\"");
    return Named(database.List(dataset));
}

std::vector<NamedItem> CurvesOf(const Database& database, const std::string& dataset) {
    std::vector<NamedItem> items = ItemsOf(database, dataset);
    // What is damaged stays: nobody shall take a dataset for complete that is not.
    std::erase_if(items, [](const NamedItem& item) {
        const vorela::ItemShape& shape = item.information.shape;
        return item.name == presentationItem || !(shape.IsCurve() || shape.kind == DK_ITEM_DAMAGED);
    });
    return items;
}

RecordingClaim::RecordingClaim(const Database& database, const std::string& dataset) {
    std::int32_t holder = 0;
    const std::int32_t status = vorela::LoadedLibraries().database.DBclaimA(
        database.Path().c_str(), ("dataset " + dataset).c_str(), &claim_, &holder);
    if (status == DK_EXISTS)
        throw DatasetError(database.Path() + ": dataset \"" + dataset + "\" is being recorded by " +
                           (holder == 0 ? "another process" : "process " + std::to_string(holder)));
    database.Check(status, "dataset \"" + dataset + "\"", "cannot be claimed");
}

RecordingClaim::~RecordingClaim() {
    vorela::LoadedLibraries().database.DBunclaim(claim_);
}

std::string CurvePath(const std::string& dataset, const std::string& curve) {
    return dataset + "/" + curve + (curve.find('/') == std::string::npos ? "/1" : "");
}

Presentation PresentationOf(const CurveGrid& grid, std::int32_t recordingStart, std::string toolString) {
    Presentation presentation;
    presentation.indexKind = grid.indexKind;
    presentation.trackCount = tracks;
    presentation.recordingStart = recordingStart;
    presentation.rangeStart = WholeUnits(std::floor(grid.firstIndex / indexPerUnit));
    presentation.rangeEnd = WholeUnits(std::ceil(grid.IndexOf(grid.rowCount - 1) / indexPerUnit));
    presentation.toolString = std::move(toolString);
    return presentation;
}

Presentation ReadPresentation(const Database& database, const std::string& dataset) {
    const std::vector<std::byte> stored =
        Item(database, CurvePath(dataset, presentationItem)).ReadWholeRecord(vorela::presentationBytes);
    return vorela::UnpackPresentation(std::span(stored).first<vorela::presentationBytes>());
}

void WritePresentation(Database& database, const std::string& dataset, const Presentation& presentation) {
    const auto stored = vorela::PackPresentation(presentation);
    Item(database, CurvePath(dataset, presentationItem)).Write(0, 1, stored.data());
}

bool IsRecording(const Database& database, const std::string& dataset) {
    const std::optional<Item> item = Item::FindQuietly(database, CurvePath(dataset, presentationItem));
    std::vector<std::byte> stored;
    return item && item->ReadRecord(vorela::presentationBytes, stored) == DK_OK &&
           vorela::UnpackPresentation(std::span(stored).first<vorela::presentationBytes>()).recordingFlag !=
               0;
}

void SetRecording(Database& database, const std::string& dataset, bool recording) {
    Item item(database, CurvePath(dataset, presentationItem));
    std::vector<std::byte> bytes = item.ReadWholeRecord(vorela::presentationBytes);
    const std::int16_t flag = recording ? 1 : 0;
    std::memcpy(bytes.data(), &flag, sizeof flag);
    item.Write(0, 1, bytes.data());
}

void CheckDatasetName(const std::string& dataset) {
    const std::string shown = "dataset name \"" + dataset.substr(0, 80) + "\"";
    if (dataset.empty())
        throw DatasetError("the dataset's name is empty");
    if (dataset.size() > longestDatasetName)
        throw DatasetError(shown + " is longer than " + std::to_string(longestDatasetName) + " characters");
    if (std::any_of(dataset.begin(), dataset.end(),
                    [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20; }))
        throw DatasetError(shown + " holds a slash or a control character");
}

void CreateCurves(Database& database, const std::string& dataset, const CurveGrid& grid,
                  const std::vector<CurveDescription>& curves) {
    for (const CurveDescription& curve : curves) {
        DBNewItem attributes{};
        attributes.kind = DK_ITEM_CURVE;
        attributes.indexKind = grid.indexKind;
        attributes.step = grid.step;
        attributes.firstIndex = grid.firstIndex;
        attributes.scale = curve.scale;
        attributes.offset = curve.offset;
        attributes.unitText = curve.unit.c_str();
        database.Create(CurvePath(dataset, curve.name), attributes);
    }
}

void CreateDataset(Database& database, const std::string& dataset, const CurveSource& source,
                   const Presentation& presentation, bool replace) {
    CheckDatasetName(dataset);
    if (HasDataset(database, dataset)) {
        if (!replace)
            throw DatasetError(database.Path() + ": dataset \"" + dataset +
                               "\" exists already; --replace replaces it");
        if (IsRecording(database, dataset))
            throw DatasetError(database.Path() + ": dataset \"" + dataset + "\" is being recorded");
        database.Delete(dataset);
    }
    std::vector<CurveDescription> curves = source.Curves();
    std::stable_partition(curves.begin(), curves.end(),
                          [](const CurveDescription& curve) { return curve.name != depthCurveName; });
    CreateCurves(database, dataset, source.Grid(), curves);
    DBNewItem record{};
    record.kind = DK_ITEM_RECORD;
    record.indexKind = source.Grid().indexKind;
    record.step = 1;
    record.sampleBytes = 32;
    database.Create(CurvePath(dataset, presentationItem), record);
    WritePresentation(database, dataset, presentation);
}

DatasetWriter::DatasetWriter(Database& database, const std::string& dataset, CurveSource& source)
    : source_(source), values_(blockRows), present_(blockRows) {
    items_.reserve(source.Curves().size());
    for (const CurveDescription& curve : source.Curves())
        items_.emplace_back(database, CurvePath(dataset, curve.name));
}

void DatasetWriter::WriteRows(std::int64_t first, std::int64_t end) {
    for (std::int64_t row = source_.NextRow(first); row < end; row = source_.NextRow(row)) {
        const std::int64_t count = std::min({blockRows, source_.BlockRows(), end - row});
        for (std::size_t curve = 0; curve < items_.size(); ++curve) {
            source_.Read(curve, row, count, values_.data(), present_.data());
            // A block without a single value would only cost a call.
            if (std::find(present_.begin(), present_.begin() + count, 1) != present_.begin() + count)
                items_[curve].WritePresent(source_.Grid().IndexOf(row), count, values_.data(),
                                           present_.data());
        }
        row += count;
    }
}

}  // namespace dravik
