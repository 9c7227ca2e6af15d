// Foreign, truncated and bit-flipped files: a clear status, never a wrong number, never a crash.
#include <sqlite3.h>
#include <sys/stat.h>

#include "tests/store/StoreTest.h"

namespace dravik::test {
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
    const std::array foreign{std::string("TIME,ZG\ns,psi\n"), std::string(200, 'x'), with(63, "\x03"),
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

// A page that never reached the disk: after each commit every page that it changed is the old one again. What
// is read is the newest state or nothing.
class StalePageTest : public StoreTest {
  protected:
    void Step(const std::string& name, int kind) {
        const Opened database(path);
        auto& values = state[name];
        if (kind == 0 && !values.empty()) {
            ASSERT_EQ(DBdeleteA(database.handle, name.c_str()), DK_OK);
            values.clear();
            return;
        }
        const std::int32_t item = values.empty() ? database.New(name) : database.Attach(name);
        const std::size_t at = kind == 1 ? values.size() / 2 : values.size();
        const auto more = Ramp(kind == 2 ? 9000 : 40, static_cast<float>(++written) * 100000);
        ASSERT_EQ(Write(item, static_cast<std::int32_t>(at) * 10, more), DK_OK) << DBlastdetail();
        values.resize(std::max(values.size(), at + more.size()));
        std::copy(more.begin(), more.end(), values.begin() + static_cast<std::ptrdiff_t>(at));
    }

    int Existing() const {
        return static_cast<int>(
            std::count_if(state.begin(), state.end(), [](const auto& each) { return !each.second.empty(); }));
    }

    /// How many curves are as they were written; adds failures for what is wrong without a word.
    int CountWhole(const Opened& database) {
        int whole = 0;
        for (const auto& [name, values] : state) {
            std::int32_t item = 0;
            Block block;
            std::int32_t status = DBattachA(database.handle, name.c_str(), &item, 0, block.bytes);
            if (values.empty()) {
                EXPECT_NE(status, DK_OK) << name << " was deleted";
                continue;
            }
            if (status == DK_OK) {
                EXPECT_EQ(block.Last(), static_cast<std::int32_t>(values.size() - 1) * 10) << name;
                const Reading reading = Read(item, 0, values.size());
                status = reading.status;
                EXPECT_TRUE(status != DK_OK || reading.values == values) << name;
                DBdetach(item);
            }
            EXPECT_TRUE(status == DK_OK || status == DK_DISK_ERROR) << name << " " << status;
            whole += status == DK_OK ? 1 : 0;
        }
        return whole;
    }

    void CheckEachPage(const std::string& before, const std::string& after) {
        constexpr std::size_t page = 16384;
        for (std::size_t at = 0; at < std::min(before.size(), after.size()) && !HasFailure(); at += page) {
            if (before.compare(at, page, after, at, page) == 0)
                continue;
            SCOPED_TRACE("page " + std::to_string(at / page + 1));
            WriteAll(path, std::string(after).replace(at, page, before, at, page));
            const Opened database(path, DK_OPEN_EXISTING);
            if (database.status == DK_OK) {
                const int whole = CountWhole(database);
                EXPECT_TRUE(whole == Existing() || database.Verify() == DK_DISK_ERROR)
                    << "the check sees what reading sees";
                const DBNewItem curve = TimeCurve();
                std::int32_t item = 0;
                const std::int32_t made = DBnewA(database.handle, "N/ZG/1", &curve);
                EXPECT_TRUE(at > 0 || after.size() == before.size() || made == DK_DISK_ERROR)
                    << "the header does not know the last pages: they would be written over";
                if (made == DK_OK && DBattachA(database.handle, "N/ZG/1", &item, 0, nullptr) == DK_OK)
                    Write(item, 0, Ramp(40000));
                CountWhole(database);
            }
            ++pages;
        }
        WriteAll(path, after);
    }

    std::map<std::string, std::vector<float>> state;
    int written = 0;
    int pages = 0;
};

TEST_F(StalePageTest, IsNeverAnOlderState) {
    std::mt19937 random(13);
    const int rounds = Rounds("VORELA_STORE_STALE", 60);
    for (const char* first : {"A/ZG/1", "B/ZG/1"})
        Step(first, 2);
    while (pages < rounds && !HasFailure()) {
        const std::string before = ReadAll(path);
        const char* const names[] = {"A/ZG/1", "A/Q/1", "B/ZG/1", "B/Q/1", "C/ZG/1", "D/ZG/1"};
        Step(names[random() % std::size(names)], static_cast<int>(random() % 4));
        CheckEachPage(before, ReadAll(path));
    }
    const Opened database(path, DK_OPEN_EXISTING);
    EXPECT_EQ(CountWhole(database), Existing());
    EXPECT_EQ(database.Verify(), DK_OK);
}

// Rows that vanish, move or change behind the store's back are damage, not gaps and not other values.
class LostRowTest : public StoreTest, public testing::WithParamInterface<const char*> {
  protected:
    void Alter(const char* sql) {
        sqlite3* direct = nullptr;
        ASSERT_EQ(sqlite3_open(path.c_str(), &direct), SQLITE_OK);
        sqlite3_db_config(direct, SQLITE_DBCONFIG_WRITABLE_SCHEMA, 1, nullptr);
        ASSERT_EQ(sqlite3_exec(direct, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(direct);
        EXPECT_GT(sqlite3_total_changes(direct), 0);
        sqlite3_close(direct);
    }
};

TEST_P(LostRowTest, IsADiskError) {
    {
        const Opened database(path);
        database.New("L/C/1", TimeCurve(), Ramp(70000));
        database.New("L/D/1");
    }
    Alter(GetParam());
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

TEST_F(LostRowTest, DamageOfOneDatasetConcernsNoOther) {
    {
        const Opened database(path);
        database.New("L/C/1", TimeCurve(), Ramp(20000));
        database.New("L/D/1", TimeCurve(), Ramp(10));
        database.New("M/C/1", TimeCurve(), Ramp(10));
    }
    Alter(
        "UPDATE items2 SET chunks = x'' WHERE name = '/C/1' AND dataset = 1;"
        "UPDATE datasets2 SET stamp = 1 WHERE name = 'M'; UPDATE catalogue SET crc = 1");
    const Opened database(path, DK_OPEN_EXISTING);
    EXPECT_EQ(database.Verify(), DK_DISK_ERROR);
    EXPECT_EQ(Read(database.Attach("L/D/1"), 0, 10).values, Ramp(10));
    EXPECT_EQ(database.Listed(""), "L2 M3 ") << "2 is a dataset, 3 is damaged";
    EXPECT_EQ(database.Listed("L"), "/C/13 /D/10 ");
    database.New("N/C/1", TimeCurve(), Ramp(10));
    EXPECT_EQ(Read(database.Attach("N/C/1"), 0, 10).values, Ramp(10)) << "a new recording";
    EXPECT_EQ(DBdeleteA(database.handle, "M"), DK_OK);
    EXPECT_EQ(DBdeleteA(database.handle, "L/C/1"), DK_OK);
    EXPECT_EQ(database.Verify(), DK_OK) << DBlastdetail();
}

// What a file may hold to keep its reader busy, or to have it run what it does not know.
class HostileSchemaTest : public LostRowTest {};

TEST_P(HostileSchemaTest, IsNotADatabase) {
    Opened(path).New("L/C/1", TimeCurve(), Ramp(10));
    Alter(GetParam());
    for (const std::int16_t mode : {DK_OPEN_EXISTING, DK_OPEN_CREATE, DK_OPEN_READ_ONLY})
        EXPECT_EQ(Opened(path, mode).status, DK_NOT_DATABASE) << DBlastdetail();
}

INSTANTIATE_TEST_SUITE_P(
    EachKind, HostileSchemaTest,
    testing::Values(
        "UPDATE catalogue SET one = 1; CREATE VIEW v AS WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x"
        " FROM n) SELECT x FROM n",
        "ALTER TABLE catalogue RENAME TO c; CREATE VIEW catalogue AS WITH RECURSIVE n(x) AS (SELECT 1 UNION"
        " ALL SELECT x FROM n) SELECT x AS one, x AS content, x AS crc FROM n; UPDATE c SET one = 1",
        "CREATE TRIGGER t AFTER UPDATE ON items2 BEGIN DELETE FROM chunks; END; UPDATE catalogue SET one = 1",
        "CREATE INDEX i ON items2(name); UPDATE catalogue SET one = 1",
        "CREATE TABLE more(x); UPDATE catalogue SET one = 1",
        "UPDATE sqlite_master SET sql = replace(sql, 'unit TEXT', 'unit TEXT CHECK(length(randomblob(1e9)))')"
        " WHERE name = 'items2'",
        "UPDATE sqlite_master SET sql = 'CREATE TABLE nonsense(' WHERE name = 'items2'",
        "DROP TABLE datasets2; UPDATE catalogue SET one = 1"));

TEST_F(DamageTest, ATreeThatLeadsBackIntoItselfEnds) {
    // Every page that is the root of a table becomes an inner page all of whose children are itself.
    const auto pages = static_cast<int>(std::filesystem::file_size(path) / 16384);
    ExpectNothingWrongAfter(pages - 1, [](std::string& bytes, int round) {
        const std::size_t page = 16384 * (static_cast<std::size_t>(round) + 1);
        const int self = round + 2;
        const char number[4] = {0, 0, static_cast<char>(self >> 8), static_cast<char>(self)};
        std::string inner("\x05\0\0\x0F\0\0\0\0", 8);
        inner.append(number, 4);
        for (int cell = 0; cell < 3840; ++cell)
            inner.append("\x3F\xF0", 2);
        bytes.replace(page, inner.size(), inner);
        bytes.replace(page + 0x3FF0, 6, std::string(number, 4) + "\x7F\x00");
    });
}

TEST_F(DamageTest, WhatIsNotAFileIsRefused) {
    const std::string pipe = folder.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ASSERT_EQ(mkfifo((path + "-journal").c_str(), 0600), 0);
    for (const std::string& name : {pipe, std::string("/dev/null"), path})
        for (const std::int16_t mode : {DK_OPEN_EXISTING, DK_OPEN_CREATE, DK_OPEN_READ_ONLY})
            EXPECT_EQ(Opened(name, mode).status, DK_DISK_ERROR) << name;
}

INSTANTIATE_TEST_SUITE_P(
    EveryTable, LostRowTest,
    testing::Values("DELETE FROM chunks WHERE place % 268435456 = 2",
                    "UPDATE chunks SET place = place + 10 WHERE place % 268435456 = 2",
                    "UPDATE chunks SET samples = (SELECT samples FROM chunks WHERE place % 268435456 = 1),"
                    " crc = (SELECT crc FROM chunks WHERE place % 268435456 = 1) WHERE place % 268435456 = 2",
                    "UPDATE chunks SET present = zeroblob(2048) WHERE place % 268435456 = 1",
                    "UPDATE items2 SET block = (SELECT block FROM items2 WHERE number = 3) WHERE number = 2",
                    "UPDATE items2 SET chunks = x'' WHERE number = 2",
                    "UPDATE items2 SET dataset = 2 WHERE number = 2", "UPDATE items2 SET unit = 'bar'",
                    "DELETE FROM items2 WHERE number = 2", "DELETE FROM datasets2",
                    "UPDATE datasets2 SET items = x''", "UPDATE datasets2 SET stamp = 1"));

}  // namespace
}  // namespace dravik::test
