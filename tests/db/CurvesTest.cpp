// The curve reader and writer on a real database.
#include <gmock/gmock.h>

#include <random>

#include "db/Curves.h"
#include "general/RunTimeError.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

using test::CurveSpec;
using testing::HasSubstr;

class Curves : public test::DravikFixture {
  protected:
    /// 2 · index with a gap at 400, grid 100, 110, …, samples 40000 so that several blocks are read.
    static CurveSpec Line() {
        return {"LINE", "psi", 40000,
                [](std::int32_t t) { return t == 400 ? std::nullopt : std::optional(2.0 * t); }, 100};
    }
    static DerivedCurve Derived() { return {10, 100, "psi", 1.0F, 0.0F, "made by a test"}; }
    static constexpr std::int32_t lastIndex = 100 + 39999 * 10;
};

std::string DescriptionOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const RunTimeError& error) {
        return error.description;
    }
    return "nothing was thrown";
}

TEST_F(Curves, ReaderInterpolatesBetweenSamplesAndHoldsTheOneBeforeForCodes) {
    AddCurve("L", Line());
    const Database database(DatabasePath());
    CurveReader linear(database, "L", "LINE", Between::linear);
    CurveReader before(database, "L", "LINE", Between::sampleBefore);
    EXPECT_EQ(linear.At(103), 206.0);
    EXPECT_EQ(linear.At(103.25), 206.5);
    EXPECT_EQ(before.At(109), 200.0);
    EXPECT_EQ(linear.At(lastIndex), 2.0 * lastIndex);
    EXPECT_FALSE(linear.At(99.9));
    EXPECT_FALSE(linear.At(lastIndex + 0.5));
    EXPECT_FALSE(before.At(lastIndex + 1));
}

TEST_F(Curves, AGapIsNotBridged) {
    AddCurve("L", Line());
    const Database database(DatabasePath());
    CurveReader linear(database, "L", "LINE", Between::linear);
    CurveReader before(database, "L", "LINE", Between::sampleBefore);
    EXPECT_EQ(linear.At(390), 780.0);
    EXPECT_FALSE(linear.At(391));
    EXPECT_FALSE(linear.At(400));
    EXPECT_FALSE(linear.At(409));
    EXPECT_EQ(linear.At(410), 820.0);
    EXPECT_EQ(before.At(399), 780.0);
    EXPECT_FALSE(before.At(405));
}

TEST_F(Curves, ReaderGivesTheSameInAnyOrderOfIndices) {
    AddCurve("L", Line());
    const Database database(DatabasePath());
    CurveReader reader(database, "L", "LINE", Between::linear);
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int32_t> anywhere(500, lastIndex);
    for (int i = 0; i < 2000; ++i) {
        const std::int32_t index = anywhere(random);
        ASSERT_EQ(reader.At(index), 2.0 * index);
    }
}

TEST_F(Curves, GridReadingMarksWhatIsNotThere) {
    AddCurve("L", Line());
    const Database database(DatabasePath());
    CurveReader reader(database, "L", "LINE", Between::linear);
    std::vector<float> values(4, -1.0F);
    std::vector<std::uint8_t> present(4, 9);
    reader.ReadGrid(80, values, present);
    EXPECT_THAT(values, testing::ElementsAre(0, 0, 200, 220));
    EXPECT_THAT(present, testing::ElementsAre(0, 0, 1, 1));
    reader.ReadGrid(lastIndex, values, present);
    EXPECT_THAT(present, testing::ElementsAre(1, 0, 0, 0));
    reader.ReadGrid(2000000000, values, present);
    EXPECT_THAT(present, testing::Each(0));
    EXPECT_THAT(DescriptionOf([&] { reader.ReadGrid(105, values, present); }),
                HasSubstr("105 is not on the"));
}

TEST_F(Curves, ReaderSeesWhatWasAppendedOnlyAfterARefresh) {
    CurveSpec curve = Line();
    curve.count = 20;
    AddCurve("L", curve);
    const Database database(DatabasePath());
    CurveReader reader(database, "L", "LINE", Between::linear);
    EXPECT_TRUE(reader.Covers(100, 290));
    EXPECT_FALSE(reader.Covers(100, 291));
    EXPECT_FALSE(reader.At(300));
    Append("L", curve, 5);
    EXPECT_FALSE(reader.At(300));
    reader.Refresh();
    EXPECT_EQ(reader.At(300), 600.0);
    EXPECT_TRUE(reader.Covers(100, 340));
}

TEST_F(Curves, DerivedCurveCoversItsValidSpanOnly) {
    AddCurve("L", Line());
    Database database(DatabasePath());
    CurveWriter writer = CurveWriter::Recreate(database, "L", "X_p", Derived());
    const std::vector<float> ones(50, 1.0F);
    writer.PutRun(100, ones);
    writer.Flush();
    writer.Mark(150, 400);
    const CurveReader reader(database, "L", "X_p", Between::linear);
    EXPECT_EQ(reader.Info().made, "made by a test");
    EXPECT_TRUE(reader.Covers(150, 400));
    EXPECT_FALSE(reader.Covers(140, 400));
    EXPECT_FALSE(reader.Covers(150, 410));
}

TEST_F(Curves, WriterJoinsRunsReplacesSamplesAndDropsWhatLiesBeforeTheGrid) {
    AddCurve("L", Line());
    {
        Database database(DatabasePath());
        CurveWriter writer = CurveWriter::Recreate(database, "L", "X_p", Derived());
        const std::vector<float> run{1, 2, 3, 4};
        writer.PutRun(80, run);  // 80 and 90 have no place
        writer.Put(120, 5);
        writer.Put(110, 6);
        writer.Put(150, 7);  // leaves gaps at 130 and 140
        writer.Flush();
    }
    const test::StoredCurve stored = ReadCurve("L", "X_p");
    EXPECT_THAT(stored.samples, testing::ElementsAre(3.0F, 6.0F, 5.0F, std::nullopt, std::nullopt, 7.0F));
    EXPECT_EQ(stored.info.extentFirst, 100);
}

TEST_F(Curves, RecreatingLeavesNothingOfTheOlderRun) {
    AddCurve("L", Line());
    Database database(DatabasePath());
    for (const std::size_t count : {30U, 3U}) {
        CurveWriter writer = CurveWriter::Recreate(database, "L", "X_p", Derived());
        writer.PutRun(100, std::vector<float>(count, 1.0F));
        writer.Flush();
    }
    EXPECT_EQ(ReadCurve("L", "X_p").samples.size(), 3U);
}

TEST_F(Curves, NothingRecordedIsOverwritten) {
    AddCurve("L", Line());
    CurveSpec taken = Line();
    taken.name = "AB_p";
    AddCurve("L", taken);
    const std::string before = test::ReadAll(DatabasePath());
    Database database(DatabasePath());
    CurrentSelection().choice.flow = "AB_p";
    for (const char* name : {"LINE", "AB_p", "PVLPOS", "PVLID", "PVLIDT", "PVLT", "ADPTH", "ZG"}) {
        const std::string recreated =
            DescriptionOf([&] { CurveWriter::Recreate(database, "L", name, Derived()); });
        const std::string opened =
            DescriptionOf([&] { CurveWriter::OpenOrCreate(database, "L", name, Derived()); });
        EXPECT_THAT(recreated, HasSubstr("L/" + std::string(name) + "/1 in " + DatabasePath())) << name;
        EXPECT_EQ(opened, recreated);
    }
    database.Close();
    EXPECT_EQ(test::ReadAll(DatabasePath()), before);
    EXPECT_EQ(ReadCurve("L", "LINE").samples.size(), 40000U);
}

TEST_F(Curves, ExtensionOnAnotherGridIsRefused) {
    AddCurve("L", Line());
    Database database(DatabasePath());
    CurveWriter::Recreate(database, "L", "X_p", Derived());
    DerivedCurve other = Derived();
    other.step = 20;
    EXPECT_THAT(DescriptionOf([&] { CurveWriter::OpenOrCreate(database, "L", "X_p", other); }),
                HasSubstr("another sample grid"));
    other = Derived();
    other.firstIndex = 105;
    EXPECT_THAT(DescriptionOf([&] { CurveWriter::OpenOrCreate(database, "L", "X_p", other); }),
                HasSubstr("another sample grid"));
}

TEST_F(Curves, ATransactionWithoutCommitLeavesNothing) {
    AddCurve("L", Line());
    Database database(DatabasePath());
    {
        const Transaction transaction(database);
        CurveWriter writer = CurveWriter::Recreate(database, "L", "X_p", Derived());
        writer.Put(100, 1.0F);
        writer.Flush();
    }
    EXPECT_FALSE(HasCurve("L", "X_p"));
}

TEST_F(Curves, AFailingCallNamesItemFileAndStatus) {
    AddCurve("L", Line());
    const Database database(DatabasePath());
    const std::string description =
        DescriptionOf([&] { CurveReader(database, "L", "NONE", Between::linear); });
    EXPECT_THAT(description, testing::StartsWith("L/NONE/1 in " + DatabasePath() +
                                                 ": The requested item or sample is not available"));
}

}  // namespace
}  // namespace vorela
