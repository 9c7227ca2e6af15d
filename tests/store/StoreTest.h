// What tests of the store share: an open database, curves and their information blocks.
#pragma once

#include "interfaces/DKBase.h"
#include "tests/support/TestSupport.h"

namespace dravik::test {
using namespace vorela::test;

class StoreTest : public testing::Test {
  protected:
    TempFolder folder;
    std::string path = folder.File("a.dkb");
};

/// How often a test with random damage or kills does it: more on demand of the environment.
inline int Rounds(const char* variable, int usual) {
    const char* wanted = std::getenv(variable);
    return wanted != nullptr ? std::atoi(wanted) : usual;
}

/// A 16- or 32-bit field or real of an information block.
template <typename Field>
Field FieldAt(const void* block, int offset) {
    Field field;
    std::memcpy(&field, static_cast<const char*>(block) + offset, sizeof field);
    return field;
}

struct Block {
    unsigned char bytes[DK_INFO_BYTES] = {};
    std::int32_t First() const { return FieldAt<std::int32_t>(bytes, DK_INFO_EXTENT_FIRST); }
    std::int32_t Last() const { return FieldAt<std::int32_t>(bytes, DK_INFO_EXTENT_LAST); }
    const char* Made() const { return reinterpret_cast<const char*>(bytes) + DK_INFO_MADE; }
    const char* Unit() const { return GetUnitTextA(FieldAt<std::int32_t>(bytes, DK_INFO_UNIT)); }
};

inline DBNewItem TimeCurve(std::int16_t step = 10, std::int32_t firstIndex = 0, const char* unit = "psi") {
    DBNewItem item{};
    item.kind = DK_ITEM_CURVE;
    item.indexKind = DK_INDEX_TIME;
    item.step = step;
    item.firstIndex = firstIndex;
    item.unitText = unit;
    return item;
}

inline DBNewItem RecordItem(std::int32_t bytes) {
    DBNewItem item{};
    item.kind = DK_ITEM_RECORD;
    item.sampleBytes = bytes;
    return item;
}

inline std::vector<float> Ramp(std::size_t count, float from = 0.0F) {
    std::vector<float> values(count);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = from + static_cast<float>(i);
    return values;
}

/// What a reading call gives: its status and the samples, which a failing one leaves as they were.
struct Reading {
    std::int32_t status = DK_OK;
    std::vector<float> values;
};
inline Reading Read(std::int32_t item, std::int32_t first, std::size_t count) {
    const std::vector<float> untouched(count, -99.0F);
    Reading reading{DK_OK, untouched};
    reading.status = DBread(item, first, static_cast<std::int32_t>(count), reading.values.data());
    EXPECT_TRUE(reading.status == DK_OK || reading.values == untouched) << "outputs stay";
    return reading;
}

inline std::int32_t Write(std::int32_t item, std::int32_t first, const std::vector<float>& values) {
    return DBwrite(item, first, static_cast<std::int32_t>(values.size()), values.data());
}

/// An open database; closed at the end of its scope.
struct Opened {
    std::int32_t handle = 0;
    std::int32_t status;
    explicit Opened(const std::string& path, std::int16_t mode = DK_OPEN_CREATE)
        : status(DBopenA(path.c_str(), mode, &handle)) {}
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() { Close(); }
    void Close() {
        const std::int32_t closing = std::exchange(handle, 0);
        EXPECT_TRUE(closing == 0 || DBclose(closing) == DK_OK);
    }
    std::int32_t Attach(const std::string& path, Block* block = nullptr) const {
        std::int32_t item = 0;
        EXPECT_EQ(DBattachA(handle, path.c_str(), &item, 0, block != nullptr ? block->bytes : nullptr), DK_OK)
            << path << DBlastdetail();
        return item;
    }
    /// An item that is attached; a curve with these samples from its first index on.
    std::int32_t New(const std::string& path, const DBNewItem& attributes = TimeCurve(),
                     const std::vector<float>& values = {}) const {
        EXPECT_EQ(DBnewA(handle, path.c_str(), &attributes), DK_OK) << path << DBlastdetail();
        const std::int32_t item = Attach(path);
        EXPECT_TRUE(values.empty() || Write(item, attributes.firstIndex, values) == DK_OK) << DBlastdetail();
        return item;
    }
    Block Information(const std::string& path) const {
        Block block;
        DBdetach(Attach(path, &block));
        return block;
    }
    /// The items of a dataset, or the datasets ("" or none given), in order, each with its kind.
    std::string Listed(const char* dataset) const {
        std::string all;
        const auto add = [](void* context, const char* name, const void* block) -> std::int32_t {
            *static_cast<std::string*>(context) +=
                std::string(name) + std::to_string(FieldAt<std::int16_t>(block, DK_INFO_KIND)) + " ";
            return 0;
        };
        EXPECT_EQ(DBenumA(handle, dataset, add, &all), DK_OK);
        return all;
    }
    std::int32_t Verify() const { return DBverify(handle, nullptr, nullptr); }
};

}  // namespace dravik::test
