// One open database file: its catalogue of datasets, items and units, its transactions, its samples.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/include/DKBase.h"
#include "dravik/store/ChunkScan.h"
#include "dravik/store/ItemInfo.h"
#include "dravik/store/Sqlite.h"

namespace vorela::store {

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
    std::int64_t number = 0;
    bool isDataset = false;
};

struct NamedInfo {
    std::string name;
    ItemInfo info;
};

struct Damage {
    std::string path;
    std::int32_t first = 0;
    std::int32_t last = -1;
};

/// Bytes without a first value: filling them with zeros would cost as much as reading them.
struct StagingBuffer {
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size = 0;
    void Reserve(std::size_t wanted) {
        if (wanted <= size)
            return;
        bytes = std::make_unique_for_overwrite<unsigned char[]>(wanted);
        size = wanted;
    }
};

/// All functions throw StoreError with a status of DKBase.h; then the file and every output are as they were.
class Database {
  public:
    /// `mode`: DK_OPEN_...
    Database(const std::string& path, std::int16_t mode);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    ItemKey Find(const ItemPath& path);
    ItemInfo Information(const ItemKey& key);
    /// Both of one state of the file.
    ItemKey Attach(const ItemPath& path, ItemInfo& info);
    void Create(const ItemPath& path, ItemInfo info, const std::string& unitText);
    void Delete(const ItemPath& path);
    void Mark(const ItemKey& key, std::int32_t validFirst, std::int32_t validLast, const char* madeText);

    /// Items of a dataset, or the datasets when `dataset` is empty, in order of creation.
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

    /// Every damaged chunk; `fault` gets a sentence when something beyond single chunks is wrong.
    std::vector<Damage> Verify(std::string& fault);

  private:
    class ReadScope;
    class WriteScope;
    class SampleOutput;
    struct Chunk;
    struct ItemRow {
        std::int64_t dataset = 0;
        std::string name;
        ItemInfo info;
    };

    void RefuseForeignHeader(std::int16_t mode);
    void CreateTables();
    bool HasOurMarks();
    void PrepareForWriting();

    std::int64_t FindDataset(const std::string& name);
    std::string DatasetName(std::int64_t number);
    std::int64_t InsertDataset(const std::string& name);
    ItemRow LoadItem(std::int64_t number);
    void StoreItem(std::int64_t number, const ItemRow& row);
    void DeleteItem(std::int64_t number);
    std::vector<std::int64_t> ItemNumbers(std::int64_t dataset);
    ItemInfo DatasetInfo(std::int64_t dataset);
    ItemInfo Published(ItemInfo info);
    const std::string& UnitText(std::int32_t fileCode);
    std::int32_t FileUnitCode(const std::string& text);

    std::uint32_t ChunkRootPage();
    void ReadChunks(std::int64_t item, const ItemInfo& info, std::int64_t begin, std::int64_t end,
                    std::size_t offset, SampleOutput& output);
    bool LoadChunk(std::int64_t item, std::int64_t number, const ItemInfo& info, Chunk& chunk);
    void StoreChunk(std::int64_t place, std::span<const unsigned char> present,
                    std::span<const unsigned char> samples, bool exists);
    void ExpectNoChunkLost(std::int64_t item, const ItemInfo& info);
    std::int64_t NextChunk(std::int64_t item, std::int64_t from);
    void VerifyItem(std::int64_t number, std::vector<Damage>& damages, std::string& fault);

    Connection connection_;
    ChunkScan scan_{connection_};
    bool plainPages_ = false;  ///< pages as ChunkScan knows them
    std::uint32_t chunkRootPage_ = 0;
    bool readOnly_ = false;
    bool writePrepared_ = false;
    bool explicitTransaction_ = false;
    bool reading_ = false;                              ///< a ReadScope of its own lives
    std::chrono::steady_clock::time_point lastCommit_;  ///< of a DBbegin
    std::map<std::int32_t, std::string> unitTexts_;     ///< of the file, by its codes, as far as asked for
    StagingBuffer staging_;

    struct Statements;
    std::unique_ptr<Statements> sql_;
};

}  // namespace vorela::store
