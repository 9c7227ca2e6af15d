#include "dravik/store/Format.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "dravik/store/StoreError.h"

namespace dravik::store {
namespace {

using namespace std::string_view_literals;

constexpr auto catalogueTable =
    "CREATE TABLE catalogue(one INTEGER PRIMARY KEY, content BLOB NOT NULL, crc INTEGER NOT NULL)"sv;
constexpr auto datasetsTable =
    "CREATE TABLE datasets2(number INTEGER PRIMARY KEY, name TEXT NOT NULL, stamp INTEGER NOT NULL,"
    " items BLOB NOT NULL, crc INTEGER NOT NULL)"sv;
constexpr auto itemsTable =
    "CREATE TABLE items2(number INTEGER PRIMARY KEY, dataset INTEGER NOT NULL, name TEXT NOT NULL,"
    " unit TEXT NOT NULL, block BLOB NOT NULL, chunks BLOB NOT NULL, crc INTEGER NOT NULL)"sv;
// present: a bit for each sample, null when all are there.
constexpr auto chunksTable =
    "CREATE TABLE chunks(place INTEGER PRIMARY KEY, crc BLOB NOT NULL, present BLOB, samples BLOB NOT NULL)"sv;
// SQLite makes it for a file of version 1 and keeps it for good.
constexpr auto sequenceTable = "CREATE TABLE sqlite_sequence(name,seq)"sv;

constexpr std::array format1{
    "CREATE TABLE units(code INTEGER PRIMARY KEY, text TEXT NOT NULL UNIQUE, crc INTEGER NOT NULL)"sv,
    "CREATE TABLE datasets(number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE, crc INTEGER NOT NULL)"sv,
    "CREATE TABLE items(number INTEGER PRIMARY KEY AUTOINCREMENT, dataset INTEGER NOT NULL, name TEXT NOT "
    "NULL,"
    " block BLOB NOT NULL, crc INTEGER NOT NULL, UNIQUE(dataset, name))"sv,
    chunksTable,
    sequenceTable,
    "sqlite_autoindex_units_1"sv,
    "sqlite_autoindex_datasets_1"sv,
    "sqlite_autoindex_items_1"sv};
constexpr std::array format2{catalogueTable, datasetsTable, itemsTable, chunksTable};

[[noreturn]] void NotOurs(const std::string& why) {
    throw StoreError{DK_NOT_DATABASE, why};
}

std::int64_t HeaderValue(Connection& connection, const char* sql) {
    Statement read(sql);
    Query query(connection, read);
    query.Step();
    return query.Integer(0);
}

/// Tables by their text, which names them; SQLite's own indexes, which have none, by their names.
std::vector<std::string> SchemaOf(Connection& connection) {
    Statement read("SELECT coalesce(sql, name), type FROM sqlite_master");
    Query query(connection, read);
    std::vector<std::string> texts;
    while (query.Step() && texts.size() <= format1.size())
        texts.push_back(query.Text(0));
    return texts;
}

void RequireSchema(Connection& connection, int format) {
    std::vector<std::string> texts;
    try {
        texts = SchemaOf(connection);
    } catch (const StoreError& error) {
        if (error.isDamage)
            NotOurs(error.detail);
        throw;
    }
    std::sort(texts.begin(), texts.end());
    const auto is = [&](std::vector<std::string_view> wanted) {
        std::sort(wanted.begin(), wanted.end());
        return std::equal(texts.begin(), texts.end(), wanted.begin(), wanted.end());
    };
    std::vector<std::string_view> newest(format2.begin(), format2.end());
    const bool known = format == 1 ? is({format1.begin(), format1.end()}) : is(newest);
    newest.push_back(sequenceTable);
    if (!known && (format == 1 || !is(newest)))
        NotOurs("the tables are not those of a database of this system");
}

void Execute(Connection& connection, std::string_view sql) {
    connection.Execute(std::string(sql).c_str());
}

}  // namespace

void PrepareEmptyFile(Connection& connection) {
    connection.Execute("PRAGMA page_size = 16384; PRAGMA auto_vacuum = NONE; PRAGMA encoding = 'UTF-8'");
}

void CreateSealingTables(Connection& connection) {
    for (const auto table : {catalogueTable, datasetsTable, itemsTable})
        Execute(connection, table);
    Execute(connection, "PRAGMA user_version = " + std::to_string(newestFormat));
}

void CreateTables(Connection& connection) {
    Execute(connection, chunksTable);
    CreateSealingTables(connection);
    Execute(connection, "PRAGMA application_id = " + std::to_string(applicationId));
}

void DropTablesOfFormat1(Connection& connection) {
    connection.Execute("DROP TABLE items; DROP TABLE datasets; DROP TABLE units");
}

bool HasSoundHeader(Connection& connection) {
    std::array<unsigned char, 100> header{};
    const std::size_t size = connection.ReadRaw(header);
    if (size == 0)
        return false;
    constexpr std::string_view magic("SQLite format 3\0", 16);
    if (size < header.size() || std::memcmp(header.data(), magic.data(), magic.size()) != 0)
        NotOurs("the file is not a database");
    constexpr unsigned char rollbackJournal = 1;
    if (header[18] != rollbackJournal || header[19] != rollbackJournal)
        NotOurs("the file is in write-ahead mode");
    return true;
}

int FormatOf(Connection& connection) {
    const std::int64_t id = HeaderValue(connection, "PRAGMA application_id");
    const std::int64_t version = HeaderValue(connection, "PRAGMA user_version");
    if (id == 0 && version == 0 && connection.FileBytes() == 0)
        return 0;
    if (id != applicationId)
        NotOurs("the file is not a database of this system");
    if (version < 1 || version > newestFormat)
        NotOurs("the database is of another version");
    RequireSchema(connection, static_cast<int>(version));
    return static_cast<int>(version);
}

}  // namespace dravik::store
