// One SQLite connection and its prepared statements. Every failing call throws StoreError with the status
// that stands for SQLite's code and SQLite's own sentence.
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace dravik::store {

/// How long a call waits for a lock that another process holds; 5 s unless set. For tests.
void SetLongestWait(std::chrono::milliseconds wait);

/// A statement that is prepared on first use and kept; belongs to one Connection, which it must not outlive.
class Statement {
  public:
    explicit Statement(const char* sql) : sql_(sql) {}
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

  private:
    friend class Query;
    const char* sql_;
    sqlite3_stmt* statement_ = nullptr;
};

class Connection {
  public:
    /// Opens `path`. `flags` are SQLITE_OPEN_... Whatever the file says, its schema runs nothing (no view, no
    /// trigger, no function), nothing is attached to it, and texts and rows stay within what the store
    /// writes.
    Connection(const std::string& path, int flags);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void Execute(const char* sql);
    /// Runs `sql` whatever comes of it; for undoing.
    void TryExecute(const char* sql) noexcept;
    bool InTransaction() const { return sqlite3_get_autocommit(handle_) == 0; }
    bool IsReadOnly() const { return sqlite3_db_readonly(handle_, "main") != 0; }
    int Changes() const { return sqlite3_changes(handle_); }
    /// The bytes at the start of the file as they stand on disk, without taking a lock; fewer than asked when
    /// the file is shorter. Goes through SQLite's own descriptor: closing a second one would drop the locks
    /// of this process.
    std::size_t ReadRaw(std::span<unsigned char> bytes);
    /// The length of the file.
    std::int64_t FileBytes();
    /// To be called once for each call of the interface: its statements may from now on take as many steps as
    /// a file of this length can ask for. A tree that leads back into itself ends as damage.
    void AllowSteps();
    [[noreturn]] void Fail(int code) const;
    sqlite3* Handle() const { return handle_; }

  private:
    sqlite3_file* File();
    sqlite3* handle_ = nullptr;
    std::string path_;
    std::chrono::steady_clock::time_point waitBegin_;
    std::int64_t stepsLeft_ = 0;  ///< in units of the progress handler
};

/// One use of a Statement: bind (parameters count from 1), step, read columns (from 0). Resets it when it
/// ends. Texts and blobs are bound without a copy: they must live until the Query ends. What a column gives
/// lives until the next Step.
class Query {
  public:
    Query(Connection& connection, Statement& statement);
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    Query& Bind(int parameter, std::int64_t value);
    Query& Bind(int parameter, std::string_view text);
    Query& Bind(int parameter, std::span<const unsigned char> blob);
    Query& BindNull(int parameter);

    /// True when there is a row.
    bool Step();
    /// For a statement that gives no rows.
    void Run() { Step(); }

    std::int64_t Integer(int column) const { return sqlite3_column_int64(statement_, column); }
    std::string Text(int column) const;
    /// Empty unless the column holds a blob.
    std::span<const unsigned char> Blob(int column) const;
    bool IsNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
    bool IsBlob(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_BLOB; }

  private:
    void Check(int code) const;
    Connection& connection_;
    sqlite3_stmt* statement_;
};

/// Reads the blobs of one column straight to where they are wanted; a column of a Query is SQLite's own copy.
/// While one lives, so does its transaction: it must end before that. It rejects what is not a blob, and
/// cannot be used any more after an error.
class BlobReader {
  public:
    BlobReader(Connection& connection, const char* table, const char* column)
        : connection_(connection), table_(table), column_(column) {}
    ~BlobReader() { sqlite3_blob_close(blob_); }
    BlobReader(const BlobReader&) = delete;
    BlobReader& operator=(const BlobReader&) = delete;

    /// The first bytes of the blob in row `number`; it must not be shorter.
    void Read(std::int64_t number, std::span<unsigned char> into);

  private:
    Connection& connection_;
    const char* table_;
    const char* column_;
    sqlite3_blob* blob_ = nullptr;
};

}  // namespace dravik::store
