// The contract of DKBase.h, call by call.
#include <unistd.h>

#include "tests/store/StoreTest.h"

namespace dravik::test {
namespace {

class ContractTest : public StoreTest {};

TEST_F(ContractTest, SamplesComeBackAcrossChunksAfterReopening) {
    const auto values = Ramp(30000, 0.5F);
    {
        const Opened database(path);
        const std::int32_t item = database.New("LEVEL1/ZG/1");
        ASSERT_EQ(Write(item, 0, {values.begin(), values.begin() + 16383}), DK_OK) << DBlastdetail();
        ASSERT_EQ(DBbegin(database.handle), DK_OK);
        for (std::size_t at = 16383; at < 16483; ++at)
            ASSERT_EQ(Write(item, static_cast<std::int32_t>(at) * 10, {values[at]}), DK_OK);
        ASSERT_EQ(Write(item, 164830, {values.begin() + 16483, values.end()}), DK_OK);
        EXPECT_EQ(Read(item, 0, values.size()).values, values) << "inside the transaction";
        ASSERT_EQ(DBcommit(database.handle), DK_OK);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "one file only";
    const Opened database(path, DK_OPEN_EXISTING);
    const std::int32_t item = database.Attach("LEVEL1/ZG/1");
    EXPECT_EQ(Read(item, 0, values.size()).values, values) << DBlastdetail();
    EXPECT_EQ(Read(item, 163839, 3).values, (std::vector{16383.5F, 16384.5F, 16385.5F}))
        << "between two samples: the one before";
    const Block block = database.Information("LEVEL1/ZG/1");
    EXPECT_EQ(block.First(), 0);
    EXPECT_EQ(block.Last(), 299990);
    EXPECT_EQ(database.Verify(), DK_OK);
}

TEST_F(ContractTest, GapsAreOneAndBeyondTheLastIsThirtyTwo) {
    const Opened database(path);
    const std::int32_t item = database.New("L/C/1", TimeCurve(10, -500));
    ASSERT_EQ(Write(item, 0, {1, 2, 3}), DK_OK);
    ASSERT_EQ(Write(item, 500000, {4}), DK_OK) << "far chunk, none between";
    const float some[3] = {7, 8, 9};
    const std::uint8_t flags[3] = {0, 1, 0};
    ASSERT_EQ(DBwritepresent(item, 40, 3, some, flags), DK_OK);
    EXPECT_EQ(Read(item, 0, 3).status, DK_OK);
    EXPECT_EQ(Read(item, -10, 2).status, DK_NOT_AVAILABLE);
    EXPECT_EQ(Read(item, -1000, 1).status, DK_NOT_AVAILABLE);
    EXPECT_EQ(Read(item, 0, 4).status, DK_NOT_AVAILABLE);
    EXPECT_EQ(Read(item, 50, 1).status, DK_OK);
    EXPECT_EQ(Read(item, 100000, 4).status, DK_NOT_AVAILABLE);
    EXPECT_EQ(Read(item, 500000, 2).status, DK_NOT_WRITTEN);
    EXPECT_EQ(Read(item, std::numeric_limits<std::int32_t>::max(), 4).status, DK_NOT_WRITTEN);
    float buffer[8];
    std::uint8_t present[8];
    ASSERT_EQ(DBreadpresent(item, -10, 8, buffer, present), DK_OK);
    EXPECT_EQ(std::vector(buffer, buffer + 8), (std::vector<float>{0, 1, 2, 3, 0, 0, 8, 0}));
    EXPECT_EQ(std::vector(present, present + 8), (std::vector<std::uint8_t>{0, 1, 1, 1, 0, 0, 1, 0}));
    ASSERT_EQ(DBreadpresent(item, 499990, 4, buffer, present), DK_OK);
    EXPECT_EQ(std::vector(present, present + 4), (std::vector<std::uint8_t>{0, 1, 0, 0}));
    EXPECT_EQ(database.Verify(), DK_OK);
}

TEST_F(ContractTest, RecordsKeepTheirBytesAndUnitsTheirText) {
    const Opened database(path);
    const std::int32_t item = database.New("L/_defaults_/1", RecordItem(16));
    const std::string bytes("\0\1\2\xFF of 16 bytes", 16);
    ASSERT_EQ(DBwrite(item, 0, 1, bytes.data()), DK_OK);
    std::string back(16, 'x');
    ASSERT_EQ(DBread(item, 0, 1, back.data()), DK_OK);
    EXPECT_EQ(back, bytes);
    EXPECT_EQ(DBread(item, 1, 1, back.data()), DK_NOT_WRITTEN);
    DBNewItem curve = TimeCurve(25, 100, "bbl/d");
    curve.scale = 2.5F;
    curve.madeText = "band-pass";
    database.New("L/Q/1", curve);
    database.New("L/P/1");
    const Block block = database.Information("L/Q/1");
    EXPECT_STREQ(block.Unit(), "bbl/d");
    EXPECT_EQ(FieldAt<std::int16_t>(block.bytes, DK_INFO_STEP), 25);
    EXPECT_EQ(FieldAt<float>(block.bytes, DK_INFO_SCALE), 2.5F);
    EXPECT_STREQ(block.Made(), "band-pass");
    EXPECT_LT(block.Last(), block.First());
    EXPECT_STREQ(GetUnitTextA(-1), "");
}

TEST_F(ContractTest, EnumerateKeepsTheOrderOfCreation) {
    const Opened database(path);
    database.New("Z/B/1");
    database.New("Z/A/1");
    database.New("A/X/1");
    ASSERT_EQ(DBdeleteA(database.handle, "Z/B/1"), DK_OK);
    database.New("Z/B/1");
    EXPECT_EQ(database.Listed(nullptr), "Z2 A2 ");
    EXPECT_EQ(database.Listed("Z"), "/A/10 /B/10 ");
}

TEST_F(ContractTest, ARolledBackTransactionLeavesNothing) {
    Opened database(path);
    const std::int32_t item = database.New("L/C/1");
    ASSERT_EQ(DBbegin(database.handle), DK_OK);
    ASSERT_EQ(Write(item, 0, Ramp(10)), DK_OK);
    database.New("L/D/1");
    const Opened other(path, DK_OPEN_EXISTING);
    EXPECT_LT(other.Information("L/C/1").Last(), 0) << "another handle sees the state before";
    database.Close();
    std::int32_t gone = 77;
    EXPECT_EQ(DBattachA(other.handle, "L/D/1", &gone, 0, nullptr), DK_NOT_AVAILABLE);
    EXPECT_EQ(gone, 77);
    EXPECT_LT(other.Information("L/C/1").Last(), 0);
}

TEST_F(ContractTest, EachMisuseHasItsStatusAndTouchesNothing) {
    const Opened database(path);
    const std::int32_t item = database.New("L/C/1", TimeCurve(10, 100), {1, 2});
    const std::string before = ReadAll(path);
    const float some[2] = {};
    const std::uint8_t flags[2] = {1, 1};
    const DBNewItem curve = TimeCurve();
    std::int32_t handle = 4242;
    const std::string tooLong = "L/" + std::string(300, 'x') + "/1";
    const std::int32_t last = std::numeric_limits<std::int32_t>::max();
    const std::tuple<const char*, std::int32_t, std::int32_t> cases[] = {
        {"write off the grid", DBwrite(item, 105, 1, some), DK_NOT_UNDERSTOOD},
        {"write before the grid", DBwrite(item, 90, 1, some), DK_NOT_UNDERSTOOD},
        {"negative count", DBwrite(item, 100, -1, some), DK_NOT_UNDERSTOOD},
        {"no buffer", DBwrite(item, 100, 1, nullptr), DK_NOT_UNDERSTOOD},
        {"no flags", DBwritepresent(item, 100, 1, some, nullptr), DK_NOT_UNDERSTOOD},
        {"beyond 32 bits", DBwrite(item, last - 7, 2, some), DK_MAXIMUM},
        {"bad item", DBwritepresent(database.handle, 100, 1, some, flags), DK_NOT_UNDERSTOOD},
        {"bad database", DBbegin(item), DK_NOT_UNDERSTOOD},
        {"commit of nothing", DBcommit(database.handle), DK_NOT_UNDERSTOOD},
        {"exists", DBnewA(database.handle, "L/C/1", &curve), DK_EXISTS},
        {"dataset only", DBnewA(database.handle, "L", &curve), DK_NOT_UNDERSTOOD},
        {"too long", DBnewA(database.handle, tooLong.c_str(), &curve), DK_MAXIMUM},
        {"no dataset", DBattachA(database.handle, "/C/1", &handle, 0, nullptr), DK_NOT_UNDERSTOOD},
        {"empty segment", DBattachA(database.handle, "L//1", &handle, 0, nullptr), DK_NOT_UNDERSTOOD},
        {"not there", DBattachA(database.handle, "L/D/1", &handle, 0, nullptr), DK_NOT_AVAILABLE},
        {"nothing to delete", DBdeleteA(database.handle, "M"), DK_NOT_AVAILABLE},
        {"made text too long", DBmark(item, 0, 1, std::string(96, 'm').c_str()), DK_MAXIMUM},
    };
    for (const auto& [what, status, expected] : cases)
        EXPECT_EQ(status, expected) << what;
    EXPECT_EQ(handle, 4242);
    EXPECT_EQ(ReadAll(path), before);
    const std::int32_t dataset = database.Attach("L");
    EXPECT_EQ(DBwrite(dataset, 0, 1, some), DK_NOT_UNDERSTOOD);
    EXPECT_EQ(DBmark(dataset, 0, 1, nullptr), DK_NOT_UNDERSTOOD);
    EXPECT_EQ(DBdetach(dataset), DK_OK);
    EXPECT_EQ(DBdetach(dataset), DK_NOT_UNDERSTOOD);
}

TEST_F(ContractTest, AHandleOfADeletedItemStaysVoidWhenTheItemIsMadeAnew) {
    const Opened database(path);
    const std::int32_t old = database.New("L/C/1", TimeCurve(), Ramp(20000));
    const std::int32_t dataset = database.Attach("L");
    ASSERT_EQ(DBdeleteA(database.handle, "L"), DK_OK);
    database.New("L/C/1");
    EXPECT_EQ(Read(old, 0, 1).status, DK_NOT_AVAILABLE);
    EXPECT_EQ(Write(old, 0, {1}), DK_NOT_AVAILABLE);
    Block block;
    EXPECT_EQ(DBinformation(dataset, block.bytes), DK_NOT_AVAILABLE);
    EXPECT_EQ(database.Verify(), DK_OK) << "no chunk is left over";
}

TEST_F(ContractTest, ADatasetShowsItsFirstCurveAndAMarkIsKept) {
    const Opened database(path);
    database.New("L/_defaults_/1", RecordItem(8));
    EXPECT_EQ(FieldAt<std::int16_t>(database.Information("L").bytes, DK_INFO_INDEX_KIND), DK_INDEX_DEPTH);
    const std::int32_t item = database.New("L/C/1", TimeCurve(20, 40));
    ASSERT_EQ(Write(item, 80, {1, 2}), DK_OK);
    ASSERT_EQ(DBmark(item, 80, 100, "difference, N 3"), DK_OK);
    ASSERT_EQ(DBmark(item, 60, 100, nullptr), DK_OK);
    const Block dataset = database.Information("L");
    EXPECT_EQ(FieldAt<std::int16_t>(dataset.bytes, DK_INFO_KIND), DK_ITEM_DATASET);
    EXPECT_EQ(FieldAt<std::int16_t>(dataset.bytes, DK_INFO_STEP), 20);
    EXPECT_EQ(dataset.First(), 80);
    EXPECT_EQ(dataset.Last(), 100);
    const Block curve = database.Information("L/C/1");
    EXPECT_EQ(FieldAt<std::int32_t>(curve.bytes, DK_INFO_VALID_FIRST), 60);
    EXPECT_STREQ(curve.Made(), "difference, N 3");
}

TEST_F(ContractTest, AReadOnlyDatabaseIsReadAndRefusesWriting) {
    Opened(path).New("L/C/1", TimeCurve(), {1, 2, 3});
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0555));
    std::filesystem::permissions(path, std::filesystem::perms(0444));
    const uid_t user = geteuid();
    if (user == 0) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    for (const std::int16_t mode : {DK_OPEN_EXISTING, DK_OPEN_READ_ONLY}) {
        const Opened database(path, mode);
        ASSERT_EQ(database.status, DK_OK) << DBlastdetail();
        const std::int32_t item = database.Attach("L/C/1");
        EXPECT_EQ(Read(item, 0, 3).status, DK_OK);
        EXPECT_EQ(Write(item, 0, {9}), DK_DISK_ERROR);
        EXPECT_EQ(DBbegin(database.handle), DK_DISK_ERROR);
    }
    std::int32_t handle = 0;
    EXPECT_EQ(DBopenA(folder.File("new.dkb").c_str(), DK_OPEN_CREATE, &handle), DK_DISK_ERROR);
    ASSERT_EQ(seteuid(user), 0);
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0755));
    const Opened writable(path, DK_OPEN_READ_ONLY);
    EXPECT_EQ(DBdeleteA(writable.handle, "L"), DK_DISK_ERROR) << "by the mode alone";
}

TEST_F(ContractTest, TheChooserIsHandedInAndItsChoiceReleased) {
    DBMultiSelect* selection = nullptr;
    EXPECT_EQ(InitWin(0), 0);
    EXPECT_EQ(DBselectA(&selection), DK_NOT_AVAILABLE);
    const auto choose = [](void* context, DBMultiSelect* chosen) -> std::int32_t {
        for (const std::string& choice : *static_cast<std::vector<std::string>*>(context))
            EXPECT_EQ(DBselectionadd(chosen, choice.c_str()), DK_OK);
        return 1;
    };
    std::vector<std::string> wanted;
    DBsetchooser(choose, &wanted);
    EXPECT_NE(InitWin(0), 0);
    EXPECT_EQ(DBselectA(&selection), DK_NOT_AVAILABLE);
    EXPECT_EQ(selection, nullptr);
    wanted = {"/data/a.dkb/L0", "/data/a.dkb/L1"};
    ASSERT_EQ(DBselectA(&selection), DK_OK);
    EXPECT_EQ(std::vector<std::string>(selection->paths, selection->paths + selection->count), wanted);
    DBreleaseMS(selection);
    DBsetchooser(nullptr, nullptr);
}

TEST_F(ContractTest, ASettingTakesItsOwnValuesOnly) {
    EXPECT_EQ(SetDravikSetting(DK_SETTING_DEPTH_UNIT, 1), DK_OK);
    EXPECT_EQ(SetDravikSetting(DK_SETTING_DEPTH_UNIT, 2), DK_NOT_UNDERSTOOD);
    EXPECT_EQ(GetDravikSetting(DK_SETTING_DEPTH_UNIT), 1);
    EXPECT_EQ(SetDravikSetting(DK_SETTING_DEPTH_UNIT, 0), DK_OK);
}

extern "C" unsigned long NewItemBytesInC();

TEST(HeaderTest, HasOneLayoutInCAndCpp) {
    EXPECT_EQ(NewItemBytesInC(), sizeof(DBNewItem));
}

}  // namespace
}  // namespace dravik::test
