// One open database file: its datasets and items, its transactions, its samples. Format.h has the format.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/store/ItemInfo.h"
#include "dravik/store/Seals.h"
#include "dravik/store/Sqlite.h"
#include "interfaces/DKBase.h"

namespace dravik::store {

/// "LEVEL1/ZG/1" is item "/ZG/1" of dataset "LEVEL1"; a dataset itself has an empty item.
struct ItemPath {
    std::string dataset;
    std::string item;
    /// Throws DK_NOT_UNDERSTOOD for empty segments or control characters, DK_MAXIMUM for a text that is too
    /// long.
    static ItemPath Parse(const char* path);
};

/// What an attached handle stands for. Numbers are never used twice in a file, so a handle of a deleted item
/// stays void.
struct ItemKey {
    std::int64_t dataset = 0;
    std::int64_t number = 0;  ///< of the item; 0 for the dataset itself
    bool IsDataset() const { return number == 0; }
};

struct NamedInfo {
    std::string name;
    ItemInfo info;
};

/// `last` below `first`: not a chunk, but the item or dataset itself.
struct Damage {
    std::string path;
    std::int32_t first = 0;
    std::int32_t last = -1;
};

/// All functions throw StoreError with a status of DKBase.h; then the file and every output are as they were.
class Database {
  public:
    /// `mode`: DK_OPEN_...
    Database(const std::string& path, std::int16_t mode);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    ItemInfo Information(const ItemKey& key);
    /// Both of one state of the file.
    ItemKey Attach(const ItemPath& path, ItemInfo& info);
    void Create(const ItemPath& path, const ItemInfo& info, const std::string& unitText);
    void Delete(const ItemPath& path);
    void Mark(const ItemKey& key, std::int32_t validFirst, std::int32_t validLast, const char* madeText);

    /// Items of a dataset, or the datasets when `dataset` is empty, in order of creation. What is damaged is
    /// among them, with kind DK_ITEM_DAMAGED.
    std::vector<NamedInfo> List(const std::string& dataset);

    /// `present` null: every sample must be there. Otherwise what is not there is 0 in both.
    void Read(const ItemKey& key, std::int32_t first, std::int32_t count, unsigned char* buffer,
              std::uint8_t* present);
    /// `present` null: all are written.
    void Write(const ItemKey& key, std::int32_t first, std::int32_t count, const unsigned char* buffer,
               const std::uint8_t* present);

    void Begin();
    void Commit();
    void Rollback();

    /// All that is damaged; `fault` gets a sentence when something beyond it is wrong.
    std::vector<Damage> Verify(std::string& fault);

  private:
    class ReadScope;
    class WriteScope;
    class SampleOutput;
    class SampleInput;
    class Verification;
    struct Chunk;
    struct Statements;
    struct Catalogue {
        std::int64_t next = 1;  ///< the next free number
        Entries datasets;
        bool isDamaged = false;  ///< the datasets' own rows stand in
    };
    struct DatasetRow {
        std::int64_t number = 0;
        std::string name;
        std::int64_t stamp = 0;
        Entries items;
    };
    struct ItemRow {
        std::int64_t number = 0;
        std::int64_t dataset = 0;
        std::string name;
        std::string unit;
        ItemInfo info;
        ChunkSums chunks;
        std::uint32_t Sum(std::span<const unsigned char> block, std::span<const unsigned char> lines) const;
    };

    // Opening and transactions (Database.cpp)
    void OpenEmptyFile();
    void LearnFormat();
    void BeginWriting();
    void RefuseLostPages();

    // Datasets and items (Catalogue.cpp)
    Catalogue LoadCatalogue();
    bool DecodeCatalogue(Catalogue& catalogue);
    void StoreCatalogue(Catalogue& catalogue);
    std::int64_t HighestNumber();
    std::vector<Entry> UnlistedDatasets(const Catalogue& catalogue);
    DatasetRow LoadDataset(std::int64_t number);
    DatasetRow LoadListedDataset(const Catalogue& catalogue, const Entry& entry);
    /// `isSound` false: with a checksum that fails, for what was damaged before.
    void StoreDataset(const DatasetRow& row, bool isSound = true);
    DatasetRow FindDataset(const std::string& name);
    void RefuseHiddenItem(const DatasetRow& dataset);
    ItemRow LoadItem(const ItemKey& key);
    ItemRow LoadItem(const DatasetRow& dataset, std::int64_t number);
    void StoreItem(DatasetRow& dataset, const ItemRow& row);
    void DeleteItem(std::int64_t number);
    void DeleteDataset(Catalogue& catalogue, const Entry& entry);
    ItemInfo DatasetInfo(const DatasetRow& dataset);
    NamedInfo ListedItem(const DatasetRow& dataset, const Entry& entry);

    // Files of version 1 (Format1.cpp)
    Entries DatasetsOfFormat1();
    Entries ItemsOfFormat1(std::int64_t dataset);
    DatasetRow LoadDatasetOfFormat1(std::int64_t number);
    ItemRow LoadItemOfFormat1(std::int64_t number);
    std::string UnitTextOfFormat1(std::int32_t code);
    ChunkSums ChunksOfFormat1(std::int64_t item, const ItemInfo& info);
    void Raise();
    void RaiseDataset(Entry& entry);
    void RaiseItem(DatasetRow& dataset, const Entry& entry);
    void CarryDamagedItem(std::int64_t number);

    // Samples (Samples.cpp)
    void ReadChunks(const ItemRow& row, std::int64_t begin, std::int64_t end, std::size_t offset,
                    SampleOutput& output);
    void CheckChunk(const ItemRow& row, const ChunkSums::Line& line);
    bool LoadChunk(const ItemRow& row, std::int64_t number, Chunk& chunk);
    void StoreChunk(ItemRow& row, std::int64_t number, std::span<const unsigned char> present,
                    std::span<const unsigned char> samples);
    void WriteChunks(ItemRow& row, const SampleInput& input);

    Connection connection_;
    bool readOnly_ = false;
    int format_ = 0;  ///< of the file; 0: to be found out
    bool explicitTransaction_ = false;
    bool reading_ = false;                              ///< a ReadScope of its own lives
    std::chrono::steady_clock::time_point lastCommit_;  ///< of a DBbegin
    std::unique_ptr<Statements> sql_;
};

}  // namespace dravik::store
