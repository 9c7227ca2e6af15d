#include "platform/DatabaseClient.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "platform/DravikLibraries.h"

namespace vorela {
namespace {

using InfoBlock = std::array<std::byte, DK_INFO_BYTES>;

const DkBaseApi& Api() {
    return LoadedLibraries().database;
}

std::string LastDetail() {
    const char* said = Api().DBlastdetail == nullptr ? nullptr : Api().DBlastdetail();
    return said == nullptr ? "" : said;
}

int NumberOf(std::int32_t status) {
    return status == DK_NO_MEMORY ? error_number::outOfMemory : error_number::deviceIo;
}

std::string Description(std::int32_t status, const std::string& what, const std::string& detail) {
    return what + ": " + StatusText(status) + (detail.empty() ? "" : " (" + detail + ")");
}

template <typename Field>
Field FieldAt(std::span<const std::byte> block, std::size_t at) {
    Field field{};
    if (at + sizeof(Field) > block.size())
        throw RunTimeError{error_number::subscriptOutOfRange, "UnpackItemInfo", "Subscript out of range"};
    std::memcpy(&field, block.data() + at, sizeof(Field));
    return field;
}

/// Nothing thrown passes through the library: what cannot be kept ends the listing.
struct Listing {
    std::vector<ListedItem> items;
    bool outOfMemory = false;
};

std::int32_t CollectItem(void* context, const char* name, const void* information) noexcept {
    auto& listing = *static_cast<Listing*>(context);
    try {
        const auto* const block = static_cast<const std::byte*>(information);
        listing.items.push_back({name, UnpackItemInfo({block, DK_INFO_BYTES})});
        return 0;
    } catch (...) {
        listing.outOfMemory = true;
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

DatabaseError::DatabaseError(std::int32_t failed, std::string databasePath, std::string itemPath,
                             std::string whatFailed)
    : RunTimeError{NumberOf(failed), "DKBase", ""},
      status(failed),
      database(std::move(databasePath)),
      item(std::move(itemPath)),
      action(std::move(whatFailed)),
      detail(LastDetail()) {
    description = Description(status, item.empty() ? database : item + " in " + database, detail);
}

void ThrowDravikStatus(std::int32_t status, const std::string& what) {
    throw RunTimeError{NumberOf(status), "DKBase", Description(status, what, LastDetail())};
}

ItemInfo UnpackItemInfo(std::span<const std::byte> block) {
    ItemInfo info;
    info.indexKind = FieldAt<std::int16_t>(block, DK_INFO_INDEX_KIND);
    info.step = FieldAt<std::int16_t>(block, DK_INFO_STEP);
    info.shape.kind = FieldAt<std::int16_t>(block, DK_INFO_KIND);
    info.shape.sampleBytes = FieldAt<std::int32_t>(block, DK_INFO_SAMPLE_BYTES);
    info.unitCode = FieldAt<std::int32_t>(block, DK_INFO_UNIT);
    info.scale = FieldAt<float>(block, DK_INFO_SCALE);
    info.offset = FieldAt<float>(block, DK_INFO_OFFSET);
    info.firstIndex = FieldAt<std::int32_t>(block, DK_INFO_FIRST_INDEX);
    info.validFirst = FieldAt<std::int32_t>(block, DK_INFO_VALID_FIRST);
    info.validLast = FieldAt<std::int32_t>(block, DK_INFO_VALID_LAST);
    info.extentFirst = FieldAt<std::int32_t>(block, DK_INFO_EXTENT_FIRST);
    info.extentLast = FieldAt<std::int32_t>(block, DK_INFO_EXTENT_LAST);
    const auto made = FieldAt<std::array<char, DK_INFO_MADE_BYTES>>(block, DK_INFO_MADE);
    info.made.assign(made.begin(), std::find(made.begin(), made.end(), '\0'));
    return info;
}

std::string GetUnitText(std::int32_t unitCode) {
    const char* text = Api().GetUnitTextA(unitCode);
    return text == nullptr ? "" : text;
}

std::string ItemPath(const std::string& dataset, const std::string& curve) {
    return dataset + "/" + curve + "/1";
}

// --- Database and transaction ---

Database::Database(std::string path, OpenMode mode) : path_(std::move(path)) {
    Check(Api().DBopenA(path_.c_str(), static_cast<std::int16_t>(mode), &handle_), "", "cannot be opened");
}

Database::Database(std::string path, std::int32_t handle) : path_(std::move(path)), handle_(handle) {}

Database::Database(Database&& other) noexcept
    : path_(std::move(other.path_)), handle_(std::exchange(other.handle_, 0)) {}

Database::~Database() {
    if (handle_ != 0)
        Api().DBclose(handle_);
}

std::int32_t Database::Release() {
    return std::exchange(handle_, 0);
}

void Database::Check(std::int32_t status, const std::string& item, const std::string& action) const {
    if (status != DK_OK)
        throw DatabaseError(status, path_, item, action);
}

std::vector<ListedItem> Database::List(const std::string& dataset) const {
    Listing listing;
    const std::int32_t status =
        Api().DBenumA(handle_, dataset.empty() ? nullptr : dataset.c_str(), CollectItem, &listing);
    if (listing.outOfMemory)
        throw RunTimeError{error_number::outOfMemory, "DKBase", "Out of memory"};
    Check(status, dataset, "cannot be listed");
    return std::move(listing.items);
}

void Database::Create(const std::string& itemPath, const DBNewItem& attributes) const {
    Check(Api().DBnewA(handle_, itemPath.c_str(), &attributes), itemPath, "cannot be created");
}

void Database::Delete(const std::string& itemPath) const {
    Check(Api().DBdeleteA(handle_, itemPath.c_str()), itemPath, "cannot be deleted");
}

Transaction::Transaction(const Database& database) : database_(database) {
    database_.Check(Api().DBbegin(database_.Handle()), "", "cannot be written");
}

Transaction::~Transaction() {
    if (open_)
        Api().DBrollback(database_.Handle());
}

void Transaction::Commit() {
    open_ = false;  // a commit that fails has rolled back
    database_.Check(Api().DBcommit(database_.Handle()), "", "cannot be written");
}

// --- Item ---

Item::Item(std::int32_t handle, std::string path, std::string database, ItemInfo info)
    : handle_(handle), path_(std::move(path)), database_(std::move(database)), info_(std::move(info)) {}

Item::Item(const Database& database, const std::string& path) : path_(path), database_(database.Path()) {
    InfoBlock block{};
    Check(Api().DBattachA(database.Handle(), path.c_str(), &handle_, 0, block.data()), "");
    info_ = UnpackItemInfo(block);
}

Item::Item(Item&& other) noexcept
    : handle_(std::exchange(other.handle_, 0)),
      path_(std::move(other.path_)),
      database_(std::move(other.database_)),
      info_(std::move(other.info_)) {}

Item::~Item() {
    if (handle_ != 0)
        Api().DBdetach(handle_);
}

std::optional<Item> Item::Find(const Database& database, const std::string& path) {
    InfoBlock block{};
    std::int32_t handle = 0;
    const std::int32_t status = Api().DBattachA(database.Handle(), path.c_str(), &handle, 0, block.data());
    if (status == DK_NOT_AVAILABLE)
        return std::nullopt;
    database.Check(status, path);
    return Item(handle, path, database.Path(), UnpackItemInfo(block));
}

std::optional<Item> Item::FindQuietly(const Database& database, const std::string& path) {
    InfoBlock block{};
    std::int32_t handle = 0;
    if (Api().DBattachA(database.Handle(), path.c_str(), &handle, 0, block.data()) != DK_OK)
        return std::nullopt;
    return Item(handle, path, database.Path(), UnpackItemInfo(block));
}

void Item::Check(std::int32_t status, const std::string& action) const {
    if (status != DK_OK)
        throw DatabaseError(status, database_, path_, action);
}

void Item::ReadPresent(std::int32_t first, std::int64_t count, float* values, std::uint8_t* present) const {
    Check(Api().DBreadpresent(handle_, first, static_cast<std::int32_t>(count), values, present),
          "cannot be read");
}

void Item::WritePresent(std::int32_t first, std::int64_t count, const float* values,
                        const std::uint8_t* present) {
    Check(Api().DBwritepresent(handle_, first, static_cast<std::int32_t>(count), values, present),
          "cannot be written");
}

void Item::Write(std::int32_t first, std::int64_t count, const void* samples) {
    Check(Api().DBwrite(handle_, first, static_cast<std::int32_t>(count), samples), "cannot be written");
}

void Item::Mark(std::int32_t validFirst, std::int32_t validLast, const char* made) {
    Check(Api().DBmark(handle_, validFirst, validLast, made), "cannot be marked");
}

std::int32_t Item::ReadCurveSample(std::int32_t index, float& sample) const {
    return info_.IsCurve() ? Api().DBread(handle_, index, 1, &sample) : DK_NOT_AVAILABLE;
}

std::int32_t Item::ReadRecord(std::size_t wanted, std::vector<std::byte>& sample) const {
    if (!info_.shape.IsRecordOf(wanted))
        return DK_NOT_AVAILABLE;
    std::vector<std::byte> bytes(static_cast<std::size_t>(info_.shape.sampleBytes));
    const std::int32_t status = Api().DBread(handle_, 0, 1, bytes.data());
    if (status == DK_OK)
        sample = std::move(bytes);
    return status;
}

std::vector<std::byte> Item::ReadWholeRecord(std::size_t wanted) const {
    std::vector<std::byte> sample;
    Check(ReadRecord(wanted, sample), "cannot be read");
    return sample;
}

}  // namespace vorela
