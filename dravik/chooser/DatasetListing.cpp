#include "dravik/chooser/DatasetListing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>

#include "general/SettingsFile.h"
#include "interfaces/ItemSamples.h"

namespace dravik {
namespace {

constexpr std::size_t recentCount = 8;
constexpr double indexUnitsPerSecond = 100.0;  // and per foot
constexpr std::size_t presentationBytes = 32;
constexpr std::size_t recordingFlagByte = 0;
constexpr std::size_t recordingStartByte = 6;
constexpr const char* recentSection = "RecentFiles";

using Block = std::array<std::byte, DK_INFO_BYTES>;

template <typename Value>
Value FieldAt(std::span<const std::byte> block, std::size_t offset) {
    Value value;
    std::memcpy(&value, block.data() + offset, sizeof value);
    return value;
}

class OpenDatabase {
  public:
    OpenDatabase(const vorela::DkBaseApi& api, const std::string& path) : api_(api) {
        status_ = api_.DBopenA(path.c_str(), DK_OPEN_READ_ONLY, &handle_);
    }
    ~OpenDatabase() {
        if (status_ == DK_OK)
            api_.DBclose(handle_);
    }
    OpenDatabase(const OpenDatabase&) = delete;
    OpenDatabase& operator=(const OpenDatabase&) = delete;
    std::int32_t Status() const { return status_; }
    std::int32_t Handle() const { return handle_; }

  private:
    const vorela::DkBaseApi& api_;
    std::int32_t handle_ = 0;
    std::int32_t status_ = DK_OK;
};

void ReadPresentation(const vorela::DkBaseApi& api, std::int32_t database, DatasetListing& listing) {
    Block information{};
    std::vector<std::byte> record;
    std::int32_t item = 0;
    const std::string path = listing.name + "/_defaults_/1";
    if (api.DBattachA(database, path.c_str(), &item, 0, information.data()) != DK_OK)
        return;
    const vorela::ItemShape shape = vorela::ItemShape::Of(information.data());
    if (vorela::ReadRecord(api.DBread, item, shape, presentationBytes, record) == DK_OK) {
        listing.recording = FieldAt<std::int16_t>(record, recordingFlagByte) != 0;
        const auto started = FieldAt<std::int32_t>(record, recordingStartByte);
        if (started != 0)
            listing.started = started;
    }
    api.DBdetach(item);
}

/// The first sample of the depth curve; none where it is no number.
void ReadDepth(const vorela::DkBaseApi& api, std::int32_t database, DatasetListing& listing) {
    Block information{};
    std::int32_t item = 0;
    if (api.DBattachA(database, (listing.name + "/ADPTH/1").c_str(), &item, 0, information.data()) != DK_OK)
        return;
    float sample = 0.0F;
    const auto first = FieldAt<std::int32_t>(information, DK_INFO_EXTENT_FIRST);
    if (vorela::ReadCurveSample(api.DBread, item, vorela::ItemShape::Of(information.data()), first, sample) ==
        DK_OK) {
        const double depth = static_cast<double>(sample) * FieldAt<float>(information, DK_INFO_SCALE) +
                             FieldAt<float>(information, DK_INFO_OFFSET);
        if (std::isfinite(depth))
            listing.depth = depth;
    }
    api.DBdetach(item);
}

std::string ProblemText(const vorela::DkBaseApi& api, const std::string& path, std::int32_t status) {
    std::string text =
        status == DK_NOT_DATABASE ? "This file is not a Dravik database" : "The database cannot be read";
    text += ": " + path;
    const std::string detail = api.DBlastdetail();
    return detail.empty() ? text : text + " (" + detail + ")";
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

std::optional<std::vector<DatasetListing>> ListDatasets(const vorela::DkBaseApi& api, const std::string& path,
                                                        std::string& problem) {
    const OpenDatabase database(api, path);
    std::int32_t status = database.Status();
    std::vector<DatasetListing> listings;
    if (status == DK_OK) {
        const auto visit = [](void* context, const char* name, const void* information) -> std::int32_t {
            Block block;
            std::memcpy(block.data(), information, block.size());
            DatasetListing listing;
            listing.name = name;
            listing.damaged = FieldAt<std::int16_t>(block, DK_INFO_KIND) == DK_ITEM_DAMAGED;
            listing.indexKind = FieldAt<std::int16_t>(block, DK_INFO_INDEX_KIND);
            const auto first = FieldAt<std::int32_t>(block, DK_INFO_EXTENT_FIRST);
            const auto last = FieldAt<std::int32_t>(block, DK_INFO_EXTENT_LAST);
            if (last >= first)
                listing.length = (static_cast<double>(last) - first) / indexUnitsPerSecond;
            static_cast<std::vector<DatasetListing>*>(context)->push_back(std::move(listing));
            return 0;
        };
        status = api.DBenumA(database.Handle(), nullptr, visit, &listings);
    }
    if (status != DK_OK) {
        problem = ProblemText(api, path, status);
        return std::nullopt;
    }
    for (DatasetListing& listing : listings) {
        ReadPresentation(api, database.Handle(), listing);
        ReadDepth(api, database.Handle(), listing);
    }
    return listings;
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
