// Saving what is sound of a damaged database: what verified comes over identical, what did not is named.

#include <numeric>

#include "dravik/exchange/Datasets.h"
#include "dravik/tool/LinkedLibrary.h"
#include "tests/store/StoreTest.h"
#include "tests/support/ProgramTest.h"

namespace dravik::test {
namespace {

[[maybe_unused]] const bool isLinked = (LinkDatabaseLibrary(), true);

using testing::HasSubstr;

class RecoverCommand : public ProgramTest {
  protected:
    RecoverCommand() : ProgramTest("dravik") {}
    void SetUp() override {
        Succeeds("simulate well.dk --levels 2 --cycles 12 >/dev/null");
        Write("gaps.csv", "TIME,ZG\n-1,NaN\n0,1.5\n5,-0\n");
        Succeeds("import well.dk gaps.csv --step 100");
    }
};

/// Where each sample of an item lies and its bits, as far as they can be read; the information block first.
std::map<std::int32_t, std::string> Readable(const Database& database, const std::string& path) {
    std::map<std::int32_t, std::string> samples;
    Block block;
    std::int32_t item = 0;
    if (DBattachA(database.Handle(), path.c_str(), &item, 0, block.bytes) != DK_OK)
        return samples;
    const auto bytes = FieldAt<std::int32_t>(block.bytes, DK_INFO_SAMPLE_BYTES);
    const auto step = FieldAt<std::int16_t>(block.bytes, DK_INFO_STEP);
    std::string sample(static_cast<std::size_t>(bytes), '\0');
    const std::int64_t stride = 97 * step;  // a chunk has thousands of samples
    const auto begin = FieldAt<std::int32_t>(block.bytes, DK_INFO_FIRST_INDEX);
    // The same places of the grid, wherever the samples begin.
    for (std::int64_t index = begin; index <= block.Last(); index += stride)
        if (DBread(item, static_cast<std::int32_t>(index), 1, sample.data()) == DK_OK)
            samples[static_cast<std::int32_t>(index)] = sample;
    DBdetach(item);
    return samples;
}

/// Everything about an item but its extents, which shrink with a loss at its ends. The code of a unit is the
/// file's.
std::string Attributes(const Database& database, const std::string& path) {
    Block block;
    const Item item(database, path);
    std::int32_t handle = 0;
    EXPECT_EQ(DBattachA(database.Handle(), path.c_str(), &handle, 0, block.bytes), DK_OK);
    DBdetach(handle);
    std::string text(reinterpret_cast<const char*>(block.bytes), DK_INFO_EXTENT_FIRST);
    return text.erase(DK_INFO_UNIT, 4) + block.Unit();
}

std::vector<std::string> Paths(const Database& database) {
    std::vector<std::string> paths;
    for (const NamedItem& dataset : DatasetsOf(database))
        for (const NamedItem& item : ItemsOf(database, dataset.name))
            paths.push_back(CurvePath(dataset.name, item.name));
    return paths;
}

TEST_F(RecoverCommand, SoundDatabaseComesOverWholeAndTheOldOneIsNotTouched) {
    {
        Database database = OpenDatabase(folder.File("well.dk"), OpenMode::existing);
        DBNewItem derived = TimeCurve(10, -50, "psi");
        derived.scale = 2.5F;
        derived.offset = -1.0F;
        derived.madeText = "made somehow";
        database.Create("gaps/ZG_p/1", derived);
        Item item(database, "gaps/ZG_p/1");
        ASSERT_EQ(DBmark(item.Handle(), -50, 30, nullptr), DK_OK);
    }
    const std::string before = Bytes("well.dk");
    EXPECT_THAT(Run("recover well.dk -o new.dk").out, HasSubstr("0 losses"));
    const Database old = OpenDatabase(folder.File("well.dk"), OpenMode::readOnly);
    const Database recovered = OpenDatabase(folder.File("new.dk"), OpenMode::readOnly);
    ASSERT_EQ(Paths(recovered), Paths(old));
    for (const std::string& path : Paths(old)) {
        EXPECT_EQ(Attributes(recovered, path), Attributes(old, path)) << path;
        EXPECT_EQ(Readable(recovered, path), Readable(old, path)) << path;
    }
    EXPECT_EQ(Run("export new.dk gaps --curves ZG").out, Run("export well.dk gaps --curves ZG").out);
    for (const char* output : {"new.dk", "gaps.csv"})
        Fails(std::string("recover well.dk -o ") + output, "is there already");
    Fails("recover well.dk -o ./well.dk", "the damaged database", 2);
    EXPECT_TRUE(Bytes("well.dk") == before);
}

TEST_F(RecoverCommand, WhateverVerifiesInADamagedDatabaseIsIdenticalInTheNewOneAndTheRestIsNamed) {
    const std::string sound = Bytes("well.dk");
    std::mt19937 random(20240611);
    int opened = 0;
    for (int round = Rounds("VORELA_FLIPS", 60) / 3; round > 0; --round) {
        std::string bytes = sound;
        for (int flip = 0; flip < 3; ++flip)
            bytes[random() % bytes.size()] ^= static_cast<char>(1U << random() % 8);
        Write("well.dk", bytes);
        std::filesystem::remove(folder.File("new.dk"));
        const CommandResult result = Run("recover well.dk -o new.dk");
        EXPECT_TRUE(Bytes("well.dk") == bytes);
        EXPECT_EQ(result.status == 0, Run("check well.dk").status == 0) << result.out << result.err;
        if (!Exists("new.dk"))
            continue;
        ++opened;
        Succeeds("check new.dk");
        const Database damaged = OpenDatabase(folder.File("well.dk"), OpenMode::readOnly);
        const Database recovered = OpenDatabase(folder.File("new.dk"), OpenMode::readOnly);
        for (const NamedItem& dataset : DatasetsOf(damaged)) {
            std::vector<NamedItem> items;
            try {
                items = ItemsOf(damaged, dataset.name);
            } catch (const std::exception&) {
                EXPECT_THAT(result.out, HasSubstr("lost: dataset " + dataset.name));
            }
            for (const NamedItem& item : items) {
                const std::string path = CurvePath(dataset.name, item.name);
                const auto samples = Readable(damaged, path);
                EXPECT_EQ(Readable(recovered, path).size(), samples.size()) << path << result.out;
                for (const auto& [index, sample] : Readable(recovered, path))
                    ASSERT_EQ(samples.at(index), sample) << path << " " << index << result.out;
            }
        }
    }
    EXPECT_GT(opened, 5);
}

TEST_F(RecoverCommand, ListCountsDamageAndADerivedCurveWithALossIsNotTakenForWhole) {
    {
        Database database = OpenDatabase(folder.File("well.dk"), OpenMode::existing);
        DBNewItem derived = TimeCurve(10, 0, "units");
        derived.madeText = "made somehow";
        for (const char* path : {"LEVEL1/HOLE/1", "LEVEL1/WHOLE/1"}) {
            database.Create(path, derived);
            Item item(database, path);
            std::vector<float> values(50000);
            std::iota(values.begin(), values.end(), std::strlen(path) == 13 ? 1.0F : 7e6F);
            item.Write(0, 50000, values.data());
            ASSERT_EQ(DBmark(item.Handle(), 100, 400000, nullptr), DK_OK);
        }
    }
    const std::string sound = Bytes("well.dk");
    const float lost[] = {30000.0F, 30001.0F, 30002.0F};
    std::string bytes = sound;
    bytes[bytes.find(std::string(reinterpret_cast<const char*>(lost), sizeof lost))] ^= 1;
    Write("well.dk", bytes);
    EXPECT_THAT(Run("recover well.dk -o new.dk").out, HasSubstr("lost: LEVEL1/HOLE/1 samples "));
    {
        const Database recovered = OpenDatabase(folder.File("new.dk"), OpenMode::readOnly);
        const auto valid = [&](const char* path) {
            for (const NamedItem& item : ItemsOf(recovered, "LEVEL1"))
                if (CurvePath("LEVEL1", item.name) == path)
                    return std::pair(item.information.validFirst, item.information.validLast);
            return std::pair(-1, -1);
        };
        EXPECT_EQ(valid("LEVEL1/WHOLE/1"), std::pair(100, 400000));
        const auto [first, last] = valid("LEVEL1/HOLE/1");
        EXPECT_LT(last, first) << "it is made anew";
        EXPECT_GT(Readable(recovered, "LEVEL1/HOLE/1").size(), 300U);
    }
    // Rows of an item and of a dataset: each by a letter of its own text.
    for (const auto& [text, line] : {std::pair("units", "complete, 1 damaged"), {"LEVEL2", "-   damaged"}}) {
        std::string list;
        for (std::size_t at = sound.find(text); at != std::string::npos; at = sound.find(text, at + 1)) {
            bytes = sound;
            bytes[at] ^= 1;
            Write("well.dk", bytes);
            list += Run("list well.dk").out;
        }
        EXPECT_THAT(list, HasSubstr(line));
    }
}

TEST_F(RecoverCommand, AnInterruptedWritersJournalIsAppliedToACopyOnly) {
    Shell(
        "dravik record well.dk LIVE --simulate --levels 1 --speed 0 --commit 100 & pid=$!; "
        "for i in $(seq 200000); do [ -s well.dk-journal ] && break; done; kill -KILL $pid; wait "
        "$pid");
    if (!Exists("well.dk-journal") || Bytes("well.dk-journal").empty())
        GTEST_SKIP() << "the recorder was not met in a commit";
    const std::pair before(Bytes("well.dk"), Bytes("well.dk-journal"));
    const CommandResult result = Run("recover well.dk -o new.dk");
    EXPECT_THAT(result.out, HasSubstr("applied to a copy"));
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_TRUE(std::pair(Bytes("well.dk"), Bytes("well.dk-journal")) == before);
    EXPECT_EQ(Run("export new.dk LEVEL1").out, Run("export well.dk LEVEL1").out);
}

}  // namespace
}  // namespace dravik::test
