// The curve reader and writer on a real database.

#include "tests/support/DravikFixture.h"

namespace vorela::test {
namespace {

class Curves : public DravikFixture {
  protected:
    void SetUp() override {
        DravikFixture::SetUp();
        AddCurve("L", Line());
        database.emplace(DatabasePath());
    }
    void TearDown() override {
        database.reset();
        DravikFixture::TearDown();
    }
    /// 2 · index with a gap at 400, grid 100, 110, …, samples 40000 so that several blocks are read.
    static RecordedCurve Line(std::int32_t count = 40000) {
        return {"LINE", "psi", count,
                [](std::int32_t t) { return t == 400 ? std::nullopt : std::optional(2.0 * t); }, 100};
    }
    CurveReader Reader(Between between = Between::linear) { return {*database, "L", "LINE", between}; }
    CurveWriter Recreate(const std::string& name) {
        return CurveWriter::Recreate(*database, "L", name, derived);
    }
    CurveWriter OpenOrCreate(const std::string& name) {
        return CurveWriter::OpenOrCreate(*database, "L", name, derived);
    }
    static constexpr std::int32_t lastIndex = 100 + 39999 * 10;
    DerivedCurve derived{10, 100, "psi", 1.0F, 0.0F, "made by a test"};
    std::optional<DravikDatabase> database;
};

std::string DescriptionOf(const std::function<void()>& body) {
    return ThrownBy(body).description;
}

TEST_F(Curves, ReaderInterpolatesBetweenSamplesAndHoldsTheOneBeforeForCodesBridgingNoGap) {
    CurveReader linear = Reader();
    CurveReader before = Reader(Between::sampleBefore);
    EXPECT_EQ(linear.At(103), 206.0);
    EXPECT_EQ(before.At(109), 200.0);
    EXPECT_EQ(linear.At(lastIndex), 2.0 * lastIndex);
    EXPECT_EQ(linear.At(390), 780.0);
    EXPECT_EQ(linear.At(410), 820.0);
    EXPECT_EQ(before.At(399), 780.0);
    for (const std::int32_t nothing : {99, 391, 400, 409, lastIndex + 1})
        EXPECT_FALSE(linear.At(nothing)) << nothing;
    AddCurve("L", {"UNEVEN", "", 20, [](std::int32_t t) { return 3.0 * t; }, 100, 7});
    CurveReader uneven(*database, "L", "UNEVEN", Between::linear);
    EXPECT_EQ(uneven.At(103), 309.0);
    EXPECT_FALSE(before.At(405));
    EXPECT_FALSE(before.At(lastIndex + 1));
}

TEST_F(Curves, ReaderGivesTheSameInAnyOrderOfIndices) {
    CurveReader reader = Reader();
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int32_t> anywhere(500, lastIndex);
    for (int i = 0; i < 2000; ++i) {
        const std::int32_t index = anywhere(random);
        ASSERT_EQ(reader.At(index), 2.0 * index);
    }
}

TEST_F(Curves, GridReadingMarksWhatIsNotThere) {
    CurveReader reader = Reader();
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

TEST_F(Curves, ReaderSeesTheCurveAsItWasWhenItWasAttached) {
    AddCurve("SHORT", Line(20));
    CurveReader reader(*database, "SHORT", "LINE", Between::linear);
    EXPECT_TRUE(reader.Covers(100, 290));
    EXPECT_FALSE(reader.Covers(100, 291));
    Append("SHORT", Line(), 5);
    EXPECT_FALSE(reader.At(300));
    CurveReader later(*database, "SHORT", "LINE", Between::linear);
    EXPECT_EQ(later.At(300), 600.0);
    EXPECT_TRUE(later.Covers(100, 340));
}

TEST_F(Curves, DerivedCurveCoversItsValidSpanOnly) {
    CurveWriter writer = Recreate("X_p");
    writer.PutRun(100, std::vector<float>(50, 1.0F));
    writer.Flush();
    writer.Mark(150, 400);
    const CurveReader reader(*database, "L", "X_p", Between::linear);
    EXPECT_EQ(reader.Info().made, "made by a test");
    EXPECT_TRUE(reader.Covers(150, 400));
    EXPECT_FALSE(reader.Covers(140, 400));
    EXPECT_FALSE(reader.Covers(150, 410));
}

TEST_F(Curves, WriterJoinsRunsReplacesSamplesAndDropsWhatLiesBeforeTheGridOrIsOfAnOlderRun) {
    CurveWriter older = Recreate("X_p");
    older.PutRun(100, std::vector<float>(30, 1.0F));
    older.Flush();
    CurveWriter writer = Recreate("X_p");
    writer.PutRun(80, std::vector<float>{1, 2, 3, 4});  // 80 and 90 have no place
    writer.Put(120, 5);
    writer.Put(110, 6);
    writer.Put(150, 7);  // leaves gaps at 130 and 140
    writer.Flush();
    const StoredCurve stored = ReadCurve("L", "X_p");
    EXPECT_THAT(stored.samples, testing::ElementsAre(3.0F, 6.0F, 5.0F, std::nullopt, std::nullopt, 7.0F));
    EXPECT_EQ(stored.info.extentFirst, 100);
}

TEST_F(Curves, WriterSendsWholeChunksWhereverRunsBeginAndEnd) {
    constexpr std::size_t count = 40000;
    std::vector<float> values(count);
    std::iota(values.begin(), values.end(), 1.0F);
    CurveWriter writer = Recreate("X_p");
    constexpr std::array<std::size_t, 5> lengths{16380, 3, 16400, 1,
                                                 7216};  // they end round the chunks' ends
    const auto index = [](std::size_t at) { return static_cast<std::int32_t>(100 + 10 * at); };
    std::size_t at = 0;
    for (const std::size_t length : lengths) {
        writer.PutRun(index(at), std::span(values).subspan(at, length));
        at += length;
    }
    values[16383] = values[16385] = values[20000] = -1.0F;  // the first lies in a chunk that has gone out
    for (const std::size_t changed : {16385, 16383, 20000})
        writer.Put(index(changed), -1.0F);
    writer.Flush();
    const StoredCurve stored = ReadCurve("L", "X_p");
    EXPECT_TRUE(std::equal(values.begin(), values.end(), stored.samples.begin(), stored.samples.end()));
}

TEST_F(Curves, NothingRecordedIsOverwritten) {
    RecordedCurve taken = Line();
    for (const char* name : {"AB_p", "RTC_f", "PVLSIG"}) {
        taken.name = name;
        AddCurve("L", taken);
        EXPECT_TRUE(RecordingStands(*database, "L", name));
    }
    EXPECT_FALSE(RecordingStands(*database, "L", "NONE_p"));
    const std::string before = ReadAll(DatabasePath());
    CurrentSelection().choice.flow = "AB_p";
    for (const std::string name :
         {"LINE", "AB_p", "RTC_f", "PVLSIG", "PVLPOS", "PVLID", "PVLIDT", "PVLT", "ADPTH", "ZG"}) {
        const std::string recreated = DescriptionOf([&] { Recreate(name); });
        EXPECT_THAT(recreated, HasSubstr("L/" + name + "/1 in " + DatabasePath()));
        EXPECT_EQ(DescriptionOf([&] { OpenOrCreate(name); }), recreated);
    }
    database->Close();
    EXPECT_EQ(ReadAll(DatabasePath()), before);
}

TEST_F(Curves, ExtensionOnAnotherGridIsRefused) {
    Recreate("X_p");
    for (const auto& [step, first] : {std::pair(20, 100), std::pair(10, 105)}) {
        derived.step = static_cast<std::int16_t>(step);
        derived.firstIndex = first;
        EXPECT_THAT(DescriptionOf([&] { OpenOrCreate("X_p"); }), HasSubstr("another sample grid"));
    }
}

TEST_F(Curves, AFailingCallNamesItemFileAndStatus) {
    EXPECT_THAT(DescriptionOf([&] { CurveReader(*database, "L", "NONE", Between::linear); }),
                testing::StartsWith("L/NONE/1 in " + DatabasePath() +
                                    ": The requested item or sample is not available"));
}

}  // namespace
}  // namespace vorela::test
