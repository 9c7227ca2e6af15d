// The contract of DKBase.h, call by call, against the loaded module.
#include <sys/stat.h>

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
        ASSERT_EQ(WriteAllOf(item, 0, {values.begin(), values.begin() + 8191}), DK_OK) << Dk().DBlastdetail();
        for (std::size_t at = 8191; at < 8291; ++at)
            ASSERT_EQ(WriteAllOf(item, static_cast<std::int32_t>(at) * 10, {values[at]}), DK_OK);
        ASSERT_EQ(WriteAllOf(item, 82910, {values.begin() + 8291, values.end()}), DK_OK);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "one file only";
    const Opened database(path, DK_OPEN_EXISTING);
    const std::int32_t item = database.Attach("LEVEL1/ZG/1");
    std::vector<float> back(values.size());
    ASSERT_EQ(ReadInto(item, 0, back), DK_OK) << Dk().DBlastdetail();
    EXPECT_EQ(back, values);
    back.resize(3);
    ASSERT_EQ(ReadInto(item, 81919, back), DK_OK);
    EXPECT_EQ(back, (std::vector{8191.5F, 8192.5F, 8193.5F})) << "between two samples: the one before";
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

}  // namespace
}  // namespace vorela::test
