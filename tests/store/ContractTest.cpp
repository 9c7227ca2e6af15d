// The contract of DKBase.h, call by call, against the loaded module.
#include <unistd.h>

#include <filesystem>
#include <limits>

#include "tests/store/Module.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

class ContractTest : public testing::Test {
  protected:
    TempFolder folder;
    std::string path = folder.File("a.dkb");
};

std::int32_t ReadInto(std::int32_t item, std::int32_t first, std::vector<float>& values) {
    return Dk().DBread(item, first, static_cast<std::int32_t>(values.size()), values.data());
}

std::int32_t WriteAllOf(std::int32_t item, std::int32_t first, const std::vector<float>& values) {
    return Dk().DBwrite(item, first, static_cast<std::int32_t>(values.size()), values.data());
}

TEST_F(ContractTest, SamplesComeBackAcrossChunksAfterReopening) {
    const auto values = Ramp(30000, 0.5F);
    {
        const Opened database(path);
        const std::int32_t item = database.New("LEVEL1/ZG/1");
        ASSERT_EQ(WriteAllOf(item, 0, {values.begin(), values.begin() + 16383}), DK_OK)
            << Dk().DBlastdetail();
        ASSERT_EQ(Dk().DBbegin(database.handle), DK_OK);
        for (std::size_t at = 16383; at < 16483; ++at)
            ASSERT_EQ(WriteAllOf(item, static_cast<std::int32_t>(at) * 10, {values[at]}), DK_OK);
        ASSERT_EQ(WriteAllOf(item, 164830, {values.begin() + 16483, values.end()}), DK_OK);
        std::vector<float> inside(values.size());
        EXPECT_EQ(ReadInto(item, 0, inside), DK_OK);
        EXPECT_EQ(inside, values) << "inside the transaction";
        ASSERT_EQ(Dk().DBcommit(database.handle), DK_OK);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "one file only";
    const Opened database(path, DK_OPEN_EXISTING);
    const std::int32_t item = database.Attach("LEVEL1/ZG/1");
    std::vector<float> back(values.size());
    ASSERT_EQ(ReadInto(item, 0, back), DK_OK) << Dk().DBlastdetail();
    EXPECT_EQ(back, values);
    back.resize(3);
    ASSERT_EQ(ReadInto(item, 163839, back), DK_OK);
    EXPECT_EQ(back, (std::vector{16383.5F, 16384.5F, 16385.5F})) << "between two samples: the one before";
    const Block block = database.Information("LEVEL1/ZG/1");
    EXPECT_EQ(block.First(), 0);
    EXPECT_EQ(block.Last(), 299990);
    EXPECT_EQ(Dk().DBverify(database.handle, nullptr, nullptr), DK_OK);
}

TEST_F(ContractTest, GapsAreOneAndBeyondTheLastIsThirtyTwo) {
    const Opened database(path);
    const std::int32_t item = database.New("L/C/1", TimeCurve(10, -500));
    ASSERT_EQ(WriteAllOf(item, 0, {1, 2, 3}), DK_OK);
    ASSERT_EQ(WriteAllOf(item, 500000, {4}), DK_OK) << "far chunk, none between";
    const float some[3] = {7, 8, 9};
    const std::uint8_t flags[3] = {0, 1, 0};
    ASSERT_EQ(Dk().DBwritepresent(item, 40, 3, some, flags), DK_OK);
    const std::vector<float> fill(4, -99.0F);
    const auto statusOf = [&](std::int32_t first, std::int32_t count) {
        std::vector<float> buffer = fill;
        const std::int32_t status = Dk().DBread(item, first, count, buffer.data());
        if (status != DK_OK) {
            EXPECT_EQ(buffer, fill) << "outputs stay";
        }
        return status;
    };
    EXPECT_EQ(statusOf(0, 3), DK_OK);
    EXPECT_EQ(statusOf(-10, 2), DK_NOT_AVAILABLE);
    EXPECT_EQ(statusOf(-1000, 1), DK_NOT_AVAILABLE);
    EXPECT_EQ(statusOf(0, 4), DK_NOT_AVAILABLE);
    EXPECT_EQ(statusOf(50, 1), DK_OK);
    EXPECT_EQ(statusOf(100000, 4), DK_NOT_AVAILABLE);
    EXPECT_EQ(statusOf(500000, 2), DK_NOT_WRITTEN);
    EXPECT_EQ(statusOf(std::numeric_limits<std::int32_t>::max(), 4), DK_NOT_WRITTEN);
    float buffer[8];
    std::uint8_t present[8];
    ASSERT_EQ(Dk().DBreadpresent(item, -10, 8, buffer, present), DK_OK);
    EXPECT_EQ(std::vector(buffer, buffer + 8), (std::vector<float>{0, 1, 2, 3, 0, 0, 8, 0}));
    EXPECT_EQ(std::vector(present, present + 8), (std::vector<std::uint8_t>{0, 1, 1, 1, 0, 0, 1, 0}));
    ASSERT_EQ(Dk().DBreadpresent(item, 499990, 4, buffer, present), DK_OK);
    EXPECT_EQ(std::vector(present, present + 4), (std::vector<std::uint8_t>{0, 1, 0, 0}));
    EXPECT_EQ(Dk().DBverify(database.handle, nullptr, nullptr), DK_OK);
}

TEST_F(ContractTest, RecordsKeepTheirBytesAndUnitsTheirText) {
    const Opened database(path);
    DBNewItem record{};
    record.kind = DK_ITEM_RECORD;
    record.sampleBytes = 32;
    const std::int32_t item = database.New("L/_defaults_/1", record);
    unsigned char bytes[32];
    for (unsigned char i = 0; i < 32; ++i)
        bytes[i] = i;
    ASSERT_EQ(Dk().DBwrite(item, 0, 1, bytes), DK_OK);
    unsigned char back[32] = {};
    ASSERT_EQ(Dk().DBread(item, 0, 1, back), DK_OK);
    EXPECT_EQ(std::memcmp(bytes, back, 32), 0);
    EXPECT_EQ(Dk().DBread(item, 1, 1, back), DK_NOT_WRITTEN);
    DBNewItem curve = TimeCurve(25, 100, "bbl/d");
    curve.scale = 2.5F;
    curve.madeText = "band-pass";
    database.New("L/Q/1", curve);
    database.New("L/P/1", TimeCurve());
    const Block block = database.Information("L/Q/1");
    EXPECT_STREQ(Dk().GetUnitTextA(FieldAt<std::int32_t>(block.bytes, DK_INFO_UNIT)), "bbl/d");
    EXPECT_EQ(FieldAt<std::int16_t>(block.bytes, DK_INFO_STEP), 25);
    EXPECT_EQ(FieldAt<float>(block.bytes, DK_INFO_SCALE), 2.5F);
    EXPECT_STREQ(reinterpret_cast<const char*>(block.bytes) + DK_INFO_MADE, "band-pass");
    EXPECT_LT(block.Last(), block.First());
    EXPECT_STREQ(Dk().GetUnitTextA(-1), "");
}

TEST_F(ContractTest, EnumerateKeepsTheOrderOfCreation) {
    const Opened database(path);
    database.New("Z/B/1");
    database.New("Z/A/1");
    database.New("A/X/1");
    ASSERT_EQ(Dk().DBdeleteA(database.handle, "Z/B/1"), DK_OK);
    database.New("Z/B/1");
    const auto names = [&](const char* dataset) {
        std::string all;
        const auto add = [](void* context, const char* name, const void*) -> std::int32_t {
            *static_cast<std::string*>(context) += std::string(name) + " ";
            return 0;
        };
        EXPECT_EQ(Dk().DBenumA(database.handle, dataset, add, &all), DK_OK);
        return all;
    };
    EXPECT_EQ(names(nullptr), "Z A ");
    EXPECT_EQ(names("Z"), "/A/1 /B/1 ");
}

TEST_F(ContractTest, ARolledBackTransactionLeavesNothing) {
    Opened database(path);
    const std::int32_t item = database.New("L/C/1");
    ASSERT_EQ(Dk().DBbegin(database.handle), DK_OK);
    ASSERT_EQ(WriteAllOf(item, 0, Ramp(10)), DK_OK);
    database.New("L/D/1");
    const Opened other(path, DK_OPEN_EXISTING);
    EXPECT_LT(other.Information("L/C/1").Last(), 0) << "another handle sees the state before";
    database.Close();
    std::int32_t gone = 77;
    EXPECT_EQ(Dk().DBattachA(other.handle, "L/D/1", &gone, 0, nullptr), DK_NOT_AVAILABLE);
    EXPECT_EQ(gone, 77);
    EXPECT_LT(other.Information("L/C/1").Last(), 0);
}

TEST_F(ContractTest, EachMisuseHasItsStatusAndTouchesNothing) {
    const Opened database(path);
    const std::int32_t item = database.New("L/C/1", TimeCurve(10, 100));
    ASSERT_EQ(WriteAllOf(item, 100, {1, 2}), DK_OK);
    const std::string before = ReadAll(path);
    const float some[2] = {};
    const std::uint8_t flags[2] = {1, 1};
    const DBNewItem curve = TimeCurve();
    std::int32_t handle = 4242;
    const std::string tooLong = "L/" + std::string(300, 'x') + "/1";
    const std::int32_t last = std::numeric_limits<std::int32_t>::max();
    const struct {
        const char* what;
        std::int32_t status;
        std::int32_t expected;
    } cases[] = {
        {"write off the grid", Dk().DBwrite(item, 105, 1, some), DK_NOT_UNDERSTOOD},
        {"write before the grid", Dk().DBwrite(item, 90, 1, some), DK_NOT_UNDERSTOOD},
        {"negative count", Dk().DBwrite(item, 100, -1, some), DK_NOT_UNDERSTOOD},
        {"no buffer", Dk().DBwrite(item, 100, 1, nullptr), DK_NOT_UNDERSTOOD},
        {"no flags", Dk().DBwritepresent(item, 100, 1, some, nullptr), DK_NOT_UNDERSTOOD},
        {"beyond 32 bits", Dk().DBwrite(item, last - 7, 2, some), DK_MAXIMUM},
        {"bad item", Dk().DBwritepresent(database.handle, 100, 1, some, flags), DK_NOT_UNDERSTOOD},
        {"bad database", Dk().DBbegin(item), DK_NOT_UNDERSTOOD},
        {"commit of nothing", Dk().DBcommit(database.handle), DK_NOT_UNDERSTOOD},
        {"exists", Dk().DBnewA(database.handle, "L/C/1", &curve), DK_EXISTS},
        {"dataset only", Dk().DBnewA(database.handle, "L", &curve), DK_NOT_UNDERSTOOD},
        {"too long", Dk().DBnewA(database.handle, tooLong.c_str(), &curve), DK_MAXIMUM},
        {"no dataset", Dk().DBattachA(database.handle, "/C/1", &handle, 0, nullptr), DK_NOT_UNDERSTOOD},
        {"empty segment", Dk().DBattachA(database.handle, "L//1", &handle, 0, nullptr), DK_NOT_UNDERSTOOD},
        {"not there", Dk().DBattachA(database.handle, "L/D/1", &handle, 0, nullptr), DK_NOT_AVAILABLE},
        {"nothing to delete", Dk().DBdeleteA(database.handle, "M"), DK_NOT_AVAILABLE},
        {"made text too long", Dk().DBmark(item, 0, 1, std::string(96, 'm').c_str()), DK_MAXIMUM},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.status, one.expected) << one.what;
    EXPECT_EQ(handle, 4242);
    EXPECT_EQ(ReadAll(path), before);
    const std::int32_t dataset = database.Attach("L");
    EXPECT_EQ(Dk().DBwrite(dataset, 0, 1, some), DK_NOT_UNDERSTOOD);
    EXPECT_EQ(Dk().DBmark(dataset, 0, 1, nullptr), DK_NOT_UNDERSTOOD);
    EXPECT_EQ(Dk().DBdetach(dataset), DK_OK);
    EXPECT_EQ(Dk().DBdetach(dataset), DK_NOT_UNDERSTOOD);
}

TEST_F(ContractTest, AHandleOfADeletedItemStaysVoidWhenTheItemIsMadeAnew) {
    const Opened database(path);
    const std::int32_t old = database.New("L/C/1");
    ASSERT_EQ(WriteAllOf(old, 0, Ramp(20000)), DK_OK);
    const std::int32_t dataset = database.Attach("L");
    ASSERT_EQ(Dk().DBdeleteA(database.handle, "L"), DK_OK);
    database.New("L/C/1");
    std::vector<float> one(1);
    EXPECT_EQ(ReadInto(old, 0, one), DK_NOT_AVAILABLE);
    EXPECT_EQ(WriteAllOf(old, 0, {1}), DK_NOT_AVAILABLE);
    Block block;
    EXPECT_EQ(Dk().DBinformation(dataset, block.bytes), DK_NOT_AVAILABLE);
    EXPECT_EQ(Dk().DBverify(database.handle, nullptr, nullptr), DK_OK) << "no chunk is left over";
}

TEST_F(ContractTest, ADatasetShowsItsFirstCurveAndAMarkIsKept) {
    const Opened database(path);
    DBNewItem record{};
    record.kind = DK_ITEM_RECORD;
    record.sampleBytes = 8;
    database.New("L/_defaults_/1", record);
    EXPECT_EQ(FieldAt<std::int16_t>(database.Information("L").bytes, DK_INFO_INDEX_KIND), DK_INDEX_DEPTH);
    const std::int32_t item = database.New("L/C/1", TimeCurve(20, 40));
    ASSERT_EQ(WriteAllOf(item, 80, {1, 2}), DK_OK);
    ASSERT_EQ(Dk().DBmark(item, 80, 100, "difference, N 3"), DK_OK);
    ASSERT_EQ(Dk().DBmark(item, 60, 100, nullptr), DK_OK);
    const Block dataset = database.Information("L");
    EXPECT_EQ(FieldAt<std::int16_t>(dataset.bytes, DK_INFO_KIND), DK_ITEM_DATASET);
    EXPECT_EQ(FieldAt<std::int16_t>(dataset.bytes, DK_INFO_STEP), 20);
    EXPECT_EQ(dataset.First(), 80);
    EXPECT_EQ(dataset.Last(), 100);
    const Block curve = database.Information("L/C/1");
    EXPECT_EQ(FieldAt<std::int32_t>(curve.bytes, DK_INFO_VALID_FIRST), 60);
    EXPECT_STREQ(reinterpret_cast<const char*>(curve.bytes) + DK_INFO_MADE, "difference, N 3");
}

TEST_F(ContractTest, AReadOnlyDatabaseIsReadAndRefusesWriting) {
    {
        const Opened database(path);
        ASSERT_EQ(WriteAllOf(database.New("L/C/1"), 0, {1, 2, 3}), DK_OK);
    }
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0555));
    std::filesystem::permissions(path, std::filesystem::perms(0444));
    const uid_t user = geteuid();
    if (user == 0) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    for (const std::int16_t mode : {DK_OPEN_EXISTING, DK_OPEN_READ_ONLY}) {
        const Opened database(path, mode);
        ASSERT_EQ(database.status, DK_OK) << Dk().DBlastdetail();
        const std::int32_t item = database.Attach("L/C/1");
        std::vector<float> back(3);
        EXPECT_EQ(ReadInto(item, 0, back), DK_OK);
        EXPECT_EQ(WriteAllOf(item, 0, {9}), DK_DISK_ERROR);
        EXPECT_EQ(Dk().DBbegin(database.handle), DK_DISK_ERROR);
    }
    std::int32_t handle = 0;
    EXPECT_EQ(Dk().DBopenA(folder.File("new.dkb").c_str(), DK_OPEN_CREATE, &handle), DK_DISK_ERROR);
    ASSERT_EQ(seteuid(user), 0);
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0755));
    const Opened writable(path, DK_OPEN_READ_ONLY);
    EXPECT_EQ(Dk().DBdeleteA(writable.handle, "L"), DK_DISK_ERROR) << "by the mode alone";
}

TEST_F(ContractTest, TheChooserIsHandedInAndItsChoiceReleased) {
    DBMultiSelect* selection = nullptr;
    EXPECT_EQ(Dk().InitWin(0), 0);
    EXPECT_EQ(Dk().DBselectA(&selection), DK_NOT_AVAILABLE);
    const auto choose = [](void* context, DBMultiSelect* chosen) -> std::int32_t {
        for (int i = 0; i < *static_cast<int*>(context); ++i)
            EXPECT_EQ(Dk().DBselectionadd(chosen, ("/data/a.dkb/L" + std::to_string(i)).c_str()), DK_OK);
        return 1;
    };
    int wanted = 0;
    Dk().DBsetchooser(choose, &wanted);
    EXPECT_NE(Dk().InitWin(0), 0);
    EXPECT_EQ(Dk().DBselectA(&selection), DK_NOT_AVAILABLE);
    EXPECT_EQ(selection, nullptr);
    wanted = 3;
    ASSERT_EQ(Dk().DBselectA(&selection), DK_OK);
    ASSERT_EQ(selection->count, 3);
    EXPECT_STREQ(selection->paths[2], "/data/a.dkb/L2");
    Dk().DBreleaseMS(selection);
    Dk().DBsetchooser(nullptr, nullptr);
    EXPECT_EQ(Dk().SetDravikSetting(DK_SETTING_DEPTH_UNIT, 1), DK_OK);
    EXPECT_EQ(Dk().GetDravikSetting(DK_SETTING_DEPTH_UNIT), 1);
    EXPECT_EQ(Dk().SetDravikSetting(DK_SETTING_DEPTH_UNIT, 2), DK_NOT_UNDERSTOOD);
    EXPECT_EQ(Dk().SetDravikSetting(DK_SETTING_DEPTH_UNIT, 0), DK_OK);
}

extern "C" unsigned long NewItemBytesInC();

TEST(HeaderTest, HasOneLayoutInCAndCpp) {
    EXPECT_EQ(NewItemBytesInC(), sizeof(DBNewItem));
}

}  // namespace
}  // namespace vorela::test
