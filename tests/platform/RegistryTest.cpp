#include <gtest/gtest.h>

#include "platform/RegistryText.h"

namespace vorela {
namespace {

constexpr const char* key = "System\\CurrentControlSet\\Services\\DKBASE";

std::optional<RegistryValue> Find(const std::string& values, const char* name = "BinDir") {
    return FindRegistryValue("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\" +
                                 std::string(key) + "]\r\n" + values,
                             RegistryRoot::localMachine, key, name);
}

TEST(Registry, readsEveryTypeOfValueUnderItsTypeCode) {
    const std::tuple<const char*, std::uint32_t, std::string> cases[] = {
        {"\"BinDir\"=\"C:\\\\Acq\\\\\"\r\n", 1, std::string("C:\\Acq\\\0", 8)},
        {"\"BINDIR\" = \"x\"", 0, ""},  // a blank before the sign is no value line
        {"\"bindir\"=hex(2):25,00\r\n", 2, std::string("%\0", 2)},
        {"\"BinDir\"=hex:01,ff", 3, "\x01\xFF"},
        {"\"BinDir\"=dword:00000001", 4, "00000001"},
        {"\"BinDir\"=hex(1):2f,61,\\\r\n  2f,00,7a\r\n", 1, std::string("/a/\0z", 5)},
        {"\"BinDir\"=hex(1):2f,6g", 0, ""},
        {"\"BinDir\"=\"unended", 0, ""},
    };
    for (const auto& [line, type, data] : cases) {
        const RegistryValue value = Find(line).value_or(RegistryValue{});
        EXPECT_EQ(value.type, type) << line;
        EXPECT_EQ(value.data, data) << line;
    }
}

TEST(Registry, looksOnlyUnderTheNamedKey) {
    EXPECT_FALSE(Find("[HKEY_LOCAL_MACHINE\\Other]\r\n\"BinDir\"=\"no\"\r\n"));
    EXPECT_FALSE(Find("\"Other\"=\"no\"\r\n;\"BinDir\"=\"commented out\"\r\n"));
    EXPECT_FALSE(FindRegistryValue("\xFF\xFEx", RegistryRoot::localMachine, key, "BinDir"));
    EXPECT_FALSE(FindRegistryValue("", RegistryRoot::localMachine, key, "BinDir"));
    std::string wide = "\xFF\xFE";
    for (const char c : std::string("[HKEY_LOCAL_MACHINE\\") + key + "]\n\"BinDir\"=\"/opt/\"\n")
        wide += std::string{c, '\0'};
    EXPECT_EQ(FindRegistryValue(wide, RegistryRoot::localMachine, key, "BinDir")->data,
              std::string("/opt/\0", 6));
}

}  // namespace
}  // namespace vorela
