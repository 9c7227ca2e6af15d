// Foreign, truncated and bit-flipped files: a clear status, never a wrong number, never a crash.
#include <sqlite3.h>

#include <array>
#include <random>

#include "tests/store/StoreTest.h"

namespace vorela::test {
namespace {

constexpr std::int32_t samples = 40000;

class DamageTest : public StoreTest {
  protected:
    DamageTest() {
        const Opened database(path);
        EXPECT_EQ(DBbegin(database.handle), DK_OK);
        database.New("L/ZG/1", TimeCurve(), truth);
        const std::int32_t sparse = database.New("L/RTC/1", TimeCurve(10, 0, "rps"));
        EXPECT_EQ(DBwrite(sparse, 0, 100, truth.data()), DK_OK);
        EXPECT_EQ(DBwrite(sparse, 380000, 2000, truth.data() + 38000), DK_OK);
        EXPECT_EQ(DBcommit(database.handle), DK_OK);
    }

    std::int32_t OpenStatus(const std::string& bytes, std::int16_t mode = DK_OPEN_EXISTING) {
        WriteAll(path, bytes);
        const Opened database(path, mode);
        return database.status;
    }

    /// Reads all there is; every sample that is given must be the one that was written, every gap one that
    /// was left.
    void ExpectNothingWrong() {
        const Opened database(path, DK_OPEN_EXISTING);
        const bool sound = database.status == DK_OK && database.Verify() == DK_OK;
        for (const char* name : {"L/ZG/1", "L/RTC/1"}) {
            std::int32_t item = 0;
            Block block;
            std::int32_t status = DBattachA(database.handle, name, &item, 0, block.bytes);
            if (status == DK_OK) {
                EXPECT_EQ(block.Last(), (samples - 1) * 10);
                EXPECT_STREQ(block.Unit(), name[2] == 'Z' ? "psi" : "rps");
                status = ReadAndCompare(item, name[2] == 'R');
            }
            EXPECT_TRUE(!sound || status == DK_OK) << "damage that the verification has missed: " << status;
        }
    }

    std::int32_t ReadAndCompare(std::int32_t item, bool sparse) {
        std::int32_t worst = DK_OK;
        for (std::int32_t at = 0; at < samples; at += 10000) {
            std::vector<float> values(10000, -5.0F);
            std::vector<std::uint8_t> present(10000, 9);
            const std::int32_t status = DBreadpresent(item, at * 10, 10000, values.data(), present.data());
            worst = std::max(worst, status);
            for (std::size_t i = 0; i < 10000; ++i) {
                const std::size_t sample = static_cast<std::size_t>(at) + i;
                const bool there = !sparse || sample < 100 || sample >= 38000;
                if (status != DK_OK)
                    EXPECT_TRUE(values[i] == -5.0F && present[i] == 9) << "outputs stay";
                else if (present[i] != (there ? 1 : 0) || values[i] != (there ? truth[sample] : 0.0F))
                    ADD_FAILURE() << "wrong sample " << sample;
                if (HasFailure())
                    return worst;
            }
        }
        return worst;
    }

    /// Damages the sound file anew in each round.
    void ExpectNothingWrongAfter(int rounds,
                                 const std::function<void(std::string& bytes, int round)>& damage) {
        const std::string sound = ReadAll(path);
        for (int round = 0; round < rounds && !HasFailure(); ++round) {
            SCOPED_TRACE("round " + std::to_string(round));
            std::string bytes = sound;
            damage(bytes, round);
            WriteAll(path, bytes);
            ExpectNothingWrong();
        }
    }

    std::vector<float> truth = Ramp(samples, 1.0F);
};

TEST_F(DamageTest, ForeignFilesAreRefusedWithEightAndLeftAlone) {
    const std::string sound = ReadAll(path);
    const auto with = [&](std::size_t at, const std::string& bytes) {
        return std::string(sound).replace(at, bytes.size(), bytes);
    };
    const std::array foreign{std::string("TIME,ZG\ns,psi\n"), std::string(200, 'x'), with(63, "\x02"),
                             with(68, "ABCD"), with(18, "\x02\x02")};
    for (const std::string& bytes : foreign)
        for (const std::int16_t mode : {DK_OPEN_EXISTING, DK_OPEN_CREATE, DK_OPEN_READ_ONLY}) {
            EXPECT_EQ(OpenStatus(bytes, mode), DK_NOT_DATABASE);
            EXPECT_EQ(ReadAll(path), bytes);
            EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1)
                << "no log beside it";
        }
    EXPECT_EQ(OpenStatus(""), DK_NOT_DATABASE);
    EXPECT_EQ(OpenStatus("", DK_OPEN_CREATE), DK_OK) << "what a killed creator leaves";
    std::int32_t handle = 55;
    EXPECT_EQ(DBopenA(folder.File("none").c_str(), DK_OPEN_EXISTING, &handle), DK_DISK_ERROR);
    EXPECT_EQ(DBopenA(folder.Path().c_str(), DK_OPEN_EXISTING, &handle), DK_DISK_ERROR);
    EXPECT_EQ(DBopenA(path.c_str(), 3, &handle), DK_NOT_UNDERSTOOD);
    EXPECT_EQ(handle, 55);
    EXPECT_FALSE(std::filesystem::exists(folder.File("none")));
}

TEST_F(DamageTest, AFlippedBitIsNeverAWrongNumber) {
    std::mt19937 random(11);
    ExpectNothingWrongAfter(Rounds("VORELA_STORE_FLIPS", 300), [&](std::string& bytes, int round) {
        // Half of them where the catalogue, the tree and the headers of the chunks are.
        const std::size_t page = random() % (bytes.size() / 16384) * 16384;
        const std::size_t at = round % 2 == 0 ? random() % bytes.size() : page + random() % 300;
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << (random() % 8)));
    });
}

TEST_F(DamageTest, ATruncatedFileIsNeverAWrongNumber) {
    std::mt19937 random(12);
    ExpectNothingWrongAfter(Rounds("VORELA_STORE_TRUNCATIONS", 60), [&](std::string& bytes, int round) {
        const std::size_t length = random() % bytes.size();
        bytes.resize(round % 2 == 0 ? length : length / 16384 * 16384);
    });
}

TEST_F(DamageTest, VerifyNamesTheDamagedChunk) {
    std::string bytes = ReadAll(path);
    float needle[4];
    std::memcpy(needle, truth.data() + 20000, sizeof needle);
    const std::size_t at = bytes.find(std::string(reinterpret_cast<const char*>(needle), sizeof needle));
    ASSERT_NE(at, std::string::npos);
    bytes[at] = static_cast<char>(bytes[at] ^ 1);
    WriteAll(path, bytes);
    const Opened database(path, DK_OPEN_EXISTING);
    std::string report;
    const auto note = [](void* context, const char* name, std::int32_t first, std::int32_t last) {
        *static_cast<std::string*>(context) +=
            std::string(name) + " " + std::to_string(first) + " " + std::to_string(last);
    };
    EXPECT_EQ(DBverify(database.handle, note, &report), DK_DISK_ERROR);
    EXPECT_EQ(report, "L/ZG/1 163840 327670");
    const std::int32_t item = database.Attach("L/ZG/1");
    EXPECT_EQ(Read(item, 200010, 1).status, DK_DISK_ERROR) << "anywhere in the chunk";
    EXPECT_EQ(Read(item, 163830, 1).status, DK_OK) << "before it";
}

// Rows that vanish, move or change behind the store's back are damage, not gaps and not other values.
class LostRowTest : public StoreTest, public testing::WithParamInterface<const char*> {};

TEST_P(LostRowTest, IsADiskError) {
    {
        const Opened database(path);
        database.New("L/C/1", TimeCurve(), Ramp(70000));
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
