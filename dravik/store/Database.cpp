#include "dravik/store/Database.h"

#include <array>
#include <cstring>
#include <thread>

#include "dravik/store/Crc32c.h"
#include "dravik/store/Scopes.h"
#include "dravik/store/StoreError.h"
#include "dravik/store/UnitTexts.h"

namespace vorela::store {
namespace {

constexpr std::size_t longestPath = 4096;
constexpr std::size_t longestName = 255;
constexpr std::int32_t applicationId = 0x44524B42;  // "DRKB"
constexpr std::int32_t formatVersion = 1;
constexpr std::chrono::milliseconds pauseAfterCommit{1};

// Journal. SQLite before 3.51.3 can lose a commit when two connections write or checkpoint a write-ahead log
// at the same moment. The store cannot meet that race: no statement here asks for a write-ahead log, a new
// file is made in rollback-journal mode, and a file whose header asks for a write-ahead log is refused before
// SQLite looks at it. With the rollback journal a writer holds the only write lock from its first statement
// to its commit, and a reader is kept out while pages are replaced.
//
// Syncing stays at SQLite's FULL: a recorder's second costs about 1.3 ms of processor time and the disk's
// flushes, and NORMAL made no difference that showed beside their variation.
constexpr const char* createTables =
    "CREATE TABLE units(code INTEGER PRIMARY KEY, text TEXT NOT NULL UNIQUE, crc INTEGER NOT NULL);"
    "CREATE TABLE datasets(number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE, crc INTEGER "
    "NOT NULL);"
    "CREATE TABLE items(number INTEGER PRIMARY KEY AUTOINCREMENT, dataset INTEGER NOT NULL, name TEXT NOT "
    "NULL,"
    " block BLOB NOT NULL, crc INTEGER NOT NULL, UNIQUE(dataset, name));"
    // place = item number * 2^28 + chunk number. present: a bit for each sample, null when all are there.
    "CREATE TABLE chunks(place INTEGER PRIMARY KEY, crc BLOB NOT NULL, present BLOB, samples BLOB NOT NULL);"
    "PRAGMA application_id = 1146243906; PRAGMA user_version = 1;";
static_assert(applicationId == 1146243906 && formatVersion == 1, "as in the text above");

/// The checksum of a catalogue row. The kind keeps a row of one table from passing for one of another.
std::int64_t RowCrc(char kind, std::int64_t number, std::int64_t parent, std::string_view text,
                    std::span<const unsigned char> block = {}) {
    std::uint32_t crc = Crc32c(&kind, 1);
    crc = Crc32c(&number, sizeof number, crc);
    crc = Crc32c(&parent, sizeof parent, crc);
    const std::uint64_t length = text.size();
    crc = Crc32c(&length, sizeof length, crc);
    crc = Crc32c(text.data(), text.size(), crc);
    return Crc32c(block.data(), block.size(), crc);
}

[[noreturn]] void Damaged(const std::string& what) {
    throw StoreError{DK_DISK_ERROR, what + " is damaged"};
}

/// SQLite reads "file:..." as an address and ":memory:" as no file at all; a database's path is only ever a
/// path.
std::string AsPlainPath(const std::string& path) {
    if (path.empty())
        throw StoreError{DK_NOT_UNDERSTOOD, "the database path is empty"};
    if (path.size() > longestPath)
        throw StoreError{DK_MAXIMUM, "the database path is too long"};
    return path.front() == '/' ? path : "./" + path;
}

int OpenFlags(std::int16_t mode) {
    if (mode < DK_OPEN_EXISTING || mode > DK_OPEN_READ_ONLY)
        throw StoreError{DK_NOT_UNDERSTOOD, "unknown mode"};
    // A reader opens for writing too where it may: what a killed writer left must be rolled back before it is
    // read.
    return SQLITE_OPEN_READWRITE | (mode == DK_OPEN_CREATE ? SQLITE_OPEN_CREATE : 0);
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

Database::Database(const std::string& path, std::int16_t mode)
    : connection_(AsPlainPath(path), OpenFlags(mode)),
      readOnly_(mode == DK_OPEN_READ_ONLY || connection_.IsReadOnly()),
      sql_(std::make_unique<Statements>()) {
    RefuseForeignHeader(mode);
    sqlite3_db_config(connection_.Handle(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(connection_.Handle(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    // Reading goes through few pages that stay in the processor's cache. A transaction may hold 2 MB of
    // changed pages (14 hours of a curve at 10 Hz) before some are written early, which keeps readers out
    // until its commit; 4 MB would cost a tenth of the time of a long write, for memory to be fetched and for
    // leaving the processor's cache. (Not a multiple of 256: SQLite takes that for "never spill".)
    connection_.Execute("PRAGMA cache_size = 64; PRAGMA cache_spill = 120");
    if (HasOurMarks())
        return;
    if (mode != DK_OPEN_CREATE)
        throw StoreError{DK_NOT_DATABASE, path + ": the file is empty"};
    CreateTables();
    plainPages_ = true;
}

Database::~Database() = default;

/// Looks at the first bytes before SQLite acts on them.
void Database::RefuseForeignHeader(std::int16_t mode) {
    std::array<unsigned char, 100> header{};
    const std::size_t size = connection_.ReadRaw(header);
    if (size == 0 && (mode == DK_OPEN_CREATE))
        return;
    constexpr std::string_view magic("SQLite format 3\0", 16);
    if (size < header.size() || std::memcmp(header.data(), magic.data(), magic.size()) != 0)
        throw StoreError{DK_NOT_DATABASE, "the file is not a database"};
    constexpr unsigned char rollbackJournal = 1;
    if (header[18] != rollbackJournal || header[19] != rollbackJournal)
        throw StoreError{DK_NOT_DATABASE, "the file is in write-ahead mode"};
    plainPages_ = header[16] == 0x40 && header[17] == 0 && header[20] == 0;
}

/// False for a file without content; throws for a foreign one. Rolls back what a killed writer left.
bool Database::HasOurMarks() {
    Statement readId("PRAGMA application_id");
    Statement readVersion("PRAGMA user_version");
    Query id(connection_, readId);
    id.Step();
    Query version(connection_, readVersion);
    version.Step();
    if (id.Integer(0) == applicationId && version.Integer(0) == formatVersion)
        return true;
    unsigned char any = 0;
    if (connection_.ReadRaw({&any, 1}) == 0)
        return false;
    throw StoreError{DK_NOT_DATABASE, id.Integer(0) == applicationId
                                          ? "the database is of another version"
                                          : "the file is not a database of this system"};
}

void Database::CreateTables() {
    connection_.Execute("PRAGMA page_size = 16384; PRAGMA auto_vacuum = NONE; PRAGMA encoding = 'UTF-8'");
    connection_.Execute("BEGIN EXCLUSIVE");
    try {
        // Another process may have been faster.
        if (!HasOurMarks())
            connection_.Execute(createTables);
        connection_.Execute("COMMIT");
    } catch (...) {
        connection_.TryExecute("ROLLBACK");
        throw;
    }
}

// --- Transactions ---

Database::ReadScope::ReadScope(Database& database)
    : database_(database), own_(!database.explicitTransaction_ && !database.reading_) {
    if (own_) {
        Query(database_.connection_, database_.sql_->begin).Run();
        database_.reading_ = true;
    } else if (!database_.connection_.InTransaction())
        throw StoreError{DK_DISK_ERROR, "the transaction was rolled back after a fault"};
}

Database::ReadScope::~ReadScope() {
    if (!own_)
        return;
    database_.reading_ = false;
    try {
        Query(database_.connection_, database_.sql_->commit).Run();
    } catch (const StoreError&) {
        database_.connection_.TryExecute("ROLLBACK");
    }
}

void Database::PrepareForWriting() {
    if (readOnly_)
        throw StoreError{DK_DISK_ERROR, "the database is open for reading only"};
    if (writePrepared_)
        return;
    // Freed pages need no overwriting with zeros.
    connection_.Execute("PRAGMA secure_delete = OFF");
    writePrepared_ = true;
}

Database::WriteScope::WriteScope(Database& database) : database_(database) {
    database_.PrepareForWriting();
    if (!database_.explicitTransaction_)
        Query(database_.connection_, database_.sql_->beginImmediate).Run();
    else if (database_.connection_.InTransaction())
        Query(database_.connection_, database_.sql_->savepoint).Run();
    else
        throw StoreError{DK_DISK_ERROR, "the transaction was rolled back after a fault"};
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
    database_.unitTexts_.clear();
    // A full disk or a read fault may have rolled back everything already.
    if (!database_.explicitTransaction_)
        database_.connection_.TryExecute("ROLLBACK");
    else if (database_.connection_.InTransaction())
        database_.connection_.TryExecute("ROLLBACK TO call; RELEASE call");
}

void Database::Begin() {
    if (explicitTransaction_)
        throw StoreError{DK_NOT_UNDERSTOOD, "a transaction is open"};
    PrepareForWriting();
    // File locks know no queue: who begins again right after a commit keeps all others out for as long as
    // there is work.
    std::this_thread::sleep_until(lastCommit_ + pauseAfterCommit);
    Query(connection_, sql_->beginImmediate).Run();
    explicitTransaction_ = true;
}

void Database::Commit() {
    if (!explicitTransaction_)
        throw StoreError{DK_NOT_UNDERSTOOD, "no transaction is open"};
    explicitTransaction_ = false;
    if (!connection_.InTransaction())
        throw StoreError{DK_DISK_ERROR, "the transaction was rolled back after a fault"};
    try {
        Query(connection_, sql_->commit).Run();
    } catch (...) {
        unitTexts_.clear();
        connection_.TryExecute("ROLLBACK");
        throw;
    }
    lastCommit_ = std::chrono::steady_clock::now();
}

void Database::Rollback() {
    if (!explicitTransaction_)
        throw StoreError{DK_NOT_UNDERSTOOD, "no transaction is open"};
    explicitTransaction_ = false;
    unitTexts_.clear();
    if (connection_.InTransaction())
        connection_.Execute("ROLLBACK");
}

// --- Catalogue ---

std::int64_t Database::FindDataset(const std::string& name) {
    Query query(connection_, sql_->datasetByName);
    if (!query.Bind(1, name).Step())
        throw StoreError{DK_NOT_AVAILABLE, "no dataset \"" + name + "\""};
    const std::int64_t number = query.Integer(0);
    if (query.Text(1) != name || query.Integer(2) != RowCrc('D', number, 0, name))
        Damaged("dataset \"" + name + "\"");
    return number;
}

std::string Database::DatasetName(std::int64_t number) {
    Query query(connection_, sql_->datasetByNumber);
    if (!query.Bind(1, number).Step())
        throw StoreError{DK_NOT_AVAILABLE, "the dataset has been deleted"};
    std::string name = query.Text(0);
    if (query.Integer(1) != RowCrc('D', number, 0, name))
        Damaged("dataset \"" + name + "\"");
    return name;
}

std::int64_t Database::InsertDataset(const std::string& name) {
    Query(connection_, sql_->insertDataset).Bind(1, name).Run();
    const std::int64_t number = connection_.LastInsertId();
    Query(connection_, sql_->sealDataset).Bind(1, number).Bind(2, RowCrc('D', number, 0, name)).Run();
    return number;
}

Database::ItemRow Database::LoadItem(std::int64_t number) {
    Query query(connection_, sql_->itemByNumber);
    if (!query.Bind(1, number).Step())
        throw StoreError{DK_NOT_AVAILABLE, "the item has been deleted"};
    ItemRow row{query.Integer(0), query.Text(1), {}};
    const auto block = query.Blob(2);
    const auto info = ItemInfo::Decode(block);
    if (!info || query.Integer(3) != RowCrc('I', number, row.dataset, row.name, block))
        Damaged("item \"" + row.name + "\"");
    row.info = *info;
    return row;
}

void Database::StoreItem(std::int64_t number, const ItemRow& row) {
    const InfoBlock block = row.info.Encode();
    Query(connection_, sql_->updateItem)
        .Bind(1, number)
        .Bind(2, std::span<const unsigned char>(block))
        .Bind(3, RowCrc('I', number, row.dataset, row.name, block))
        .Run();
}

ItemKey Database::Find(const ItemPath& path) {
    const ReadScope scope(*this);
    const std::int64_t dataset = FindDataset(path.dataset);
    if (path.item.empty())
        return {dataset, true};
    Query query(connection_, sql_->itemByName);
    if (!query.Bind(1, dataset).Bind(2, path.item).Step())
        throw StoreError{DK_NOT_AVAILABLE, "no item \"" + path.dataset + path.item + "\""};
    const ItemKey key{query.Integer(0), false};
    // The index that was searched carries no checksum of its own.
    const ItemRow row = LoadItem(key.number);
    if (row.dataset != dataset || row.name != path.item)
        Damaged("item \"" + path.dataset + path.item + "\"");
    return key;
}

ItemKey Database::Attach(const ItemPath& path, ItemInfo& info) {
    const ReadScope scope(*this);
    const ItemKey key = Find(path);
    info = Information(key);
    return key;
}

ItemInfo Database::Published(ItemInfo info) {
    info.unit = ProcessUnitCode(UnitText(info.unit));
    return info;
}

ItemInfo Database::DatasetInfo(std::int64_t dataset) {
    ItemInfo shown;
    for (const std::int64_t number : ItemNumbers(dataset)) {
        const ItemInfo info = LoadItem(number).info;
        if (info.kind != DK_ITEM_CURVE)
            continue;
        shown.indexKind = info.indexKind;
        shown.step = info.step;
        shown.firstIndex = info.firstIndex;
        shown.extentFirst = info.extentFirst;
        shown.extentLast = info.extentLast;
        break;
    }
    shown.kind = DK_ITEM_DATASET;
    shown.sampleBytes = 0;
    return shown;
}

ItemInfo Database::Information(const ItemKey& key) {
    const ReadScope scope(*this);
    if (!key.isDataset)
        return Published(LoadItem(key.number).info);
    DatasetName(key.number);
    return DatasetInfo(key.number);
}

std::vector<std::int64_t> Database::ItemNumbers(std::int64_t dataset) {
    std::vector<std::int64_t> numbers;
    Query query(connection_, sql_->itemsOfDataset);
    query.Bind(1, dataset);
    while (query.Step())
        numbers.push_back(query.Integer(0));
    return numbers;
}

std::vector<NamedInfo> Database::List(const std::string& dataset) {
    const ReadScope scope(*this);
    std::vector<NamedInfo> list;
    if (dataset.empty()) {
        Query query(connection_, sql_->datasets);
        while (query.Step()) {
            const std::int64_t number = query.Integer(0);
            const std::string name = query.Text(1);
            if (query.Integer(2) != RowCrc('D', number, 0, name))
                Damaged("dataset \"" + name + "\"");
            list.push_back({name, DatasetInfo(number)});
        }
        return list;
    }
    const std::int64_t number = FindDataset(dataset);
    for (const std::int64_t item : ItemNumbers(number)) {
        const ItemRow row = LoadItem(item);
        if (row.dataset != number)
            Damaged("item \"" + row.name + "\"");
        list.push_back({row.name, Published(row.info)});
    }
    return list;
}

void Database::Create(const ItemPath& path, ItemInfo info, const std::string& unitText) {
    if (path.item.empty())
        throw StoreError{DK_NOT_UNDERSTOOD, "\"" + path.dataset + "\" names a dataset, not an item"};
    WriteScope scope(*this);
    std::int64_t dataset = 0;
    try {
        dataset = FindDataset(path.dataset);
    } catch (const StoreError& error) {
        if (error.status != DK_NOT_AVAILABLE)
            throw;
        dataset = InsertDataset(path.dataset);
    }
    if (Query(connection_, sql_->itemByName).Bind(1, dataset).Bind(2, path.item).Step())
        throw StoreError{DK_EXISTS, "\"" + path.dataset + path.item + "\" exists"};
    info.unit = FileUnitCode(unitText);
    Query(connection_, sql_->insertItem).Bind(1, dataset).Bind(2, path.item).Run();
    StoreItem(connection_.LastInsertId(), {dataset, path.item, info});
    scope.Commit();
}

void Database::Delete(const ItemPath& path) {
    PrepareForWriting();
    WriteScope scope(*this);
    const std::int64_t dataset = FindDataset(path.dataset);
    if (path.item.empty()) {
        for (const std::int64_t number : ItemNumbers(dataset))
            DeleteItem(number);
        Query(connection_, sql_->deleteDataset).Bind(1, dataset).Run();
    } else {
        Query query(connection_, sql_->itemByName);
        if (!query.Bind(1, dataset).Bind(2, path.item).Step())
            throw StoreError{DK_NOT_AVAILABLE, "no item \"" + path.dataset + path.item + "\""};
        DeleteItem(query.Integer(0));
    }
    scope.Commit();
}

void Database::Mark(const ItemKey& key, std::int32_t validFirst, std::int32_t validLast,
                    const char* madeText) {
    WriteScope scope(*this);
    ItemRow row = key.isDataset ? ItemRow{} : LoadItem(key.number);
    if (key.isDataset || row.info.kind != DK_ITEM_CURVE)
        throw StoreError{DK_NOT_UNDERSTOOD, "only curves have a valid span"};
    row.info.validFirst = validFirst;
    row.info.validLast = validLast;
    if (madeText != nullptr)
        row.info.made = madeText;
    StoreItem(key.number, row);
    scope.Commit();
}

// --- Units ---

const std::string& Database::UnitText(std::int32_t fileCode) {
    const auto known = unitTexts_.find(fileCode);
    if (known != unitTexts_.end())
        return known->second;
    if (fileCode == 0)
        return unitTexts_[0];
    Query query(connection_, sql_->unitByCode);
    if (!query.Bind(1, std::int64_t{fileCode}).Step())
        Damaged("the unit table");
    const std::string text = query.Text(0);
    if (query.Integer(1) != RowCrc('U', fileCode, 0, text))
        Damaged("the unit table");
    return unitTexts_[fileCode] = text;
}

std::int32_t Database::FileUnitCode(const std::string& text) {
    if (text.empty())
        return 0;
    Query query(connection_, sql_->unitByText);
    if (query.Bind(1, text).Step()) {
        const auto code = static_cast<std::int32_t>(query.Integer(0));
        if (UnitText(code) != text)
            Damaged("the unit table");
        return code;
    }
    Query next(connection_, sql_->nextUnit);
    next.Step();
    const std::int64_t code = next.Integer(0);
    if (code > INT32_MAX)
        throw StoreError{DK_MAXIMUM, "too many units"};
    Query(connection_, sql_->insertUnit)
        .Bind(1, code)
        .Bind(2, text)
        .Bind(3, RowCrc('U', code, 0, text))
        .Run();
    return static_cast<std::int32_t>(code);
}

}  // namespace vorela::store
