// Transactions of the store's calls. Only Database's own files include this.
#pragma once

#include "dravik/store/Database.h"

namespace vorela::store {

/// One consistent view over the statements of a reading call; inside DBbegin that transaction's view, inside
/// another scope that one's.
class Database::ReadScope {
  public:
    explicit ReadScope(Database& database);
    ~ReadScope();
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;

  private:
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
/// two.
struct Database::Statements {
    Statement begin{"BEGIN"};
    Statement beginImmediate{"BEGIN IMMEDIATE"};
    Statement commit{"COMMIT"};
    Statement savepoint{"SAVEPOINT call"};
    Statement release{"RELEASE call"};

    Statement datasetByName{"SELECT number, name, crc FROM datasets WHERE name = ?1"};
    Statement datasetByNumber{"SELECT name, crc FROM datasets WHERE number = ?1"};
    Statement datasets{"SELECT number, name, crc FROM datasets ORDER BY number"};
    Statement insertDataset{"INSERT INTO datasets(name, crc) VALUES(?1, 0)"};
    Statement sealDataset{"UPDATE datasets SET crc = ?2 WHERE number = ?1"};
    Statement deleteDataset{"DELETE FROM datasets WHERE number = ?1"};

    Statement itemByName{"SELECT number FROM items WHERE dataset = ?1 AND name = ?2"};
    Statement itemByNumber{"SELECT dataset, name, block, crc FROM items WHERE number = ?1"};
    Statement itemsOfDataset{"SELECT number FROM items WHERE dataset = ?1 ORDER BY number"};
    Statement items{"SELECT number FROM items ORDER BY number"};
    Statement insertItem{"INSERT INTO items(dataset, name, block, crc) VALUES(?1, ?2, x'', 0)"};
    Statement updateItem{"UPDATE items SET block = ?2, crc = ?3 WHERE number = ?1"};
    Statement deleteItem{"DELETE FROM items WHERE number = ?1"};

    Statement unitByCode{"SELECT text, crc FROM units WHERE code = ?1"};
    Statement unitByText{"SELECT code FROM units WHERE text = ?1"};
    Statement nextUnit{"SELECT coalesce(max(code), 0) + 1 FROM units"};
    Statement insertUnit{"INSERT INTO units(code, text, crc) VALUES(?1, ?2, ?3)"};

    Statement chunk{"SELECT crc, present, samples FROM chunks WHERE place = ?1"};
    Statement chunkRoot{"SELECT rootpage FROM sqlite_master WHERE type = 'table' AND name = 'chunks'"};
    Statement nextPlace{"SELECT place FROM chunks WHERE place BETWEEN ?1 AND ?2 ORDER BY place LIMIT 1"};
    Statement countChunks{
        "SELECT count(*), coalesce(sum(place - ?1), 0) FROM chunks WHERE place BETWEEN ?1 AND ?2"};
    Statement insertChunk{"INSERT INTO chunks(place, crc, present, samples) VALUES(?1, ?2, ?3, ?4)"};
    Statement updateChunk{"UPDATE chunks SET crc = ?2, present = ?3, samples = ?4 WHERE place = ?1"};
    Statement deleteChunks{"DELETE FROM chunks WHERE place BETWEEN ?1 AND ?2"};
};

}  // namespace vorela::store
