#include "dravik/store/Sqlite.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "dravik/include/DKBase.h"
#include "dravik/store/GatherVfs.h"
#include "dravik/store/StoreError.h"

namespace vorela::store {
namespace {

std::chrono::milliseconds longestWait{5000};

std::int32_t StatusFor(int code) {
    switch (code & 0xFF) {
        case SQLITE_NOTADB:
            return DK_NOT_DATABASE;
        case SQLITE_NOMEM:
            return DK_NO_MEMORY;
        case SQLITE_TOOBIG:
            return DK_MAXIMUM;
        case SQLITE_MISUSE:
        case SQLITE_INTERNAL:
            return DK_UNSPECIFIED;
        default:
            return DK_DISK_ERROR;
    }
}

/// Called while another process holds the lock that is wanted. A commit holds it for a few milliseconds, so
/// the wait begins short. It stays shorter than the pause that a busy writer makes (Database::Begin): a
/// longer nap would miss that again and again. SQLite does not call this where waiting would be a deadlock (a
/// reader that wants to become the writer); the store never asks for that, its writers begin as writers.
int WaitForLock(void* begin, int attempt) {
    using Clock = std::chrono::steady_clock;
    auto& since = *static_cast<Clock::time_point*>(begin);
    const auto now = Clock::now();
    if (attempt == 0)
        since = now;
    if (now - since > longestWait)
        return 0;
    // Uneven steps keep two waiting processes from knocking in turn.
    const int step = std::min(attempt, 6);
    std::this_thread::sleep_for(
        std::chrono::microseconds(100 + 50 * step + (now.time_since_epoch().count() & 127)));
    return 1;
}

}  // namespace

void SetLongestWait(std::chrono::milliseconds wait) {
    longestWait = wait;
}

Connection::Connection(const std::string& path, int flags) : path_(path) {
    const int code = sqlite3_open_v2(path.c_str(), &handle_,
                                     flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, GatherVfsName());
    if (code != SQLITE_OK) {
        const StoreError error{StatusFor(code), path + ": " + sqlite3_errstr(code)};
        sqlite3_close(handle_);
        throw error;
    }
    sqlite3_busy_handler(handle_, WaitForLock, &waitBegin_);
}

Connection::~Connection() {
    sqlite3_close_v2(handle_);
}

void Connection::Execute(const char* sql) {
    const int code = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        Fail(code);
}

void Connection::TryExecute(const char* sql) noexcept {
    sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
}

sqlite3_file* Connection::File() {
    sqlite3_file* file = nullptr;
    const int code = sqlite3_file_control(handle_, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    if (code != SQLITE_OK)
        Fail(code);
    return file;
}

std::size_t Connection::ReadRaw(std::span<unsigned char> bytes) {
    sqlite3_file* const file = File();
    sqlite3_int64 size = 0;
    int code = file->pMethods->xFileSize(file, &size);
    const auto count = std::min(bytes.size(), static_cast<std::size_t>(std::max<sqlite3_int64>(size, 0)));
    if (code == SQLITE_OK && count > 0)
        code = file->pMethods->xRead(file, bytes.data(), static_cast<int>(count), 0);
    if (code != SQLITE_OK)
        throw StoreError{StatusFor(code), path_ + ": " + sqlite3_errstr(code)};
    return count;
}

bool Connection::ReadAt(std::span<unsigned char> bytes, std::int64_t offset) {
    // SQLite's own file layer takes less than 128 KiB in one call.
    constexpr std::size_t mostAtOnce = std::size_t{112} << 10;
    sqlite3_file* const file = File();
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(bytes.size(), mostAtOnce))) {
        const auto count = static_cast<int>(std::min(bytes.size(), mostAtOnce));
        if (file->pMethods->xRead(file, bytes.data(), count, offset) != SQLITE_OK)
            return false;
        offset += count;
    }
    return true;
}

std::int64_t Connection::FileBytes() {
    sqlite3_file* const file = File();
    sqlite3_int64 size = 0;
    return file->pMethods->xFileSize(file, &size) == SQLITE_OK ? size : 0;
}

void Connection::Fail(int code) const {
    const bool ours = sqlite3_extended_errcode(handle_) == code;
    throw StoreError{StatusFor(code), path_ + ": " + (ours ? sqlite3_errmsg(handle_) : sqlite3_errstr(code))};
}

Query::Query(Connection& connection, Statement& statement) : connection_(connection) {
    if (statement.statement_ == nullptr)
        Check(sqlite3_prepare_v3(connection.Handle(), statement.sql_, -1, SQLITE_PREPARE_PERSISTENT,
                                 &statement.statement_, nullptr));
    statement_ = statement.statement_;
}

Query::~Query() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

void Query::Check(int code) const {
    if (code != SQLITE_OK)
        connection_.Fail(code);
}

Query& Query::Bind(int parameter, std::int64_t value) {
    Check(sqlite3_bind_int64(statement_, parameter, value));
    return *this;
}

Query& Query::Bind(int parameter, std::string_view text) {
    Check(
        sqlite3_bind_text(statement_, parameter, text.data(), static_cast<int>(text.size()), SQLITE_STATIC));
    return *this;
}

Query& Query::Bind(int parameter, std::span<const unsigned char> blob) {
    Check(sqlite3_bind_blob64(statement_, parameter, blob.data(), blob.size(), SQLITE_STATIC));
    return *this;
}

Query& Query::BindNull(int parameter) {
    Check(sqlite3_bind_null(statement_, parameter));
    return *this;
}

bool Query::Step() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        connection_.Fail(code);
    return false;
}

std::string Query::Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    if (text == nullptr)
        return {};
    return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::span<const unsigned char> Query::Blob(int column) const {
    if (!IsBlob(column))
        return {};
    const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(statement_, column));
    const auto count = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    if (bytes == nullptr && count > 0)
        throw StoreError{DK_NO_MEMORY, "out of memory"};
    return {bytes, count};
}

}  // namespace vorela::store
