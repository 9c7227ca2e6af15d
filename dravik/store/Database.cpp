#include "dravik/store/Database.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "dravik/store/Format.h"
#include "dravik/store/Scopes.h"
#include "dravik/store/StoreError.h"

namespace dravik::store {
namespace {

constexpr std::size_t longestName = 255;
constexpr std::chrono::milliseconds pauseAfterCommit{1};

/// The path to open, with a database there when one is to be made.
std::string PathFor(const std::string& path, std::int16_t mode) {
    if (mode < DK_OPEN_EXISTING || mode > DK_OPEN_READ_ONLY)
        throw StoreError{DK_NOT_UNDERSTOOD, "unknown mode"};
    std::string checked = CheckedPath(path);
    struct stat about {};
    if (mode == DK_OPEN_CREATE && lstat(checked.c_str(), &about) != 0 && errno == ENOENT)
        MakeDatabaseFile(checked);
    return checked;
}

}  // namespace

ItemPath ItemPath::Parse(const char* path) {
    if (path == nullptr)
        throw StoreError{DK_NOT_UNDERSTOOD, "no path"};
    const std::string_view text(path, strnlen(path, longestName + 1));
    if (text.size() > longestName)
        throw StoreError{DK_MAXIMUM, "the path is too long"};
    bool segmentEmpty = true;
    for (const char letter : text) {
        const bool slash = letter == '/';
        if ((slash && segmentEmpty) || static_cast<unsigned char>(letter) < ' ')
            throw StoreError{DK_NOT_UNDERSTOOD, "malformed path \"" + std::string(text) + "\""};
        segmentEmpty = slash;
    }
    if (segmentEmpty)
        throw StoreError{DK_NOT_UNDERSTOOD, "malformed path \"" + std::string(text) + "\""};
    const std::size_t end = std::min(text.find('/'), text.size());
    return {std::string(text.substr(0, end)), std::string(text.substr(end))};
}

// --- Opening ---

// A reader opens for writing too where it may: what a killed writer left must be rolled back before it is
// read.
Database::Database(const std::string& path, std::int16_t mode)
    : connection_(PathFor(path, mode), SQLITE_OPEN_READWRITE),
      readOnly_(mode == DK_OPEN_READ_ONLY || connection_.IsReadOnly()),
      sql_(std::make_unique<Statements>()) {
    if (HasSoundHeader(connection_)) {
        const ReadScope scope(*this);  // finds the format; rolls back what a killed writer left
    }
    if (format_ == 0 && mode != DK_OPEN_CREATE)
        throw StoreError{DK_NOT_DATABASE, path + ": the file is empty"};
    if (format_ == 0)
        OpenEmptyFile();
    // Reading goes through few pages that stay in the processor's cache. A transaction may hold 4 MB of
    // changed pages (28 hours of a curve at 10 Hz) before some are written early, which keeps readers out
    // until its commit. (Not a multiple of 256: SQLite takes that for "never spill".) Freed pages need no
    // overwriting with zeros. Syncing stays at SQLite's FULL. What undoes one call of several within DBbegin
    // is needed no longer than the process lives: it stays in memory instead of a file in a folder that may
    // be full.
    connection_.Execute(
        "PRAGMA cache_size = 64; PRAGMA cache_spill = 250; PRAGMA secure_delete = OFF;"
        "PRAGMA temp_store = MEMORY");
}

Database::~Database() = default;

/// Who makes an empty file a database does it in the file itself, which may be another's already.
void Database::OpenEmptyFile() {
    PrepareEmptyFile(connection_);
    connection_.Execute("BEGIN EXCLUSIVE");
    try {
        // Another process may have been faster.
        format_ = FormatOf(connection_);
        if (format_ == 0)
            CreateTables(connection_);
        connection_.Execute("COMMIT");
    } catch (...) {
        connection_.TryExecute("ROLLBACK");
        throw;
    }
    format_ = 0;
}

/// Inside a transaction. Version 1 may have been raised by another process since the last one.
void Database::LearnFormat() {
    if (format_ != newestFormat)
        format_ = FormatOf(connection_);
}

// --- Transactions ---

Database::ReadScope::ReadScope(Database& database)
    : database_(database), own_(!database.explicitTransaction_ && !database.reading_) {
    if (!database_.reading_)
        database_.connection_.AllowSteps();
    if (!own_) {
        if (!database_.connection_.InTransaction())
            throw StoreError{DK_DISK_ERROR, "the transaction was rolled back after a fault"};
        return;
    }
    Query(database_.connection_, database_.sql_->begin).Run();
    try {
        database_.LearnFormat();
    } catch (...) {
        End();
        throw;
    }
    database_.reading_ = true;
}

void Database::ReadScope::End() noexcept {
    database_.reading_ = false;
    try {
        Query(database_.connection_, database_.sql_->commit).Run();
    } catch (const StoreError&) {
        database_.connection_.TryExecute("ROLLBACK");
    }
}

Database::ReadScope::~ReadScope() {
    if (own_)
        End();
}

/// A file longer than its header says has lost the page with the header: what is added now would take the
/// place of recorded data.
void Database::RefuseLostPages() {
    Query count(connection_, sql_->pageCount);
    count.Step();
    Query size(connection_, sql_->pageSize);
    size.Step();
    if (connection_.FileBytes() > count.Integer(0) * size.Integer(0))
        throw StoreError{DK_DISK_ERROR, "the file is longer than its header says: it is not written to",
                         true};
}

void Database::BeginWriting() {
    if (readOnly_)
        throw StoreError{DK_DISK_ERROR, "the database is open for reading only"};
    connection_.AllowSteps();
    Query(connection_, sql_->beginImmediate).Run();
    try {
        LearnFormat();
        RefuseLostPages();
        if (format_ != newestFormat)
            Raise();
    } catch (...) {
        format_ = 0;
        connection_.TryExecute("ROLLBACK");
        throw;
    }
}

Database::WriteScope::WriteScope(Database& database) : database_(database) {
    if (!database_.explicitTransaction_)
        database_.BeginWriting();
    else if (database_.connection_.InTransaction())
        Query(database_.connection_, database_.sql_->savepoint).Run();
    else
        throw StoreError{DK_DISK_ERROR, "the transaction was rolled back after a fault"};
    database_.connection_.AllowSteps();
}

void Database::WriteScope::Commit() {
    if (database_.explicitTransaction_)
        Query(database_.connection_, database_.sql_->release).Run();
    else
        Query(database_.connection_, database_.sql_->commit).Run();
    open_ = false;
}

Database::WriteScope::~WriteScope() {
    if (!open_)
        return;
    // A full disk or a read fault may have rolled back everything already.
    if (!database_.explicitTransaction_) {
        database_.format_ = 0;
        database_.connection_.TryExecute("ROLLBACK");
    } else if (database_.connection_.InTransaction())
        database_.connection_.TryExecute("ROLLBACK TO call; RELEASE call");
}

void Database::Begin() {
    if (explicitTransaction_)
        throw StoreError{DK_NOT_UNDERSTOOD, "a transaction is open"};
    // File locks know no queue: who begins again right after a commit keeps all others out for as long as
    // there is work.
    std::this_thread::sleep_until(lastCommit_ + pauseAfterCommit);
    BeginWriting();
    explicitTransaction_ = true;
}

void Database::Commit() {
    if (!explicitTransaction_)
        throw StoreError{DK_NOT_UNDERSTOOD, "no transaction is open"};
    explicitTransaction_ = false;
    if (!connection_.InTransaction()) {
        format_ = 0;
        throw StoreError{DK_DISK_ERROR, "the transaction was rolled back after a fault"};
    }
    try {
        Query(connection_, sql_->commit).Run();
    } catch (...) {
        format_ = 0;
        connection_.TryExecute("ROLLBACK");
        throw;
    }
    lastCommit_ = std::chrono::steady_clock::now();
}

void Database::Rollback() {
    if (!explicitTransaction_)
        throw StoreError{DK_NOT_UNDERSTOOD, "no transaction is open"};
    explicitTransaction_ = false;
    format_ = 0;
    if (connection_.InTransaction())
        connection_.Execute("ROLLBACK");
}

}  // namespace dravik::store
