#include "dravik/store/Sqlite.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "dravik/store/StoreError.h"
#include "interfaces/DKBase.h"

namespace dravik::store {
namespace {

std::chrono::milliseconds longestWait{5000};

std::int32_t StatusFor(int code) {
    switch (code & 0xFF) {
        case SQLITE_NOTADB:
            return DK_NOT_DATABASE;
        case SQLITE_NOMEM:
            return DK_NO_MEMORY;
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

/// Codes that say that the file holds something that the store never writes.
bool IsDamage(int code) {
    constexpr std::array damage{SQLITE_CORRUPT, SQLITE_NOTADB, SQLITE_TOOBIG, SQLITE_INTERRUPT};
    return std::find(damage.begin(), damage.end(), code & 0xFF) != damage.end();
}

constexpr int stepsAtOnce = 4096;

int CountSteps(void* left) {
    return --*static_cast<std::int64_t*>(left) < 0 ? 1 : 0;
}

/// What no statement and no row of the store exceeds.
void SetLimits(sqlite3* handle) {
    constexpr std::array<std::pair<int, int>, 9> limits{{{SQLITE_LIMIT_LENGTH, 16 << 20},
                                                         {SQLITE_LIMIT_SQL_LENGTH, 8192},
                                                         {SQLITE_LIMIT_COLUMN, 32},
                                                         {SQLITE_LIMIT_EXPR_DEPTH, 20},
                                                         {SQLITE_LIMIT_COMPOUND_SELECT, 4},
                                                         {SQLITE_LIMIT_VDBE_OP, 5000},
                                                         {SQLITE_LIMIT_ATTACHED, 0},
                                                         {SQLITE_LIMIT_TRIGGER_DEPTH, 1},
                                                         {SQLITE_LIMIT_WORKER_THREADS, 0}}};
    for (const auto& [limit, value] : limits)
        sqlite3_limit(handle, limit, value);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
}

}  // namespace

void SetLongestWait(std::chrono::milliseconds wait) {
    longestWait = wait;
}

Connection::Connection(const std::string& path, int flags) : path_(path) {
    const int code =
        sqlite3_open_v2(path.c_str(), &handle_, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    if (code != SQLITE_OK) {
        const StoreError error{StatusFor(code), path + ": " + sqlite3_errstr(code)};
        sqlite3_close(handle_);
        throw error;
    }
    SetLimits(handle_);
    sqlite3_busy_handler(handle_, WaitForLock, &waitBegin_);
    AllowSteps();
    sqlite3_progress_handler(handle_, stepsAtOnce, CountSteps, &stepsLeft_);
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

std::int64_t Connection::FileBytes() {
    sqlite3_file* const file = File();
    sqlite3_int64 size = 0;
    const int code = file->pMethods == nullptr ? SQLITE_OK : file->pMethods->xFileSize(file, &size);
    if (code != SQLITE_OK)
        throw StoreError{StatusFor(code), path_ + ": " + sqlite3_errstr(code)};
    return size;
}

void Connection::AllowSteps() {
    // A kilobyte holds some ten small rows, and a row takes some tens of steps. The least is for a write of
    // all that a curve can hold into a new file: an eighth of a second of steps.
    constexpr std::int64_t least = 5000;
    stepsLeft_ = least + FileBytes() / 1024 * 1000 / stepsAtOnce;
}

void Connection::Fail(int code) const {
    const bool ioFailed = (code & 0xFF) == SQLITE_IOERR;
    const int cause = ioFailed ? sqlite3_system_errno(handle_) : 0;
    // A limit on the file's size is a full disk to whoever reads the message.
    const int told = cause == EFBIG ? SQLITE_FULL : code;
    const bool ours = sqlite3_extended_errcode(handle_) == told;
    std::string detail = path_ + ": " + (ours ? sqlite3_errmsg(handle_) : sqlite3_errstr(told));
    if (cause != 0)
        detail += std::string(" (") + std::strerror(cause) + ")";
    throw StoreError{StatusFor(code), detail, IsDamage(code)};
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
    // Without bytes there may be no address, which would bind null.
    Check(blob.empty() ? sqlite3_bind_zeroblob(statement_, parameter, 0)
                       : sqlite3_bind_blob64(statement_, parameter, blob.data(), blob.size(), SQLITE_STATIC));
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

void BlobReader::Read(std::int64_t number, std::span<unsigned char> into) {
    int code = blob_ != nullptr
                   ? sqlite3_blob_reopen(blob_, number)
                   : sqlite3_blob_open(connection_.Handle(), "main", table_, column_, number, 0, &blob_);
    if (code == SQLITE_OK)
        code = sqlite3_blob_read(blob_, into.data(), static_cast<int>(into.size()), 0);
    if (code != SQLITE_OK)
        connection_.Fail(code);
}

}  // namespace dravik::store
