// Rows that vanish, move or change behind the store's back are damage, not gaps and not other values.
#include <sqlite3.h>

#include "tests/store/StoreTest.h"

namespace vorela::test {
namespace {

class LostRowTest : public StoreTest, public testing::WithParamInterface<const char*> {};

TEST_P(LostRowTest, IsADiskError) {
    {
        const Opened database(path);
        ASSERT_EQ(Write(database.New("L/C/1"), 0, Ramp(70000)), DK_OK);
        database.New("L/D/1");
    }
    sqlite3* direct = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &direct), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(direct, GetParam(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(direct);
    EXPECT_GT(sqlite3_changes(direct), 0);
    sqlite3_close(direct);
    const Opened database(path, DK_OPEN_EXISTING);
    EXPECT_EQ(database.Verify(), DK_DISK_ERROR);
    std::int32_t item = 0;
    std::vector<float> values(70000);
    std::vector<std::uint8_t> present(70000);
    std::int32_t status = DBattachA(database.handle, "L/C/1", &item, 0, nullptr);
    if (status == DK_OK)
        status = DBreadpresent(item, 0, 70000, values.data(), present.data());
    EXPECT_EQ(status, DK_DISK_ERROR);
}

INSTANTIATE_TEST_SUITE_P(
    EveryTable, LostRowTest,
    testing::Values(
        "DELETE FROM chunks WHERE place % 268435456 = 2",
        "UPDATE chunks SET place = place + 10 WHERE place % 268435456 = 2",
        "UPDATE chunks SET samples = (SELECT samples FROM chunks WHERE place % 268435456 = 1),"
        " crc = (SELECT crc FROM chunks WHERE place % 268435456 = 1) WHERE place % 268435456 = 2",
        "UPDATE chunks SET present = zeroblob(2048) WHERE place % 268435456 = 1",
        "UPDATE items SET block = (SELECT block FROM items WHERE number = 2) WHERE number = 1",
        "UPDATE items SET name = '/E/1' WHERE number = 2; UPDATE items SET name = '/C/1', dataset = 1,"
        " block = (SELECT block FROM items WHERE number = 2) WHERE number = 1",
        "UPDATE datasets SET crc = crc + 1", "UPDATE units SET text = 'bar'"));

}  // namespace
}  // namespace vorela::test
