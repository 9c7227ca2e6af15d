// The one client of the database library: guards for its handles, its status codes as errors, its information
// blocks unpacked. It calls the library through LoadedLibraries(); the programs load it, the tool links it.
// Functions throw DatabaseError for a failing call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "general/RunTimeError.h"
#include "interfaces/DKBase.h"

namespace vorela {

/// The message of a status code; a code that the table does not hold (bits combined included) is "Error" &
/// code.
std::string StatusText(std::int32_t status);

/// A call of the library failed. As a run-time error it is 57 (7 for memory) with item, database, status text
/// and the library's detail.
struct DatabaseError : RunTimeError {
    /// Asks the library for the detail: make it right after the failing call.
    DatabaseError(std::int32_t failed, std::string databasePath, std::string itemPath,
                  std::string whatFailed);
    std::int32_t status = DK_OK;
    std::string database;
    std::string item;    ///< "LEVEL1/ZG/1", or "" where the database as a whole is concerned
    std::string action;  ///< "cannot be read", or "" where the status says it
    std::string detail;  ///< what the library had to add, or ""
};

/// The run-time error of a failing library call: `what` (an item, a file), the status and the library's
/// detail.
[[noreturn]] void ThrowDravikStatus(std::int32_t status, const std::string& what);

/// What one sample of an item is. A file may hold an item of any kind and size under any name: this is asked
/// before a sample's bytes are taken.
struct ItemShape {
    std::int16_t kind = DK_ITEM_DATASET;
    std::int32_t sampleBytes = 0;

    bool IsCurve() const { return kind == DK_ITEM_CURVE && sampleBytes == sizeof(float); }
    /// A record whose samples have at least `bytes` bytes.
    bool IsRecordOf(std::size_t bytes) const {
        constexpr std::int32_t longest = 4096;
        return kind == DK_ITEM_RECORD && sampleBytes <= longest && sampleBytes > 0 &&
               static_cast<std::size_t>(sampleBytes) >= bytes;
    }
};

/// The item information block, unpacked. Indices in hundredths of a second or of a foot.
struct ItemInfo {
    std::int16_t indexKind = 0;
    std::int16_t step = 1;
    ItemShape shape;
    std::int32_t unitCode = 0;
    float scale = 1.0F;
    float offset = 0.0F;
    std::int32_t firstIndex = 0;  ///< where the grid begins
    /// Span of full response of a derived curve; empty when validLast < validFirst.
    std::int32_t validFirst = 0;
    std::int32_t validLast = -1;
    std::int32_t extentFirst = 0;  ///< first and last index written; empty when extentLast < extentFirst
    std::int32_t extentLast = -1;
    std::string made;  ///< how a derived curve was made; "" for a recorded curve
    bool IsEmpty() const { return extentLast < extentFirst; }
    bool IsCurve() const { return shape.IsCurve(); }
    /// Grid places from the first to the last sample written.
    std::int64_t RowCount() const {
        return IsEmpty() ? 0 : (std::int64_t{extentLast} - extentFirst) / step + 1;
    }
};
ItemInfo UnpackItemInfo(std::span<const std::byte> block);
std::string GetUnitText(std::int32_t unitCode);

/// "LEVEL1" and "ZG" to "LEVEL1/ZG/1".
std::string ItemPath(const std::string& dataset, const std::string& curve);

/// A dataset ("LEVEL1") or an item of one ("/ZG/1") as the library lists it.
struct ListedItem {
    std::string name;
    ItemInfo info;
};

enum class OpenMode { readOnly = DK_OPEN_READ_ONLY, existing = DK_OPEN_EXISTING, create = DK_OPEN_CREATE };

/// An open database; closed with the object.
class Database {
  public:
    Database(std::string path, OpenMode mode);
    ~Database();
    Database(Database&& other) noexcept;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    Database& operator=(Database&&) = delete;

    bool IsOpen() const { return handle_ != 0; }
    std::int32_t Handle() const { return handle_; }
    const std::string& Path() const { return path_; }

    /// Throws unless `status` is DK_OK.
    void Check(std::int32_t status, const std::string& item, const std::string& action = "") const;

    /// The items of a dataset, or the datasets when `dataset` is empty, in order of creation. What is damaged
    /// is among them.
    std::vector<ListedItem> List(const std::string& dataset) const;
    void Create(const std::string& itemPath, const DBNewItem& attributes) const;
    void Delete(const std::string& itemPath) const;

  protected:
    /// Takes a handle over; 0 is a database that is not open.
    Database(std::string path, std::int32_t handle);
    /// Gives the handle away: nothing is closed any more.
    std::int32_t Release();

  private:
    std::string path_;
    std::int32_t handle_ = 0;
};

/// One transaction of a database: rolled back unless committed.
class Transaction {
  public:
    explicit Transaction(const Database& database);  ///< throws when the writer's lock cannot be had
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

  private:
    const Database& database_;
    bool open_ = true;
};

/// An attached item. Detaches in the destructor.
class Item {
  public:
    /// Throws naming the path and the status.
    Item(const Database& database, const std::string& path);
    Item(Item&& other) noexcept;
    Item& operator=(Item&&) = delete;
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    ~Item();
    /// Nothing when there is no such item; throws on every other failure.
    static std::optional<Item> Find(const Database& database, const std::string& path);
    /// Nothing when the item cannot be attached, for whatever reason.
    static std::optional<Item> FindQuietly(const Database& database, const std::string& path);

    std::int32_t Handle() const { return handle_; }
    const ItemInfo& Info() const { return info_; }
    const std::string& Path() const { return path_; }
    /// "LEVEL1/ZG/1 in /data/well.vdb": how a message names the item.
    std::string Name() const { return path_ + " in " + database_; }

    /// `count` samples of a curve from index `first` (on the grid) on; present[i] is 0 where there is none.
    void ReadPresent(std::int32_t first, std::int64_t count, float* values, std::uint8_t* present) const;
    void WritePresent(std::int32_t first, std::int64_t count, const float* values,
                      const std::uint8_t* present);
    /// Samples of the item's own size.
    void Write(std::int32_t first, std::int64_t count, const void* samples);
    /// States the valid span; `made` null: how it was made stays as it is.
    void Mark(std::int32_t validFirst, std::int32_t validLast, const char* made);

    /// One sample of a curve. DK_NOT_AVAILABLE for an item that is none, otherwise the status of DBread.
    std::int32_t ReadCurveSample(std::int32_t index, float& sample) const;
    /// Sample 0 of a record that has at least `wanted` bytes, whole. DK_NOT_AVAILABLE for an item that is no
    /// such record, otherwise the status of DBread; then `sample` is of the record's length or as it was.
    std::int32_t ReadRecord(std::size_t wanted, std::vector<std::byte>& sample) const;
    /// The same, throwing.
    std::vector<std::byte> ReadWholeRecord(std::size_t wanted) const;

  private:
    Item(std::int32_t handle, std::string path, std::string database, ItemInfo info);
    void Check(std::int32_t status, const std::string& action) const;

    std::int32_t handle_ = 0;
    std::string path_;
    std::string database_;
    ItemInfo info_;
};

}  // namespace vorela
