#include "dravik/chooser/DatasetListing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>

#include "general/SettingsFile.h"
#include "platform/DatabaseClient.h"
#include "platform/Presentation.h"

namespace dravik {
namespace {

constexpr std::size_t recentCount = 8;
constexpr double indexUnitsPerSecond = 100.0;  // and per foot
constexpr const char* recentSection = "RecentFiles";

/// What cannot be read of a dataset stays unsaid: it is listed all the same.
void ReadPresentation(const vorela::Database& database, DatasetListing& listing) {
    const std::optional<vorela::Item> item =
        vorela::Item::FindQuietly(database, vorela::ItemPath(listing.name, "_defaults_"));
    std::vector<std::byte> stored;
    if (!item || item->ReadRecord(vorela::presentationBytes, stored) != DK_OK)
        return;
    const vorela::Presentation presentation =
        vorela::UnpackPresentation(std::span(stored).first<vorela::presentationBytes>());
    listing.recording = presentation.recordingFlag != 0;
    if (presentation.recordingStart != 0)
        listing.started = presentation.recordingStart;
}

/// The first sample of the depth curve; none where it is no number.
void ReadDepth(const vorela::Database& database, DatasetListing& listing) {
    const std::optional<vorela::Item> item =
        vorela::Item::FindQuietly(database, vorela::ItemPath(listing.name, "ADPTH"));
    float sample = 0.0F;
    if (!item || item->ReadCurveSample(item->Info().extentFirst, sample) != DK_OK)
        return;
    const double depth = static_cast<double>(sample) * item->Info().scale + item->Info().offset;
    if (std::isfinite(depth))
        listing.depth = depth;
}

DatasetListing ListingOf(const vorela::ListedItem& dataset) {
    DatasetListing listing;
    listing.name = dataset.name;
    listing.damaged = dataset.info.shape.kind == DK_ITEM_DAMAGED;
    listing.indexKind = dataset.info.indexKind;
    if (!dataset.info.IsEmpty())
        listing.length =
            (static_cast<double>(dataset.info.extentLast) - dataset.info.extentFirst) / indexUnitsPerSecond;
    return listing;
}

std::string ProblemText(const vorela::DatabaseError& error) {
    std::string text = error.status == DK_NOT_DATABASE ? "This file is not a Dravik database"
                                                       : "The database cannot be read";
    text += ": " + error.database;
    return error.detail.empty() ? text : text + " (" + error.detail + ")";
}

std::string RecentFile() {
    const char* set = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    const std::filesystem::path folder = set != nullptr && *set != '\0'
                                             ? std::filesystem::path(set)
                                             : std::filesystem::path(home ? home : ".") / ".config";
    return (folder / "Dravik" / "chooser.ini").string();
}

std::vector<std::string> StoredDatabases() {
    std::vector<std::string> paths;
    for (std::size_t i = 1; i <= recentCount; ++i) {
        std::string path = vorela::ReadIniString(recentSection, "File" + std::to_string(i), "", RecentFile());
        if (!path.empty())
            paths.push_back(std::move(path));
    }
    return paths;
}

}  // namespace

std::optional<std::vector<DatasetListing>> ListDatasets(const std::string& path, std::string& problem) {
    try {
        const vorela::Database database(path, vorela::OpenMode::readOnly);
        std::vector<DatasetListing> listings;
        for (const vorela::ListedItem& dataset : database.List("")) {
            listings.push_back(ListingOf(dataset));
            ReadPresentation(database, listings.back());
            ReadDepth(database, listings.back());
        }
        return listings;
    } catch (const vorela::DatabaseError& error) {
        problem = ProblemText(error);
        return std::nullopt;
    }
}

std::vector<std::string> RecentDatabases() {
    std::vector<std::string> paths;
    if (const char* given = std::getenv("DRAVIK_DATABASE"); given != nullptr && *given != '\0')
        paths.emplace_back(given);
    for (std::string& path : StoredDatabases()) {
        std::error_code ignored;
        if (std::find(paths.begin(), paths.end(), path) == paths.end() &&
            std::filesystem::exists(path, ignored))
            paths.push_back(std::move(path));
    }
    return paths;
}

void RememberDatabase(const std::string& path) {
    if (path.size() > vorela::longestIniValue)
        return;  // would come back cut, as the name of another file
    std::vector<std::string> paths = StoredDatabases();
    paths.erase(std::remove(paths.begin(), paths.end(), path), paths.end());
    paths.insert(paths.begin(), path);
    paths.resize(std::min(paths.size(), recentCount));
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(RecentFile()).parent_path(), ignored);
    for (std::size_t i = 0; i < paths.size(); ++i)
        vorela::WriteIniString(recentSection, "File" + std::to_string(i + 1), paths[i], RecentFile());
}

}  // namespace dravik
