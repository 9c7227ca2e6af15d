// DKBase.so as a program sees it: loaded at run time, called through function pointers. With
// VORELA_STORE_LINKED the same functions from the library that is linked in, whose inside a test can reach.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "dravik/include/DKBase.h"

namespace vorela::test {

// clang-format off
#define DKBASE_FUNCTIONS(F)                                                                                  \
    F(DBopenA) F(DBclose) F(DBattachA) F(DBdetach) F(DBnewA) F(DBdeleteA) F(DBread) F(DBreadpresent)         \
    F(DBwrite) F(DBwritepresent) F(DBinformation) F(DBmark) F(DBbegin) F(DBcommit) F(DBrollback) F(DBenumA)  \
    F(DBverify) F(GetUnitTextA) F(DBlastdetail) F(DBsetchooser) F(DBselectionadd) F(InitWin) F(DBselectA)    \
    F(DBreleaseMS) F(GetDravikSetting) F(SetDravikSetting)
// clang-format on

struct Module {
#define DECLARE(name) decltype(&::name) name = nullptr;
    DKBASE_FUNCTIONS(DECLARE)
#undef DECLARE
#ifdef VORELA_STORE_LINKED
    Module() {
#define RESOLVE(symbol) symbol = ::symbol;
        DKBASE_FUNCTIONS(RESOLVE)
#undef RESOLVE
    }
#else
    void* library = nullptr;
    Module() : library(dlopen(VORELA_BIN_DIR "/DKBase.so", RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(library, nullptr) << dlerror();
#define RESOLVE(symbol) symbol = reinterpret_cast<decltype(&::symbol)>(dlsym(library, #symbol));
        DKBASE_FUNCTIONS(RESOLVE)
#undef RESOLVE
    }
#endif
};

inline const Module& Dk() {
    static const Module module;
    return module;
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

inline std::vector<float> Ramp(std::size_t count, float from = 0.0F) {
    std::vector<float> values(count);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = from + static_cast<float>(i);
    return values;
}

/// An open database; closed at the end of its scope.
struct Opened {
    std::int32_t handle = 0;
    std::int32_t status;
    explicit Opened(const std::string& path, std::int16_t mode = DK_OPEN_CREATE)
        : status(Dk().DBopenA(path.c_str(), mode, &handle)) {}
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() { Close(); }
    void Close() {
        const std::int32_t closing = handle;
        handle = 0;
        if (closing != 0) {
            EXPECT_EQ(Dk().DBclose(closing), DK_OK);
        }
    }
    std::int32_t Attach(const std::string& path) const {
        std::int32_t item = 0;
        EXPECT_EQ(Dk().DBattachA(handle, path.c_str(), &item, 0, nullptr), DK_OK)
            << path << Dk().DBlastdetail();
        return item;
    }
    std::int32_t New(const std::string& path, const DBNewItem& attributes = TimeCurve()) const {
        EXPECT_EQ(Dk().DBnewA(handle, path.c_str(), &attributes), DK_OK) << path << Dk().DBlastdetail();
        return Attach(path);
    }
    Block Information(const std::string& path) const {
        Block block;
        std::int32_t item = 0;
        EXPECT_EQ(Dk().DBattachA(handle, path.c_str(), &item, 0, block.bytes), DK_OK) << Dk().DBlastdetail();
        Dk().DBdetach(item);
        return block;
    }
};

}  // namespace vorela::test
