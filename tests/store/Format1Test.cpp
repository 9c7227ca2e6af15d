// Files of the version before: read as they are, raised by the first write, what is damaged stays damaged.
#include <sqlite3.h>

#include "dravik/store/Crc32c.h"
#include "tests/store/StoreTest.h"

namespace dravik::test {
namespace {

class Format1Test : public StoreTest {
  protected:
    void Execute(const std::string& sql) {
        EXPECT_EQ(sqlite3_exec(direct_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sql << sqlite3_errmsg(direct_);
    }

    /// The checksum that a row of that version had.
    static void OldSum(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
        const char kind = *reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
        const std::int64_t head[2] = {sqlite3_value_int64(values[1]), sqlite3_value_int64(values[2])};
        const auto length = static_cast<std::uint64_t>(sqlite3_value_bytes(values[3]));
        std::uint32_t crc = store::Crc32c(head, sizeof head, store::Crc32c(&kind, 1));
        crc =
            store::Crc32c(sqlite3_value_text(values[3]), length, store::Crc32c(&length, sizeof length, crc));
        crc = store::Crc32c(sqlite3_value_blob(values[4]),
                            static_cast<std::size_t>(sqlite3_value_bytes(values[4])), crc);
        sqlite3_result_int64(context, crc);
    }
    /// A block with the file's unit code, the number of chunks and the sum of their numbers.
    static void OldBlock(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
        std::string block(static_cast<const char*>(sqlite3_value_blob(values[0])), DK_INFO_BYTES);
        const auto put = [&](std::size_t at, std::int64_t value, std::size_t bytes) {
            std::memcpy(block.data() + at, &value, bytes);
        };
        put(DK_INFO_UNIT, sqlite3_value_int64(values[1]), 4);
        put(136, sqlite3_value_int64(values[2]), 4);
        put(144, sqlite3_value_int64(values[3]), 8);
        sqlite3_result_blob(context, block.data(), DK_INFO_BYTES, SQLITE_TRANSIENT);
    }

    /// The same content as that version would have written it.
    void MakeOld() {
        const int flags = SQLITE_UTF8;
        ASSERT_EQ(sqlite3_open(path.c_str(), &direct_), SQLITE_OK);
        sqlite3_create_function(direct_, "oldsum", 5, flags, nullptr, OldSum, nullptr, nullptr);
        sqlite3_create_function(direct_, "oldblock", 4, flags, nullptr, OldBlock, nullptr, nullptr);
        Execute(
            "BEGIN;"
            "CREATE TABLE units(code INTEGER PRIMARY KEY, text TEXT NOT NULL UNIQUE, crc INTEGER NOT NULL);"
            "CREATE TABLE datasets(number INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE, crc "
            "INTEGER NOT NULL);"
            "CREATE TABLE items(number INTEGER PRIMARY KEY AUTOINCREMENT, dataset INTEGER NOT NULL, name TEXT"
            " NOT NULL, block BLOB NOT NULL, crc INTEGER NOT NULL, UNIQUE(dataset, name));"
            "INSERT INTO units SELECT row_number() OVER (ORDER BY unit), unit, 0 FROM items2 GROUP BY unit;"
            "UPDATE units SET crc = oldsum('U', code, 0, text, x'');"
            "INSERT INTO datasets SELECT number, name, oldsum('D', number, 0, name, x'') FROM datasets2;"
            "INSERT INTO items SELECT number, dataset, name, oldblock(block, (SELECT code FROM units WHERE"
            " text = unit), count(place), total(place & 268435455)), 0 FROM items2 LEFT JOIN chunks"
            " ON place >> 28 = number GROUP BY number;"
            "UPDATE items SET crc = oldsum('I', number, dataset, name, block);"
            "DROP TABLE items2; DROP TABLE datasets2; DROP TABLE catalogue; PRAGMA user_version = 1; COMMIT");
    }

    Format1Test() {
        {
            const Opened database(path);
            const std::int32_t sparse = database.New("L/ZG/1", TimeCurve(), Ramp(40000));
            EXPECT_EQ(Write(sparse, 900000, Ramp(10)), DK_OK);
            database.New("L/RTC/1", TimeCurve(20, 40, "rps"), Ramp(10));
            database.New("M/ZG/1", TimeCurve(), Ramp(20000));
            database.New("M/X/1");
            EXPECT_EQ(DBdeleteA(database.handle, "M/X/1"), DK_OK);
        }
        MakeOld();
    }
    ~Format1Test() override { sqlite3_close(direct_); }

    /// As the file's header says it.
    int Version() const { return ReadAll(path)[63]; }

    static void ExpectContent(const Opened& database) {
        EXPECT_EQ(Read(database.Attach("L/ZG/1"), 0, 40000).values, Ramp(40000));
        EXPECT_EQ(Read(database.Attach("L/ZG/1"), 500000, 1).status, DK_NOT_AVAILABLE) << "a gap";
        EXPECT_EQ(Read(database.Attach("L/ZG/1"), 900000, 10).values, Ramp(10));
        EXPECT_EQ(Read(database.Attach("M/ZG/1"), 0, 20000).values, Ramp(20000));
        EXPECT_STREQ(database.Information("L/RTC/1").Unit(), "rps");
        EXPECT_EQ(FieldAt<std::int16_t>(database.Information("L/RTC/1").bytes, DK_INFO_STEP), 20);
        std::int32_t item = 0;
        EXPECT_EQ(DBattachA(database.handle, "M/X/1", &item, 0, nullptr), DK_NOT_AVAILABLE);
        EXPECT_EQ(database.Verify(), DK_OK) << DBlastdetail();
    }

    sqlite3* direct_ = nullptr;
};

TEST_F(Format1Test, IsReadAsItIsAndRaisedByTheFirstWrite) {
    const Opened database(path, DK_OPEN_EXISTING);
    const Opened reader(path, DK_OPEN_READ_ONLY);
    ExpectContent(database);
    ExpectContent(reader);
    const std::int32_t item = database.Attach("L/RTC/1");
    ASSERT_EQ(DBbegin(database.handle), DK_OK) << DBlastdetail();
    EXPECT_EQ(Write(item, 240, {10, 11}), DK_OK);
    ASSERT_EQ(DBrollback(database.handle), DK_OK);
    EXPECT_EQ(Version(), 1) << "rolled back";
    ExpectContent(database);
    ASSERT_EQ(Write(item, 240, {10, 11}), DK_OK) << DBlastdetail();
    EXPECT_EQ(Version(), 2);
    for (const Opened* each : {&database, &reader}) {
        ExpectContent(*each);
        EXPECT_EQ(Read(each->Attach("L/RTC/1"), 40, 12).values, Ramp(12));
    }
}

TEST_F(Format1Test, WhatIsDamagedStaysSoAndStopsNothingElse) {
    Execute(
        "UPDATE items SET crc = crc + 1 WHERE name = '/RTC/1';"
        "UPDATE chunks SET samples = zeroblob(65536) WHERE place = (SELECT min(place) FROM chunks);"
        "DELETE FROM chunks WHERE place = (SELECT max(place) FROM chunks)");
    const Opened database(path, DK_OPEN_EXISTING);
    for (const int version : {1, 2}) {
        EXPECT_EQ(Version(), version);
        std::int32_t item = 0;
        EXPECT_EQ(DBattachA(database.handle, "L/RTC/1", &item, 0, nullptr), DK_DISK_ERROR);
        item = database.Attach("L/ZG/1");
        EXPECT_EQ(Read(item, 0, 10).status, DK_DISK_ERROR) << "the first chunk";
        EXPECT_EQ(Read(item, 163840, 10).values, Ramp(10, 16384));
        item = database.Attach("M/ZG/1");
        EXPECT_EQ(Read(item, 0, 10).values, Ramp(10));
        EXPECT_EQ(Read(item, 163840, 10).status, DK_DISK_ERROR) << "the chunk that is gone";
        EXPECT_EQ(database.Verify(), DK_DISK_ERROR);
        database.New("N" + std::to_string(version) + "/ZG/1", TimeCurve(), Ramp(10));
    }
}

}  // namespace
}  // namespace dravik::test
