// Transactions and statements of the store's calls. Only Database's own files include this.
#pragma once

#include "dravik/store/Database.h"

namespace dravik::store {

inline constexpr int chunkNumberBits = 28;
constexpr std::int64_t PlaceOf(std::int64_t item, std::int64_t chunk) {
    return (item << chunkNumberBits) | chunk;
}
constexpr std::int64_t LastPlaceOf(std::int64_t item) {
    return PlaceOf(item + 1, 0) - 1;
}

/// One consistent view over the statements of a reading call; inside DBbegin that transaction's view, inside
/// another scope that one's.
class Database::ReadScope {
  public:
    explicit ReadScope(Database& database);
    ~ReadScope();
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;

  private:
    void End() noexcept;
    Database& database_;
    bool own_;
};

/// A writing call: all of it or nothing. Its own transaction, or a savepoint inside DBbegin. Rolls back
/// unless Commit() has returned.
class Database::WriteScope {
  public:
    explicit WriteScope(Database& database);
    ~WriteScope();
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;
    void Commit();

  private:
    Database& database_;
    bool open_ = true;
};

/// Statements are prepared when first needed: a follower that opens, reads one extent and closes pays for
/// few.
struct Database::Statements {
    Statement begin{"BEGIN"};
    Statement beginImmediate{"BEGIN IMMEDIATE"};
    Statement commit{"COMMIT"};
    Statement savepoint{"SAVEPOINT call"};
    Statement release{"RELEASE call"};
    Statement pageCount{"PRAGMA page_count"};
    Statement pageSize{"PRAGMA page_size"};

    Statement catalogue{"SELECT content, crc FROM catalogue WHERE one = 1"};
    Statement storeCatalogue{"INSERT OR REPLACE INTO catalogue(one, content, crc) VALUES(1, ?1, ?2)"};
    Statement highestNumber{
        "SELECT max(coalesce((SELECT max(number) FROM datasets2), 0),"
        " coalesce((SELECT max(number) FROM items2), 0), coalesce((SELECT max(place) >> 28 FROM chunks), "
        "0))"};

    Statement dataset{"SELECT name, stamp, items, crc FROM datasets2 WHERE number = ?1"};
    Statement datasetNames{"SELECT number, name FROM datasets2 ORDER BY number"};
    Statement storeDataset{
        "INSERT OR REPLACE INTO datasets2(number, name, stamp, items, crc) VALUES(?1, ?2, ?3, ?4, ?5)"};
    Statement deleteDataset{"DELETE FROM datasets2 WHERE number = ?1"};

    Statement item{"SELECT dataset, name, unit, block, chunks, crc FROM items2 WHERE number = ?1"};
    Statement itemNumbers{"SELECT number FROM items2 ORDER BY number"};
    Statement countItems{"SELECT count(*) FROM items2"};
    Statement itemsOfDataset{"SELECT number FROM items2 WHERE dataset = ?1 ORDER BY number"};
    Statement storeItem{
        "INSERT OR REPLACE INTO items2(number, dataset, name, unit, block, chunks, crc)"
        " VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)"};
    Statement deleteItem{"DELETE FROM items2 WHERE number = ?1"};

    Statement chunk{"SELECT present, samples FROM chunks WHERE place = ?1"};
    /// The length is null for what is not a blob; neither reads the samples.
    Statement chunkShape{
        "SELECT present, iif(typeof(samples) = 'blob', length(samples), NULL) FROM chunks WHERE place = ?1"};
    Statement countChunks{"SELECT count(*) FROM chunks"};
    /// An update of the same length overwrites in place: only pages that differ reach the journal and the
    /// disk.
    Statement storeChunk{
        "INSERT INTO chunks(place, crc, present, samples) VALUES(?1, ?2, ?3, ?4) ON CONFLICT(place) DO UPDATE"
        " SET crc = excluded.crc, present = excluded.present, samples = excluded.samples"};
    Statement deleteChunks{"DELETE FROM chunks WHERE place BETWEEN ?1 AND ?2"};

    // Of version 1
    Statement oldDatasets{"SELECT number, name FROM datasets"};
    Statement oldDataset{"SELECT name, crc FROM datasets WHERE number = ?1"};
    Statement oldItems{"SELECT number, name FROM items WHERE dataset = ?1"};
    Statement oldItem{"SELECT dataset, name, block, crc FROM items WHERE number = ?1"};
    Statement oldItemNumbers{"SELECT number FROM items NOT INDEXED ORDER BY number"};
    Statement oldUnit{"SELECT text, crc FROM units WHERE code = ?1"};
    Statement oldChunks{"SELECT place, crc FROM chunks WHERE place BETWEEN ?1 AND ?2 ORDER BY place"};
    Statement oldSequence{"SELECT coalesce(max(seq), 0) FROM sqlite_sequence"};
};

}  // namespace dravik::store
